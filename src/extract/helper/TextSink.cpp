// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/TextSink.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <unicode/utf8.h>

namespace vellumhound::extract::helper {
namespace {

constexpr std::size_t pieceBytes = std::size_t(32) * 1024;

std::chrono::nanoseconds usedCpuTime()
{
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// Bytes that stay as they are: printable ASCII, tabulator, line feed.
constexpr std::array<bool, 256> plainBytes = [] {
    std::array<bool, 256> table{};
    for (std::size_t i = 0x20; i < 0x7f; ++i)
        table[i] = true;
    table['\t'] = table['\n'] = true;
    return table;
}();

constexpr bool isBlank(char c)
{
    return c == ' ' || c == '\n' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}

constexpr bool isHidden(char32_t c)
{
    return c == 0xAD || c == 0x061C || c == 0x180E || (c >= 0x200B && c <= 0x200F) ||
           (c >= 0x202A && c <= 0x202E) || (c >= 0x2060 && c <= 0x2069) || c == 0xFEFF ||
           (c >= 0xFFF9 && c <= 0xFFFB);
}

constexpr bool isTypographicBlank(char32_t c)
{
    return c == 0xA0 || (c >= 0x2000 && c <= 0x200A) || c == 0x202F || c == 0x205F || c == 0x3000;
}

}  // namespace

TextSink::TextSink(const Limits &limits, Taker taker)
    : _limits(limits)
    , _taker(std::move(taker))
    , _cpuEnd(usedCpuTime() + limits.cpuTime)
{
}

void TextSink::append(std::string_view utf8)
{
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(utf8.data());
    const auto size = std::ptrdiff_t(utf8.size());
    for (std::ptrdiff_t i = 0; i < size && !_isFull;) {
        const auto start = i;
        while (i < size && plainBytes[bytes[i]])
            ++i;
        if (i > start) {
            appendPlain(utf8.substr(std::size_t(start), std::size_t(i - start)));
            continue;
        }
        if (bytes[i] == '\r' && i + 1 < size && bytes[i + 1] == '\n') {
            ++i;
            continue;
        }
        UChar32 c = 0;
        U8_NEXT(bytes, i, size, c);
        appendOther(c < 0 ? 0xFFFD : char32_t(c));
    }
}

void TextSink::appendCollapsed(std::string_view utf8)
{
    for (std::size_t i = 0; i < utf8.size() && !_isFull;) {
        const auto start = i;
        while (i < utf8.size() && !isBlank(utf8[i]))
            ++i;
        if (i > start)
            append(utf8.substr(start, i - start));
        if (i < utf8.size())
            separate(' ');
        while (i < utf8.size() && isBlank(utf8[i]))
            ++i;
    }
}

void TextSink::append(char32_t character)
{
    if (character < 0x80 && plainBytes[character]) {
        const char c = char(character);
        appendPlain({&c, 1});
    } else {
        appendOther(character);
    }
}

void TextSink::separate(char blank)
{
    if (!isBlank(_last))
        put({&blank, 1});
    else if (blank == '\n' && _last == ' ' && !_buffer.empty())
        _buffer.back() = _last = '\n';
}

bool TextSink::isFull()
{
    // Asking for the time is a system call.
    return _isFull || (_asked++ % 64 == 0 && isFullNow());
}

bool TextSink::isFullNow()
{
    if (!_isFull && usedCpuTime() >= _cpuEnd)
        _isFull = _isCut = true;
    return _isFull;
}

bool TextSink::finish()
{
    flush(0);
    return _isWanted;
}

void TextSink::appendPlain(std::string_view ascii)
{
    if (!_hasText)
        _hasText = !std::all_of(ascii.begin(), ascii.end(), isBlank);
    put(ascii);
}

void TextSink::appendOther(char32_t c)
{
    if (isHidden(c))
        return;
    if (c == '\r' || c == 0x2028 || c == 0x2029) {
        put("\n");
    } else if (c < 0x20 || (c >= 0x7F && c <= 0x9F) || isTypographicBlank(c)) {
        put(" ");
    } else {
        std::array<char, 4> bytes{};
        std::int32_t size = 0;
        UBool isWrong = false;
        U8_APPEND(bytes.data(), size, 4, UChar32(c), isWrong);
        if (isWrong)
            return appendOther(0xFFFD);
        _hasText = true;
        put({bytes.data(), std::size_t(size)});
    }
}

void TextSink::put(std::string_view utf8)
{
    const auto room = _limits.maxTextBytes - bytes();
    if (utf8.size() > room) {
        _isFull = _isCut = true;
        // Plain text may be cut anywhere, one character not at all.
        const bool isPlain = !utf8.empty() && static_cast<unsigned char>(utf8[0]) < 0x80;
        utf8 = utf8.substr(0, isPlain ? room : 0);
    }
    if (utf8.empty())
        return;
    _last = utf8.back();
    _buffer += utf8;
    if (_buffer.size() >= pieceBytes)
        flush(pieceBytes - 1);
}

/// Gives whole pieces away until no more than so many bytes are left.
void TextSink::flush(std::size_t keptBytes)
{
    std::string_view rest = _buffer;
    while (rest.size() > keptBytes) {
        const auto piece = rest.substr(0, pieceBytes);
        _isWanted = _isWanted && _taker(piece);
        _taken += piece.size();
        rest.remove_prefix(piece.size());
    }
    _buffer.erase(0, _buffer.size() - rest.size());
    if (!_isWanted)
        _isFull = true;
}

}  // namespace vellumhound::extract::helper
