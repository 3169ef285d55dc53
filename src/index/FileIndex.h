// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/CombinedSource.h"
#include "index/FileTexts.h"
#include "index/IndexLimits.h"
#include "index/live/CrawlPlan.h"
#include "index/live/IndexStatus.h"
#include "index/live/LiveIndex.h"
#include "index/live/Throttle.h"
#include "index/live/WhyNotFound.h"
#include "index/QueryEngine.h"
#include "index/RecentlyUsed.h"

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
    QString cacheFolder;    ///< XDG_CACHE_HOME/vellumhound; empty: nothing is kept on disk
    std::function<int()> inotifyBudget = InotifySource::halfOfWhatTheUserMayHave;
    std::function<int()> fanotifyBudget = FanotifySource::halfOfWhatTheUserMayHave;
    std::optional<std::uint64_t> mostMemoryBytes;  ///< for names; absent: by the machine's memory
    std::optional<std::uint64_t> freeDiskBytes;    ///< absent: as the disk says
    std::function<PressureReading()> readPressure = [] { return index::readPressure(); };
    LiveIndexOptions live;
    FileTexts::Options texts;  ///< but for its folder, which is in `cacheFolder`
};

/// The live index of files and applications. Owns three threads: one that keeps the tables equal to
/// the disk, one of the lowest priority that reads folders for it, one that answers queries; a
/// fourth, of the lowest priority as well, where texts are searched. None of them runs while
/// nothing happens.
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

    /// Whether what stands in files is searched, too. Off until somebody says so; then nothing of
    /// it is kept.
    void setSearchesTexts(bool areTextsSearched);
    content::TextStatus textStatus() const { return _texts.status(); }

    /// A search is likely soon: what it reads is brought into memory. Does not wait.
    void prepare();

    /// Something was opened: it ranks before what has not been used, from the next run on. Any
    /// thread; returns at once.
    void noteUse(const QString &path);

    /// Whether the machine is to use little power: then what nobody waits for rests.
    void setSavesPower(bool savesPower);

    /// What is covered and done, as it was a moment ago. Any thread.
    IndexStatus status() const;
    /// Why a query with these scopes does not give the entry at `path`. Asks the disk, so it may
    /// take as long as that does; any thread but the main one.
    FindingReason whyNotFound(const QString &path, const QStringList &scopes);

    // For IndexQuery.
    void startRun(const std::shared_ptr<QueryRun> &run, const QStringList &scopes);
    QueryEngine &engine() { return _engine; }

private:
    void runLive();
    /// Runs `command` on the thread of the tables. Its number.
    std::uint64_t post(std::function<void()> command);
    void wakeLive() const;
    void noteStatus();
    void keepWithinLimits();
    void catchUpWithTexts();

    PublishedView _published;
    int _wakeDescriptor = -1;
    CombinedSource _source;
    Throttle _workerThrottle;
    Throttle _textThrottle;
    Worker _worker;
    LiveIndex _live;
    const IndexLimits _limits;
    Intake _intake;  // of the thread of the tables
    FileTexts _texts;
    RecentlyUsed _recentlyUsed;
    std::atomic<bool> _isUseUnsaved = false;  // and the worker has been told
    QueryEngine _engine;

    std::mutex _mutex;  // guards the commands
    std::vector<std::function<void()>> _commands;
    std::uint64_t _postedCommands = 0;
    std::atomic<std::uint64_t> _doneCommands = 0;
    std::atomic<bool> _isStopped = false;
    std::map<std::string, std::uint64_t> _scopeCommands;  // which command made a scope known
    // Of the thread of the tables.
    bool _areTextsBehind = false;  // entries may have come that the texts were not told of
    bool _isCatchingUp = false;
    bool _isCoverageToTell = false;  // to the log, once all is known
    QString _toldCoverage;

    mutable std::mutex _statusMutex;
    IndexStatus _status;

    std::thread _workerThread;
    std::thread _engineThread;
    std::thread _liveThread;
};

}  // namespace vellumhound::index
