// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/IndexView.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace vellumhound::index {

/// When files, folders and applications were last used: absolute paths in bytes, without trailing
/// slash, and seconds since 1970. A thousand at most; never changed once it is shared.
struct UseTable {
    std::unordered_map<std::string, std::uint32_t> lastUses;

    /// 0 if it was never used.
    std::uint32_t lastUseOf(const std::string &path) const
    {
        const auto found = lastUses.find(path);
        return found == lastUses.end() ? 0 : found->second;
    }
};

/// The records of one index that a table of uses speaks of. Found once, by walking down the paths,
/// then kept up with the tail as it grows. One thread.
class UsedRecords {
public:
    struct Use {
        RecordId record = nothing;
        std::uint32_t seconds = 0;
    };

    explicit UsedRecords(std::shared_ptr<const UseTable> table);

    const UseTable &table() const { return *_table; }
    /// Whether it has followed a view of these tables, or none yet.
    bool isOf(const IndexView &view) const
    {
        return _isNew || (_base.lock() == view.base && _tail.lock() == view.tail);
    }
    /// Covers what of `view` lies before `to`, which is not before that of an earlier call with the
    /// same tables. After that all record numbers are those of `view`.
    void follow(const IndexView &view, const IndexTail::Mark &to);
    /// Records of the base first, then those of the tail; some may be dead by now.
    const std::vector<Use> &uses() const { return _uses; }
    bool contains(RecordId record) const { return _secondsOf.contains(record); }

private:
    /// A used path, or a folder above one.
    struct Place {
        std::uint32_t seconds = 0;  // 0 for a folder that only stands above
        std::map<std::string, std::unique_ptr<Place>, std::less<>> below;
    };

    const Place *placeAt(std::string_view path) const;
    const Place *placeBelow(FolderId folder, std::string_view name) const;
    void beginAnew(const IndexView &view);
    void findInBase(const IndexView &view, FolderId folder, const Place &place);
    void findFoldersInTail(const IndexView &view);
    void add(RecordId record, std::uint32_t seconds);

    std::shared_ptr<const UseTable> _table;
    Place _top;  // stands for "/"

    // Not owned: tables that nobody reads any more must go.
    std::weak_ptr<const IndexBase> _base;
    std::weak_ptr<const IndexTail> _tail;
    bool _isNew = true;
    IndexTail::Mark _followedTo;
    FolderId _folderEnd = 0;
    std::unordered_map<FolderId, const Place *> _placeOf;  // folders with something used below
    std::vector<Use> _uses;
    std::unordered_map<RecordId, std::uint32_t> _secondsOf;
};

}  // namespace vellumhound::index
