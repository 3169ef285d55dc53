// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/NameBlock.h"

#include <QtGlobal>

#include <algorithm>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

/// Lays tables out one behind the other in a mapping.
class Layout {
public:
    /// Where a table of `bytes` begins.
    std::size_t add(std::size_t bytes)
    {
        const auto at = _end;
        _end = (_end + bytes + 63) / 64 * 64;
        return at;
    }
    std::size_t end() const { return _end; }

private:
    std::size_t _end = 0;
};

}  // namespace

NameBlock::NameBlock(const Capacity &capacity)
    : _capacity(capacity)
{
    const auto dataBytes = firstByte + capacity.bytes + padding;
    Layout layout;
    const auto data = layout.add(dataBytes);
    const auto closedBefore = layout.add((dataBytes / groupBytes + 2) * sizeof(std::uint32_t));
    const auto starts = layout.add((capacity.records / sampleEvery + 1) * sizeof(std::uint32_t));
    const auto traits = layout.add((capacity.records + std::size_t(1)) * sizeof(Traits));
    const auto changeTimes =
        layout.add((capacity.records + std::size_t(1)) * sizeof(std::uint32_t));
    const auto dead = layout.add((capacity.records / 64 + 1) * sizeof(std::uint64_t));
    const auto originalRecords = layout.add(capacity.originals * sizeof(std::uint32_t));
    const auto originalStarts = layout.add((capacity.originals + 1) * sizeof(std::uint32_t));
    const auto originalBytes = layout.add(capacity.originalBytes);

    map(layout.end());
    if (capacity.bytes >= std::size_t(4) << 20)
        ::madvise(_mapping, dataBytes, MADV_HUGEPAGE);

    // The mapping is all zeros, which is a valid beginning for each of these.
    _data = _mapping + data;
    _closedBefore = reinterpret_cast<std::uint32_t *>(_mapping + closedBefore);
    _starts = reinterpret_cast<std::uint32_t *>(_mapping + starts);
    _traits = reinterpret_cast<Traits *>(_mapping + traits);
    _changeTimes = reinterpret_cast<std::atomic<std::uint32_t> *>(_mapping + changeTimes);
    _dead = reinterpret_cast<std::atomic<std::uint64_t> *>(_mapping + dead);
    _originalRecords = reinterpret_cast<std::uint32_t *>(_mapping + originalRecords);
    _originalStarts = reinterpret_cast<std::uint32_t *>(_mapping + originalStarts);
    _originalBytes = _mapping + originalBytes;
    _closedBefore[0] = 0U - std::uint32_t(firstByte);
}

NameBlock::NameBlock(const Tables &tables, std::shared_ptr<const void> owner)
    : _capacity{.bytes = tables.extent.end - firstByte,
          .records = tables.extent.count,
          .originals = std::uint32_t(tables.originalRecords.size()),
          .originalBytes = tables.originalBytes.size()}
    , _owner(std::move(owner))
    , _data(tables.data.data())
    , _closedBefore(tables.closedBefore.data())
    , _starts(tables.starts.data())
    , _traits(tables.traits.data())
    , _changeTimes(tables.changeTimes.data())
    , _originalRecords(tables.originalRecords.data())
    , _originalStarts(tables.originalStarts.data())
    , _originalBytes(tables.originalBytes.data())
    , _written(tables.extent)
    , _originalEnd(tables.originalBytes.size())
    , _originalCount(std::uint32_t(tables.originalRecords.size()))
{
    const auto count = _capacity.records;
    map((count / 64 + 1) * sizeof(std::uint64_t));
    _dead = reinterpret_cast<std::atomic<std::uint64_t> *>(_mapping);
    // The spare record, which no name closes, is not to be found.
    _dead[count / 64].store(~std::uint64_t(0) << (count % 64), std::memory_order_relaxed);
    publish();
}

void NameBlock::map(std::size_t bytes)
{
    _mappedBytes = bytes;
    void *mapping = ::mmap(nullptr, _mappedBytes, PROT_READ | PROT_WRITE,
        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED)
        qFatal("no memory for %zu bytes of names", _mappedBytes);
    _mapping = static_cast<char *>(mapping);
}

NameBlock::~NameBlock()
{
    ::munmap(_mapping, _mappedBytes);
}

bool NameBlock::hasRoomFor(std::string_view original, std::string_view stored) const
{
    const bool hasNameRoom = _written.count < _capacity.records &&
                             _written.end + stored.size() + 1 <= firstByte + _capacity.bytes;
    if (!hasNameRoom || original == stored)
        return hasNameRoom;
    return _originalCount.load(std::memory_order_relaxed) < _capacity.originals &&
           _originalEnd + original.size() <= _capacity.originalBytes;
}

std::uint32_t NameBlock::append(std::string_view original, std::string_view stored, Traits traits)
{
    Q_ASSERT(hasRoomFor(original, stored));
    const auto record = _written.count;
    const auto start = _written.end;
    std::memcpy(_data + start, stored.data(), stored.size());
    const auto end = std::uint32_t(start + stored.size() + 1);
    for (auto group = start / groupBytes + 1; group * groupBytes <= end; ++group)
        _closedBefore[group] = group * groupBytes == end ? record + 1 : record;
    if (record % sampleEvery == 0)
        _starts[record / sampleEvery] = start;
    _traits[record] = traits;
    if (original != stored) {
        const auto number = _originalCount.load(std::memory_order_relaxed);
        std::memcpy(_originalBytes + _originalEnd, original.data(), original.size());
        _originalEnd += original.size();
        _originalRecords[number] = record;
        _originalStarts[number + 1] = std::uint32_t(_originalEnd);
        _originalCount.store(number + 1, std::memory_order_release);
    }
    _written = {record + 1, end};
    return record;
}

void NameBlock::publish()
{
    const auto packed = std::uint64_t(_written.count) << 32 | _written.end;
    _published.store(packed, std::memory_order_release);
}

bool NameBlock::kill(std::uint32_t record)
{
    const auto bit = std::uint64_t(1) << (record % 64);
    const bool wasIn = (_dead[record / 64].fetch_or(bit, std::memory_order_relaxed) & bit) == 0;
    if (wasIn)
        _deadCount.fetch_add(1, std::memory_order_relaxed);
    return wasIn;
}

NameBlock::Extent NameBlock::published() const
{
    const auto packed = _published.load(std::memory_order_acquire);
    return {std::uint32_t(packed >> 32), std::uint32_t(packed)};
}

void NameBlock::setChangeTime(std::uint32_t record, std::uint32_t seconds)
{
    if (_summary) {
        const auto start = startOf(record);
        _summary->noteChangeTime(start, start + std::strlen(_data + start), seconds);
    }
    _changeTimes[record].store(seconds, std::memory_order_relaxed);
}

std::uint32_t NameBlock::startOf(std::uint32_t record) const
{
    record = cut(record);
    std::size_t at = _starts[record / sampleEvery];
    for (auto skip = record % sampleEvery; skip > 0; --skip)
        at += std::strlen(_data + at) + 1;
    return std::uint32_t(at);
}

std::string_view NameBlock::stored(std::uint32_t record) const
{
    return _data + startOf(record);
}

std::string_view NameBlock::original(std::uint32_t record) const
{
    const auto *end = _originalRecords + _originalCount.load(std::memory_order_acquire);
    const auto *found = std::lower_bound(static_cast<const std::uint32_t *>(_originalRecords),
        static_cast<const std::uint32_t *>(end), record);
    if (found == end || *found != record)
        return stored(record);
    const auto number = found - _originalRecords;
    const auto from = _originalStarts[number];
    return {_originalBytes + from, _originalStarts[number + 1] - from};
}

std::uint32_t NameBlock::recordAt(std::size_t position) const
{
    const auto group = position / groupBytes;
    const std::string_view before(_data + group * groupBytes, position % groupBytes);
    return _closedBefore[group] + std::uint32_t(std::count(before.begin(), before.end(), '\0'));
}

NameBlock::Tables NameBlock::tables() const
{
    const auto extent = published();
    const std::size_t originals = originalCount();
    const std::size_t withSpare = extent.count + std::size_t(1);
    return {.extent = extent,
        .data = {_data, extent.end + padding},
        .closedBefore = {_closedBefore, extent.end / groupBytes + 1},
        .starts = {_starts, extent.count / sampleEvery + 1},
        .traits = {_traits, withSpare},
        .changeTimes = {_changeTimes, withSpare},
        .originalRecords = {_originalRecords, originals},
        .originalStarts = {_originalStarts, originals + 1},
        .originalBytes = {_originalBytes, originalByteCount()}};
}

void NameBlock::prefault() const
{
    const auto page = std::size_t(::sysconf(_SC_PAGESIZE));
    const auto first = reinterpret_cast<std::uintptr_t>(_data) / page * page;
    const auto end = reinterpret_cast<std::uintptr_t>(_data) + published().end;
    // The first asks for all of it at once, the second waits for it; old kernels know the first.
    ::madvise(reinterpret_cast<void *>(first), end - first, MADV_WILLNEED);
#ifdef MADV_POPULATE_READ  // style: not every kernel interface has it
    ::madvise(reinterpret_cast<void *>(first), end - first, MADV_POPULATE_READ);
#endif
}

std::size_t NameBlock::memoryBytes() const
{
    const std::size_t originals = _originalCount.load(std::memory_order_relaxed);
    return _written.end + _written.end / groupBytes * 4 + _written.count / sampleEvery * 4 +
           _written.count * (sizeof(Traits) + sizeof(std::uint32_t)) + _written.count / 8 +
           originals * 8 + _originalEnd + (_summary ? _summary->memoryBytes() : 0);
}

}  // namespace vellumhound::index
