// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "content/Document.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vellumhound::content {

/// A document that is not in a segment yet.
struct BufferedText {
    Document document;
    std::shared_ptr<const std::string> text;  ///< folded; null for a document without text
    bool isCut = false;
};

/// New documents, searchable at once by looking through them. The writer appends and kills, readers
/// on any thread see what was appended before they asked for size(). Nothing moves.
class TextBuffer {
public:
    static constexpr std::uint32_t capacity = std::uint32_t(1) << 16;

    /// Not when size() is `capacity`.
    std::uint32_t append(BufferedText item)
    {
        const auto slot = _size.load(std::memory_order_relaxed);
        if (slot % chunkSize == 0)
            _chunks[slot / chunkSize] = std::make_unique<Slot[]>(chunkSize);
        at(slot).item = std::move(item);
        _size.store(slot + 1, std::memory_order_release);
        return slot;
    }
    void kill(std::uint32_t slot) { at(slot).isDead.store(true, std::memory_order_release); }

    std::uint32_t size() const { return _size.load(std::memory_order_acquire); }
    const BufferedText &item(std::uint32_t slot) const { return at(slot).item; }
    bool isDead(std::uint32_t slot) const
    {
        return at(slot).isDead.load(std::memory_order_acquire);
    }

private:
    static constexpr std::uint32_t chunkSize = 256;
    struct Slot {
        BufferedText item;
        std::atomic<bool> isDead = false;
    };

    Slot &at(std::uint32_t slot) const { return _chunks[slot / chunkSize][slot % chunkSize]; }

    std::array<std::unique_ptr<Slot[]>, capacity / chunkSize> _chunks;
    std::atomic<std::uint32_t> _size = 0;
};

/// Which documents of a segment are gone. Bits are set by the writer, never taken back.
class Tombstones {
public:
    explicit Tombstones(std::uint32_t documentCount)
        : _words((std::size_t(documentCount) + 63) / 64)
    {
    }

    bool has(std::uint32_t document) const
    {
        return (_words[document / 64].load(std::memory_order_acquire) >> document % 64 & 1) != 0;
    }
    /// False if it was set before.
    bool set(std::uint32_t document)
    {
        const auto bit = std::uint64_t(1) << document % 64;
        if ((_words[document / 64].fetch_or(bit, std::memory_order_acq_rel) & bit) != 0)
            return false;
        ++_count;
        return true;
    }
    /// The writer alone.
    std::uint32_t count() const { return _count; }
    std::size_t wordCount() const { return _words.size(); }
    std::uint64_t word(std::size_t index) const { return _words[index]; }

private:
    std::vector<std::atomic<std::uint64_t>> _words;
    std::uint32_t _count = 0;
};

}  // namespace vellumhound::content
