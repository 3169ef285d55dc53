// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Listings.h"

#include <cerrno>
#include <memory>
#include <utility>

namespace vellumhound::index {

FolderListing Listings::readUnlessCancelled(const Request &request, const Flag &isCancelled)
{
    if (!*isCancelled)
        return listFolder(request.path, request.options);
    FolderListing listing;
    listing.error = ECANCELED;
    return listing;
}

/// Null if the folder is being read already.
Listings::Flag Listings::begin(const Request &request, bool isFirst)
{
    const auto [it, isNew] = _pending.try_emplace(request.folder);
    auto &pending = it->second;
    if (!isNew) {
        pending.isWantedAgain = true;
        return nullptr;
    }
    pending.isCancelled = std::make_shared<std::atomic<bool>>(false);
    pending.root = request.root;
    pending.reader = request.reader;
    pending.isFirst = isFirst;
    if (isFirst)
        ++_firstOf[request.root];
    return pending.isCancelled;
}

void Listings::post(
    const Request &request, const Flag &isCancelled, Clock::time_point now, bool isFirst)
{
    auto job = [this, request, isCancelled]() -> Worker::Completion {
        auto listing = std::make_shared<FolderListing>(readUnlessCancelled(request, isCancelled));
        return [this, folder = request.folder, listing] { take(folder, *listing); };
    };
    if (request.reader)
        request.reader->post(std::move(job), now);
    else if (isFirst)
        _worker.post(std::move(job));
    else
        _worker.postUrgent(std::move(job));
}

void Listings::readFirst(const Request &request, Clock::time_point now)
{
    if (const auto isCancelled = begin(request, true))
        post(request, isCancelled, now, true);
}

void Listings::read(const Request &request, Clock::time_point now)
{
    if (const auto isCancelled = begin(request, false))
        post(request, isCancelled, now, false);
}

void Listings::readTogether(
    const std::vector<Request> &requests, std::function<void()> whenDone, Clock::time_point now)
{
    struct Read {
        Request request;
        Flag isCancelled;
        FolderListing listing;
    };
    auto together = std::make_shared<std::vector<Read>>();
    for (const auto &request : requests) {
        const auto isCancelled = begin(request, false);
        if (isCancelled && request.reader)
            post(request, isCancelled, now, false);
        else if (isCancelled)
            together->push_back({request, isCancelled, {}});
    }
    _worker.post([this, together, whenDone = std::move(whenDone)]() -> Worker::Completion {
        for (auto &read : *together)
            read.listing = readUnlessCancelled(read.request, read.isCancelled);
        return [this, together, whenDone] {
            for (const auto &read : *together)
                take(read.request.folder, read.listing);
            if (whenDone)
                whenDone();
        };
    });
}

void Listings::take(FolderId number, const FolderListing &listing)
{
    auto folder = number;
    for (auto now = _renumbered.find(folder); now != _renumbered.end();
         now = _renumbered.find(folder))
        folder = now->second;
    auto found = _pending.extract(folder);
    if (found.empty())
        return;
    auto &pending = found.mapped();
    onRead(folder, listing, pending);
    if (pending.isFirst)
        endFirst(pending.root);
    if (_pending.empty()) {
        _early.clear();
        _retired.clear();
        _renumbered.clear();
    }
}

void Listings::endFirst(std::uint32_t root)
{
    if (--_firstOf[root] == 0)
        onFirstCrawlEnded(root);
}

void Listings::cancel(const std::function<bool(FolderId)> &isUnwanted)
{
    for (const auto &[folder, pending] : _pending) {
        if (isUnwanted(folder))
            *pending.isCancelled = true;
    }
}

std::vector<FolderId> Listings::abandon(const MountReader &reader)
{
    std::vector<FolderId> folders;
    std::vector<std::uint32_t> roots;
    for (auto it = _pending.begin(); it != _pending.end();) {
        if (it->second.reader != &reader) {
            ++it;
            continue;
        }
        folders.push_back(it->first);
        if (it->second.isFirst)
            roots.push_back(it->second.root);
        it = _pending.erase(it);
    }
    // Nobody is to wait for a crawl that may never end.
    for (const auto root : roots)
        endFirst(root);
    return folders;
}

void Listings::noteChange(FolderId folder, const Change &change)
{
    const auto found = _pending.find(folder);
    if (found != _pending.end())
        found->second.touched.push_back(change);
}

void Listings::noteEarly(const Change &change)
{
    if (!_pending.empty())
        _early[change.watch].push_back(change);
}

std::vector<Change> Listings::takeEarly(int watch)
{
    auto found = _early.extract(watch);
    return found.empty() ? std::vector<Change>() : std::move(found.mapped());
}

void Listings::noteRetired(int watch)
{
    if (!_pending.empty())
        _retired.insert(watch);
}

void Listings::noteMoved(const std::unordered_map<FolderId, FolderId> &numbers)
{
    for (const auto &[old, now] : numbers) {
        auto found = _pending.extract(old);
        if (found.empty())
            continue;
        found.key() = now;
        found.mapped().isStale = true;
        _pending.insert(std::move(found));
        _renumbered[old] = now;
    }
}

}  // namespace vellumhound::index
