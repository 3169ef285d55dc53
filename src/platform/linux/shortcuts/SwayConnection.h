// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>

namespace vellumhound::platform {

/// The configuration that a running sway or i3 works with.
struct RunningConfiguration {
    QByteArray text;
    QString path;  ///< of the file that it was loaded from; empty if it does not tell
};

/// Asks the compositor at this socket; nothing if it does not answer in time or answers nonsense.
std::optional<RunningConfiguration> runningConfiguration(const QString &socketPath,
    std::chrono::milliseconds timeLimit = std::chrono::milliseconds(150));

}  // namespace vellumhound::platform
