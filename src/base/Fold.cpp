// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Fold.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

namespace vellumhound::base {

namespace {

struct Range {
    UChar32 first;
    UChar32 last;
};

/// The marks that are dropped, ascending. Named one by one instead of by general category: a kana
/// with its voicing mark or a Thai consonant with its vowel is another syllable, and madda and
/// hamza (U+0653 to U+0655) belong to the letter.
constexpr std::array droppedMarks{
    Range{0x0300, 0x036F},  // Latin, Greek and Cyrillic diacritics
    Range{0x0483, 0x0489},
    Range{0x0591, 0x05BD},  // Hebrew points and accents
    Range{0x05BF, 0x05BF},
    Range{0x05C1, 0x05C2},
    Range{0x05C4, 0x05C5},
    Range{0x05C7, 0x05C7},
    Range{0x0610, 0x061A},  // Arabic vowel signs and signs of recitation
    Range{0x064B, 0x0652},
    Range{0x0656, 0x065F},
    Range{0x0670, 0x0670},
    Range{0x06D6, 0x06DC},
    Range{0x06DF, 0x06E4},
    Range{0x06E7, 0x06E8},
    Range{0x06EA, 0x06ED},
    Range{0x08D3, 0x08E1},
    Range{0x08E3, 0x08FF},
    Range{0x1AB0, 0x1AFF},  // further diacritics, also those for symbols
    Range{0x1DC0, 0x1DFF},
    Range{0x20D0, 0x20FF},
    Range{0xFB1E, 0xFB1E},
    Range{0xFE20, 0xFE2F},
};

bool isDroppedMark(UChar32 c)
{
    if (c < droppedMarks.front().first)
        return false;
    const auto next = std::upper_bound(droppedMarks.begin(), droppedMarks.end(), c,
        [](UChar32 value, const Range &range) { return value < range.first; });
    return next != droppedMarks.begin() && c <= std::prev(next)->last;
}

/// Letters whose stroke or ligature no decomposition takes apart, by the letters people type.
void appendLetter(icu::UnicodeString &text, UChar32 c)
{
    switch (c) {
    case 0x00F8:  // ø
        text.append(u'o');
        break;
    case 0x0142:  // ł
        text.append(u'l');
        break;
    case 0x0111:  // đ
        text.append(u'd');
        break;
    case 0x00E6:  // æ
        text.append(u'a').append(u'e');
        break;
    case 0x0153:  // œ
        text.append(u'o').append(u'e');
        break;
    case 0x0131:  // ı
        text.append(u'i');
        break;
    default:
        text.append(c);
    }
}

/// `valid` is valid UTF-8.
void appendFolded(std::string &out, std::string_view valid)
{
    UErrorCode status = U_ZERO_ERROR;
    const auto *caseFold = icu::Normalizer2::getNFKCCasefoldInstance(status);
    const auto *decompose = icu::Normalizer2::getNFDInstance(status);
    const auto *compose = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) {  // the library's data is missing: names still match by their bytes
        out += valid;
        return;
    }
    const auto text = icu::UnicodeString::fromUTF8(
        icu::StringPiece(valid.data(), static_cast<std::int32_t>(valid.size())));
    const auto parts = decompose->normalize(caseFold->normalize(text, status), status);
    icu::UnicodeString bare;
    for (std::int32_t i = 0; i < parts.length();) {
        const auto c = parts.char32At(i);
        i += U16_LENGTH(c);
        if (!isDroppedMark(c))
            appendLetter(bare, c);
    }
    compose->normalize(bare, status).toUTF8String(out);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"  // inside the library's macro
/// Length of the run of valid UTF-8 at the beginning of `bytes`.
std::size_t validLength(std::string_view bytes)
{
    const auto length = static_cast<std::int32_t>(bytes.size());
    std::int32_t i = 0;
    while (i < length) {
        const auto start = i;
        UChar32 c = 0;
        U8_NEXT(bytes.data(), i, length, c);
        if (c < 0)
            return static_cast<std::size_t>(start);
    }
    return bytes.size();
}
#pragma GCC diagnostic pop

void appendAsciiFolded(std::string &out, std::string_view ascii)
{
    std::transform(ascii.begin(), ascii.end(), std::back_inserter(out),
        [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; });
}

}  // namespace

std::string fold(std::string_view utf8)
{
    std::string out;
    out.reserve(utf8.size());
    const bool isAscii = std::none_of(
        utf8.begin(), utf8.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    if (isAscii) {
        appendAsciiFolded(out, utf8);
        return out;
    }
    while (!utf8.empty()) {
        const auto valid = validLength(utf8);
        if (valid > 0)
            appendFolded(out, utf8.substr(0, valid));
        if (valid < utf8.size())
            out += utf8[valid];
        utf8.remove_prefix(std::min(utf8.size(), valid + 1));
    }
    return out;
}

}  // namespace vellumhound::base
