// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Handover.h"
#include "content/TextState.h"
#include "index/IndexItem.h"
#include "index/names/NameSearch.h"
#include "index/RecentlyUsed.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace vellumhound::index {

/// Part of what a run has found.
struct QueryAnswer {
    std::uint64_t generation = 0;  ///< of the run
    std::vector<std::shared_ptr<const IndexItem>> items;
    bool hasMore = false;     ///< there are further hits, to be asked for
    bool isCrawling = false;  ///< the scopes are still being crawled
};

/// One run of a query. Made by the query on the main thread, then worked on by the engine alone;
/// both hold it.
struct QueryRun {
    std::uint64_t generation = 0;
    std::vector<std::string> texts;     ///< UTF-8; a name that holds one of them is a hit
    std::vector<std::string> contents;  ///< UTF-8; a file whose text holds one of them is a hit
    QueryScopes scopes;
    std::int64_t startedAt = std::time(nullptr);  ///< what counts as now in its ranking
    base::Handover<QueryAnswer>::Sender sender;
    std::atomic<bool> isCancelled = false;

    QueryRun(std::uint64_t number, base::Handover<QueryAnswer>::Sender to)
        : generation(number)
        , sender(std::move(to))
    {
    }
};

/// Answers queries from the published view, on a thread of its own: searches, ranks, and reads from
/// the disk what the handed-out entries need.
///
/// A run's answer comes in portions. The next one is sent when the query asks for more; while the
/// scopes are being crawled also by itself, at most ten times a second and only with new hits. The
/// last answer has neither flag set. Files that are hits by their text follow behind all names, in
/// portions of their own, once the scopes have been crawled.
class QueryEngine {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t firstRanked = 512;  ///< ranked at once; later blocks are longer
    static constexpr std::size_t portion = 128;      ///< entries read from the disk at once
    static constexpr std::chrono::milliseconds pause{100};

    /// Without `uses` nothing was ever used, without `texts` nothing is known of what stands in
    /// files. All outlive it.
    explicit QueryEngine(const PublishedView &published, RecentlyUsed *uses = nullptr,
        const content::PublishedText *texts = nullptr);
    ~QueryEngine();
    QueryEngine(const QueryEngine &) = delete;
    QueryEngine &operator=(const QueryEngine &) = delete;

    // Any thread.
    void submit(std::shared_ptr<QueryRun> run);
    void askForMore(const std::shared_ptr<QueryRun> &run);
    /// The reader does not want the rest of what has been found so far.
    void passOver(const std::shared_ptr<QueryRun> &run);
    /// A crawl has ended, so waiting runs can go on at once.
    void wake();
    void stop();

    // The engine's thread.
    /// Works on everything that is due at `now`. When the next is due; absent if nothing is.
    std::optional<Clock::time_point> step(Clock::time_point now);
    void run();

private:
    struct Work;
    enum class Request { begin, more, passOver };
    struct Message {
        std::shared_ptr<QueryRun> run;
        Request request = Request::begin;
    };

    void take(std::vector<Message> messages);
    void pass(Work &work, Clock::time_point now);
    void findUsed(Work &work);
    void rankNext(Work &work);
    void deliver(Work &work);
    void addNames(Work &work, QueryAnswer &answer);
    bool hasTexts(const Work &work) const;
    void beginTexts(Work &work) const;
    void addTexts(Work &work, QueryAnswer &answer);

    const PublishedView &_published;
    RecentlyUsed *const _uses;
    const content::PublishedText *const _texts;
    std::shared_ptr<UsedRecords> _used;  // of the latest run, kept for the next
    std::vector<std::unique_ptr<Work>> _works;

    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Message> _messages;
    bool _isWoken = false;
    bool _isStopped = false;
};

}  // namespace vellumhound::index
