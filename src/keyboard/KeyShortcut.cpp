// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyShortcut.h"

#include "base/KeyTable.h"

namespace vellumhound::keyboard {

using KeyboardShortcuts::Key;

namespace {

struct NamedKey {
    char32_t character;
    Key key;
    bool isForHotKeys;  // a recorded hot key with this key has a key equivalent
};
constexpr NamedKey namedKeys[] = {
    {KeyCharacter::returnKey, Key::returnKey, true},
    {KeyCharacter::space, Key::space, true},
    {KeyCharacter::deleteKey, Key::deleteKey, true},
    {KeyCharacter::escape, Key::escape, true},
    {KeyCharacter::tab, Key::tab, true},
    {KeyCharacter::upArrow, Key::upArrow, false},
    {KeyCharacter::downArrow, Key::downArrow, false},
    {KeyCharacter::leftArrow, Key::leftArrow, false},
    {KeyCharacter::rightArrow, Key::rightArrow, false},
    {KeyCharacter::deleteForward, Key::deleteForward, false},
    {KeyCharacter::home, Key::home, false},
    {KeyCharacter::end, Key::end, false},
    {KeyCharacter::pageUp, Key::pageUp, false},
    {KeyCharacter::pageDown, Key::pageDown, false},
    {KeyCharacter::clear, Key::keypadClear, false},
};

char32_t characterOf(Key key)
{
    for (const auto &named : namedKeys) {
        if (named.key == key && named.isForHotKeys)
            return named.character;
    }
    // The place of the key counts, not what a layout prints there. A US keyboard has no key for "<"
    // or "_" alone; those of other keyboards are no part of the mapping.
    const auto *entry = base::KeyTable::findByKeyCode(key.rawValue);
    if (!entry || entry->character == '<' || entry->character == '_')
        return 0;
    return base::KeyTable::findByUsCharacter(entry->character) == entry ? char32_t(entry->character)
                                                                        : 0;
}

}  // namespace

KeyEquivalent KeyShortcut::keyEquivalent() const
{
    for (const auto &named : namedKeys) {
        if (named.character == key)
            return {{}, named.key.rawValue, modifiers};
    }
    return {QString::fromUcs4(&key, 1).toLower(), base::KeyCode::unknown, modifiers};
}

std::optional<KeyShortcut> KeyShortcut::of(const KeyboardShortcuts::Shortcut &shortcut)
{
    const auto character = characterOf(shortcut.key());
    if (character == 0)
        return std::nullopt;
    return KeyShortcut{character, shortcut.modifierFlags()};
}

}  // namespace vellumhound::keyboard
