// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <qnamespace.h>

#include <cstdint>
#include <xkbcommon/xkbcommon.h>

namespace vellumhound::platform {

/// A key that has one name on every layout: its code (base::KeyTable), what the toolkit calls it,
/// and its symbol in the X keyboard extension.
struct NamedKey {
    int keyCode;
    int qtKey;
    xkb_keysym_t symbol;
};

// clang-format off
/// The keys of the keypad's digits and signs are at the end; F1 to F20 are not among them.
inline constexpr NamedKey namedKeys[] = {
    {36, Qt::Key_Return, XKB_KEY_Return}, {48, Qt::Key_Tab, XKB_KEY_Tab},
    {49, Qt::Key_Space, XKB_KEY_space}, {51, Qt::Key_Backspace, XKB_KEY_BackSpace},
    {53, Qt::Key_Escape, XKB_KEY_Escape}, {76, Qt::Key_Enter, XKB_KEY_KP_Enter},
    {72, Qt::Key_VolumeUp, XKB_KEY_XF86AudioRaiseVolume},
    {73, Qt::Key_VolumeDown, XKB_KEY_XF86AudioLowerVolume},
    {74, Qt::Key_VolumeMute, XKB_KEY_XF86AudioMute},
    {102, Qt::Key_Hangul_Hanja, XKB_KEY_Hangul_Hanja}, {104, Qt::Key_Hangul, XKB_KEY_Hangul},
    {110, Qt::Key_Menu, XKB_KEY_Menu}, {114, Qt::Key_Insert, XKB_KEY_Insert},
    {115, Qt::Key_Home, XKB_KEY_Home}, {116, Qt::Key_PageUp, XKB_KEY_Prior},
    {117, Qt::Key_Delete, XKB_KEY_Delete}, {119, Qt::Key_End, XKB_KEY_End},
    {121, Qt::Key_PageDown, XKB_KEY_Next}, {123, Qt::Key_Left, XKB_KEY_Left},
    {124, Qt::Key_Right, XKB_KEY_Right}, {125, Qt::Key_Down, XKB_KEY_Down},
    {126, Qt::Key_Up, XKB_KEY_Up},

    {65, Qt::Key_Period, XKB_KEY_KP_Decimal}, {67, Qt::Key_Asterisk, XKB_KEY_KP_Multiply},
    {69, Qt::Key_Plus, XKB_KEY_KP_Add}, {75, Qt::Key_Slash, XKB_KEY_KP_Divide},
    {78, Qt::Key_Minus, XKB_KEY_KP_Subtract}, {81, Qt::Key_Equal, XKB_KEY_KP_Equal},
    {82, Qt::Key_0, XKB_KEY_KP_0}, {83, Qt::Key_1, XKB_KEY_KP_1}, {84, Qt::Key_2, XKB_KEY_KP_2},
    {85, Qt::Key_3, XKB_KEY_KP_3}, {86, Qt::Key_4, XKB_KEY_KP_4}, {87, Qt::Key_5, XKB_KEY_KP_5},
    {88, Qt::Key_6, XKB_KEY_KP_6}, {89, Qt::Key_7, XKB_KEY_KP_7}, {91, Qt::Key_8, XKB_KEY_KP_8},
    {92, Qt::Key_9, XKB_KEY_KP_9}, {95, Qt::Key_Comma, XKB_KEY_KP_Separator},
};
// clang-format on

/// The code of the key with this name, F1 to F20 among them; base::KeyCode::unknown for any other
/// symbol, also for the keypad's digits and signs.
int namedKeyOf(xkb_keysym_t symbol);

}  // namespace vellumhound::platform
