// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"
#include "platform/SystemShortcuts.h"

#include <QByteArray>

namespace vellumhound::platform {

/// The keys in KDE's file of global shortcuts, kglobalshortcutsrc, ours left out. What is no such
/// file has none. Pure.
QList<SystemShortcut> kdeShortcuts(const QByteArray &file, const KeyCharacters &characters);

}  // namespace vellumhound::platform
