// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/FileIndex.h"

#include "platform/MetadataQuery.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
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

/// Until when poll() may sleep; -1 for ever.
int timeoutUntil(const std::optional<std::chrono::steady_clock::time_point> &due)
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
    , _source(options.watchBudget)
    , _worker([this] { wakeLive(); })
    , _live(_worker, _source, _published,
          DesktopEntries(options.dataHome, options.dataDirs, options.languages), options.live)
    , _engine(_published)
{
    _live.onCrawled = [this] { _engine.wake(); };
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
    wakeLive();
    _worker.stop();
    _engine.stop();
    _liveThread.join();
    _workerThread.join();
    _engineThread.join();
    ::close(_wakeDescriptor);
}

void FileIndex::setPathRules(const QList<Rule> &rules)
{
    post([this, copy = std::vector<Rule>(rules.begin(), rules.end())] { _live.setRules(copy); });
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
    // The kernel marks this file when something is mounted or unmounted.
    const int mounts = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
    while (!_isStopped) {
        std::array<pollfd, 3> polled{{{_wakeDescriptor, POLLIN, 0},
            {_source.descriptor(), POLLIN, 0}, {mounts, POLLPRI, 0}}};
        ::poll(polled.data(), polled.size(), timeoutUntil(_live.nextSweep()));
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
        const auto sweep = _live.nextSweep();
        if (sweep && *sweep <= std::chrono::steady_clock::now())
            _live.sweep();
        while (!_isStopped && _live.step()) {
        }
        noteCoverage();
    }
    if (mounts >= 0)
        ::close(mounts);
}

void FileIndex::noteCoverage()
{
    Coverage coverage;
    coverage.names = _live.nameCount();
    coverage.watchedFolders = _live.watchedFolderCount();
    coverage.sweptFolders = _live.sweptFolderCount();
    coverage.memoryBytes = _live.memoryBytes();
    coverage.isCrawling = _live.isBusy();
    const std::lock_guard lock(_coverageMutex);
    _coverage = coverage;
}

FileIndex::Coverage FileIndex::coverage() const
{
    const std::lock_guard lock(_coverageMutex);
    return _coverage;
}

}  // namespace vellumhound::index
