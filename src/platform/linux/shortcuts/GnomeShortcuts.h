// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"
#include "platform/SystemShortcuts.h"

#include <QStringList>

namespace vellumhound::platform {

/// The keys of GNOME, and of Cinnamon which has settings of its own of the same kind, the user's
/// custom ones included but for ours. `desktopNames` are those of the session; of any other desktop
/// the list is empty. A schema or a key that is not installed is passed over. Main thread.
QList<SystemShortcut> gnomeShortcuts(
    const QStringList &desktopNames, const KeyCharacters &characters);

}  // namespace vellumhound::platform
