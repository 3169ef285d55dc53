// SPDX-License-Identifier: GPL-3.0-or-later
// long: base and tail are read side by side
#pragma once

#include "index/names/NameBlock.h"
#include "index/names/Needle.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vellumhound::index {

/// Number of an entry. Those of the base come first, those of the tail behind them.
using RecordId = std::uint32_t;
/// Number of a folder whose entries are in the index. Base first, tail behind.
using FolderId = std::uint32_t;
inline constexpr std::uint32_t nothing = ~std::uint32_t(0);

/// The folders of a base, by their numbers, in one column for each thing.
struct FolderTables {
    std::vector<RecordId> firstRecords;  ///< and one more for the end
    std::vector<RecordId> records;       ///< what stands for the folder; a root: its root number
    std::vector<FolderId> parents;       ///< `nothing` for a root
    std::vector<FolderId> subtreeEnds;   ///< the first folder that is no longer below
    std::vector<FolderId> byRecord;      ///< the folders without the roots, by `records`
};

/// The bulk of the index, in depth-first order: the entries of a folder together, by their stored
/// names, then those of its subfolders. So what lies below a folder is one range of folders, one
/// of records and one of bytes. Fixed once built, but for records that die.
///
/// The columns stand in vectors of its own or in memory that somebody else keeps.
struct IndexBase {
    explicit IndexBase(const NameBlock::Capacity &capacity)
        : names(capacity)
    {
    }
    /// Over tables that were checked to fit each other. `memory` keeps them.
    IndexBase(const NameBlock::Tables &tables, std::shared_ptr<const void> memory)
        : names(tables, std::move(memory))
    {
    }
    IndexBase(const IndexBase &) = delete;
    IndexBase &operator=(const IndexBase &) = delete;

    void setFolders(FolderTables folders);

    std::uint32_t recordCount() const { return names.published().count; }
    std::uint32_t folderCount() const { return std::uint32_t(parents.size()); }
    FolderId folderOf(RecordId record) const;
    /// The folder that a record stands for; `nothing` if its entries are not in the base.
    FolderId folderFor(RecordId record) const;
    std::size_t memoryBytes() const;

    using Column = std::span<const std::uint32_t>;

    NameBlock names;
    Column firstRecords;  ///< these as in FolderTables
    Column records;
    Column parents;
    Column subtreeEnds;
    Column byRecord;
    ByteFrequencies frequencies = usualFrequencies();

private:
    FolderTables _own;  // empty over foreign memory
};

/// What has come in since the base was built, in the order it came. One thread appends and
/// publishes; others read what is published.
class IndexTail {
public:
    /// Everything published at one moment.
    struct Mark {
        std::uint32_t chunk = 0;  ///< number of the last chunk
        NameBlock::Extent extent;

        bool operator==(const Mark &) const = default;
    };
    static constexpr std::uint32_t chunkRecords = 16384;

    /// Numbers begin behind those of the base.
    IndexTail(RecordId firstRecord, FolderId firstFolder);

    // The writer.
    /// `nothing` when the tail is full (a hundred million entries).
    RecordId append(
        FolderId parent, std::string_view original, std::string_view stored, Traits traits);
    /// `record` stands for the folder; a root has no parent and its root number instead.
    FolderId addFolder(FolderId parent, RecordId record);
    void publish();
    bool kill(RecordId record) { return chunkOf(record).names.kill(slotOf(record)); }
    void setChangeTime(RecordId record, std::uint32_t seconds)
    {
        chunkOf(record).names.setChangeTime(slotOf(record), seconds);
    }

    // Any thread, for what is published.
    Mark mark() const;
    RecordId firstRecord() const { return _firstRecord; }
    FolderId firstFolder() const { return _firstFolder; }
    FolderId folderEnd() const
    {
        return _firstFolder + _folderCount.load(std::memory_order_acquire);
    }
    RecordId firstRecordOf(std::uint32_t chunk) const
    {
        return _firstRecord + chunk * chunkRecords;
    }
    const NameBlock &names(std::uint32_t chunk) const { return _chunks[chunk]->names; }
    const NameBlock &namesOf(RecordId record) const { return chunkOf(record).names; }
    static std::uint32_t slotOf(RecordId firstRecord, RecordId record)
    {
        return (record - firstRecord) % chunkRecords;
    }
    std::uint32_t slotOf(RecordId record) const { return slotOf(_firstRecord, record); }
    FolderId folderOf(RecordId record) const { return chunkOf(record).parents[slotOf(record)]; }
    FolderId parentOf(FolderId folder) const { return folderAt(folder).parent; }
    RecordId recordOf(FolderId folder) const { return folderAt(folder).record; }
    std::size_t memoryBytes() const;

private:
    struct Chunk {
        Chunk();
        NameBlock names;
        std::unique_ptr<FolderId[]> parents;
    };
    struct Folder {
        FolderId parent = nothing;
        RecordId record = nothing;
    };
    static constexpr std::uint32_t mostChunks = 8192;
    static constexpr std::uint32_t foldersPerChunk = 4096;

    Chunk &chunkOf(RecordId record) const
    {
        return *_chunks[(record - _firstRecord) / chunkRecords];
    }
    const Folder &folderAt(FolderId folder) const
    {
        const auto number = folder - _firstFolder;
        return _folders[number / foldersPerChunk][number % foldersPerChunk];
    }

    const RecordId _firstRecord;
    const FolderId _firstFolder;
    // Of full size from the beginning, so that readers never see them move.
    std::vector<std::unique_ptr<Chunk>> _chunks;
    std::vector<std::unique_ptr<Folder[]>> _folders;
    std::atomic<std::uint32_t> _chunkCount = 0;
    std::atomic<std::uint32_t> _folderCount = 0;
};

/// Calls `visit(record)` for the records of the tail between two marks, in order.
template <class Visit>
void forEachRecord(
    const IndexTail &tail, const IndexTail::Mark &from, const IndexTail::Mark &to, Visit visit)
{
    for (auto chunk = from.chunk; chunk <= to.chunk; ++chunk) {
        const auto end = chunk == to.chunk ? to.extent.count : tail.names(chunk).published().count;
        for (auto slot = chunk == from.chunk ? from.extent.count : 0; slot < end; ++slot)
            visit(tail.firstRecordOf(chunk) + slot);
    }
}

}  // namespace vellumhound::index
