// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/TextFolding.h"

#include "base/Fold.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

namespace vellumhound::content {

namespace {

unsigned char byteOf(char c)
{
    return static_cast<unsigned char>(c);
}

constexpr bool isBlank(unsigned char c)
{
    return c == ' ' || c == 0 || (c >= '\t' && c <= '\r');
}

/// What each ASCII byte becomes; 0 for all others.
constexpr auto asciiFolded = [] {
    std::array<char, 256> table{};
    for (unsigned c = 0; c < 0x80; ++c) {
        const auto byte = static_cast<unsigned char>(c);
        table[c] = static_cast<char>(isBlank(byte) ? ' ' : c >= 'A' && c <= 'Z' ? c | 0x20 : c);
    }
    return table;
}();

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

/// Letters that fold the same whatever stands beside them, as long as that is one of them too or
/// ASCII: no marks, nothing that is composed with what follows. Ascending.
constexpr std::array lonelyLetters{
    Range{0x0080, 0x02FF},  // Latin
    Range{0x0370, 0x0482},  // Greek, Cyrillic
    Range{0x048A, 0x052F},
    Range{0x1E00, 0x1FFF},  // Latin with several marks, old Greek
    Range{0x2010, 0x205F},  // punctuation
    Range{0x2070, 0x20CF},
    Range{0x2100, 0x2BFF},  // arrows, mathematics, boxes
    Range{0x3000, 0x3029},
    Range{0x3041, 0x3096},  // kana
    Range{0x30A1, 0x30FA},
    Range{0x30FC, 0x30FC},
};

/// Letters that are their own folded form beside any of the above.
constexpr bool isUnchanged(std::uint32_t c)
{
    return (c >= 0x3400 && c <= 0x4DBF) || (c >= 0x4E00 && c <= 0x9FFF) ||
           (c >= 0xAC00 && c <= 0xD7A3);
}

struct Letter {
    std::array<char, 6> bytes{};
    std::uint8_t length = 0;
    bool isKnown = false;
};

void appendUtf8(std::string &out, std::uint32_t c)
{
    if (c >= 0x800) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    } else {
        out += static_cast<char>(0xC0 | (c >> 6));
    }
    out += static_cast<char>(0x80 | (c & 0x3F));
}

/// By code point. Asking the library for each letter of a Russian text would take ten times as
/// long as everything else that is done with it.
const std::vector<Letter> &letters()
{
    static const auto made = [] {
        std::vector<Letter> table(lonelyLetters.back().last + 1);
        for (const auto &range : lonelyLetters) {
            for (auto c = range.first; c <= range.last; ++c) {
                std::string letter;
                appendUtf8(letter, c);
                const auto folded = base::fold(letter);
                if (folded.size() > Letter{}.bytes.size())
                    continue;
                std::copy(folded.begin(), folded.end(), table[c].bytes.begin());
                table[c].length = static_cast<std::uint8_t>(folded.size());
                table[c].isKnown = true;
            }
        }
        return table;
    }();
    return made;
}

/// The letter at the beginning of `run` if it has two or three bytes, and how many; 0 otherwise.
/// Other lengths, overlong forms and damaged ones are left to the library.
std::uint32_t shortLetter(std::string_view run, std::size_t &length)
{
    const auto at = [&](std::size_t i) { return std::uint32_t(byteOf(run[i])); };
    const auto follows = [&](std::size_t i) { return i < run.size() && (at(i) & 0xC0) == 0x80; };
    if (at(0) >= 0xC2 && at(0) < 0xE0 && follows(1)) {
        length = 2;
        return (at(0) & 0x1F) << 6 | (at(1) & 0x3F);
    }
    if (at(0) >= 0xE0 && at(0) < 0xF0 && follows(1) && follows(2)) {
        const auto c = (at(0) & 0xF) << 12 | (at(1) & 0x3F) << 6 | (at(2) & 0x3F);
        length = 3;
        return c >= 0x800 ? c : 0;
    }
    return 0;
}

/// Writes text with single blanks, up to a limit.
class Collapsed {
public:
    explicit Collapsed(std::size_t mostBytes)
        : _most(mostBytes)
    {
    }

    void reserve(std::size_t size) { text.reserve(std::min(size, _most)); }
    bool isFull() const { return text.size() >= _most; }

    void append(std::string_view folded)
    {
        for (const auto c : folded) {
            if (!isBlank(byteOf(c)))
                text += c;
            else if (text.empty() || text.back() != ' ')
                text += ' ';
        }
    }

    /// `ascii`, as far as there is room for it. How many bytes were taken.
    std::size_t appendAscii(std::string_view ascii)
    {
        const auto before = text.size();
        ascii = ascii.substr(0, _most - before);
        text.resize(before + ascii.size());
        auto *out = text.data() + before;
        char last = before > 0 ? text[before - 1] : '\0';
        for (const auto original : ascii) {
            const auto c = asciiFolded[byteOf(original)];
            *out = c;
            out += c != ' ' || last != ' ' ? 1 : 0;
            last = c;
        }
        text.resize(static_cast<std::size_t>(out - text.data()));
        return ascii.size();
    }

    std::string text;

private:
    std::size_t _most;
};

/// A run of bytes none of which is ASCII. Splitting a text at ASCII changes nothing: no ASCII
/// character is composed with what follows, since the marks that would be are dropped.
void appendRun(Collapsed &out, std::string_view run)
{
    const auto &table = letters();
    std::string folded;
    std::size_t length = 0;
    for (std::size_t i = 0; i < run.size(); i += length) {
        const auto c = shortLetter(run.substr(i), length);
        if (c != 0 && c < table.size() && table[c].isKnown)
            folded.append(table[c].bytes.data(), table[c].length);
        else if (c != 0 && isUnchanged(c))
            folded.append(run.substr(i, length));
        else
            return out.append(base::fold(run));
    }
    out.append(folded);
}

void cutBetweenCharacters(std::string &text, std::size_t mostBytes)
{
    if (text.size() <= mostBytes)
        return;
    auto end = mostBytes;
    while (end > 0 && mostBytes - end < 3 && (byteOf(text[end]) & 0xC0) == 0x80)
        --end;
    text.resize(end);
}

/// Long runs without ASCII are folded in pieces, so that a limit is noticed in time.
constexpr std::size_t longestRun = std::size_t(1) << 20;

std::size_t endOfAscii(std::string_view utf8, std::size_t from)
{
    constexpr std::uint64_t highBits = 0x8080808080808080U;
    auto end = from;
    for (std::uint64_t word = 0; end + sizeof word <= utf8.size(); end += sizeof word) {
        std::memcpy(&word, utf8.data() + end, sizeof word);
        if ((word & highBits) != 0)
            break;
    }
    while (end < utf8.size() && byteOf(utf8[end]) < 0x80)
        ++end;
    return end;
}

std::size_t endOfRun(std::string_view utf8, std::size_t from)
{
    auto end = from;
    const auto most = std::min(utf8.size(), from + longestRun);
    while (end < most && byteOf(utf8[end]) >= 0x80)
        ++end;
    while (end < utf8.size() && (byteOf(utf8[end]) & 0xC0) == 0x80)
        ++end;
    return end;
}

}  // namespace

FoldedText foldText(std::string_view utf8, std::size_t mostBytes)
{
    Collapsed out(mostBytes);
    out.reserve(utf8.size());
    std::size_t i = 0;
    while (i < utf8.size() && !out.isFull()) {
        if (byteOf(utf8[i]) < 0x80) {
            i += out.appendAscii(utf8.substr(i, endOfAscii(utf8, i) - i));
            continue;
        }
        const auto end = endOfRun(utf8, i);
        appendRun(out, utf8.substr(i, end - i));
        i = end;
    }
    const bool isCut = i < utf8.size() || out.text.size() > mostBytes;
    cutBetweenCharacters(out.text, mostBytes);
    out.text.shrink_to_fit();
    return {std::move(out.text), isCut};
}

std::string foldNeedle(std::string_view utf8)
{
    Collapsed out(std::string::npos);
    out.append(base::fold(utf8));
    return std::move(out.text);
}

bool isSearchable(std::string_view foldedNeedle)
{
    const auto letters = std::count_if(foldedNeedle.begin(), foldedNeedle.end(),
        [](char c) { return (byteOf(c) & 0xC0) != 0x80; });
    return foldedNeedle.size() >= 2 && letters >= 2;
}

}  // namespace vellumhound::content
