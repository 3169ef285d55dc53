// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/KeyNames.h"

#include "base/KeyEvent.h"
#include "keyboard/KeyboardShortcuts/Strings.h"

#include <QList>

#include <iterator>

using namespace Qt::StringLiterals;

namespace vellumhound::keyboard::KeyboardShortcuts {

namespace {

namespace Flags = base::ModifierFlags;

struct KeyText {
    Key key;
    const char16_t *text;
};

// clang-format off
constexpr KeyText fixedTexts[] = {
    {Key::returnKey, u"↩"}, {Key::deleteKey, u"⌫"}, {Key::deleteForward, u"⌦"}, {Key::end, u"↘"},
    {Key::escape, u"⎋"}, {Key::help, u"?\u20DD"}, {Key::home, u"↖"}, {Key::space, u"space_key"},
    {Key::tab, u"⇥"}, {Key::pageUp, u"⇞"}, {Key::pageDown, u"⇟"}, {Key::upArrow, u"↑"},
    {Key::rightArrow, u"→"}, {Key::downArrow, u"↓"}, {Key::leftArrow, u"←"},
    {Key::f1, u"F1"}, {Key::f2, u"F2"}, {Key::f3, u"F3"}, {Key::f4, u"F4"}, {Key::f5, u"F5"},
    {Key::f6, u"F6"}, {Key::f7, u"F7"}, {Key::f8, u"F8"}, {Key::f9, u"F9"}, {Key::f10, u"F10"},
    {Key::f11, u"F11"}, {Key::f12, u"F12"}, {Key::f13, u"F13"}, {Key::f14, u"F14"},
    {Key::f15, u"F15"}, {Key::f16, u"F16"}, {Key::f17, u"F17"}, {Key::f18, u"F18"},
    {Key::f19, u"F19"}, {Key::f20, u"F20"},
    // On the keypad, the sign in a key cap.
    {Key::keypad0, u"0\u20E3"}, {Key::keypad1, u"1\u20E3"}, {Key::keypad2, u"2\u20E3"},
    {Key::keypad3, u"3\u20E3"}, {Key::keypad4, u"4\u20E3"}, {Key::keypad5, u"5\u20E3"},
    {Key::keypad6, u"6\u20E3"}, {Key::keypad7, u"7\u20E3"}, {Key::keypad8, u"8\u20E3"},
    {Key::keypad9, u"9\u20E3"}, {Key::keypadClear, u"☒\u20E3"}, {Key::keypadDecimal, u".\u20E3"},
    {Key::keypadDivide, u"/\u20E3"}, {Key::keypadEnter, u"↩\u20E3"},
    {Key::keypadEquals, u"=\u20E3"}, {Key::keypadMinus, u"-\u20E3"},
    {Key::keypadMultiply, u"*\u20E3"}, {Key::keypadPlus, u"+\u20E3"},
};
// clang-format on
static_assert(std::size(fixedTexts) == fixedKeyNameCount);

/// Each word with a leading capital.
QString capitalized(const QString &text)
{
    QList<uint> result = text.toUcs4();
    bool isAtStart = true;
    for (auto &c : result) {
        if (isAtStart)
            c = QChar::toTitleCase(c);
        isAtStart = QChar::isSpace(c);
    }
    return QString::fromUcs4(reinterpret_cast<const char32_t *>(result.constData()), result.size());
}

}  // namespace

std::optional<QString> keyName(int keyCode, const platform::KeyCharacters &characters)
{
    if (keyCode == Key::space.rawValue)
        return localizedString(u"space_key"_s);
    for (const auto &fixed : fixedTexts) {
        if (fixed.key.rawValue == keyCode)
            return QString::fromUtf16(fixed.text);
    }
    auto printed = characters.charactersOf(keyCode);
    return printed && !printed->isEmpty() ? printed : std::nullopt;
}

QString modifierText(std::uint32_t modifierFlags)
{
    QString text;
    if (modifierFlags & Flags::control)
        text += u'⌃';
    if (modifierFlags & Flags::option)
        text += u'⌥';
    if (modifierFlags & Flags::shift)
        text += u'⇧';
    if (modifierFlags & Flags::command)
        text += u'⌘';
    if (modifierFlags & Flags::function)
        text += u"🌐\uFE0E"_s;
    return text;
}

QString description(const Shortcut &shortcut, const platform::KeyCharacters &characters)
{
    const auto name = keyName(shortcut.carbonKeyCode, characters);
    return modifierText(shortcut.modifierFlags()) + (name ? capitalized(*name) : u"�"_s);
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
