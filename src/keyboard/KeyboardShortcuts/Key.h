// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHashFunctions>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// A key without modifiers: a code of base::KeyTable. Letters, digits and signs name a place, the
/// one where a US keyboard has them.
struct Key {
    int rawValue = -1;

    bool operator==(const Key &) const = default;

    static const Key a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u, v, w, x, y, z;
    static const Key zero, one, two, three, four, five, six, seven, eight, nine;
    static const Key minus, equal, leftBracket, rightBracket, backslash, semicolon, quote, comma;
    static const Key period, slash, backtick;
    static const Key f1, f2, f3, f4, f5, f6, f7, f8, f9, f10;
    static const Key f11, f12, f13, f14, f15, f16, f17, f18, f19, f20;
    static const Key returnKey, space, tab, deleteKey, deleteForward, escape, help;
    static const Key home, end, pageUp, pageDown, leftArrow, rightArrow, downArrow, upArrow;
    static const Key keypad0, keypad1, keypad2, keypad3, keypad4, keypad5, keypad6, keypad7;
    static const Key keypad8, keypad9, keypadDecimal, keypadMultiply, keypadPlus, keypadMinus;
    static const Key keypadDivide, keypadEquals, keypadEnter, keypadClear;
    static const Key volumeUp, volumeDown, mute;
};

// clang-format off
inline constexpr Key Key::a{0}, Key::s{1}, Key::d{2}, Key::f{3}, Key::h{4}, Key::g{5}, Key::z{6},
    Key::x{7}, Key::c{8}, Key::v{9}, Key::b{11}, Key::q{12}, Key::w{13}, Key::e{14}, Key::r{15},
    Key::y{16}, Key::t{17}, Key::o{31}, Key::u{32}, Key::i{34}, Key::p{35}, Key::l{37}, Key::j{38},
    Key::k{40}, Key::n{45}, Key::m{46};
inline constexpr Key Key::one{18}, Key::two{19}, Key::three{20}, Key::four{21}, Key::six{22},
    Key::five{23}, Key::nine{25}, Key::seven{26}, Key::eight{28}, Key::zero{29};
inline constexpr Key Key::equal{24}, Key::minus{27}, Key::rightBracket{30}, Key::leftBracket{33},
    Key::quote{39}, Key::semicolon{41}, Key::backslash{42}, Key::comma{43}, Key::slash{44},
    Key::period{47}, Key::backtick{50};
inline constexpr Key Key::f1{122}, Key::f2{120}, Key::f3{99}, Key::f4{118}, Key::f5{96},
    Key::f6{97}, Key::f7{98}, Key::f8{100}, Key::f9{101}, Key::f10{109}, Key::f11{103},
    Key::f12{111}, Key::f13{105}, Key::f14{107}, Key::f15{113}, Key::f16{106}, Key::f17{64},
    Key::f18{79}, Key::f19{80}, Key::f20{90};
inline constexpr Key Key::returnKey{36}, Key::tab{48}, Key::space{49}, Key::deleteKey{51},
    Key::escape{53}, Key::help{114}, Key::deleteForward{117};
inline constexpr Key Key::home{115}, Key::pageUp{116}, Key::end{119}, Key::pageDown{121},
    Key::leftArrow{123}, Key::rightArrow{124}, Key::downArrow{125}, Key::upArrow{126};
inline constexpr Key Key::keypadDecimal{65}, Key::keypadMultiply{67}, Key::keypadPlus{69},
    Key::keypadClear{71}, Key::keypadDivide{75}, Key::keypadEnter{76}, Key::keypadMinus{78},
    Key::keypadEquals{81}, Key::keypad0{82}, Key::keypad1{83}, Key::keypad2{84}, Key::keypad3{85},
    Key::keypad4{86}, Key::keypad5{87}, Key::keypad6{88}, Key::keypad7{89}, Key::keypad8{91},
    Key::keypad9{92};
inline constexpr Key Key::volumeUp{72}, Key::volumeDown{73}, Key::mute{74};
// clang-format on

inline std::size_t qHash(const Key &key, std::size_t seed = 0)
{
    return ::qHash(key.rawValue, seed);
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
