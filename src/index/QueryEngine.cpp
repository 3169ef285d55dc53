// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/QueryEngine.h"

#include <algorithm>
#include <utility>

namespace vellumhound::index {

namespace {

constexpr RankKey aboveAll{~std::uint64_t(0)};

/// Whether all trees that the scopes touch have been crawled once.
bool isCrawled(const IndexView &view, const QueryScopes &scopes)
{
    if ((scopes.holdsApplications || scopes.isWholeComputer) && !view.hasApplications)
        return false;
    const auto areCrawled = [&](const std::string &scope) {
        bool isKnown = false;
        for (const auto &root : view.roots) {
            const bool touches = root.folder != nothing &&
                                 (pathBelow(root.path, scope) || pathBelow(scope, root.path));
            if (touches && !root.isCrawled)
                return false;
            isKnown = isKnown || touches;
        }
        return isKnown;
    };
    return (!scopes.isWholeComputer || areCrawled("/")) &&
           std::all_of(scopes.folders.begin(), scopes.folders.end(), areCrawled);
}

}  // namespace

/// A run under way.
struct QueryEngine::Work {
    std::shared_ptr<QueryRun> run;
    std::vector<Needle> needles;

    // The pass at hand: one search over what has come in since the last.
    std::shared_ptr<const IndexView> view;
    SearchRegion region;
    bool isCrawling = true;  // when the pass began
    std::vector<RankKey> ranked;
    std::size_t next = 0;      // in `ranked`
    bool hasUnranked = false;  // hits below the last one of `ranked`
    std::size_t blockSize = firstRanked;

    // Between passes.
    bool waitsForReader = false;
    Clock::time_point due;
    std::unordered_set<QString> delivered;  // paths; kept only while the tables may change
};

QueryEngine::QueryEngine(const PublishedView &published)
    : _published(published)
{
}

QueryEngine::~QueryEngine() = default;

void QueryEngine::submit(std::shared_ptr<QueryRun> run)
{
    const std::lock_guard lock(_mutex);
    _messages.push_back({std::move(run), Request::begin});
    _changed.notify_one();
}

void QueryEngine::askForMore(const std::shared_ptr<QueryRun> &run)
{
    const std::lock_guard lock(_mutex);
    _messages.push_back({run, Request::more});
    _changed.notify_one();
}

void QueryEngine::passOver(const std::shared_ptr<QueryRun> &run)
{
    const std::lock_guard lock(_mutex);
    _messages.push_back({run, Request::passOver});
    _changed.notify_one();
}

void QueryEngine::wake()
{
    const std::lock_guard lock(_mutex);
    _isWoken = true;
    _changed.notify_one();
}

void QueryEngine::stop()
{
    const std::lock_guard lock(_mutex);
    _isStopped = true;
    _changed.notify_one();
}

void QueryEngine::run()
{
    std::optional<Clock::time_point> due;
    for (;;) {
        {
            std::unique_lock lock(_mutex);
            const auto isWanted = [this] { return _isStopped || _isWoken || !_messages.empty(); };
            if (due)
                _changed.wait_until(lock, *due, isWanted);
            else
                _changed.wait(lock, isWanted);
            if (_isStopped)
                return;
        }
        due = step(Clock::now());
    }
}

std::optional<QueryEngine::Clock::time_point> QueryEngine::step(Clock::time_point now)
{
    std::vector<Message> messages;
    bool isWoken = false;
    {
        const std::lock_guard lock(_mutex);
        messages.swap(_messages);
        isWoken = std::exchange(_isWoken, false);
    }
    take(std::move(messages));
    std::erase_if(_works, [](const auto &work) { return work->run->isCancelled.load(); });

    std::optional<Clock::time_point> next;
    for (const auto &work : _works) {
        if (work->waitsForReader)
            continue;
        if (isWoken || work->due <= now)
            pass(*work, now);
        if (!work->waitsForReader && work->isCrawling)
            next = next ? std::min(*next, work->due) : work->due;
    }
    std::erase_if(
        _works, [](const auto &work) { return !work->waitsForReader && !work->isCrawling; });
    return next;
}

void QueryEngine::take(std::vector<Message> messages)
{
    for (auto &message : messages) {
        if (message.request == Request::begin) {
            auto work = std::make_unique<Work>();
            work->run = std::move(message.run);
            _works.push_back(std::move(work));
            continue;
        }
        const auto found = std::find_if(_works.begin(), _works.end(),
            [&](const auto &work) { return work->run == message.run; });
        if (found == _works.end() || message.run->isCancelled)
            continue;
        auto &work = **found;
        work.waitsForReader = false;
        if (message.request == Request::more)
            deliver(work);
    }
}

void QueryEngine::pass(Work &work, Clock::time_point now)
{
    work.due = now + pause;
    // In this order: what a finished crawl has appended is published before it is called finished.
    auto view = _published.current();
    work.isCrawling = !isCrawled(*view, work.run->scopes);
    const bool isSameTables =
        work.view && work.view->base == view->base && work.view->tail == view->tail;
    const bool areSameApplications = work.view && work.view->applications == view->applications;
    if (!isSameTables) {
        for (const auto &text : work.run->texts)
            work.needles.emplace_back(text, view->base->frequencies);
    }
    work.region.from = isSameTables ? work.region.to : IndexTail::Mark{};
    work.region.to = view->tail->mark();
    work.region.withBase = !isSameTables || !areSameApplications;
    work.view = std::move(view);
    work.blockSize = firstRanked;
    work.ranked.clear();
    work.next = 0;
    rankNext(work);
    deliver(work);
}

void QueryEngine::rankNext(Work &work)
{
    const auto below = work.ranked.empty() ? aboveAll : work.ranked.back();
    ResolvedScopes scopes(*work.view, work.run->scopes);
    std::vector<RankKey> best;
    std::uint64_t count = 0;
    for (const auto &needle : work.needles) {
        auto answer = searchNames(*work.view, scopes, needle, work.region, work.blockSize, below);
        count = std::max(count, answer.count);
        best.insert(best.end(), answer.best.begin(), answer.best.end());
    }
    if (work.needles.size() > 1) {
        // One record can be the hit of several texts; its best place counts.
        std::sort(best.begin(), best.end(), std::greater<>());
        std::unordered_set<RecordId> seen;
        std::erase_if(best, [&](RankKey key) { return !seen.insert(key.record()).second; });
    }
    work.hasUnranked = best.size() >= work.blockSize;
    work.ranked = std::move(best);
    work.next = 0;
    work.blockSize *= 8;
}

void QueryEngine::deliver(Work &work)
{
    QueryAnswer answer;
    answer.generation = work.run->generation;
    while (answer.items.size() < portion && !work.run->isCancelled) {
        if (work.next == work.ranked.size()) {
            if (!work.hasUnranked)
                break;
            rankNext(work);
            continue;
        }
        auto item = readItem(*work.view, work.ranked[work.next++].record());
        if (item && work.delivered.insert(item->path).second)
            answer.items.push_back(std::move(item));
    }
    answer.hasMore = work.next < work.ranked.size() || work.hasUnranked;
    answer.isCrawling = work.isCrawling;
    work.waitsForReader = answer.hasMore;
    const bool isLast = !answer.hasMore && !answer.isCrawling;
    if (!answer.items.empty() || isLast)
        work.run->sender.send(std::move(answer));
}

}  // namespace vellumhound::index
