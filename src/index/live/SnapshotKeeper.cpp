// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/SnapshotKeeper.h"

#include "index/disk/Logging.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

/// What writeAtEnd() may take, and how many names it tries that with.
constexpr auto mostTimeAtEnd = std::chrono::milliseconds(150);
constexpr std::size_t mostNamesAtEnd = 100'000;

}  // namespace

/// A check under way; belongs to the worker while one of its steps runs.
struct SnapshotKeeper::Check {
    SnapshotCheck names;
    std::function<void(bool isSound)> whenDone;
};

SnapshotKeeper::SnapshotKeeper(Worker &worker, SnapshotOptions options)
    : _worker(worker)
    , _options(std::move(options))
{
}

SnapshotKeeper::~SnapshotKeeper() = default;

std::shared_ptr<LoadedSnapshot> SnapshotKeeper::load()
{
    if (!isKept())
        return nullptr;
    removeStaleSnapshots(_options.folder);
    auto loaded = loadSnapshot(path(), _options.owner);
    if (!loaded) {
        qCWarning(logIndex, "the index on disk is not used, it is built again: %s",
            qUtf8Printable(loaded.error().description));
        return nullptr;
    }
    auto snapshot = std::move(loaded).value();
    if (snapshot) {
        _lastWrite = Clock::now();
        _lastBytes = snapshot->mapping->layout().fileBytes;
    }
    return snapshot;
}

void SnapshotKeeper::check(
    const std::shared_ptr<const LoadedSnapshot> &loaded, std::function<void(bool isSound)> whenDone)
{
    _check = std::make_shared<Check>(Check{SnapshotCheck(loaded->mapping), std::move(whenDone)});
    stepCheck();
}

void SnapshotKeeper::stepCheck()
{
    _worker.post([this, check = _check]() -> Worker::Completion {
        const auto verdict = check->names.step();
        return [this, verdict] {
            if (verdict == SnapshotCheck::Verdict::unfinished) {
                stepCheck();
                return;
            }
            const auto finished = std::exchange(_check, nullptr);
            const bool isSound = verdict == SnapshotCheck::Verdict::sound;
            if (!isSound) {
                qCWarning(logIndex, "the index on disk is damaged, it is built again");
                ::unlink(path().c_str());
                _lastWrite.reset();
            }
            finished->whenDone(isSound);
        };
    });
}

void SnapshotKeeper::noteChanges(std::uint64_t changeCount)
{
    if (!isKept() || changeCount == _changes)
        return;
    _changes = changeCount;
    schedule();
}

void SnapshotKeeper::schedule()
{
    if (_isWanted || _writer)
        return;
    const auto now = Clock::now();
    _firstChange = _firstChange.value_or(now);
    // Soon after things have settled, but not for ever later if they never do, nor too often.
    const auto settled = std::min(now + _options.quiet, *_firstChange + _options.interval);
    _due = _lastWrite ? std::max(settled, *_lastWrite + pause()) : settled;
}

SnapshotKeeper::Clock::duration SnapshotKeeper::pause() const
{
    const auto bySize =
        std::chrono::seconds(_lastBytes / std::max<std::uint64_t>(_options.bytesPerSecond, 1));
    return std::max<Clock::duration>(_options.interval, bySize);
}

void SnapshotKeeper::want()
{
    _isWanted = isKept() && !_writer;
    _due.reset();
}

SnapshotTarget SnapshotKeeper::target() const
{
    return {_options.folder, _options.owner, _options.mostBytes};
}

void SnapshotKeeper::offerBase(SnapshotContents contents)
{
    const bool isTime = !_lastWrite || Clock::now() >= *_lastWrite + pause();
    if (!isKept() || _writer || !(_isWanted || isTime))
        return;
    _isWanted = false;
    _due.reset();
    _changesInWriting = _changesOfBase;
    _writer = std::make_shared<SnapshotWriter>(std::move(contents), target());
    stepWriter();
}

void SnapshotKeeper::stepWriter()
{
    _worker.post([this, writer = _writer]() -> Worker::Completion {
        const auto state = _isStopped ? SnapshotWriter::State::failed : writer->step();
        return [this, state] {
            if (state == SnapshotWriter::State::unfinished)
                stepWriter();
            else
                writerEnded(state);
        };
    });
}

void SnapshotKeeper::writerEnded(SnapshotWriter::State state)
{
    const auto writer = std::exchange(_writer, nullptr);
    _lastWrite = Clock::now();
    _lastBytes = writer->fileBytes();
    _firstChange.reset();
    const auto problem = writer->problem();
    if (problem != SnapshotWriter::Problem::none && _toldProblems.insert(problem).second) {
        qCWarning(
            logIndex, "the index is not kept on disk: %s", qUtf8Printable(writer->description()));
    }
    if (state == SnapshotWriter::State::done) {
        _changesOnDisk = _changesInWriting;
        _toldProblems.clear();
    }
    // After a failure the next change brings the next try.
    if (_changes != _changesInWriting)
        schedule();
}

void SnapshotKeeper::writeAtEnd(const std::function<SnapshotContents()> &build, std::size_t names)
{
    if (!isKept() || _changes == _changesOnDisk || names > mostNamesAtEnd)
        return;
    const auto start = Clock::now();
    SnapshotWriter writer(build(), target());
    while (Clock::now() - start < mostTimeAtEnd) {
        if (writer.step() != SnapshotWriter::State::unfinished)
            return;
    }
}

}  // namespace vellumhound::index
