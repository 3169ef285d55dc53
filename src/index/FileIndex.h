// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/CrawlPlan.h"
#include "index/InotifySource.h"
#include "index/LiveIndex.h"
#include "index/QueryEngine.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vellumhound::index {

/// What the index needs to know of the user's environment.
struct FileIndexOptions {
    QString dataHome;       ///< XDG_DATA_HOME
    QStringList dataDirs;   ///< XDG_DATA_DIRS
    QStringList languages;  ///< for the names of applications, such as de_DE; most wanted first
    std::function<int()> watchBudget = InotifySource::halfOfWhatTheUserMayHave;
    LiveIndexOptions live;
};

/// The live index of files and applications. Owns three threads: one that keeps the tables equal to
/// the disk, one of the lowest priority that reads folders for it, one that answers queries. None
/// of them runs while nothing happens.
///
/// Made by the composition root; main thread; outlives its queries.
class FileIndex {
public:
    explicit FileIndex(const FileIndexOptions &options);
    ~FileIndex();
    FileIndex(const FileIndex &) = delete;
    FileIndex &operator=(const FileIndex &) = delete;

    /// Included folders are crawled and watched, excluded ones are not unless a rule below them
    /// includes again. Verdicts on single results are the query's.
    void setPathRules(const QList<Rule> &rules);

    /// How much of the disk is covered, and how.
    struct Coverage {
        std::uint64_t names = 0;
        std::size_t watchedFolders = 0;
        std::size_t sweptFolders = 0;
        std::size_t memoryBytes = 0;
        bool isCrawling = false;
    };
    Coverage coverage() const;

    // For IndexQuery.
    void startRun(const std::shared_ptr<QueryRun> &run, const QStringList &scopes);
    QueryEngine &engine() { return _engine; }

private:
    void runLive();
    /// Runs `command` on the thread of the tables. Its number.
    std::uint64_t post(std::function<void()> command);
    void wakeLive() const;
    void noteCoverage();

    PublishedView _published;
    int _wakeDescriptor = -1;
    InotifySource _source;
    Worker _worker;
    LiveIndex _live;
    QueryEngine _engine;

    std::mutex _mutex;  // guards the commands
    std::vector<std::function<void()>> _commands;
    std::uint64_t _postedCommands = 0;
    std::atomic<std::uint64_t> _doneCommands = 0;
    std::atomic<bool> _isStopped = false;
    std::map<std::string, std::uint64_t> _scopeCommands;  // which command made a scope known

    mutable std::mutex _coverageMutex;
    Coverage _coverage;

    std::thread _workerThread;
    std::thread _engineThread;
    std::thread _liveThread;
};

}  // namespace vellumhound::index
