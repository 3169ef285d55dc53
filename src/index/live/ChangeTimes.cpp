// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/ChangeTimes.h"

#include "index/disk/FolderListing.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

/// Asked for, but not to be had.
constexpr std::uint32_t untold = 1;

std::uint32_t changeTimeAt(int folder, const char *name)
{
    struct statx status {};
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    if (::statx(folder, name, flags, STATX_MTIME, &status) != 0)
        return untold;
    return std::uint32_t(std::clamp<std::int64_t>(status.stx_mtime.tv_sec, untold, UINT32_MAX));
}

void answer(const IndexView &view, TimesRequest &request)
{
    request.times.assign(request.records.size(), untold);
    const int folder = openFolder(request.path, true);
    if (folder < 0)
        return;
    for (std::size_t i = 0; i < request.records.size(); ++i) {
        const std::string name(view.nameOf(request.records[i]));
        const auto &avoided = request.avoided;
        if (std::find(avoided.begin(), avoided.end(), name) == avoided.end())
            request.times[i] = changeTimeAt(folder, name.c_str());
    }
    ::close(folder);
}

}  // namespace

std::optional<ChangeTimes::Wanted> ChangeTimes::take()
{
    if (_wanted.empty())
        return std::nullopt;
    const auto wanted = _wanted.front();
    _wanted.pop_front();
    return wanted;
}

void ChangeTimes::renumber(const std::function<FolderId(FolderId)> &newNumber)
{
    for (auto &wanted : _wanted)
        wanted.folder = newNumber(wanted.folder);
    std::erase_if(_wanted, [](const Wanted &wanted) { return wanted.folder == nothing; });
}

std::size_t readChangeTimes(const IndexView &view, std::vector<TimesRequest> &requests)
{
    constexpr std::chrono::milliseconds longest{10};
    const auto start = std::chrono::steady_clock::now();
    std::size_t count = 0;
    while (count < requests.size()) {
        answer(view, requests[count++]);
        if (std::chrono::steady_clock::now() - start > longest)
            break;
    }
    return count;
}

}  // namespace vellumhound::index
