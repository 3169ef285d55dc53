// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/SystemShortcuts.h"

namespace vellumhound::fakes {

/// A desktop whose keys the test names.
class FakeSystemShortcuts final : public platform::SystemShortcuts {
public:
    QList<platform::SystemShortcut> symbolicHotKeys;
    QList<platform::SystemShortcut> held;  ///< by other programs
    mutable int questions = 0;             ///< of either kind

    QList<platform::SystemShortcut> copySymbolicHotKeys() const override
    {
        ++questions;
        return symbolicHotKeys;
    }
    std::optional<platform::SystemShortcut> heldByAnother(int keyCode, int modifiers) const override
    {
        ++questions;
        for (const auto &shortcut : held) {
            if (shortcut.keyCode == keyCode && shortcut.modifiers == modifiers)
                return shortcut;
        }
        return std::nullopt;
    }
};

}  // namespace vellumhound::fakes
