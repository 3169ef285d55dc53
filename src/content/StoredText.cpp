// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/StoredText.h"

#include <algorithm>
#include <cstring>
#include <zstd.h>

namespace vellumhound::content {

namespace {

constexpr std::size_t frameBytes = std::size_t(1) << 18;

}  // namespace

TextPacker::TextPacker(int level)
    : _context(::ZSTD_createCCtx())
{
    ::ZSTD_CCtx_setParameter(_context, ZSTD_c_compressionLevel, level);
    ::ZSTD_CCtx_setParameter(_context, ZSTD_c_checksumFlag, 1);
}

TextPacker::~TextPacker()
{
    ::ZSTD_freeCCtx(_context);
}

std::string_view TextPacker::pack(std::string_view text)
{
    std::size_t size = 0;
    while (!text.empty()) {
        const auto frame = text.substr(0, frameBytes);
        const auto most = size + ::ZSTD_compressBound(frame.size());
        if (_packed.size() < most)
            _packed.resize(most);
        const auto length = ::ZSTD_compress2(
            _context, _packed.data() + size, _packed.size() - size, frame.data(), frame.size());
        if (::ZSTD_isError(length) != 0)
            return {};
        size += length;
        text.remove_prefix(frame.size());
    }
    return std::string_view(_packed).substr(0, size);
}

TextUnpacker::TextUnpacker()
    : _context(::ZSTD_createDCtx())
{
}

TextUnpacker::~TextUnpacker()
{
    ::ZSTD_freeDCtx(_context);
}

bool TextUnpacker::nextFrame(std::string_view &packed, std::size_t kept, std::size_t &length)
{
    const auto stored = ::ZSTD_findFrameCompressedSize(packed.data(), packed.size());
    if (::ZSTD_isError(stored) != 0)
        return false;
    if (_text.size() < kept + frameBytes)
        _text.resize(kept + frameBytes);
    length =
        ::ZSTD_decompressDCtx(_context, _text.data() + kept, frameBytes, packed.data(), stored);
    if (::ZSTD_isError(length) != 0)
        return false;
    packed.remove_prefix(stored);
    return true;
}

Verdict TextUnpacker::find(const TextPattern &pattern, std::string_view packed,
    const std::atomic<bool> &isCancelled, std::uint64_t &bytesRead)
{
    std::size_t kept = 0;  // the end of the frame before, where a match may begin
    while (!packed.empty()) {
        if (isCancelled.load(std::memory_order_relaxed))
            return Verdict::isCancelled;
        std::size_t length = 0;
        if (!nextFrame(packed, kept, length))
            return Verdict::isUnreadable;
        bytesRead += length;
        const auto end = kept + length;
        if (pattern.isIn(std::string_view(_text).substr(0, end)))
            return Verdict::isThere;
        kept = std::min(end, pattern.needle().size() - 1);
        std::memmove(_text.data(), _text.data() + end - kept, kept);
    }
    return Verdict::isNotThere;
}

bool TextUnpacker::unpack(std::string_view packed, std::string &text)
{
    text.clear();
    while (!packed.empty()) {
        std::size_t length = 0;
        if (!nextFrame(packed, 0, length))
            return false;
        text.append(_text, 0, length);
    }
    return true;
}

}  // namespace vellumhound::content
