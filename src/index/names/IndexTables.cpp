// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/IndexTables.h"

#include <algorithm>

namespace vellumhound::index {

void IndexBase::setFolders(FolderTables folders)
{
    _own = std::move(folders);
    firstRecords = _own.firstRecords;
    records = _own.records;
    parents = _own.parents;
    subtreeEnds = _own.subtreeEnds;
    byRecord = _own.byRecord;
}

FolderId IndexBase::folderOf(RecordId record) const
{
    // Of several folders that begin at one record all but the last are empty. The entry for the end
    // is left out, so that every number gives a folder.
    const auto end = firstRecords.end() - 1;
    const auto behind = std::upper_bound(firstRecords.begin(), end, record);
    return FolderId(behind - firstRecords.begin() - 1);
}

FolderId IndexBase::folderFor(RecordId record) const
{
    const auto found = std::lower_bound(byRecord.begin(), byRecord.end(), record,
        [this](FolderId folder, RecordId wanted) { return records[folder] < wanted; });
    return found != byRecord.end() && records[*found] == record ? *found : nothing;
}

std::size_t IndexBase::memoryBytes() const
{
    return names.memoryBytes() +
           sizeof(std::uint32_t) * (firstRecords.size() + records.size() + parents.size() +
                                       subtreeEnds.size() + byRecord.size());
}

IndexTail::Chunk::Chunk()
    : names({.bytes = std::size_t(chunkRecords) * 32,
          .records = chunkRecords,
          .originals = chunkRecords,
          .originalBytes = std::size_t(chunkRecords) * 64})
    , parents(new FolderId[chunkRecords])
{
}

IndexTail::IndexTail(RecordId firstRecord, FolderId firstFolder)
    : _firstRecord(firstRecord)
    , _firstFolder(firstFolder)
    , _chunks(mostChunks)
    , _folders(mostChunks)
{
    _chunks[0] = std::make_unique<Chunk>();
    _chunkCount = 1;
}

RecordId IndexTail::append(
    FolderId parent, std::string_view original, std::string_view stored, Traits traits)
{
    auto number = _chunkCount.load(std::memory_order_relaxed) - 1;
    if (!_chunks[number]->names.hasRoomFor(original, stored)) {
        if (number + 1 == mostChunks)
            return nothing;
        _chunks[number]->names.publish();
        _chunks[++number] = std::make_unique<Chunk>();
        _chunkCount.store(number + 1, std::memory_order_release);
    }
    auto &chunk = *_chunks[number];
    const auto slot = chunk.names.append(original, stored, traits);
    chunk.parents[slot] = parent;
    return firstRecordOf(number) + slot;
}

FolderId IndexTail::addFolder(FolderId parent, RecordId record)
{
    const auto number = _folderCount.load(std::memory_order_relaxed);
    auto &group = _folders[number / foldersPerChunk];
    if (!group)
        group.reset(new Folder[foldersPerChunk]);
    group[number % foldersPerChunk] = {parent, record};
    _folderCount.store(number + 1, std::memory_order_release);
    return _firstFolder + number;
}

void IndexTail::publish()
{
    _chunks[_chunkCount.load(std::memory_order_relaxed) - 1]->names.publish();
}

IndexTail::Mark IndexTail::mark() const
{
    const auto last = _chunkCount.load(std::memory_order_acquire) - 1;
    return {last, _chunks[last]->names.published()};
}

std::size_t IndexTail::memoryBytes() const
{
    std::size_t bytes = (_chunks.size() + _folders.size()) * sizeof(void *) +
                        _folderCount.load(std::memory_order_relaxed) * sizeof(Folder);
    const auto chunks = _chunkCount.load(std::memory_order_relaxed);
    for (std::uint32_t chunk = 0; chunk < chunks; ++chunk) {
        bytes += _chunks[chunk]->names.memoryBytes() +
                 _chunks[chunk]->names.published().count * sizeof(FolderId);
    }
    return bytes;
}

}  // namespace vellumhound::index
