// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcutView.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace vellumhound::keyboard {

namespace {

QString signOfKey(char32_t key)
{
    static constexpr std::pair<char32_t, const char16_t *> signs[] = {
        {KeyCharacter::upArrow, u"↑"},
        {KeyCharacter::downArrow, u"↓"},
        {KeyCharacter::leftArrow, u"←"},
        {KeyCharacter::rightArrow, u"→"},
        {KeyCharacter::deleteForward, u"⌦"},
        {KeyCharacter::home, u"↖\uFE0E"},
        {KeyCharacter::end, u"↘\uFE0E"},
        {KeyCharacter::pageUp, u"⇞"},
        {KeyCharacter::pageDown, u"⇟"},
        {KeyCharacter::clear, u"⌧"},
        {KeyCharacter::deleteKey, u"⌫"},
        {KeyCharacter::tab, u"⇥"},
        {KeyCharacter::returnKey, u"↩"},
        {KeyCharacter::escape, u"⎋"},
        {KeyCharacter::space, u"Space"},
    };
    for (const auto &[character, sign] : signs) {
        if (character == key)
            return QString::fromUtf16(sign);
    }
    return QString::fromUcs4(&key, 1).toUpper();
}

}  // namespace

QStringList keySigns(const KeyShortcut &shortcut)
{
    namespace Flags = base::ModifierFlags;
    QStringList signs;
    if (shortcut.modifiers & Flags::command)
        signs += u"⌘"_s;
    if (shortcut.modifiers & Flags::option)
        signs += u"⌥"_s;
    if (shortcut.modifiers & Flags::control)
        signs += u"⌃"_s;
    if (shortcut.modifiers & Flags::shift)
        signs += u"⇧"_s;
    signs += signOfKey(shortcut.key);
    return signs;
}

ui::KeyCaps KeyboardShortcutView::describe() const
{
    return {
        keySigns(shortcut), charWidth, ui::keyCapText(colorScheme), ui::keyCapFill(colorScheme)};
}

}  // namespace vellumhound::keyboard
