// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/keyboard/KeyTranslator.h"

#include "base/KeyTable.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/NamedKeys.h"
#include "platform/linux/keyboard/XkbCode.h"

#include <QKeyEvent>

#include <algorithm>
#include <iterator>
#include <utility>

namespace vellumhound::platform {

namespace KeyTable = base::KeyTable;
namespace ModifierFlags = base::ModifierFlags;
using base::KeyCode::unknown;

namespace {

constexpr std::uint32_t lockMask = 0x2;  // the same on X11 and Wayland

bool isModifierAlone(int key)
{
    static constexpr int others[] = {Qt::Key_Super_L, Qt::Key_Super_R, Qt::Key_Hyper_L,
        Qt::Key_Hyper_R, Qt::Key_AltGr, Qt::Key_Mode_switch, Qt::Key_Multi_key, Qt::Key_Kana_Lock,
        Qt::Key_Kana_Shift, Qt::Key_Eisu_Shift};
    return (key >= Qt::Key_Shift && key <= Qt::Key_ScrollLock) ||
           std::find(std::begin(others), std::end(others), key) != std::end(others);
}

/// The code of a key that is told by its symbol.
int namedKeyCode(int qtKey)
{
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F20)
        return KeyTable::functionKeyCodes[std::size_t(qtKey - Qt::Key_F1)];
    if (qtKey == Qt::Key_Backtab)
        return base::KeyCode::tab;
    for (const auto &named : namedKeys) {
        if (named.qtKey == qtKey && !KeyTable::isOnKeypad(named.keyCode))
            return named.keyCode;
    }
    return unknown;
}

const KeyTable::Key *keyAtPosition(const QKeyEvent &event)
{
    const auto scanCode = int(event.nativeScanCode());
    const auto *key =
        scanCode > xkbOffset ? KeyTable::findByLinuxCode(scanCode - xkbOffset) : nullptr;
    const bool isTold =
        key && (key->kind == KeyTable::Kind::printing || key->kind == KeyTable::Kind::keypad);
    return isTold ? key : nullptr;
}

/// As which key the press counts in hot keys. Nothing where that is `keyCode`.
std::optional<int> hotKeyCodeOf(const QKeyEvent &event, int keyCode, const KeyboardLayout &layout)
{
    const auto code = int(event.nativeScanCode()) - xkbOffset;
    const auto *place = code > 0 ? KeyTable::findByLinuxCode(code) : nullptr;
    // What an assumed layout says of a key that has a name may be wrong.
    if (code <= 0 || (!layout.isFromServer() && !(place && place->kind == KeyTable::Kind::keypad)))
        return std::nullopt;
    const int counted = layout.hotKeyCodeAt(code);
    return counted == unknown || counted == keyCode ? std::nullopt : std::optional(counted);
}

/// Where the symbol stands on a US keyboard: for presses without a place of their own.
const KeyTable::Key *keyBySymbol(const QKeyEvent &event)
{
    const int symbol = event.key();
    if (symbol <= 0x20 || symbol >= 0x7F)
        return nullptr;
    const char character = char(symbol >= 'A' && symbol <= 'Z' ? symbol - 'A' + 'a' : symbol);
    return KeyTable::findByUsCharacter(character);
}

std::uint32_t literalModifiers(const QKeyEvent &event)
{
    const auto held = event.modifiers();
    std::uint32_t flags = 0;
    if (held & Qt::ShiftModifier)
        flags |= ModifierFlags::shift;
    if (held & Qt::ControlModifier)
        flags |= ModifierFlags::control;
    if (held & Qt::AltModifier)
        flags |= ModifierFlags::option;
    if (held & Qt::MetaModifier)
        flags |= ModifierFlags::command;
    if (held & Qt::KeypadModifier)
        flags |= ModifierFlags::numericPad;
    return flags;
}

/// The marks that navigation and function keys carry beside the modifiers.
std::uint32_t marksOf(int keyCode)
{
    using namespace base::KeyCode;
    if (keyCode == left || keyCode == right || keyCode == up || keyCode == down)
        return ModifierFlags::function | ModifierFlags::numericPad;
    const auto *key = KeyTable::findByKeyCode(keyCode);
    if (key && key->kind == KeyTable::Kind::named && keyCode >= 64 && keyCode != keypadEnter)
        return ModifierFlags::function;
    return 0;
}

QString equivalentOf(
    const QKeyEvent &event, const KeyTable::Key *place, const KeyboardLayout &layout)
{
    if (!place)
        return {};
    if (place->kind == KeyTable::Kind::keypad)
        return QString(QLatin1Char(place->character));
    if (event.nativeScanCode() == 0)
        return QString(QLatin1Char(place->character));
    const int symbol = event.key();
    if (!layout.isFromServer() && symbol >= Qt::Key_A && symbol <= Qt::Key_Z)
        return QString(QChar(symbol)).toLower();
    const char character =
        layout.characterOf(place->linuxCode, layout.groupOf(event.nativeModifiers()));
    return character ? QString(QLatin1Char(character)).toLower() : QString();
}

}  // namespace

std::uint32_t panelModifiers(std::uint32_t literalFlags, int keyCode)
{
    using namespace ModifierFlags;
    if (!(literalFlags & control) || (literalFlags & command))
        return literalFlags;
    const bool isBrowseKey = keyCode == base::KeyCode::t || keyCode == base::KeyCode::f;
    if (isBrowseKey && (literalFlags & mask) == (control | shift))
        return (literalFlags & ~shift) | command;
    return (literalFlags & ~control) | command;
}

KeyTranslator::KeyTranslator(std::shared_ptr<const KeyboardLayout> layout)
    : _layout(std::move(layout))
{
}

std::optional<base::KeyEvent> KeyTranslator::translate(const QKeyEvent &event) const
{
    if (isModifierAlone(event.key()))
        return std::nullopt;

    base::KeyEvent result;
    const KeyTable::Key *place = nullptr;
    result.keyCode = namedKeyCode(event.key());
    if (result.keyCode == unknown) {
        place = keyAtPosition(event);
        if (!place)
            place = keyBySymbol(event);
        if (place)
            result.keyCode = place->keyCode;
    }
    result.hotKeyCode = hotKeyCodeOf(event, result.keyCode, *_layout);
    result.literalFlags = literalModifiers(event) | marksOf(result.keyCode);
    if (_layout->isFromServer() && (event.nativeModifiers() & lockMask))
        result.literalFlags |= ModifierFlags::capsLock;
    result.modifierFlags = panelModifiers(result.literalFlags, result.keyCode);
    result.characters = event.text();
    result.equivalent = equivalentOf(event, place, *_layout);
    result.isRepeat = event.isAutoRepeat();
    result.time = std::chrono::milliseconds(event.timestamp());
    return result;
}

}  // namespace vellumhound::platform
