// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/GlobalShortcut.h"

using namespace Qt::StringLiterals;

namespace vellumhound::keyboard {

using KeyboardShortcuts::Key;
using KeyboardShortcuts::Name;
using KeyboardShortcuts::Shortcut;

const Name &GlobalShortcut::launchVellumhound()
{
    static const Name name{
        u"launchVellumhound"_s, Shortcut(Key::space, base::ModifierFlags::control)};
    return name;
}

const Name &GlobalShortcut::loadSelectedFilesFromFinder()
{
    static const Name name{
        u"loadSelectedFilesFromFinder"_s, Shortcut(Key::s, base::ModifierFlags::option)};
    return name;
}

const Name &GlobalShortcut::browseFinderWindows()
{
    static const Name name{u"browseFinderWindows"_s, Shortcut(Key::f, base::ModifierFlags::option)};
    return name;
}

std::optional<KeyShortcut> GlobalShortcut::keyShortcut(
    const KeyboardShortcuts::NamedShortcuts &shortcuts) const
{
    const auto shortcut = shortcuts.getShortcut(name);
    return shortcut ? KeyShortcut::of(*shortcut) : std::nullopt;
}

}  // namespace vellumhound::keyboard
