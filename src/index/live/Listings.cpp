// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Listings.h"

#include <cerrno>
#include <memory>
#include <utility>

namespace vellumhound::index {

FolderListing Listings::readUnlessCancelled(const Request &request, const Ticket &ticket)
{
    if (!ticket.isCancelled)
        return listFolder(request.path, request.options);
    FolderListing listing;
    listing.error = ECANCELED;
    return listing;
}

Listings::TicketPtr Listings::begin(const Request &request, bool isFirst)
{
    const auto [it, isNew] = _pending.try_emplace(request.folder);
    auto &pending = it->second;
    if (!isNew) {
        pending.isWantedAgain = true;
        return nullptr;
    }
    pending.ticket = std::make_shared<Ticket>();
    pending.ticket->folder = request.folder;
    pending.root = request.root;
    pending.reader = request.reader;
    pending.isFirst = isFirst;
    if (!request.reader)
        ++_ofWorker;
    if (isFirst)
        ++_firstOf[request.root];
    return pending.ticket;
}

Worker::Job Listings::jobFor(const Request &request, const TicketPtr &ticket)
{
    return [this, request, ticket]() -> Worker::Completion {
        auto listing = std::make_shared<FolderListing>(readUnlessCancelled(request, *ticket));
        return [this, ticket, listing] { take(*ticket, *listing); };
    };
}

void Listings::post(
    const Request &request, const TicketPtr &ticket, Clock::time_point now, bool isFirst)
{
    if (request.reader)
        request.reader->post(jobFor(request, ticket), now);
    else if (isFirst)
        _worker.post(jobFor(request, ticket));
    else
        _worker.postUrgent(jobFor(request, ticket));
}

void Listings::readFirst(const Request &request, Clock::time_point now)
{
    if (const auto ticket = begin(request, true))
        post(request, ticket, now, true);
}

void Listings::read(const Request &request, Clock::time_point now)
{
    if (const auto ticket = begin(request, false))
        post(request, ticket, now, false);
}

void Listings::readTogether(
    const std::vector<Request> &requests, std::function<void()> whenDone, Clock::time_point now)
{
    struct Read {
        Request request;
        TicketPtr ticket;
        FolderListing listing;
    };
    auto together = std::make_shared<std::vector<Read>>();
    for (const auto &request : requests) {
        const auto ticket = begin(request, false);
        if (ticket && request.reader)
            post(request, ticket, now, false);
        else if (ticket)
            together->push_back({request, ticket, {}});
    }
    _worker.post([this, together, whenDone = std::move(whenDone)]() -> Worker::Completion {
        for (auto &read : *together)
            read.listing = readUnlessCancelled(read.request, *read.ticket);
        return [this, together, whenDone] {
            for (const auto &read : *together)
                take(*read.ticket, read.listing);
            if (whenDone)
                whenDone();
        };
    });
}

void Listings::readInTurn(MountReader &reader, const std::vector<Request> &requests,
    const std::function<void()> &whenDone, Clock::time_point now)
{
    std::vector<Worker::Job> jobs;
    for (const auto &request : requests) {
        if (const auto ticket = begin(request, false))
            jobs.push_back(jobFor(request, ticket));
    }
    if (jobs.empty()) {
        whenDone();
        return;
    }
    jobs.back() = [job = jobs.back(), whenDone]() -> Worker::Completion {
        return [takeLast = job(), whenDone] {
            takeLast();
            whenDone();
        };
    };
    for (auto &job : jobs)
        reader.post(std::move(job), now);
}

void Listings::take(Ticket &ticket, const FolderListing &listing)
{
    const auto folder = std::exchange(ticket.folder, nothing);
    auto found = _pending.extract(folder);
    if (found.empty())
        return;
    auto &pending = found.mapped();
    if (!pending.reader)
        --_ofWorker;
    onRead(folder, listing, pending);
    if (pending.isFirst)
        endFirst(pending.root);
    forgetWatches();
}

void Listings::forgetWatches()
{
    if (isWorkerReading())
        return;
    _early.clear();
    _retired.clear();
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
            pending.ticket->isCancelled = true;
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
        it->second.ticket->folder = nothing;
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
    if (isWorkerReading())
        _early[change.watch].push_back(change);
}

std::vector<Change> Listings::takeEarly(int watch)
{
    auto found = _early.extract(watch);
    return found.empty() ? std::vector<Change>() : std::move(found.mapped());
}

void Listings::noteRetired(int watch)
{
    if (isWorkerReading())
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
        found.mapped().ticket->folder = now;
        _pending.insert(std::move(found));
    }
}

void Listings::renumber(const std::function<FolderId(FolderId)> &newNumber)
{
    std::vector<std::uint32_t> ended;
    for (auto &[old, pending] : std::exchange(_pending, {})) {
        const auto now = newNumber(old);
        if (now != nothing) {
            pending.ticket->folder = now;
            _pending.emplace(now, std::move(pending));
        } else {
            pending.ticket->folder = nothing;
            if (!pending.reader)
                --_ofWorker;
            if (pending.isFirst)
                ended.push_back(pending.root);
        }
    }
    for (const auto root : ended)
        endFirst(root);
    forgetWatches();
}

}  // namespace vellumhound::index
