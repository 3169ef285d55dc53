// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/keyboard/ShortcutText.h"

#include "base/KeyTable.h"
#include "platform/HotKeyCenter.h"
#include "platform/linux/keyboard/NamedKeys.h"
#include "platform/linux/keyboard/XkbCode.h"

#include <QKeySequence>
#include <QList>

#include <xkbcommon/xkbcommon.h>

namespace vellumhound::platform::ShortcutText {

namespace {

using namespace Qt::StringLiterals;
namespace KeyTable = base::KeyTable;

/// Longer than any combination that a desktop writes.
constexpr qsizetype longestText = 128;

/// F1 is 0; below zero for any other key.
int functionNumber(int keyCode)
{
    for (int number = 0; number < int(std::size(KeyTable::functionKeyCodes)); ++number) {
        if (KeyTable::functionKeyCodes[std::size_t(number)] == keyCode)
            return number;
    }
    return -1;
}

std::optional<int> functionKeyOf(std::int64_t number)
{
    return number >= 0 && number < std::int64_t(std::size(KeyTable::functionKeyCodes))
               ? std::optional(KeyTable::functionKeyCodes[std::size_t(number)])
               : std::nullopt;
}

/// What the key prints, 0 unless it is one character.
char32_t printedBy(const KeyTable::Key &key, const KeyCharacters &characters)
{
    if (key.kind != KeyTable::Kind::printing)
        return 0;
    const auto text = characters.charactersOf(key.keyCode).value_or(QString()).toUcs4();
    return text.size() == 1 ? text.front() : 0;
}

char32_t printedBy(int keyCode, const KeyCharacters &characters)
{
    const auto *key = KeyTable::findByKeyCode(keyCode);
    return key ? printedBy(*key, characters) : 0;
}

/// Where the layout prints this character without Shift, whatever its case.
std::optional<int> placeOf(char32_t character, const KeyCharacters &characters)
{
    if (character <= U' ')
        return std::nullopt;
    const auto wanted = QChar::toLower(character);
    for (const auto &key : KeyTable::keys) {
        const auto printed = printedBy(key, characters);
        if (printed != 0 && QChar::toLower(printed) == wanted)
            return key.keyCode;
    }
    return std::nullopt;
}

xkb_keysym_t symbolOf(int keyCode, const KeyCharacters &characters)
{
    for (const auto &named : namedKeys) {
        if (named.keyCode == keyCode)
            return named.symbol;
    }
    if (const auto number = functionNumber(keyCode); number >= 0)
        return XKB_KEY_F1 + xkb_keysym_t(number);
    const auto printed = printedBy(keyCode, characters);
    return printed == 0 ? xkb_keysym_t(XKB_KEY_NoSymbol) : xkb_utf32_to_keysym(printed);
}

std::optional<int> keyOfSymbol(xkb_keysym_t symbol, const KeyCharacters &characters)
{
    for (const auto &named : namedKeys) {
        if (named.symbol == symbol)
            return named.keyCode;
    }
    if (symbol == XKB_KEY_ISO_Left_Tab)
        return 48;
    if (const auto function = functionKeyOf(std::int64_t(symbol) - XKB_KEY_F1))
        return function;
    // The keypad's other symbols print as well, but not on the keys that placeOf knows.
    if (symbol >= XKB_KEY_KP_Space && symbol <= XKB_KEY_KP_Equal)
        return std::nullopt;
    return placeOf(xkb_keysym_to_utf32(symbol), characters);
}

/// By a name such as "space" or "comma", in any case, as the desktops take it.
std::optional<int> keyOfName(QStringView name, const KeyCharacters &characters)
{
    // Names hold nothing but letters, digits and the underscore. Numbers in a name's place would
    // be read as symbols too.
    for (const auto c : name) {
        if (c.unicode() > 0x7F || (!c.isLetterOrNumber() && c != u'_'))
            return std::nullopt;
    }
    if (name.isEmpty() || name.startsWith("0x"_L1, Qt::CaseInsensitive))
        return std::nullopt;
    // The key that mutter tells by its place, not by what it prints.
    if (name.compare("Above_Tab"_L1, Qt::CaseInsensitive) == 0)
        return 50;
    const auto bytes = name.toLatin1();
    auto symbol = xkb_keysym_from_name(bytes.constData(), XKB_KEYSYM_NO_FLAGS);
    if (symbol == XKB_KEY_NoSymbol)
        symbol = xkb_keysym_from_name(bytes.constData(), XKB_KEYSYM_CASE_INSENSITIVE);
    return symbol == XKB_KEY_NoSymbol ? std::nullopt : keyOfSymbol(symbol, characters);
}

std::optional<int> keyOfHardwareCode(QStringView text)
{
    bool isNumber = false;
    const auto code = text.toInt(&isNumber);
    const auto *key = isNumber ? KeyTable::findByLinuxCode(code - xkbOffset) : nullptr;
    return key && key->kind != KeyTable::Kind::modifier ? std::optional(key->keyCode)
                                                        : std::nullopt;
}

/// One name of a modifier in one of the texts. A modifier may have several; the first is written.
struct ModifierName {
    QLatin1StringView name;
    int bit = 0;  // of HotKeyModifiers, none for what a combination may name without a difference
};

constexpr ModifierName gtkModifiers[] = {
    {"Control"_L1, HotKeyModifiers::control},
    {"Primary"_L1, HotKeyModifiers::control},
    {"Ctrl"_L1, HotKeyModifiers::control},
    {"Ctl"_L1, HotKeyModifiers::control},
    {"Alt"_L1, HotKeyModifiers::option},
    {"Mod1"_L1, HotKeyModifiers::option},
    {"Shift"_L1, HotKeyModifiers::shift},
    {"Shft"_L1, HotKeyModifiers::shift},
    {"Super"_L1, HotKeyModifiers::command},
    {"Mod4"_L1, HotKeyModifiers::command},
};

constexpr ModifierName portalModifiers[] = {
    {"CTRL"_L1, HotKeyModifiers::control},
    {"ALT"_L1, HotKeyModifiers::option},
    {"SHIFT"_L1, HotKeyModifiers::shift},
    {"LOGO"_L1, HotKeyModifiers::command},
};

constexpr ModifierName swayModifiers[] = {
    {"Ctrl"_L1, HotKeyModifiers::control},
    {"Control"_L1, HotKeyModifiers::control},
    {"Mod1"_L1, HotKeyModifiers::option},
    {"Alt"_L1, HotKeyModifiers::option},
    {"Shift"_L1, HotKeyModifiers::shift},
    {"Mod4"_L1, HotKeyModifiers::command},
    {"Super"_L1, HotKeyModifiers::command},
    // Bindings for one layout of several, and for a lit Num Lock.
    {"Group1"_L1, 0},
    {"Group2"_L1, 0},
    {"Group3"_L1, 0},
    {"Group4"_L1, 0},
    {"Mod2"_L1, 0},
};

constexpr ModifierName hyprlandModifiers[] = {
    {"CTRL"_L1, HotKeyModifiers::control},
    {"CONTROL"_L1, HotKeyModifiers::control},
    {"ALT"_L1, HotKeyModifiers::option},
    {"MOD1"_L1, HotKeyModifiers::option},
    {"SHIFT"_L1, HotKeyModifiers::shift},
    {"SUPER"_L1, HotKeyModifiers::command},
    {"WIN"_L1, HotKeyModifiers::command},
    {"LOGO"_L1, HotKeyModifiers::command},
    {"MOD4"_L1, HotKeyModifiers::command},
    {"META"_L1, HotKeyModifiers::command},
    {"MOD2"_L1, 0},
};

template <std::size_t count>
std::optional<int> modifierOf(QStringView name, const ModifierName (&names)[count])
{
    for (const auto &known : names) {
        if (name.compare(known.name, Qt::CaseInsensitive) == 0)
            return known.bit;
    }
    return std::nullopt;
}

/// The names of the modifiers held, in the order of the table.
template <std::size_t count> QStringList namesOf(int modifiers, const ModifierName (&names)[count])
{
    QStringList result;
    for (const auto &known : names) {
        if (known.bit != 0 && (modifiers & known.bit)) {
            result.append(known.name);
            modifiers &= ~known.bit;
        }
    }
    return result;
}

/// Modifiers and one key, joined by a plus, in any order.
template <std::size_t count, typename KeyOf>
std::optional<KeyCombination> joined(
    QStringView text, const ModifierName (&names)[count], const KeyOf &keyOf)
{
    if (text.size() > longestText)
        return std::nullopt;
    KeyCombination combination;
    std::optional<int> key;
    const auto parts = text.split(u'+');
    for (const auto part : parts) {
        const auto name = part.trimmed();
        if (const auto bit = modifierOf(name, names)) {
            combination.modifiers |= *bit;
            continue;
        }
        if (key)
            return std::nullopt;
        key = keyOf(name);
        if (!key)
            return std::nullopt;
    }
    if (!key)
        return std::nullopt;
    combination.keyCode = *key;
    return combination;
}

/// The same the other way; empty for a key that has no name.
template <std::size_t count>
QString joinedText(const KeyCombination &combination, const ModifierName (&names)[count],
    const KeyCharacters &characters)
{
    const auto name = xkbName(combination.keyCode, characters);
    auto parts = namesOf(combination.modifiers, names);
    return name.isEmpty() ? QString() : (parts << name).join(u'+');
}

struct QtModifier {
    Qt::KeyboardModifier flag;
    int bit;
};
constexpr QtModifier qtModifiers[] = {
    {Qt::ControlModifier, HotKeyModifiers::control},
    {Qt::AltModifier, HotKeyModifiers::option},
    {Qt::ShiftModifier, HotKeyModifiers::shift},
    {Qt::MetaModifier, HotKeyModifiers::command},
};

/// 0 for a key that Qt has no number for.
int qtKeyOf(int keyCode, const KeyCharacters &characters)
{
    for (const auto &named : namedKeys) {
        if (named.keyCode == keyCode)
            return KeyTable::isOnKeypad(keyCode) ? named.qtKey | int(Qt::KeypadModifier)
                                                 : named.qtKey;
    }
    if (const auto number = functionNumber(keyCode); number >= 0)
        return Qt::Key_F1 + number;
    // Qt tells letters by their capitals. Some share one, as the dotless i does with the dotted.
    const auto printed = printedBy(keyCode, characters);
    const auto capital = QChar::toUpper(printed);
    return QChar::toLower(capital) == QChar::toLower(printed) ? int(capital) : 0;
}

/// `key` without modifiers.
std::optional<int> keyOfQt(int key, bool isKeypad, const KeyCharacters &characters)
{
    if (key == Qt::Key_Backtab)
        return 48;
    for (const auto &named : namedKeys) {
        // Qt marks the keypad's Enter as well, though it has a name of its own.
        const bool isAlike =
            KeyTable::isOnKeypad(named.keyCode) == isKeypad || key == Qt::Key_Enter;
        if (named.qtKey == key && isAlike)
            return named.keyCode;
    }
    if (isKeypad)
        return std::nullopt;
    if (const auto function = functionKeyOf(key - Qt::Key_F1))
        return function;
    return key < 0x110000 ? placeOf(char32_t(key), characters) : std::nullopt;
}

}  // namespace

std::optional<int> toQt(const KeyCombination &combination, const KeyCharacters &characters)
{
    int key = qtKeyOf(combination.keyCode, characters);
    if (key == 0)
        return std::nullopt;
    for (const auto &modifier : qtModifiers) {
        if (combination.modifiers & modifier.bit)
            key |= int(modifier.flag);
    }
    return key;
}

std::optional<KeyCombination> fromQt(int key, const KeyCharacters &characters)
{
    KeyCombination combination;
    const auto flags = unsigned(key) & unsigned(Qt::KeyboardModifierMask);
    unsigned known = Qt::KeypadModifier;
    for (const auto &modifier : qtModifiers) {
        known |= modifier.flag;
        if (flags & modifier.flag)
            combination.modifiers |= modifier.bit;
    }
    if (flags & ~known)
        return std::nullopt;
    const auto place = keyOfQt(int(unsigned(key) & ~unsigned(Qt::KeyboardModifierMask)),
        (flags & Qt::KeypadModifier) != 0, characters);
    if (!place)
        return std::nullopt;
    combination.keyCode = *place;
    return combination;
}

QString toQtText(const KeyCombination &combination, const KeyCharacters &characters)
{
    const auto key = toQt(combination, characters);
    return key ? QKeySequence(*key).toString(QKeySequence::PortableText) : QString();
}

std::optional<KeyCombination> fromQtText(QStringView text, const KeyCharacters &characters)
{
    if (text.size() > longestText)
        return std::nullopt;
    const auto keys = QKeySequence::fromString(text.toString(), QKeySequence::PortableText);
    return keys.count() == 1 ? fromQt(keys[0].toCombined(), characters) : std::nullopt;
}

QString toGtk(const KeyCombination &combination, const KeyCharacters &characters)
{
    const auto name = xkbName(combination.keyCode, characters);
    if (name.isEmpty())
        return {};
    QString text;
    const auto modifiers = namesOf(combination.modifiers, gtkModifiers);
    for (const auto &modifier : modifiers)
        text += u'<' + modifier + u'>';
    return text + name;
}

std::optional<KeyCombination> fromGtk(QStringView text, const KeyCharacters &characters)
{
    if (text.size() > longestText)
        return std::nullopt;
    KeyCombination combination;
    while (text.startsWith(u'<')) {
        const auto end = text.indexOf(u'>');
        const auto bit = end < 0 ? std::nullopt : modifierOf(text.sliced(1, end - 1), gtkModifiers);
        if (!bit)
            return std::nullopt;
        combination.modifiers |= *bit;
        text = text.sliced(end + 1);
    }
    const auto key = keyOfName(text, characters);
    if (!key)
        return std::nullopt;
    combination.keyCode = *key;
    return combination;
}

QString toPortal(const KeyCombination &combination, const KeyCharacters &characters)
{
    return joinedText(combination, portalModifiers, characters);
}

QString toSway(const KeyCombination &combination, const KeyCharacters &characters)
{
    return joinedText(combination, swayModifiers, characters);
}

std::optional<KeyCombination> fromSway(QStringView text, const KeyCharacters &characters)
{
    return joined(
        text, swayModifiers, [&](QStringView name) { return keyOfName(name, characters); });
}

std::optional<KeyCombination> fromSwayCode(QStringView text)
{
    return joined(text, swayModifiers, keyOfHardwareCode);
}

QString toHyprland(const KeyCombination &combination, const KeyCharacters &characters)
{
    const auto name = xkbName(combination.keyCode, characters);
    return name.isEmpty()
               ? QString()
               : namesOf(combination.modifiers, hyprlandModifiers).join(u' ') + u", "_s + name;
}

QString xkbName(int keyCode, const KeyCharacters &characters)
{
    const auto symbol = symbolOf(keyCode, characters);
    char name[64] = "";
    if (symbol == XKB_KEY_NoSymbol || xkb_keysym_get_name(symbol, name, sizeof name) <= 0)
        return {};
    return QString::fromLatin1(name);
}

}  // namespace vellumhound::platform::ShortcutText
