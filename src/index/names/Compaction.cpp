// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/Compaction.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vellumhound::index {

namespace {

/// One walk over the old tables in depth-first order.
class Compactor {
public:
    Compactor(const IndexView &view, const IndexTail::Mark &mark, FolderId folderEnd)
        : _view(view)
        , _mark(mark)
    {
        forEachRecord(*view.tail, {}, mark,
            [&](RecordId record) { _tailRecords.emplace_back(view.folderOf(record), record); });
        std::sort(_tailRecords.begin(), _tailRecords.end());
        for (auto folder = view.tail->firstFolder(); folder < folderEnd; ++folder) {
            if (view.parentOf(folder) != nothing)
                _tailFolders.emplace_back(view.recordOf(folder), folder);
        }
        std::sort(_tailFolders.begin(), _tailFolders.end());
        _result.newRecords.assign(
            view.tail->firstRecordOf(mark.chunk) + mark.extent.count, nothing);
        _result.newFolders.assign(folderEnd, nothing);
    }

    CompactedIndex run()
    {
        _result.base = std::make_shared<IndexBase>(capacity());
        auto &base = *_result.base;
        for (std::uint32_t number = 0; number < _view.roots.size(); ++number) {
            if (_view.roots[number].folder != nothing)
                addTree(_view.roots[number].folder, number);
        }
        _folders.firstRecords.push_back(_next);
        base.names.publish();
        base.names.summarize();
        finishFolders();
        countBytes();
        return std::move(_result);
    }

private:
    struct Pending {
        FolderId oldFolder = nothing;
        FolderId newParent = nothing;
        RecordId newRecord = nothing;
        FolderId closes = nothing;  // set: not a folder to visit, but the end of this one
    };
    struct Entry {
        std::string_view stored;
        RecordId record = nothing;
    };

    NameBlock::Capacity capacity() const
    {
        NameBlock::Capacity sum;
        const auto add = [&](const NameBlock &names, NameBlock::Extent extent) {
            sum.bytes += extent.end;
            sum.records += extent.count;
            sum.originals += names.originalCount();
            sum.originalBytes += names.originalByteCount();
        };
        add(_view.base->names, _view.base->names.published());
        for (std::uint32_t chunk = 0; chunk <= _mark.chunk; ++chunk)
            add(_view.tail->names(chunk), _view.tail->names(chunk).published());
        return sum;
    }

    /// The live entries of an old folder, by their stored names.
    void collect(FolderId folder)
    {
        _entries.clear();
        const auto &base = *_view.base;
        if (folder < _view.tail->firstFolder()) {
            const auto end = base.firstRecords[folder + 1];
            auto record = base.firstRecords[folder];
            const char *at =
                record < end ? base.names.data() + base.names.startOf(record) : nullptr;
            for (; record < end; ++record) {
                const std::string_view stored(at);
                if (!base.names.isDead(record))
                    _entries.push_back({stored, record});
                at += stored.size() + 1;
            }
        }
        const auto first = std::lower_bound(
            _tailRecords.begin(), _tailRecords.end(), std::pair(folder, RecordId(0)));
        for (auto it = first; it != _tailRecords.end() && it->first == folder; ++it) {
            if (!_view.isDead(it->second))
                _entries.push_back({_view.storedNameOf(it->second), it->second});
        }
        std::sort(_entries.begin(), _entries.end(), [this](const Entry &a, const Entry &b) {
            return a.stored != b.stored ? a.stored < b.stored
                                        : _view.nameOf(a.record) < _view.nameOf(b.record);
        });
    }

    FolderId folderFor(RecordId record) const
    {
        // A record of the base can have got its folder later, when a rule let it in.
        const auto found =
            std::upper_bound(_tailFolders.begin(), _tailFolders.end(), std::pair(record, nothing));
        if (found != _tailFolders.begin() && std::prev(found)->first == record)
            return std::prev(found)->second;
        return _view.isInBase(record) ? _view.base->folderFor(record) : nothing;
    }

    void addTree(FolderId root, std::uint32_t rootNumber)
    {
        std::vector<Pending> stack{{root, nothing, rootNumber, nothing}};
        while (!stack.empty()) {
            const auto top = stack.back();
            stack.pop_back();
            if (top.closes != nothing) {
                _folders.subtreeEnds[top.closes] = FolderId(_folders.parents.size());
                continue;
            }
            const auto folder = addFolder(top);
            stack.push_back({nothing, nothing, nothing, folder});
            for (auto entry = _entries.rbegin(); entry != _entries.rend(); ++entry) {
                if (_view.traitsOf(entry->record).kind() != EntryKind::folder)
                    continue;
                const auto below = folderFor(entry->record);
                if (below != nothing)
                    stack.push_back({below, folder, _result.newRecords[entry->record], nothing});
            }
        }
    }

    FolderId addFolder(const Pending &pending)
    {
        auto &base = *_result.base;
        const auto folder = FolderId(_folders.parents.size());
        _result.newFolders[pending.oldFolder] = folder;
        _folders.firstRecords.push_back(_next);
        _folders.records.push_back(pending.newRecord);
        _folders.parents.push_back(pending.newParent);
        _folders.subtreeEnds.push_back(folder + 1);
        collect(pending.oldFolder);
        for (const auto &entry : _entries) {
            const auto record = base.names.append(
                _view.nameOf(entry.record), entry.stored, _view.traitsOf(entry.record));
            base.names.setChangeTime(record, _view.changeTimeOf(entry.record));
            _result.newRecords[entry.record] = _next++;
        }
        return folder;
    }

    void finishFolders()
    {
        auto &folders = _folders;
        for (FolderId folder = 0; folder < folders.parents.size(); ++folder) {
            if (folders.parents[folder] != nothing)
                folders.byRecord.push_back(folder);
        }
        std::sort(folders.byRecord.begin(), folders.byRecord.end(),
            [&](FolderId a, FolderId b) { return folders.records[a] < folders.records[b]; });
        for (auto *column : {&folders.firstRecords, &folders.records, &folders.parents,
                 &folders.subtreeEnds, &folders.byRecord})
            column->shrink_to_fit();
        _result.base->setFolders(std::move(folders));
    }

    void countBytes()
    {
        auto &base = *_result.base;
        const auto extent = base.names.published();
        if (extent.count < 10'000)
            return;
        base.frequencies.fill(0);
        for (auto at = NameBlock::firstByte; at < extent.end; ++at) {
            const char c = base.names.data()[at];
            const auto byte = static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c | 0x20 : c);
            ++base.frequencies[byte];
        }
    }

    const IndexView &_view;
    const IndexTail::Mark _mark;
    std::vector<std::pair<FolderId, RecordId>> _tailRecords;  // sorted
    std::vector<std::pair<RecordId, FolderId>> _tailFolders;  // sorted
    std::vector<Entry> _entries;                              // of the folder at hand
    RecordId _next = 0;
    FolderTables _folders;
    CompactedIndex _result;
};

}  // namespace

CompactedIndex compact(const IndexView &view, const IndexTail::Mark &mark, FolderId folderEnd,
    std::uint32_t filterFrom)
{
    auto compacted = Compactor(view, mark, folderEnd).run();
    const auto &base = *compacted.base;
    if (base.recordCount() >= filterFrom)
        compacted.filter = std::make_shared<const BlockFilter>(base.names);
    return compacted;
}

}  // namespace vellumhound::index
