// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "content/OfferQueue.h"
#include "content/TextIndex.h"
#include "content/TextSource.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vellumhound::content {

/// What a file on the disk looks like; absent unless it is there and a plain file. An error if the
/// disk does not say.
base::Result<std::optional<Stamp>> stampOfFile(const std::string &path);

struct TextIndexerOptions {
    std::int64_t mostFileBytes = std::int64_t(64) << 20;  ///< larger files count as without text
    OfferQueue::Pace pace;
    /// So long after the last change what waits in memory goes to the disk.
    std::chrono::milliseconds flushAfter = std::chrono::seconds(20);
    /// Until the next attempt where the disk or the source refused, and while work is held back.
    std::chrono::milliseconds retryAfter = std::chrono::minutes(1);
    /// Called on any thread.
    std::function<OfferQueue::Time()> now = [] { return std::chrono::steady_clock::now(); };
    /// Whether the machine can spare the work at the moment; asked between files.
    std::function<bool()> mayRun = [] { return true; };
    std::function<RankFacts(const std::string &path)> factsOf = [](const auto &) {
        return RankFacts{};
    };
    std::function<base::Result<std::optional<Stamp>>(const std::string &path)> stampOf =
        stampOfFile;
    /// There is room again after files were left out: they should be offered once more. Called on
    /// the indexer's thread.
    std::function<void()> onRoomAgain = [] {};
    /// Texts that are not wanted any more are off the disk after so long, those of files that were
    /// removed or changed after a day, at the earliest half of it.
    std::chrono::milliseconds purgeAfter = std::chrono::seconds(20);
};

/// What the indexer is doing, for people.
struct TextStatus {
    enum class State {
        off,          ///< nothing is kept
        idle,         ///< everything that was offered has been looked at
        indexing,     ///< or waits for files to be left alone
        paused,       ///< the machine has better things to do
        full,         ///< the limit on the disk is reached; files are left out
        cannotWrite,  ///< tried again from time to time
    };
    State state = State::off;
    std::uint64_t waiting = 0;  ///< files to look at
    std::uint64_t leftOut = 0;  ///< for want of room, since there was room last
    TextFigures figures;

    bool operator==(const TextStatus &) const = default;
};

/// Keeps a text index equal to the files that it is told of, in the background. Begins switched
/// off. What it is told only says where to look; what counts is what the file looks like then.
///
/// step() and run() are for the one thread that also is the index's writer; everything above them
/// for any thread. Nobody offers files whose disk may hang.
class TextIndexer {
public:
    TextIndexer(TextIndex &index, TextSource &source, TextIndexerOptions options = {});
    TextIndexer(const TextIndexer &) = delete;
    TextIndexer &operator=(const TextIndexer &) = delete;

    /// Off deletes what is kept; on begins empty, or with what the last process left.
    void setEnabled(bool isEnabled);
    /// The file exists and has changed just now.
    void offer(std::string path);
    /// The file exists; `changedAt` in seconds since 1970, 0 if unknown. For crawls and checks.
    void offerFound(std::string path, std::int64_t changedAt);
    /// The file is gone, or is not wanted.
    void forget(std::string path);
    void forgetBelow(std::string folder);
    /// A file or folder has another name.
    void moved(std::string from, std::string to);
    /// Forgets every document that is not wanted. `isWanted` is called on the indexer's thread.
    void keepOnly(std::function<bool(const std::string &path)> isWanted);
    /// mayRun may have another answer.
    void wake();
    /// Makes run() come back soon, with everything on the disk.
    void stop();
    TextStatus status() const;

    /// Looks at one file, or does one piece of housekeeping. False if there is nothing to do now.
    bool step();
    /// When step() has something to do even if nobody tells it anything; absent: never.
    std::optional<OfferQueue::Time> nextDue() const;
    /// Steps until stop(), asleep while there is nothing to do.
    void run();

private:
    using Command = std::function<void()>;

    void post(Command command);
    bool applyCommands();
    bool openIndex();
    bool lookAtOne();
    void lookAt(const std::string &path);
    void keep(const std::string &path, const Stamp &stamp, const Extracted &extracted);
    bool keepHouse();
    bool purgeIfDue();
    void purgeBy(OfferQueue::Time idle, OfferQueue::Time latest);
    void followFigures();
    void noteChange();
    void retryLater();
    void noteStatus();

    TextIndex &_index;
    TextSource &_source;
    const TextIndexerOptions _options;
    OfferQueue _queue;
    bool _isEnabled = false;
    bool _isOpen = false;
    bool _isPaused = false;
    std::optional<OfferQueue::Time> _retryAt;
    std::optional<OfferQueue::Time> _flushAt;
    std::optional<OfferQueue::Time> _latestFlush;
    std::optional<OfferQueue::Time> _purgeWhenIdle;  // from then on
    std::optional<OfferQueue::Time> _purgeAnyhow;
    std::size_t _segments = 0;  // when it was last tidied
    bool _isTidy = false;
    std::uint64_t _leftOut = 0;
    std::atomic<bool> _isStopped = false;

    mutable std::mutex _mutex;  // guards the following
    std::condition_variable _told;
    std::vector<Command> _commands;
    TextStatus _status;
};

}  // namespace vellumhound::content
