// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/x11/X11Modifiers.h"

#include "platform/HotKeyCenter.h"
#include "platform/linux/x11/X11Request.h"

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace vellumhound::platform {

namespace {

constexpr std::uint16_t shiftMask = XCB_MOD_MASK_SHIFT;
constexpr std::uint16_t lockMask = XCB_MOD_MASK_LOCK;
constexpr std::uint16_t controlMask = XCB_MOD_MASK_CONTROL;
constexpr std::uint16_t allModifiers = 0xFF;
constexpr int modifierCount = 8;

/// What the server tells of modifiers and symbols.
struct Mappings {
    X11Reply<xcb_get_modifier_mapping_reply_t> modifiers;
    X11Reply<xcb_get_keyboard_mapping_reply_t> symbols;
    xcb_keycode_t firstCode = 0;

    bool prints(xcb_keycode_t code, xcb_keysym_t symbol) const
    {
        const int columns = symbols->keysyms_per_keycode;
        const int first = (code - firstCode) * columns;
        const int length = xcb_get_keyboard_mapping_keysyms_length(symbols.get());
        if (code < firstCode || first + columns > length)
            return false;
        const auto *begin = xcb_get_keyboard_mapping_keysyms(symbols.get()) + first;
        return std::find(begin, begin + columns, symbol) != begin + columns;
    }

    /// The bits whose keys have one of the symbols.
    std::uint16_t bitsOf(std::initializer_list<xcb_keysym_t> wanted) const
    {
        const auto *codes = xcb_get_modifier_mapping_keycodes(modifiers.get());
        const int keysPerModifier = modifiers->keycodes_per_modifier;
        unsigned bits = 0;
        for (int i = 0; i < modifierCount * keysPerModifier; ++i) {
            const auto isIt = [&](xcb_keysym_t symbol) { return prints(codes[i], symbol); };
            if (codes[i] != 0 && std::any_of(wanted.begin(), wanted.end(), isIt))
                bits |= 1U << unsigned(i / keysPerModifier);
        }
        return std::uint16_t(bits);
    }
};

Mappings mappingsOf(xcb_connection_t *connection)
{
    const auto *setup = xcb_get_setup(connection);
    const auto first = setup->min_keycode;
    const auto count = std::uint8_t(setup->max_keycode - first + 1);
    const auto modifiers = xcb_get_modifier_mapping(connection);
    const auto symbols = xcb_get_keyboard_mapping(connection, first, count);
    Mappings mappings;
    mappings.modifiers.reset(xcb_get_modifier_mapping_reply(connection, modifiers, nullptr));
    mappings.symbols.reset(xcb_get_keyboard_mapping_reply(connection, symbols, nullptr));
    mappings.firstCode = first;
    return mappings;
}

}  // namespace

X11Modifiers X11Modifiers::ofServer(xcb_connection_t *connection)
{
    X11Modifiers result;
    const auto mappings = mappingsOf(connection);
    if (!mappings.modifiers || !mappings.symbols)
        return result;
    // No bit stands for two; of several for one modifier the first is as good as another.
    int free = allModifiers & ~(shiftMask | lockMask | controlMask);
    const auto setIfKnown = [&](std::uint16_t &member,
                                std::initializer_list<xcb_keysym_t> symbols) {
        const int bits = mappings.bitsOf(symbols) & free;
        if (bits != 0)
            member = std::uint16_t(bits & -bits);
        free &= ~member;
    };
    setIfKnown(result.option, {XKB_KEY_Alt_L, XKB_KEY_Alt_R});
    setIfKnown(result.command, {XKB_KEY_Super_L, XKB_KEY_Super_R});
    setIfKnown(result.numLock, {XKB_KEY_Num_Lock});
    setIfKnown(result.scrollLock, {XKB_KEY_Scroll_Lock});
    return result;
}

std::uint16_t X11Modifiers::stateOf(int hotKeyModifiers) const
{
    unsigned state = 0;
    if (hotKeyModifiers & HotKeyModifiers::shift)
        state |= shiftMask;
    if (hotKeyModifiers & HotKeyModifiers::control)
        state |= controlMask;
    if (hotKeyModifiers & HotKeyModifiers::option)
        state |= option;
    if (hotKeyModifiers & HotKeyModifiers::command)
        state |= command;
    return std::uint16_t(state);
}

QList<std::uint16_t> X11Modifiers::lockStates() const
{
    QList<std::uint16_t> states{0};
    for (const auto lock : {lockMask, numLock, scrollLock}) {
        const auto present = states;
        for (const auto state : present) {
            const auto with = std::uint16_t(state | lock);
            if (!states.contains(with))
                states.append(with);
        }
    }
    return states;
}

std::uint16_t X11Modifiers::withoutLocks(std::uint16_t state) const
{
    return std::uint16_t(state & allModifiers & ~(lockMask | numLock | scrollLock));
}

}  // namespace vellumhound::platform
