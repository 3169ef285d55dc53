// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/Charset.h"

#include <algorithm>
#include <array>
#include <memory>
#include <unicode/ucnv.h>
#include <unicode/ucsdet.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace vellumhound::extract::helper {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t sampleBytes = std::size_t(64) * 1024;
constexpr std::size_t chunkUnits = std::size_t(16) * 1024;

using Detector = std::unique_ptr<UCharsetDetector, decltype(&ucsdet_close)>;
using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

Converter converterFor(const std::string &charset)
{
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(ucnv_open(charset.c_str(), &error), &ucnv_close);
    return U_SUCCESS(error) ? std::move(converter) : Converter(nullptr, &ucnv_close);
}

std::uint8_t at(std::string_view bytes, std::size_t i)
{
    return static_cast<std::uint8_t>(bytes[i]);
}

/// Controls that no text has: neither white space nor backspace nor escape.
bool isBinaryControl(unsigned unit)
{
    return unit < 0x20 && (unit < 8 || unit > 13) && unit != 0x1B && unit != 0x1A;
}

std::optional<std::string> charsetOfMark(std::string_view bytes)
{
    if (bytes.starts_with("\xEF\xBB\xBF"sv))
        return "UTF-8";
    if (bytes.starts_with("\xFF\xFE\0\0"sv) || bytes.starts_with("\0\0\xFE\xFF"sv))
        return "UTF-32";
    if (bytes.starts_with("\xFF\xFE"sv))
        return "UTF-16LE";
    if (bytes.starts_with("\xFE\xFF"sv))
        return "UTF-16BE";
    return std::nullopt;
}

/// True if the sample reads as UTF-16 of that order without a fault.
bool isUtf16(std::string_view sample, bool isBigEndian)
{
    bool wantsTrail = false;
    for (std::size_t i = 0; i + 1 < sample.size(); i += 2) {
        const auto first = at(sample, i), second = at(sample, i + 1);
        const unsigned unit = isBigEndian ? first << 8 | second : second << 8 | first;
        if (isBinaryControl(unit) || unit >= 0xFFFE || (unit >= 0xFDD0 && unit <= 0xFDEF) ||
            wantsTrail != (U16_IS_TRAIL(unit) != 0))
            return false;
        wantsTrail = U16_IS_LEAD(unit);
    }
    return true;
}

/// For bytes with NULs among them: UTF-16 without a mark has them all in the upper bytes.
std::optional<std::string> charsetWithNuls(std::string_view sample)
{
    sample = sample.substr(0, 8192);
    std::array<std::size_t, 2> nuls{};
    for (std::size_t i = 0; i < sample.size(); ++i)
        nuls[i % 2] += sample[i] == '\0';
    if (nuls[1] > 0 && nuls[0] == 0 && isUtf16(sample, false))
        return "UTF-16LE";
    if (nuls[0] > 0 && nuls[1] == 0 && isUtf16(sample, true))
        return "UTF-16BE";
    return std::nullopt;
}

/// Nearly all that is not ASCII forms valid UTF-8. A log with a few broken bytes still is UTF-8.
bool isMostlyUtf8(std::string_view bytes)
{
    const auto *data = reinterpret_cast<const std::uint8_t *>(bytes.data());
    const auto size = std::ptrdiff_t(bytes.size());
    std::size_t good = 0, bad = 0;
    for (std::ptrdiff_t i = 0; i < size;) {
        if (data[i] < 0x80) {
            ++i;
            continue;
        }
        UChar32 c = 0;
        const auto start = i;
        U8_NEXT(data, i, size, c);
        if (c >= 0)
            ++good;
        else if (start + 4 < size)  // the beginning of a text may end inside a character
            ++bad;
    }
    return bad * 50 <= good;
}

/// The bytes about the first that is not ASCII: what a detector has use for.
std::string_view tellingSample(std::string_view bytes)
{
    const auto first = std::find_if(
        bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    const auto before = std::size_t(first - bytes.begin());
    return bytes.substr(before - std::min<std::size_t>(before, 512), sampleBytes);
}

struct HighBytes {
    std::size_t all = 0, inRuns = 0;         // in runs: of three or more beside each other
    std::size_t lowerRow = 0, upperRow = 0;  // C0 to DF, E0 to FF
};

HighBytes countHighBytes(std::string_view sample)
{
    HighBytes counts;
    for (std::size_t i = 0; i < sample.size();) {
        const auto start = i;
        while (i < sample.size() && at(sample, i) >= 0x80) {
            counts.lowerRow += at(sample, i) >= 0xC0 && at(sample, i) < 0xE0;
            counts.upperRow += at(sample, i) >= 0xE0;
            ++i;
        }
        counts.all += i - start;
        counts.inRuns += i - start >= 3 ? i - start : 0;
        i += i == start;
    }
    return counts;
}

/// What ICU takes for likely, if we decode that set and it is sure enough.
std::optional<std::string> charsetByStatistics(std::string_view sample)
{
    static constexpr std::array known{"windows-1251"sv, "KOI8-R"sv, "Shift_JIS"sv, "EUC-JP"sv,
        "EUC-KR"sv, "GB18030"sv, "Big5"sv, "windows-1253"sv, "windows-1254"sv, "windows-1255"sv,
        "windows-1256"sv, "windows-1250"sv, "ISO-8859-2"sv, "ISO-8859-5"sv, "ISO-8859-6"sv,
        "ISO-8859-7"sv, "ISO-8859-8"sv, "ISO-8859-9"sv, "IBM866"sv};
    UErrorCode error = U_ZERO_ERROR;
    const Detector detector(ucsdet_open(&error), &ucsdet_close);
    ucsdet_setText(detector.get(), sample.data(), std::int32_t(sample.size()), &error);
    const auto *match = ucsdet_detect(detector.get(), &error);
    if (U_FAILURE(error) || !match || ucsdet_getConfidence(match, &error) < 30)
        return std::nullopt;
    const std::string name = ucsdet_getName(match, &error);
    if (std::find(known.begin(), known.end(), name) == known.end())
        return std::nullopt;
    return name;
}

/// Words wholly of high bytes are another alphabet; single ones among ASCII letters are accents.
std::string charsetOfEightBits(std::string_view sample)
{
    const auto counts = countHighBytes(sample);
    const bool isOtherAlphabet = counts.inRuns * 2 > counts.all;
    auto guess = charsetByStatistics(sample);
    const bool isCyrillicGuess = guess == "windows-1251" || guess == "KOI8-R";
    if (!isOtherAlphabet)
        return guess && !isCyrillicGuess && guess->starts_with("windows-125") ? *guess
                                                                              : "windows-1252";
    if (guess && !isCyrillicGuess)
        return *guess;
    // Small letters outnumber capitals; in KOI8-R they fill the lower row, in windows-1251 the
    // upper.
    return counts.lowerRow > counts.upperRow ? "KOI8-R" : "windows-1251";
}

}  // namespace

std::optional<std::string> detectedCharset(std::string_view bytes)
{
    if (auto charset = charsetOfMark(bytes))
        return charset;
    const auto sample = bytes.substr(0, sampleBytes);
    if (sample.find('\0') != std::string_view::npos)
        return charsetWithNuls(sample);
    const auto controls = std::size_t(std::count_if(sample.begin(), sample.end(),
        [](char c) { return isBinaryControl(static_cast<unsigned char>(c)); }));
    if (controls * 200 > sample.size())
        return std::nullopt;
    if (isMostlyUtf8(bytes))
        return "UTF-8";
    return charsetOfEightBits(tellingSample(bytes));
}

std::optional<std::string> declaredCharset(std::string_view html)
{
    std::string head(html.substr(0, 4096));
    std::transform(head.begin(), head.end(), head.begin(),
        [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
    for (const auto word : {"charset"sv, "encoding"sv}) {
        const auto place = head.find(word);
        if (place == std::string::npos)
            continue;
        const auto start = head.find_first_not_of(" \t\r\n=\"'", place + word.size());
        if (start == std::string::npos)
            continue;
        const auto end = head.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-_", start);
        auto name = head.substr(start, end == std::string::npos ? end : end - start);
        // That the declaration was readable as ASCII rules these out.
        if (name.starts_with("utf-16") || name.starts_with("utf-32"))
            name = "utf-8";
        if (name == "iso-8859-1" || name == "us-ascii")
            name = "windows-1252";
        if (!name.empty() && isKnownCharset(name))
            return name;
    }
    return std::nullopt;
}

bool isKnownCharset(const std::string &charset)
{
    return bool(converterFor(charset));
}

void decode(std::string_view bytes, const std::string &charset,
    const std::function<bool(std::string_view)> &take)
{
    const auto converter = converterFor(charset);
    if (!converter)
        return;
    std::array<UChar, chunkUnits> units{};
    std::string utf8(chunkUnits * 3, '\0');
    const char *source = bytes.data();
    const char *const end = source + bytes.size();
    std::int32_t kept = 0;  // a lead surrogate whose other half was not out yet
    for (bool isMore = true; isMore;) {
        UErrorCode error = U_ZERO_ERROR;
        UChar *target = units.data() + kept;
        ucnv_toUnicode(converter.get(), &target, units.data() + units.size(), &source, end, nullptr,
            true, &error);
        isMore = error == U_BUFFER_OVERFLOW_ERROR;
        auto count = std::int32_t(target - units.data());
        kept = isMore && count > 0 && U16_IS_LEAD(units[std::size_t(count - 1)]) ? 1 : 0;
        count -= kept;
        std::int32_t size = 0;
        error = U_ZERO_ERROR;
        u_strToUTF8WithSub(utf8.data(), std::int32_t(utf8.size()), &size, units.data(), count,
            0xFFFD, nullptr, &error);
        if (U_FAILURE(error) || !take({utf8.data(), std::size_t(size)}))
            return;
        units[0] = units[std::size_t(count)];
    }
}

std::string decoded(std::string_view bytes, const std::string &charset, std::size_t maxBytes)
{
    std::string text;
    decode(bytes, charset, [&](std::string_view piece) {
        text += piece;
        return text.size() < maxBytes;
    });
    return text;
}

}  // namespace vellumhound::extract::helper
