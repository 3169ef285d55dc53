// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/IndexView.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vellumhound::index {

/// The folders whose entries' change times are still to be read, in the order in which they are
/// read. One thread.
class ChangeTimes {
public:
    struct Wanted {
        FolderId folder = nothing;
        bool isRefresh = false;  ///< also of the entries that have one
    };

    void want(FolderId folder, bool isRefresh) { _wanted.push_back({folder, isRefresh}); }
    std::optional<Wanted> take();
    void clear() { _wanted.clear(); }
    bool isEmpty() const { return _wanted.empty(); }
    std::size_t size() const { return _wanted.size(); }
    /// Folders have got other numbers; `nothing` for those that are gone.
    void renumber(const std::function<FolderId(FolderId)> &newNumber);

private:
    std::deque<Wanted> _wanted;
};

/// Entries of one folder whose change times are asked for.
struct TimesRequest {
    FolderId folder = nothing;
    bool isRefresh = false;
    std::string path;
    std::vector<RecordId> records;
    /// Entries that are not to be touched: other file systems are mounted there.
    std::vector<std::string> avoided;
    std::vector<std::uint32_t> times;  ///< the answer, one each; 1 for what cannot be told
};

/// Answers the requests one after the other until about ten milliseconds have passed. How many were
/// answered, at least one. Blocks for as long as the disk takes; any thread.
std::size_t readChangeTimes(const IndexView &view, std::vector<TimesRequest> &requests);

}  // namespace vellumhound::index
