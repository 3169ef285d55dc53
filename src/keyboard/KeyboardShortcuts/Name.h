// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyboardShortcuts/Shortcut.h"

#include <QMetaType>
#include <QString>

#include <optional>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// The handle under which a shortcut is stored and actions are bound to it. A value; it takes
/// effect by NamedShortcuts::createName.
struct Name {
    QString rawValue;  ///< the key of the shortcut in the defaults, less the prefix
    std::optional<Shortcut> defaultShortcut;  ///< what the name starts with

    bool operator==(const Name &) const = default;
};

inline std::size_t qHash(const Name &name, std::size_t seed = 0)
{
    return qHashMulti(seed, name.rawValue, name.defaultShortcut.value_or(Shortcut()));
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts

Q_DECLARE_METATYPE(vellumhound::keyboard::KeyboardShortcuts::Name)
