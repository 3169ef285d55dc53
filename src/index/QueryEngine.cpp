// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/QueryEngine.h"

#include "content/TextSearch.h"
#include "index/disk/Paths.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace vellumhound::index {

namespace {

/// Whether all trees that the scopes touch have been crawled once. For a scope that none touches
/// there is nothing to wait for: its rule was deleted while the query ran.
bool isCrawled(const IndexView &view, const QueryScopes &scopes)
{
    if ((scopes.holdsApplications || scopes.isWholeComputer) && !view.hasApplications)
        return false;
    const auto areCrawled = [&](const std::string &scope) {
        return std::all_of(view.roots.begin(), view.roots.end(), [&](const IndexRoot &root) {
            const bool touches = root.folder != nothing &&
                                 (pathBelow(root.path, scope) || pathBelow(scope, root.path));
            return root.isCrawled || !touches;
        });
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
    bool isCrawling = true;             // when the pass began
    std::shared_ptr<UsedRecords> used;  // has followed `view`; null: nothing was used
    std::vector<RankKey> ranked;
    std::size_t rankedCount = 0;  // in this and earlier blocks
    std::size_t next = 0;         // in `ranked`
    bool hasUnranked = false;     // hits below the last one of `ranked`
    std::size_t blockSize = firstRanked;

    // Behind the names of the last pass: one search after the other.
    std::deque<content::TextSearch> textSearches;
    bool hasBegunTexts = false;

    // Between passes.
    std::shared_ptr<const UseTable> uses;  // the same for all of the run
    bool waitsForReader = false;
    Clock::time_point due;
    std::unordered_set<QString> delivered;  // paths; kept only while the tables may change
};

QueryEngine::QueryEngine(
    const PublishedView &published, RecentlyUsed *uses, const content::PublishedText *texts)
    : _published(published)
    , _uses(uses)
    , _texts(texts)
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
        work.needles.clear();
        for (const auto &text : work.run->texts)
            work.needles.emplace_back(text, view->base->frequencies);
    }
    work.region.from = isSameTables ? work.region.to : IndexTail::Mark{};
    work.region.to = view->tail->mark();
    work.region.withBase = !isSameTables || !areSameApplications;
    work.view = std::move(view);
    work.blockSize = firstRanked;
    work.ranked.clear();
    work.rankedCount = 0;
    work.next = 0;
    findUsed(work);
    rankNext(work);
    deliver(work);
}

void QueryEngine::findUsed(Work &work)
{
    if (!_uses)
        return;
    if (!work.uses)
        work.uses = _uses->table(Clock::now());
    // Several runs share it while the tables and the uses stay the same.
    if (!_used || &_used->table() != work.uses.get() || !_used->isOf(*work.view))
        _used = std::make_shared<UsedRecords>(work.uses);
    _used->follow(*work.view, work.region.to);
    work.used = _used;
}

void QueryEngine::rankNext(Work &work)
{
    ResolvedScopes scopes(*work.view, work.run->scopes);
    SearchRequest request;
    request.limit = work.blockSize;
    request.below = work.ranked.empty() ? RankKey::aboveAll() : work.ranked.back();
    request.recency = Recency(work.run->startedAt);
    request.used = work.used.get();
    auto answer = searchNames(*work.view, scopes, work.needles, work.region, request);
    work.rankedCount += answer.best.size();
    work.hasUnranked = answer.best.size() >= work.blockSize;
    if (!work.hasUnranked && work.rankedCount < answer.count) {
        // A change time that came in between two blocks has moved an entry up and past the reader.
        // What was handed out already is passed over.
        request.limit = answer.count;
        request.below = RankKey::aboveAll();
        answer = searchNames(*work.view, scopes, work.needles, work.region, request);
    }
    work.ranked = std::move(answer.best);
    work.next = 0;
    work.blockSize *= 8;
}

void QueryEngine::deliver(Work &work)
{
    QueryAnswer answer;
    answer.generation = work.run->generation;
    addNames(work, answer);
    const bool hasMoreNames = work.next < work.ranked.size() || work.hasUnranked;
    // Reading texts takes its time, for which no name is held back.
    if (!hasMoreNames && answer.items.empty())
        addTexts(work, answer);
    answer.hasMore = hasMoreNames || hasTexts(work);
    answer.isCrawling = work.isCrawling;
    work.waitsForReader = answer.hasMore;
    const bool isLast = !answer.hasMore && !answer.isCrawling;
    if (!answer.items.empty() || isLast)
        work.run->sender.send(std::move(answer));
}

bool QueryEngine::hasTexts(const Work &work) const
{
    if (!_texts || work.isCrawling || work.run->contents.empty())
        return false;
    return !work.hasBegunTexts || !work.textSearches.empty();
}

void QueryEngine::addNames(Work &work, QueryAnswer &answer)
{
    while (answer.items.size() < portion && !work.run->isCancelled) {
        if (work.next == work.ranked.size()) {
            if (!work.hasUnranked)
                return;
            rankNext(work);
            continue;
        }
        auto item = readItem(*work.view, work.ranked[work.next++].record());
        if (item && work.delivered.insert(item->path).second)
            answer.items.push_back(std::move(item));
    }
}

void QueryEngine::beginTexts(Work &work) const
{
    work.hasBegunTexts = true;
    const auto &scopes = work.run->scopes;
    for (const auto &text : work.run->contents) {
        content::TextQuery query{text, {}, {}};
        if (!scopes.isWholeComputer) {
            query.isInScope = [&scopes](std::string_view path) {
                return std::any_of(scopes.folders.begin(), scopes.folders.end(),
                    [&](const auto &scope) { return pathBelow(path, scope).has_value(); });
            };
        }
        if (work.used) {
            for (const auto &[path, seconds] : work.used->table().lastUses)
                query.lastUses.push_back({path, seconds});
        }
        work.textSearches.emplace_back(*_texts, std::move(query));
    }
}

void QueryEngine::addTexts(Work &work, QueryAnswer &answer)
{
    if (!hasTexts(work))
        return;
    if (!work.hasBegunTexts)
        beginTexts(work);
    ResolvedScopes scopes(*work.view, work.run->scopes);
    while (!work.textSearches.empty() && answer.items.size() < portion && !work.run->isCancelled) {
        const auto page =
            work.textSearches.front().next(portion - answer.items.size(), work.run->isCancelled);
        for (const auto &hit : page.hits) {
            // What the names do not hold is hidden, excluded or gone.
            const auto record = work.view->findPath(hit.path);
            if (record == nothing || !scopes.holdsEntriesOf(work.view->folderOf(record)))
                continue;
            auto item = readItem(*work.view, record);
            if (item && work.delivered.insert(item->path).second)
                answer.items.push_back(std::move(item));
        }
        if (!page.mayHaveMore)
            work.textSearches.pop_front();
    }
}

}  // namespace vellumhound::index
