// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace vellumhound::platform {

/// The text of another program's settings file. Nothing for one that is not there, and, with a line
/// on the log, for what no settings file is: unreadable, larger than 2 MB, binary, a device.
/// Never waits for a file that somebody has to write into first.
std::optional<QByteArray> settingsFileContents(const QString &path);

}  // namespace vellumhound::platform
