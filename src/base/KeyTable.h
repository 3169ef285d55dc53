// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/KeyEvent.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace vellumhound::base::KeyTable {

/// What a key is told by: its place on the keyboard, or the symbol that the layout gives it.
enum class Kind : std::uint8_t { printing, keypad, named, modifier };

/// One key: its code in key events, its code in the Linux input layer (window systems with the XKB
/// model add 8), and the character that it has without Shift on a US keyboard, 0 for none.
struct Key {
    int keyCode = KeyCode::unknown;
    int linuxCode = 0;
    char character = 0;
    Kind kind = Kind::printing;
};

/// Codes in the Linux input layer are those of linux/input-event-codes.h, whose macros are not let
/// into every file that includes this one; tst_KeyTable compares them.
inline constexpr Key keys[] = {
    // clang-format off
    {0, 30, 'a'}, {1, 31, 's'}, {2, 32, 'd'}, {3, 33, 'f'}, {4, 35, 'h'}, {5, 34, 'g'},
    {6, 44, 'z'}, {7, 45, 'x'}, {8, 46, 'c'}, {9, 47, 'v'}, {10, 86, '<'}, {11, 48, 'b'},
    {12, 16, 'q'}, {13, 17, 'w'}, {14, 18, 'e'}, {15, 19, 'r'}, {16, 21, 'y'}, {17, 20, 't'},
    {18, 2, '1'}, {19, 3, '2'}, {20, 4, '3'}, {21, 5, '4'}, {22, 7, '6'}, {23, 6, '5'},
    {24, 13, '='}, {25, 10, '9'}, {26, 8, '7'}, {27, 12, '-'}, {28, 9, '8'}, {29, 11, '0'},
    {30, 27, ']'}, {31, 24, 'o'}, {32, 22, 'u'}, {33, 26, '['}, {34, 23, 'i'}, {35, 25, 'p'},
    {37, 38, 'l'}, {38, 36, 'j'}, {39, 40, '\''}, {40, 37, 'k'}, {41, 39, ';'}, {42, 43, '\\'},
    {43, 51, ','}, {44, 53, '/'}, {45, 49, 'n'}, {46, 50, 'm'}, {47, 52, '.'}, {50, 41, '`'},
    {93, 124, '\\'}, {94, 89, '_'},

    {36, 28, 0, Kind::named}, {48, 15, 0, Kind::named}, {49, 57, ' ', Kind::named},
    {51, 14, 0, Kind::named}, {53, 1, 0, Kind::named}, {76, 96, 0, Kind::named},

    {54, 126, 0, Kind::modifier}, {55, 125, 0, Kind::modifier}, {56, 42, 0, Kind::modifier},
    {57, 58, 0, Kind::modifier}, {58, 56, 0, Kind::modifier}, {59, 29, 0, Kind::modifier},
    {60, 54, 0, Kind::modifier}, {61, 100, 0, Kind::modifier}, {62, 97, 0, Kind::modifier},
    {63, 464, 0, Kind::modifier},

    {65, 83, '.', Kind::keypad}, {67, 55, '*', Kind::keypad}, {69, 78, '+', Kind::keypad},
    {71, 69, 0, Kind::modifier}, {75, 98, '/', Kind::keypad}, {78, 74, '-', Kind::keypad},
    {81, 117, '=', Kind::keypad}, {82, 82, '0', Kind::keypad}, {83, 79, '1', Kind::keypad},
    {84, 80, '2', Kind::keypad}, {85, 81, '3', Kind::keypad}, {86, 75, '4', Kind::keypad},
    {87, 76, '5', Kind::keypad}, {88, 77, '6', Kind::keypad}, {89, 71, '7', Kind::keypad},
    {91, 72, '8', Kind::keypad}, {92, 73, '9', Kind::keypad}, {95, 121, ',', Kind::keypad},

    {64, 187, 0, Kind::named}, {79, 188, 0, Kind::named}, {80, 189, 0, Kind::named},
    {90, 190, 0, Kind::named}, {96, 63, 0, Kind::named}, {97, 64, 0, Kind::named},
    {98, 65, 0, Kind::named}, {99, 61, 0, Kind::named}, {100, 66, 0, Kind::named},
    {101, 67, 0, Kind::named}, {103, 87, 0, Kind::named}, {105, 183, 0, Kind::named},
    {106, 186, 0, Kind::named}, {107, 184, 0, Kind::named}, {109, 68, 0, Kind::named},
    {111, 88, 0, Kind::named}, {113, 185, 0, Kind::named}, {118, 62, 0, Kind::named},
    {120, 60, 0, Kind::named}, {122, 59, 0, Kind::named},

    {72, 115, 0, Kind::named}, {73, 114, 0, Kind::named}, {74, 113, 0, Kind::named},
    {102, 123, 0, Kind::named}, {104, 122, 0, Kind::named}, {110, 127, 0, Kind::named},
    {114, 110, 0, Kind::named}, {115, 102, 0, Kind::named}, {116, 104, 0, Kind::named},
    {117, 111, 0, Kind::named}, {119, 107, 0, Kind::named}, {121, 109, 0, Kind::named},
    {123, 105, 0, Kind::named}, {124, 106, 0, Kind::named}, {125, 108, 0, Kind::named},
    {126, 103, 0, Kind::named},
    // clang-format on
};

/// The function keys F1 to F20, F1 first.
inline constexpr std::array functionKeyCodes{
    122, 120, 99, 118, 96, 97, 98, 100, 101, 109, 103, 111, 105, 107, 113, 106, 64, 79, 80, 90};

/// Null for a code that the table does not hold.
constexpr const Key *findByKeyCode(int keyCode)
{
    const auto *found = std::find_if(
        std::begin(keys), std::end(keys), [=](const Key &key) { return key.keyCode == keyCode; });
    return found == std::end(keys) ? nullptr : found;
}
constexpr const Key *findByLinuxCode(int linuxCode)
{
    const auto *found = std::find_if(std::begin(keys), std::end(keys),
        [=](const Key &key) { return key.linuxCode == linuxCode; });
    return found == std::end(keys) ? nullptr : found;
}
/// Its digits and signs; Enter has a name.
constexpr bool isOnKeypad(int keyCode)
{
    const auto *key = findByKeyCode(keyCode);
    return key && key->kind == Kind::keypad;
}
/// The key that prints `character` without Shift on a US keyboard, keypad aside.
constexpr const Key *findByUsCharacter(char character)
{
    const auto *found = std::find_if(std::begin(keys), std::end(keys),
        [=](const Key &key) { return key.kind == Kind::printing && key.character == character; });
    return found == std::end(keys) || character == 0 ? nullptr : found;
}

}  // namespace vellumhound::base::KeyTable
