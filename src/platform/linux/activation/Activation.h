// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <optional>

namespace vellumhound::platform {

/// The time in a startup id ("…_TIME123"), in milliseconds of the X server; absent if it holds
/// none.
std::optional<std::uint32_t> timeOfStartupId(const QString &startupId);

/// Takes over a caller's permission to take the focus, so that the next window that is activated
/// gets it: the keys "activation-token" and "desktop-startup-id" of an activation's platform data.
/// Empty data changes nothing. Main thread.
void takeOverActivation(const QVariantMap &platformData);

/// A startup id that lets a program we start take the focus on X11; empty elsewhere. Main thread.
QByteArray makeStartupId();

}  // namespace vellumhound::platform
