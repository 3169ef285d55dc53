// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/AncestorWatch.h"

#include "index/disk/FolderListing.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

using Interest = ChangeSource::Interest;

/// The folders on the way to an absolute path, from below "/" down to the path itself.
std::vector<std::string> foldersOnTheWayTo(const std::string &path)
{
    std::vector<std::string> folders;
    for (auto end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1))
        folders.push_back(path.substr(0, end));
    folders.push_back(path);
    return folders;
}

/// Nothing has this name, not even a link.
bool isFree(const std::string &path)
{
    struct stat status {};
    return ::lstat(path.c_str(), &status) != 0 && errno == ENOENT;
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

bool AncestorWatch::concerns(const Change &change) const
{
    if (!holds(change.watch))
        return false;
    const bool isOfFolderItself =
        change.kind == Change::Kind::folderMoved || change.kind == Change::Kind::folderGone;
    const auto awaited = _above.awaitedNames.find(change.watch);
    const bool isAwaited =
        awaited != _above.awaitedNames.end() && awaited->second.contains(change.name);
    return isOfFolderItself || isAwaited;
}

void AncestorWatch::noteChange(const Change &change)
{
    if (_isWatching && change.kind != Change::Kind::written)
        _meanwhile.push_back(change);
    if (!concerns(change))
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
        auto above = std::make_shared<Above>();
        for (const auto &root : roots)
            watchAbove(root, slowMounts, *above);
        return [this, above] { take(*above); };
    });
}

/// On the worker's thread, as what it calls.
void AncestorWatch::watchAbove(
    const std::string &root, const std::vector<Mount> &slowMounts, Above &above) const
{
    const auto resolved = resolvePath(slowMounts, root);
    // Where links lead, too.
    for (const auto &path : foldersOnTheWayTo(resolved.path)) {
        if (path == resolved.path || resolvePath(slowMounts, path).hangs)
            break;
        if (const int watch = watchFolder(path, Interest::place); watch >= 0)
            above.watches.insert(watch);
    }
    std::string parent = "/";
    for (const auto &path : foldersOnTheWayTo(root)) {
        if (resolvePath(slowMounts, path).hangs)
            return;
        if (isFree(path)) {
            // Looked at again behind the watch: it may come between the two.
            const int watch = watchFolder(parent, Interest::names);
            if (watch >= 0)
                above.watches.insert(watch);
            if (isFree(path)) {
                if (watch >= 0) {
                    above.awaitedNames[watch].insert(path.substr(path.rfind('/') + 1));
                    above.awaitedRoots.insert(root);
                }
                return;
            }
        }
        const int watch = path == root ? ChangeSource::noWatch : watchFolder(path, Interest::place);
        if (watch >= 0)
            above.watches.insert(watch);
        parent = path;
    }
}

int AncestorWatch::watchFolder(const std::string &path, Interest interest) const
{
    const int folder = openFolder(path, true);
    if (folder < 0)
        return ChangeSource::noWatch;
    const int watch = _source.watch(folder, interest);
    ::close(folder);
    return watch;
}

void AncestorWatch::take(const Above &above)
{
    _isWatching = false;
    const auto old = std::exchange(_above, above);
    std::vector<int> freed;
    std::copy_if(old.watches.begin(), old.watches.end(), std::back_inserter(freed),
        [this](int watch) { return !holds(watch); });
    const bool isNew = std::any_of(_above.watches.begin(), _above.watches.end(),
        [&](int watch) { return !old.watches.contains(watch); });
    const bool isOther = isNew || !freed.empty() || old.awaitedRoots != _above.awaitedRoots;
    const auto meanwhile = std::exchange(_meanwhile, {});
    if (std::any_of(meanwhile.begin(), meanwhile.end(),
            [this](const Change &change) { return concerns(change); }))
        _isWantedAgain = true;
    if (std::exchange(_hasMoved, false) || isOther)
        onWatched(freed);
    if (std::exchange(_isWantedAgain, false))
        watch();
}

}  // namespace vellumhound::index
