// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyboardShortcuts/NamedShortcuts.h"
#include "keyboard/KeyShortcut.h"

#include <optional>

namespace vellumhound::keyboard {

/// One of the hot keys of this program.
struct GlobalShortcut {
    KeyboardShortcuts::Name name;

    /// Shows the panel; Control and Space unless the user chose another.
    static const KeyboardShortcuts::Name &launchVellumhound();
    /// Loads the file manager's selection into the panel; Option and S.
    static const KeyboardShortcuts::Name &loadSelectedFilesFromFinder();
    /// Loads the folders of the file manager's windows into the panel; Option and F.
    static const KeyboardShortcuts::Name &browseFinderWindows();

    /// The current recording as a row or a menu entry shows it; nothing if there is none.
    std::optional<KeyShortcut> keyShortcut(
        const KeyboardShortcuts::NamedShortcuts &shortcuts) const;

    bool operator==(const GlobalShortcut &) const = default;
};

}  // namespace vellumhound::keyboard
