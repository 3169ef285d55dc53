// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NotificationCenter.h"
#include "keyboard/KeyboardShortcuts/NamedShortcuts.h"
#include "shell/VellumhoundAppDelegate.h"

namespace vellumhound::shell {

/// The hot keys of the program.
enum class BoundHotKeys {
    launcher,  ///< the one that shows the panel
    all,       ///< and the two that bring lists of the file manager into it
};

/// Brings the names of the hot keys into being, which gives them their defaults at the first start,
/// and binds what they do. Every one ends in the panel being shown after the fixed delay; the lists
/// are asked for before that, so that they load meanwhile. All arguments outlive the shortcuts'
/// last event.
void bindHotKeys(BoundHotKeys which, keyboard::KeyboardShortcuts::NamedShortcuts &shortcuts,
    base::NotificationCenter &notificationCenter, VellumhoundAppDelegate &appDelegate);

}  // namespace vellumhound::shell
