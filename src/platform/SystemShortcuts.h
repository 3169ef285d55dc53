// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace vellumhound::platform {

/// A key that the desktop itself, or another program, acts on.
struct SystemShortcut {
    int keyCode = 0;    ///< of base::KeyTable
    int modifiers = 0;  ///< HotKeyModifiers
    bool isEnabled = true;
    QString holder;  ///< who has it, as the user would call it; may be empty

    bool operator==(const SystemShortcut &) const = default;
};

/// Which keys are spoken for before ours. Main thread.
class SystemShortcuts {
public:
    virtual ~SystemShortcuts() = default;

    /// What the desktop says of all its keys; empty if it cannot be asked. Never waits long.
    virtual QList<SystemShortcut> copySymbolicHotKeys() const = 0;
    /// Whether another program holds this very key at this moment and who, if the desktop tells;
    /// nothing if it is free or cannot be known. `modifiers` are HotKeyModifiers.
    virtual std::optional<SystemShortcut> heldByAnother(int keyCode, int modifiers) const = 0;
};

}  // namespace vellumhound::platform
