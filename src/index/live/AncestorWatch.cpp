// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/AncestorWatch.h"

#include "index/disk/FolderListing.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

/// The folders above an absolute path.
void addFoldersAbove(const std::string &path, std::set<std::string> &folders)
{
    for (auto end = path.rfind('/'); end != std::string::npos && end > 0;
         end = path.rfind('/', end - 1))
        folders.insert(path.substr(0, end));
}

}  // namespace

AncestorWatch::AncestorWatch(Worker &worker, ChangeSource &source)
    : _worker(worker)
    , _source(source)
{
}

void AncestorWatch::follow(
    const std::vector<std::string> &roots, const std::vector<Mount> &slowMounts)
{
    _roots = roots;
    _slowMounts = slowMounts;
    watch();
}

void AncestorWatch::noteChange(const Change &change)
{
    const bool isOfFolderItself =
        change.kind == Change::Kind::folderMoved || change.kind == Change::Kind::folderGone;
    if (!isOfFolderItself || !holds(change.watch))
        return;
    _hasMoved = true;
    watch();
}

void AncestorWatch::watch()
{
    if (std::exchange(_isWatching, true)) {
        _isWantedAgain = true;
        return;
    }
    _worker.postUrgent([this, roots = _roots, slowMounts = _slowMounts]() -> Worker::Completion {
        return [this, watches = watchAbove(roots, slowMounts)] { take(watches); };
    });
}

/// On the worker's thread.
std::unordered_set<int> AncestorWatch::watchAbove(
    const std::vector<std::string> &roots, const std::vector<Mount> &slowMounts) const
{
    std::set<std::string> folders;
    for (const auto &root : roots) {
        addFoldersAbove(root, folders);
        // Where a link leads, too.
        addFoldersAbove(resolvePath(slowMounts, root).path, folders);
    }
    std::unordered_set<int> watches;
    for (const auto &path : folders) {
        if (resolvePath(slowMounts, path).hangs)
            continue;
        const int folder = openFolder(path, true);
        if (folder < 0)
            continue;
        const int watch = _source.watch(folder, ChangeSource::Interest::place);
        if (watch >= 0)
            watches.insert(watch);
        ::close(folder);
    }
    return watches;
}

void AncestorWatch::take(std::unordered_set<int> watches)
{
    _isWatching = false;
    const auto old = std::exchange(_watches, std::move(watches));
    std::vector<int> freed;
    std::copy_if(old.begin(), old.end(), std::back_inserter(freed),
        [this](int watch) { return !holds(watch); });
    const bool isNew = std::any_of(
        _watches.begin(), _watches.end(), [&](int watch) { return !old.contains(watch); });
    if (std::exchange(_hasMoved, false) || isNew || !freed.empty())
        onWatched(freed);
    if (std::exchange(_isWantedAgain, false))
        watch();
}

}  // namespace vellumhound::index
