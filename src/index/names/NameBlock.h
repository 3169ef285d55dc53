// SPDX-License-Identifier: GPL-3.0-or-later
// long: one table and how it may be read without locks
#pragma once

#include "index/disk/EntryKind.h"
#include "index/names/NameSummary.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace vellumhound::index {

/// What the ranking needs of an entry beside its name, in one byte.
struct Traits {
    static constexpr unsigned deepest = 15;

    std::uint8_t bits = 0;  // kind in bits 0 and 1, noise in bit 2, depth in bits 4 to 7

    static Traits of(EntryKind kind, unsigned depth, bool isNoise)
    {
        const unsigned level = depth < deepest ? depth : deepest;
        return {std::uint8_t(unsigned(kind) | (isNoise ? 4U : 0U) | level << 4)};
    }
    EntryKind kind() const { return EntryKind(bits & 3); }
    bool isNoise() const { return (bits & 4) != 0; }
    /// Folders above the entry, at most `deepest`.
    unsigned depth() const { return bits >> 4; }

    bool operator==(const Traits &) const = default;
};

/// Names in one stretch of memory, each closed by a NUL, made to be scanned from end to end. A name
/// of ASCII stands as it is; any other stands folded, with its own bytes in a table beside.
///
/// Append-only, of a size fixed at birth. One thread appends, publishes and kills; any number of
/// threads read what has been published, without locks.
///
/// A block can stand over tables that were read from a file and whose names nobody has checked yet.
/// Then wrong bytes give wrong names, but no read outside the tables: every record number is cut to
/// the one behind the last, which reads as a dead one.
class NameBlock {
public:
    struct Capacity {
        std::size_t bytes = 0;        ///< of stored names, terminators included; below 4 GiB
        std::uint32_t records = 0;    ///< names
        std::uint32_t originals = 0;  ///< names that are not ASCII
        std::size_t originalBytes = 0;
    };
    /// Names begin here; the zeros before let a reader look at the byte before the first.
    static constexpr std::size_t firstByte = 64;
    /// So many zeros stand behind a full block, for readers that take whole vectors.
    static constexpr std::size_t padding = 8192;

    struct Extent {
        std::uint32_t count = 0;        ///< records
        std::uint32_t end = firstByte;  ///< the byte behind the last terminator

        bool operator==(const Extent &) const = default;
    };

    /// The bare tables of a full block, for keeping them in a file. The numbers in `closedBefore`,
    /// `starts`, `originalRecords` and `originalStarts` are relied upon; the rest may be anything.
    struct Tables {
        Extent extent;
        std::span<char> data;                   ///< with the zeros before and behind the names
        std::span<std::uint32_t> closedBefore;  ///< one for each 256 bytes up to the extent's end
        std::span<std::uint32_t> starts;        ///< of every 16th record, and one for the end
        std::span<Traits> traits;               ///< one more than records
        std::span<std::atomic<std::uint32_t>> changeTimes;  ///< one more than records; writable
        std::span<std::uint32_t> originalRecords;
        std::span<std::uint32_t> originalStarts;  ///< one more than original records
        std::span<char> originalBytes;
    };

    explicit NameBlock(const Capacity &capacity);
    /// A full block over memory that `owner` keeps.
    NameBlock(const Tables &tables, std::shared_ptr<const void> owner);
    ~NameBlock();
    NameBlock(const NameBlock &) = delete;
    NameBlock &operator=(const NameBlock &) = delete;

    bool hasRoomFor(std::string_view original, std::string_view stored) const;
    /// The new record's number. `stored` is `original` for ASCII, else its folded form; neither
    /// holds a NUL. There must be room. Readers see it after publish().
    std::uint32_t append(std::string_view original, std::string_view stored, Traits traits);
    void publish();
    /// Takes a record out. True if it was still in.
    bool kill(std::uint32_t record);

    Extent published() const;
    std::uint32_t deadCount() const { return _deadCount.load(std::memory_order_relaxed); }
    bool isDead(std::uint32_t record) const
    {
        record = cut(record);
        const auto word = _dead[record / 64].load(std::memory_order_relaxed);
        return ((word >> (record % 64)) & 1) != 0;
    }
    /// 64 records' dead bits; for walking over all dead ones.
    std::uint64_t deadWord(std::uint32_t word) const
    {
        return _dead[word].load(std::memory_order_relaxed);
    }
    std::uint32_t originalCount() const { return _originalCount.load(std::memory_order_acquire); }
    std::size_t originalByteCount() const
    {
        const auto count = originalCount();
        return count == 0 ? 0 : _originalStarts[count];
    }
    const char *data() const { return _data; }
    Traits traits(std::uint32_t record) const { return _traits[cut(record)]; }
    /// When the entry's contents last changed, in seconds since 1970; 0 while nobody has asked.
    std::uint32_t changeTime(std::uint32_t record) const
    {
        return _changeTimes[cut(record)].load(std::memory_order_relaxed);
    }
    /// One thread; readers may see it at any moment.
    void setChangeTime(std::uint32_t record, std::uint32_t seconds);
    /// Makes the summary of a block to which nothing will be appended. The thread that sets times.
    void summarize()
    {
        _summary = std::make_unique<NameSummary>(*this);
        _publishedSummary.store(_summary.get(), std::memory_order_release);
    }
    /// Null while there is none.
    const NameSummary *summary() const { return _publishedSummary.load(std::memory_order_acquire); }
    std::uint32_t startOf(std::uint32_t record) const;
    std::string_view stored(std::uint32_t record) const;
    std::string_view original(std::uint32_t record) const;
    /// The record whose name the byte at `position` belongs to.
    std::uint32_t recordAt(std::size_t position) const;
    /// Names closed before byte `group` * 256 (the zeros at the front count as names less than
    /// none, so that counting terminators from there on gives record numbers).
    std::uint32_t closedBefore(std::size_t group) const { return _closedBefore[group]; }
    /// Memory really in use, tables included.
    std::size_t memoryBytes() const;
    /// What has been published; lives as long as this.
    Tables tables() const;
    /// Has the names brought into memory, should they have been put out of it. May take as long as
    /// the disk; any thread.
    void prefault() const;

    static constexpr std::uint32_t sampleEvery = 16;
    static constexpr std::size_t groupBytes = 256;

private:
    /// No number is larger than that of the spare record behind the last.
    std::uint32_t cut(std::uint32_t record) const
    {
        return record < _capacity.records ? record : _capacity.records;
    }
    void map(std::size_t bytes);

    Capacity _capacity;
    std::size_t _mappedBytes = 0;
    char *_mapping = nullptr;
    std::shared_ptr<const void> _owner;  // of tables that are not in `_mapping`

    char *_data = nullptr;
    std::uint32_t *_closedBefore = nullptr;  // per 256 bytes
    std::uint32_t *_starts = nullptr;        // of every 16th record
    Traits *_traits = nullptr;
    std::atomic<std::uint32_t> *_changeTimes = nullptr;
    std::atomic<std::uint64_t> *_dead = nullptr;  // one bit a record
    std::uint32_t *_originalRecords = nullptr;    // ascending
    std::uint32_t *_originalStarts = nullptr;     // into _originalBytes, one more than records
    char *_originalBytes = nullptr;

    std::unique_ptr<NameSummary> _summary;
    std::atomic<const NameSummary *> _publishedSummary = nullptr;
    Extent _written;  // the writer's own, ahead of what is published
    std::size_t _originalEnd = 0;
    std::atomic<std::uint64_t> _published = firstByte;  // count << 32 | end
    std::atomic<std::uint32_t> _originalCount = 0;
    std::atomic<std::uint32_t> _deadCount = 0;
};

}  // namespace vellumhound::index
