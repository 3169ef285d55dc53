// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "content/TextScan.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

struct ZSTD_CCtx_s;
struct ZSTD_DCtx_s;

namespace vellumhound::content {

/// Packs texts for the disk, in frames of a quarter of a megabyte with a checksum each, so that
/// neither a long text nor a damaged one costs more than that. One thread.
class TextPacker {
public:
    /// `level` as the library counts: 1 is quick, 3 packs closer.
    explicit TextPacker(int level);
    ~TextPacker();
    TextPacker(const TextPacker &) = delete;
    TextPacker &operator=(const TextPacker &) = delete;

    /// Valid until the next call. Empty if the library failed, for want of memory.
    std::string_view pack(std::string_view text);

private:
    ZSTD_CCtx_s *_context;
    std::string _packed;
};

/// Whether a text holds a needle, when one may ask at all.
enum class Verdict { isThere, isNotThere, isUnreadable, isCancelled };

/// Unpacks what a TextPacker packed. One thread.
class TextUnpacker {
public:
    TextUnpacker();
    ~TextUnpacker();
    TextUnpacker(const TextUnpacker &) = delete;
    TextUnpacker &operator=(const TextUnpacker &) = delete;

    /// Unpacks no further than to the first match. Adds what it unpacked to `bytesRead`.
    Verdict find(const TextPattern &pattern, std::string_view packed,
        const std::atomic<bool> &isCancelled, std::uint64_t &bytesRead);
    /// The whole text; false if it is damaged.
    bool unpack(std::string_view packed, std::string &text);

private:
    /// The next frame behind the first `kept` bytes of `_text`; false if it is damaged.
    bool nextFrame(std::string_view &packed, std::size_t kept, std::size_t &length);

    ZSTD_DCtx_s *_context;
    std::string _text;
};

}  // namespace vellumhound::content
