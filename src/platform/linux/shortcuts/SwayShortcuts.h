// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"
#include "platform/SystemShortcuts.h"

#include <QByteArray>
#include <QStringList>

#include <functional>
#include <optional>

namespace vellumhound::platform {

/// The configuration of sway or i3, which write it alike.
struct SwayConfiguration {
    QString desktop;  ///< "sway" or "i3", as the holder of its keys
    QByteArray text;  ///< of the main file
    QString path;     ///< of the main file; what it includes is looked for beside it
    /// The paths that a pattern with wildcards stands for, and the text of one of them.
    std::function<QStringList(const QString &pattern)> expand;
    std::function<std::optional<QByteArray>(const QString &path)> read;
};

/// The keys that are bound when no mode is entered, those that start this program left out. A later
/// binding of a key takes the place of an earlier one. What cannot be understood is passed over,
/// and what includes itself is read once.
QList<SystemShortcut> swayShortcuts(
    const SwayConfiguration &configuration, const KeyCharacters &characters);

/// The configuration files that a pattern of the configuration stands for; `~` is the home folder.
QStringList expandedPaths(const QString &pattern);

}  // namespace vellumhound::platform
