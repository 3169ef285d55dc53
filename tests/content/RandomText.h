// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace vellumhound::tests {

/// Texts of several scripts, the same for the same seed. Few different words, so that needles
/// taken from one text stand in others too.
class RandomText {
public:
    explicit RandomText(std::uint32_t seed)
        : _random(seed)
    {
    }

    std::size_t pick(std::size_t count) { return std::size_t(_random()) % count; }

    std::string text(std::size_t words)
    {
        static constexpr std::array parts{"the", "licence", "Straße", "STRASSE", "çà", "Über", "na",
            "int main()", "{", "};", "0x1F", "Ærø", "привет", "Мир", "да", "Ξένος", "漢字",
            "日本語", "かな", "がぎ", "か\u3099", "한국어", "e\u0301te", "ﬁ", "…", "a\u00ADb",
            "Ṩtate", "\xFF\xFE", "עִבְרִית", "العَرَبِيَّة", "ไทยที่", "🙂", "x", "zq", "kubernetes",
            "1\u00BD"};
        static constexpr std::array gaps{
            " ", " ", " ", "\n", "\r\n", "\t\t", "  \n ", "", "-", "\u00A0", "\u3000"};
        std::string made;
        for (std::size_t i = 0; i < words; ++i)
            made.append(parts[pick(parts.size())]).append(gaps[pick(gaps.size())]);
        if (pick(4) == 0)
            made.append(1, '\0').append(made, 0, 20);
        return made;
    }

    /// Part of a text, 2 to 40 bytes, most often between characters.
    std::string needleFrom(const std::string &text)
    {
        if (text.size() < 2)
            return "zz";
        auto from = pick(text.size() - 1);
        auto end = std::min(text.size(), from + 2 + pick(39));
        const auto isInside = [&](std::size_t i) {
            return i < text.size() && (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80;
        };
        while (from > 0 && isInside(from))
            --from;
        while (isInside(end))
            ++end;
        return text.substr(from, end - from);
    }

private:
    std::mt19937 _random;
};

}  // namespace vellumhound::tests
