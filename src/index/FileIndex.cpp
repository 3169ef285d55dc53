// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/FileIndex.h"

#include "base/NativePath.h"
#include "index/disk/Logging.h"
#include "platform/MetadataQuery.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <fcntl.h>
#include <future>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

QueryScopes scopesOf(const QStringList &scopes)
{
    QueryScopes result;
    for (const auto &scope : scopes) {
        const auto path = standardizedPath(scope);
        if (scope == platform::NSMetadataQueryLocalComputerScope || path == "/")
            result.isWholeComputer = true;
        else if (path == "/Applications")
            result.holdsApplications = true;
        else if (!path.empty())
            result.folders.push_back(path);
    }
    return result;
}

using TimePoint = std::chrono::steady_clock::time_point;

std::optional<TimePoint> earlier(
    const std::optional<TimePoint> &one, const std::optional<TimePoint> &other)
{
    return one && other ? std::min(*one, *other) : one ? one : other;
}

bool hasCome(const std::optional<TimePoint> &due)
{
    return due && *due <= std::chrono::steady_clock::now();
}

LiveIndexOptions liveOptions(const FileIndexOptions &options)
{
    auto live = options.live;
    live.snapshot.folder = base::pathToBytes(options.cacheFolder).toStdString();
    return live;
}

std::string textFolder(const FileIndexOptions &options)
{
    return options.cacheFolder.isEmpty()
               ? std::string()
               : base::pathToBytes(options.cacheFolder).toStdString() + "/text";
}

FileTexts::Options textOptions(const FileIndexOptions &options, const IndexLimits &limits,
    Throttle &throttle, std::function<void()> onRoomAgain)
{
    auto texts = options.texts;
    texts.folder = textFolder(options);
    texts.indexer.onRoomAgain = std::move(onRoomAgain);
    texts.index.mostDiskBytes = std::min(texts.index.mostDiskBytes, limits.diskBytes);
    texts.mayRun = [&throttle] { return throttle.restBefore(Throttle::Work::upkeep).count() == 0; };
    return texts;
}

/// The nearest folder that exists, for asking the disk about itself.
std::string existing(std::string path)
{
    while (path.size() > 1 && ::access(path.c_str(), F_OK) != 0)
        path.resize(std::max<std::size_t>(path.rfind('/'), 1));
    return path.empty() ? "/" : path;
}

IndexLimits limitsOf(const FileIndexOptions &options)
{
    const auto folder = base::pathToBytes(options.cacheFolder).toStdString();
    auto machine = readMachineSize(existing(folder));
    machine.freeDiskBytes = options.freeDiskBytes.value_or(machine.freeDiskBytes);
    auto limits = limitsFor(machine, bytesInFolder(textFolder(options)));
    limits.memoryBytes = options.mostMemoryBytes.value_or(limits.memoryBytes);
    return limits;
}

RecentlyUsed::Places placesOfUses(const FileIndexOptions &options)
{
    RecentlyUsed::Places places;
    places.cacheFolder = base::pathToBytes(options.cacheFolder).toStdString();
    if (!options.dataHome.isEmpty())
        places.desktopList =
            base::pathToBytes(options.dataHome).toStdString() + "/recently-used.xbel";
    return places;
}

/// Until when poll() may sleep; -1 for ever.
int timeoutUntil(const std::optional<TimePoint> &due)
{
    if (!due)
        return -1;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(*due - std::chrono::steady_clock::now());
    return int(std::clamp<std::int64_t>(left.count(), 0, 3'600'000));
}

}  // namespace

FileIndex::FileIndex(const FileIndexOptions &options)
    : _wakeDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , _source(options.inotifyBudget, options.fanotifyBudget)
    , _workerThrottle(Pressure(options.readPressure))
    , _textThrottle(Pressure(options.readPressure))
    , _worker([this] { wakeLive(); })
    , _live(_worker, _source, _published,
          DesktopEntries(options.dataHome, options.dataDirs, options.languages),
          liveOptions(options))
    , _limits(limitsOf(options))
    , _texts(_published, textOptions(options, _limits, _textThrottle,
                             [this] { post([this] { _areTextsBehind = true; }); }))
    , _recentlyUsed(placesOfUses(options))
    , _engine(_published, &_recentlyUsed, &_texts.published())
{
    _worker.setThrottle(&_workerThrottle);
    _live.onCrawled = [this] {
        _engine.wake();
        _areTextsBehind = true;
        _isCoverageToTell = true;
    };
    _workerThread = std::thread([this] {
        lowerThreadPriority();
        _worker.run();
    });
    _engineThread = std::thread([this] { _engine.run(); });
    _liveThread = std::thread([this] { runLive(); });
}

FileIndex::~FileIndex()
{
    _isStopped = true;
    _live.stopSaving();
    wakeLive();
    _worker.stop();
    _engine.stop();
    _liveThread.join();
    _workerThread.join();
    _engineThread.join();
    _texts.stop();
    _live.saveAtEnd();
    _recentlyUsed.save();
    ::close(_wakeDescriptor);
}

void FileIndex::setPathRules(const QList<Rule> &rules)
{
    // The scopes go with the rules that they came from.
    _scopeCommands.clear();
    post([this, copy = std::vector<Rule>(rules.begin(), rules.end())] {
        _live.setRules(copy);
        // Not with the next comparison: that may have to wait for a long crawl.
        _texts.keepOnlyCovered(_live.plan());
        _areTextsBehind = true;
    });
}

void FileIndex::setSearchesTexts(bool areTextsSearched)
{
    _texts.setEnabled(areTextsSearched);
    post([this, areTextsSearched] {
        _live.onFileChanged = areTextsSearched
                                  ? [this](const FileChange &change) { _texts.noteChange(change); }
                                  : std::function<void(const FileChange &)>();
        _areTextsBehind = areTextsSearched;
    });
}

void FileIndex::catchUpWithTexts()
{
    // Only when all entries and their times are known: else what is known would be read again.
    if (!_areTextsBehind || _isCatchingUp || !_texts.isEnabled() || !_live.isSettled())
        return;
    _areTextsBehind = false;
    _isCatchingUp = true;
    _worker.postIdle([this]() -> Worker::Completion {
        _texts.catchUp();
        return [this] { _isCatchingUp = false; };
    });
}

void FileIndex::prepare()
{
    post([this] { _live.prefault(); });
}

void FileIndex::noteUse(const QString &path)
{
    _recentlyUsed.note(standardizedPath(path), std::uint32_t(std::time(nullptr)));
    if (_isUseUnsaved.exchange(true))
        return;
    _worker.postUrgent([this]() -> Worker::Completion {
        _isUseUnsaved = false;
        _recentlyUsed.save();
        return [] {};
    });
}

void FileIndex::startRun(const std::shared_ptr<QueryRun> &run, const QStringList &scopes)
{
    run->scopes = scopesOf(scopes);
    auto folders = run->scopes.folders;
    if (run->scopes.isWholeComputer)
        folders.emplace_back("/");
    // The trees of new scopes must be known before a query can tell whether they are crawled.
    const bool areKnown = std::all_of(folders.begin(), folders.end(), [this](const auto &folder) {
        const auto found = _scopeCommands.find(folder);
        return found != _scopeCommands.end() && found->second <= _doneCommands;
    });
    if (areKnown) {
        _engine.submit(run);
        return;
    }
    const auto number = post([this, folders, run] {
        _live.addScopes(folders);
        _engine.submit(run);
    });
    for (const auto &folder : folders)
        _scopeCommands.try_emplace(folder, number);
}

std::uint64_t FileIndex::post(std::function<void()> command)
{
    std::uint64_t number = 0;
    {
        const std::lock_guard lock(_mutex);
        _commands.push_back(std::move(command));
        number = ++_postedCommands;
    }
    wakeLive();
    return number;
}

void FileIndex::wakeLive() const
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto bytes = ::write(_wakeDescriptor, &one, sizeof one);
}

void FileIndex::runLive()
{
    _live.startFromSnapshot();
    // The kernel marks this file when something is mounted or unmounted.
    const int mounts = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
    while (!_isStopped) {
        std::array<pollfd, 3> polled{{{_wakeDescriptor, POLLIN, 0},
            {_source.descriptor(), POLLIN, 0}, {mounts, POLLPRI, 0}}};
        ::poll(
            polled.data(), polled.size(), timeoutUntil(earlier(_live.nextDue(), _live.nextSave())));
        std::uint64_t count = 0;
        [[maybe_unused]] const auto bytes = ::read(_wakeDescriptor, &count, sizeof count);
        std::vector<std::function<void()>> commands;
        {
            const std::lock_guard lock(_mutex);
            commands.swap(_commands);
        }
        for (const auto &command : commands) {
            command();
            ++_doneCommands;
        }
        if ((polled[2].revents & (POLLPRI | POLLERR)) != 0)
            _live.mountsChanged();
        if (hasCome(_live.nextSave()))
            _live.save();
        while (!_isStopped && _live.step()) {
        }
        catchUpWithTexts();
        keepWithinLimits();
        noteStatus();
    }
    if (mounts >= 0)
        ::close(mounts);
}

void FileIndex::noteStatus()
{
    auto status = _live.status();
    status.rest = _workerThrottle.state();
    if (_isCoverageToTell && _live.isSettled()) {
        _isCoverageToTell = false;
        const auto line = logLineOf(status);
        if (std::exchange(_toldCoverage, line) != line)
            qCInfo(logIndex, "%s", qUtf8Printable(line));
    }
    const std::lock_guard lock(_statusMutex);
    _status = std::move(status);
}

IndexStatus FileIndex::status() const
{
    IndexStatus status;
    {
        const std::lock_guard lock(_statusMutex);
        status = _status;
    }
    const auto texts = _texts.status();
    status.texts = {_texts.isEnabled(), texts.figures.documents, texts.figures.diskBytes,
        texts.waiting, texts.figures.isFull};
    if (texts.state == content::TextStatus::State::indexing)
        status.activities.push_back({IndexStatus::Activity::Kind::readingTexts, {}});
    return status;
}

void FileIndex::keepWithinLimits()
{
    const auto before = _intake;
    _intake = intakeAfter(before, _live.memoryBytes(), 0, _limits);
    for (const auto &line : linesAbout(before, _intake, _limits))
        qCWarning(logIndex, "%s", qUtf8Printable(line));
    if (_intake.takesFolders != before.takesFolders)
        _live.setTakesFolders(_intake.takesFolders);
}

void FileIndex::setSavesPower(bool savesPower)
{
    _workerThrottle.setSavesPower(savesPower);
    _textThrottle.setSavesPower(savesPower);
    _worker.wake();
    _texts.wake();
}

FindingReason FileIndex::whyNotFound(const QString &path, const QStringList &scopes)
{
    auto promise = std::make_shared<std::promise<FindingFacts>>();
    auto answer = promise->get_future();
    post([this, promise, bytes = standardizedPath(path)] {
        promise->set_value(_live.findingFacts(bytes));
    });
    // The tables' own thread waits for no disk, but it may be ending.
    if (answer.wait_for(std::chrono::seconds(5)) != std::future_status::ready)
        return {};
    auto facts = answer.get();
    facts.scopes = scopes;
    return index::whyNotFound(path, facts);
}

}  // namespace vellumhound::index
