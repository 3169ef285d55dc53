// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/KeyboardLayout.h"

#include "base/KeyTable.h"
#include "platform/linux/X11Connection.h"

#include <QLoggingCategory>

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

constexpr int xkbOffset = 8;               // a key's code in XKB is its Linux code plus this
constexpr int lettersOfALatinLayout = 20;  // as few as some national layouts keep unshifted

/// The first two bytes of every event of the XKB extension.
struct XkbEventHead {
    std::uint8_t responseType;
    std::uint8_t xkbType;
};
constexpr std::uint8_t newKeyboardNotify = 0;
constexpr std::uint8_t mapNotify = 1;

char characterIn(xkb_keymap *keymap, int linuxCode, xkb_layout_index_t group)
{
    const auto code = xkb_keycode_t(linuxCode + xkbOffset);
    const auto groups = xkb_keymap_num_layouts_for_key(keymap, code);
    if (groups == 0)
        return 0;
    const xkb_keysym_t *symbols = nullptr;
    if (xkb_keymap_key_get_syms_by_level(keymap, code, group % groups, 0, &symbols) != 1)
        return 0;
    const auto unicode = xkb_keysym_to_utf32(symbols[0]);
    return unicode > 0x20 && unicode < 0x7F ? char(unicode) : '\0';
}

bool isLatin(xkb_keymap *keymap, xkb_layout_index_t group)
{
    int letters = 0;
    for (const auto &key : base::KeyTable::keys) {
        if (key.kind != base::KeyTable::Kind::printing)
            continue;
        const char c = characterIn(keymap, key.linuxCode, group);
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
    return std::unique_ptr<KeyboardLayout>(new KeyboardLayout(x11Connection()));
}

std::unique_ptr<KeyboardLayout> KeyboardLayout::named(
    const std::string &layouts, const std::string &variants)
{
    std::unique_ptr<KeyboardLayout> layout(new KeyboardLayout(nullptr));
    layout->_keymap = layout->namedKeymap(layouts, variants);
    return layout;
}

KeyboardLayout::KeyboardLayout(void *connection)
    : _context(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES))
{
    if (!_context)
        return;
    _usKeymap = namedKeymap("us", "");
    if (!connection)
        return;
    std::uint8_t firstEvent = 0;
    if (xkb_x11_setup_xkb_extension(static_cast<xcb_connection_t *>(connection), 1, 0,
            XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &firstEvent, nullptr)) {
        _connection = connection;
        _firstXkbEvent = firstEvent;
        _isStale = true;
    }
}

KeyboardLayout::~KeyboardLayout() = default;

KeyboardLayout::Keymap KeyboardLayout::namedKeymap(
    const std::string &layouts, const std::string &variants) const
{
    const xkb_rule_names names{"evdev", "pc105", layouts.c_str(), variants.c_str(), ""};
    return Keymap(xkb_keymap_new_from_names(_context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
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

char KeyboardLayout::characterOf(int linuxCode, unsigned group) const
{
    if (_isStale)
        readFromServer();
    if (_keymap) {
        const auto latin = latinGroup(_keymap.get(), group);
        if (latin != XKB_LAYOUT_INVALID)
            return characterIn(_keymap.get(), linuxCode, latin);
    }
    if (_usKeymap)
        return characterIn(_usKeymap.get(), linuxCode, 0);
    const auto *key = base::KeyTable::findByLinuxCode(linuxCode);
    return key ? key->character : '\0';
}

void KeyboardLayout::noticeX11Event(const void *event)
{
    if (!_connection)
        return;
    const auto *head = static_cast<const XkbEventHead *>(event);
    if ((head->responseType & 0x7F) == _firstXkbEvent &&
        (head->xkbType == newKeyboardNotify || head->xkbType == mapNotify)) {
        _isStale = true;
    }
}

}  // namespace vellumhound::platform
