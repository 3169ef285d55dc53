// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"
#include "platform/SystemShortcuts.h"

#include <QByteArray>

namespace vellumhound::platform {

/// The keys in Xfce's channel xfce4-keyboard-shortcuts: the user's own file, and the system's for
/// what the user never changed; either may be empty. Those that start this program are left out. A
/// broken file counts up to where it breaks. Pure.
QList<SystemShortcut> xfceShortcuts(
    const QByteArray &userFile, const QByteArray &systemFile, const KeyCharacters &characters);

}  // namespace vellumhound::platform
