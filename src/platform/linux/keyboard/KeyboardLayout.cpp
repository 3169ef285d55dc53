// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/keyboard/KeyboardLayout.h"

#include "base/KeyEvent.h"
#include "base/KeyTable.h"
#include "platform/linux/keyboard/NamedKeys.h"
#include "platform/linux/keyboard/XkbCode.h"
#include "platform/linux/wayland/WaylandKeyboard.h"
#include "platform/linux/x11/X11Connection.h"

#include <QCoreApplication>

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

constexpr int lastLinuxCode = 247;         // the last that has a code in the X server
constexpr int lettersOfALatinLayout = 20;  // as few as some national layouts keep unshifted

/// The first two bytes of every event of the XKB extension.
struct XkbEventHead {
    std::uint8_t responseType;
    std::uint8_t xkbType;
};
constexpr std::uint8_t newKeyboardNotify = 0;
constexpr std::uint8_t mapNotify = 1;

xkb_keysym_t symbolIn(xkb_keymap *keymap, int linuxCode, xkb_layout_index_t group)
{
    const auto code = xkb_keycode_t(linuxCode + xkbOffset);
    const auto groups = xkb_keymap_num_layouts_for_key(keymap, code);
    if (groups == 0)
        return XKB_KEY_NoSymbol;
    const xkb_keysym_t *symbols = nullptr;
    if (xkb_keymap_key_get_syms_by_level(keymap, code, group % groups, 0, &symbols) != 1)
        return XKB_KEY_NoSymbol;
    return symbols[0];
}

bool isModifier(xkb_keysym_t symbol)
{
    return (symbol >= XKB_KEY_Shift_L && symbol <= XKB_KEY_Hyper_R) ||
           (symbol >= XKB_KEY_ISO_Lock && symbol <= XKB_KEY_ISO_Level5_Lock) ||
           symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_Scroll_Lock ||
           symbol == XKB_KEY_Mode_switch;
}

char asciiOf(xkb_keysym_t symbol)
{
    const auto unicode = xkb_keysym_to_utf32(symbol);
    return unicode > 0x20 && unicode < 0x7F ? char(unicode) : '\0';
}

/// The accent of a dead key, 0 for any other symbol.
char32_t accentOf(xkb_keysym_t symbol)
{
    switch (symbol) {
    case XKB_KEY_dead_grave:
        return U'`';
    case XKB_KEY_dead_acute:
        return U'´';
    case XKB_KEY_dead_circumflex:
        return U'^';
    case XKB_KEY_dead_tilde:
        return U'~';
    case XKB_KEY_dead_diaeresis:
        return U'¨';
    case XKB_KEY_dead_abovering:
        return U'°';
    case XKB_KEY_dead_caron:
        return U'ˇ';
    case XKB_KEY_dead_cedilla:
        return U'¸';
    case XKB_KEY_dead_ogonek:
        return U'˛';
    default:
        return 0;
    }
}

bool isLatin(xkb_keymap *keymap, xkb_layout_index_t group)
{
    int letters = 0;
    for (const auto &key : base::KeyTable::keys) {
        if (key.kind != base::KeyTable::Kind::printing)
            continue;
        const char c = asciiOf(symbolIn(keymap, key.linuxCode, group));
        letters += c >= 'a' && c <= 'z';
    }
    return letters >= lettersOfALatinLayout;
}

xkb_layout_index_t latinGroup(xkb_keymap *keymap, xkb_layout_index_t preferred)
{
    const auto groups = xkb_keymap_num_layouts(keymap);
    if (preferred < groups && isLatin(keymap, preferred))
        return preferred;
    for (xkb_layout_index_t group = 0; group < groups; ++group) {
        if (isLatin(keymap, group))
            return group;
    }
    return XKB_LAYOUT_INVALID;
}

}  // namespace

void KeyboardLayout::Unref::operator()(xkb_context *context) const
{
    xkb_context_unref(context);
}

void KeyboardLayout::Unref::operator()(xkb_keymap *keymap) const
{
    xkb_keymap_unref(keymap);
}

std::unique_ptr<KeyboardLayout> KeyboardLayout::ofSession()
{
    std::unique_ptr<KeyboardLayout> layout(new KeyboardLayout);
    if (auto *connection = x11Connection())
        layout->followX11(connection);
    else
        layout->_waylandKeyboard = WaylandKeyboard::open();
    return layout;
}

std::unique_ptr<KeyboardLayout> KeyboardLayout::named(
    const std::string &layouts, const std::string &variants, const std::string &options)
{
    std::unique_ptr<KeyboardLayout> layout(new KeyboardLayout);
    layout->_keymap = layout->namedKeymap(layouts, variants, options);
    return layout;
}

KeyboardLayout::KeyboardLayout()
    : _context(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES))
{
    // What the server tells can be read where no layouts are installed.
    if (!_context) {
        _context.reset(xkb_context_new(
            xkb_context_flags(XKB_CONTEXT_NO_ENVIRONMENT_NAMES | XKB_CONTEXT_NO_DEFAULT_INCLUDES)));
    }
    if (_context)
        _usKeymap = namedKeymap("us", "", "");
}

void KeyboardLayout::followX11(void *connection)
{
    std::uint8_t firstEvent = 0;
    if (_context &&
        xkb_x11_setup_xkb_extension(static_cast<xcb_connection_t *>(connection), 1, 0,
            XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &firstEvent, nullptr)) {
        _connection = connection;
        _firstXkbEvent = firstEvent;
        _isStale = true;
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
}

KeyboardLayout::~KeyboardLayout() = default;

KeyboardLayout::Keymap KeyboardLayout::namedKeymap(
    const std::string &layouts, const std::string &variants, const std::string &options) const
{
    const xkb_rule_names names{
        "evdev", "pc105", layouts.c_str(), variants.c_str(), options.c_str()};
    return Keymap(xkb_keymap_new_from_names(_context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

bool KeyboardLayout::isFromServer() const
{
    return _connection || (_waylandKeyboard && _waylandKeyboard->hasKeymap());
}

/// A keymap is read when it is asked for: it takes milliseconds, and some compositors tell it again
/// whenever another of several keyboards is touched.
void KeyboardLayout::refresh() const
{
    if (_isStale)
        readFromServer();
    if (!_waylandKeyboard || !_context)
        return;
    const auto text = _waylandKeyboard->takeKeymap();
    if (!text.empty()) {
        _keymap.reset(xkb_keymap_new_from_string(
            _context.get(), text.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
    }
}

void KeyboardLayout::readFromServer() const
{
    auto *connection = static_cast<xcb_connection_t *>(_connection);
    const auto device = xkb_x11_get_core_keyboard_device_id(connection);
    if (device >= 0) {
        _keymap.reset(xkb_x11_keymap_new_from_device(
            _context.get(), connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS));
    }
    _isStale = false;
}

xkb_keysym_t KeyboardLayout::symbolOf(int linuxCode, unsigned group) const
{
    refresh();
    if (_keymap) {
        const auto latin = latinGroup(_keymap.get(), group);
        if (latin != XKB_LAYOUT_INVALID)
            return symbolIn(_keymap.get(), linuxCode, latin);
    }
    if (_usKeymap)
        return symbolIn(_usKeymap.get(), linuxCode, 0);
    const auto *key = base::KeyTable::findByLinuxCode(linuxCode);
    return key && key->character ? xkb_utf32_to_keysym(std::uint32_t(key->character))
                                 : xkb_keysym_t(XKB_KEY_NoSymbol);
}

char KeyboardLayout::characterOf(int linuxCode, unsigned group) const
{
    return asciiOf(symbolOf(linuxCode, group));
}

QString KeyboardLayout::textOf(int linuxCode, unsigned group) const
{
    const auto symbol = symbolOf(linuxCode, group);
    const auto accent = accentOf(symbol);
    const char32_t character = accent ? accent : char32_t(xkb_keysym_to_utf32(symbol));
    return QChar::isPrint(character) ? QString::fromUcs4(&character, 1) : QString();
}

/// In the first group in which the key has any, as the same keys have names in all of them.
xkb_keysym_t KeyboardLayout::firstSymbolOf(int linuxCode) const
{
    refresh();
    auto *keymap = _keymap ? _keymap.get() : _usKeymap.get();
    const auto groups = keymap ? xkb_keymap_num_layouts(keymap) : 0;
    for (xkb_layout_index_t group = 0; group < groups; ++group) {
        const auto symbol = symbolIn(keymap, linuxCode, group);
        if (symbol != XKB_KEY_NoSymbol)
            return symbol;
    }
    return XKB_KEY_NoSymbol;
}

int KeyboardLayout::hotKeyCodeAt(int linuxCode) const
{
    using base::KeyTable::Kind;
    const auto *place = base::KeyTable::findByLinuxCode(linuxCode);
    const auto symbol = firstSymbolOf(linuxCode);
    const int named = namedKeyOf(symbol);
    if (named != base::KeyCode::unknown)
        return named;
    const bool isKey = place && place->kind != Kind::modifier && !isModifier(symbol);
    return isKey ? place->keyCode : base::KeyCode::unknown;
}

QList<int> KeyboardLayout::placesOf(int keyCode) const
{
    QList<int> places;
    for (int linuxCode = 1; linuxCode <= lastLinuxCode; ++linuxCode) {
        if (keyCode != base::KeyCode::unknown && hotKeyCodeAt(linuxCode) == keyCode)
            places.append(linuxCode);
    }
    return places;
}

unsigned KeyboardLayout::activeGroup() const
{
    if (_waylandKeyboard)
        return _waylandKeyboard->group();
    refresh();
    auto *connection = static_cast<xcb_connection_t *>(_connection);
    if (!connection || !_keymap)
        return 0;
    const auto device = xkb_x11_get_core_keyboard_device_id(connection);
    auto *state = xkb_x11_state_new_from_device(_keymap.get(), connection, device);
    if (!state)
        return 0;
    const auto group = xkb_state_serialize_layout(state, XKB_STATE_LAYOUT_EFFECTIVE);
    xkb_state_unref(state);
    return group;
}

unsigned KeyboardLayout::groupOf(std::uint32_t nativeModifiers) const
{
    // X11 tells it with each press.
    return _connection ? (nativeModifiers >> 13) & 3U : activeGroup();
}

/// A new layout is read at the next question.
bool KeyboardLayout::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *head = static_cast<const XkbEventHead *>(message);
    if ((head->responseType & 0x7F) == _firstXkbEvent &&
        (head->xkbType == newKeyboardNotify || head->xkbType == mapNotify)) {
        _isStale = true;
    }
    return false;
}

}  // namespace vellumhound::platform
