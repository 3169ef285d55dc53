// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/TextIndexer.h"

#include "content/Logging.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <utility>

namespace vellumhound::content {

namespace {

/// Texts of files that were removed or changed go off the disk after this, or after half of it if
/// the machine is idle then.
constexpr std::chrono::hours longestStale{23};

}  // namespace

base::Result<std::optional<Stamp>> stampOfFile(const std::string &path)
{
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        const int error = errno;
        const bool isGone =
            error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG;
        if (!isGone)
            return base::Error{QString::fromLocal8Bit(::strerror(error))};
        return std::optional<Stamp>();
    }
    if (!S_ISREG(status.st_mode))
        return std::optional<Stamp>();
    constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
    return std::optional(
        Stamp{status.st_mtim.tv_sec * nanosecondsPerSecond + status.st_mtim.tv_nsec,
            std::int64_t(status.st_size)});
}

TextIndexer::TextIndexer(TextIndex &index, TextSource &source, TextIndexerOptions options)
    : _index(index)
    , _source(source)
    , _options(std::move(options))
    , _queue(_options.pace)
{
}

void TextIndexer::post(Command command)
{
    const std::lock_guard lock(_mutex);
    _commands.push_back(std::move(command));
    _told.notify_one();
}

void TextIndexer::setEnabled(bool isEnabled)
{
    post([this, isEnabled] {
        if (!isEnabled) {
            _queue.clear();
            _index.clear();
            _isOpen = false;
            _leftOut = 0;
            _flushAt.reset();
            _latestFlush.reset();
            _retryAt.reset();
            _purgeWhenIdle.reset();
            _purgeAnyhow.reset();
        }
        _isEnabled = isEnabled;
    });
}

void TextIndexer::offer(std::string path)
{
    const auto now = _options.now();
    post([this, path = std::move(path), now] { _queue.changed(path, now); });
}

void TextIndexer::offerFound(std::string path, std::int64_t changedAt)
{
    post([this, path = std::move(path), changedAt] { _queue.found(path, changedAt); });
}

void TextIndexer::forget(std::string path)
{
    post([this, path = std::move(path)] {
        _queue.forget(path);
        _index.remove(path);
    });
}

void TextIndexer::forgetBelow(std::string folder)
{
    post([this, folder = std::move(folder)] {
        _queue.forgetBelow(folder);
        _index.removeBelow(folder);
    });
}

void TextIndexer::moved(std::string from, std::string to)
{
    const auto now = _options.now();
    post([this, from = std::move(from), to = std::move(to), now] {
        for (const auto &path : _queue.takeBelow(from))
            _queue.changed(to + path.substr(from.size()), now);
        _index.movedBelow(from, to, _options.factsOf);
    });
}

void TextIndexer::keepOnly(std::function<bool(const std::string &path)> isWanted)
{
    post([this, isWanted = std::move(isWanted)] {
        std::vector<std::string> unwanted;
        _index.forEachPath([&](const Document &document, bool) {
            if (!isWanted(document.path))
                unwanted.push_back(document.path);
        });
        for (const auto &path : unwanted)
            _index.remove(path);
        const auto now = _options.now();
        if (!unwanted.empty())
            purgeBy(now, now + _options.purgeAfter);
    });
}

void TextIndexer::wake()
{
    post([this] { _isPaused = false; });
}

void TextIndexer::stop()
{
    _isStopped = true;
    _index.stop();
    const std::lock_guard lock(_mutex);
    _told.notify_one();
}

TextStatus TextIndexer::status() const
{
    const std::lock_guard lock(_mutex);
    auto status = _status;
    status.waiting += status.state == TextStatus::State::off ? 0 : _commands.size();
    return status;
}

bool TextIndexer::applyCommands()
{
    std::vector<Command> commands;
    {
        const std::lock_guard lock(_mutex);
        commands.swap(_commands);
    }
    // Opened before anything is applied: what is told first is about what was kept before.
    for (const auto &command : commands) {
        command();
        openIndex();
        if (!_isEnabled)
            _queue.clear();
    }
    if (!commands.empty() && _isOpen && _index.needsFlush())
        noteChange();
    return !commands.empty();
}

/// True if the index is there now and was not before.
bool TextIndexer::openIndex()
{
    if (!_isEnabled || _isOpen || (_retryAt && *_retryAt > _options.now()))
        return false;
    const auto opened = _index.open();
    if (!opened && !_retryAt)
        qCWarning(logContent, "The text index cannot be opened: %ls.",
            qUtf16Printable(opened.error().description));
    _isOpen = bool(opened);
    _retryAt.reset();
    if (!_isOpen)
        retryLater();
    else if (_index.figures().deadDocuments > 0)
        purgeBy(_options.now(), _options.now() + longestStale);
    return _isOpen;
}

bool TextIndexer::step()
{
    const bool hasApplied = applyCommands();
    if (_isStopped)
        return false;
    if (_retryAt && *_retryAt <= _options.now() && _isOpen && _index.flush())
        _retryAt.reset();
    else if (_retryAt && *_retryAt <= _options.now() && _isOpen)
        retryLater();
    const bool hasOpened = openIndex();
    const bool hasWorked = _isOpen && !_retryAt && (purgeIfDue() || lookAtOne() || keepHouse());
    if (_isOpen)
        followFigures();
    noteStatus();
    return hasApplied || hasOpened || hasWorked;
}

bool TextIndexer::lookAtOne()
{
    _isPaused = _queue.hasReady(_options.now()) && !_options.mayRun();
    if (_isPaused)
        return false;
    const auto path = _queue.take(_options.now());
    if (!path)
        return false;
    lookAt(*path);
    if (_index.figures().segments > _segments) {
        _index.tidy();  // many at once would be a long wait for the files that follow
        _segments = _index.figures().segments;
        _isTidy = false;
    }
    return true;
}

void TextIndexer::lookAt(const std::string &path)
{
    if (!_index.hasRoomFor(path) && !_index.knows(path)) {
        ++_leftOut;
        return;
    }
    const auto look = _options.stampOf(path);
    if (!look)
        return keep(path, {}, {Extracted::Outcome::unreadable, {}});
    const auto stamp = look.value();
    if (stamp && _index.isCurrent(path, *stamp))
        return _queue.succeeded(path);
    if (!stamp)
        return keep(path, {}, {Extracted::Outcome::gone, {}});
    if (!_index.hasRoomFor(path)) {
        noteChange();
        _index.noteOutdated(path);
        return _queue.failed(path, _options.now());
    }
    auto seen = *stamp;
    if (stamp->sizeBytes > _options.mostFileBytes || stamp->sizeBytes == 0)
        return keep(path, seen, {});
    const auto extracted = _source.read(path, seen, _isStopped);
    if (_isStopped)
        return;  // whatever came back, the file is looked at again next time
    keep(path, seen, extracted);
    const auto now = _options.stampOf(path);
    if (now && now.value() && *now.value() != seen)
        _queue.changed(path, _options.now());
}

void TextIndexer::keep(const std::string &path, const Stamp &stamp, const Extracted &extracted)
{
    noteChange();
    if (extracted.outcome != Extracted::Outcome::unreadable)
        _queue.succeeded(path);
    auto added = Added::yes;
    switch (extracted.outcome) {
    case Extracted::Outcome::text:
        added = _index.add({path, stamp, _options.factsOf(path)}, extracted.text);
        break;
    case Extracted::Outcome::noText:
        added = _index.noteWithoutText({path, stamp, _options.factsOf(path)});
        break;
    case Extracted::Outcome::gone:
        _index.remove(path);
        break;
    case Extracted::Outcome::unreadable:
        _index.remove(path);
        _queue.failed(path, _options.now());
        break;
    case Extracted::Outcome::tryLater:
        _index.remove(path);
        _queue.later(path, _options.now() + _options.retryAfter);
        break;
    }
    if (added == Added::full && _index.knows(path))
        _queue.failed(path, _options.now());
    else if (added == Added::full)
        ++_leftOut;
    if (added != Added::cannotWrite)
        return;
    _queue.found(path, 0);
    retryLater();
}

void TextIndexer::retryLater()
{
    _retryAt = _options.now() + _options.retryAfter;
}

void TextIndexer::noteChange()
{
    constexpr int mostDelays = 10;
    const auto now = _options.now();
    if (!_latestFlush)
        _latestFlush = now + mostDelays * _options.flushAfter;
    _flushAt = std::min(now + _options.flushAfter, *_latestFlush);
}

/// Texts that are gone leave the disk: from the first time on as soon as the machine is idle, at
/// the second in any case.
void TextIndexer::purgeBy(OfferQueue::Time idle, OfferQueue::Time latest)
{
    _purgeWhenIdle = _purgeWhenIdle ? std::min(*_purgeWhenIdle, idle) : idle;
    _purgeAnyhow = _purgeAnyhow ? std::min(*_purgeAnyhow, latest) : latest;
}

bool TextIndexer::purgeIfDue()
{
    if (!_purgeAnyhow)
        return false;
    const auto now = _options.now();
    const bool mustRun = *_purgeAnyhow <= now;
    if (!mustRun && *_purgeWhenIdle > now)
        return false;
    if (!mustRun && (_queue.hasReady(now) || !_options.mayRun())) {
        _purgeWhenIdle = now + _options.retryAfter;
        return false;
    }
    if (_index.purge())
        return true;
    _purgeWhenIdle.reset();
    _purgeAnyhow.reset();
    // Still there: the disk refuses.
    if (_index.figures().deadDocuments > 0)
        purgeBy(now + _options.retryAfter, now + _options.retryAfter);
    return true;
}

/// Acts on what has come of a step: texts that are gone, or lost, and room for others.
void TextIndexer::followFigures()
{
    for (const auto &path : _index.takeLost())
        _queue.found(path, 0);
    const auto now = _options.now();
    if (_index.figures().deadDocuments > 0 && !_purgeAnyhow)
        purgeBy(now + longestStale / 2, now + longestStale);
    const bool isFull = _index.figures().isFull;
    // One that was put off is not called for again.
    if (isFull && _index.isPurgeWorthIt() && *_purgeWhenIdle > now + _options.retryAfter)
        purgeBy(now, now + longestStale);
    if (!isFull && std::exchange(_leftOut, 0) > 0)
        _options.onRoomAgain();
}

/// Brings to the disk what has waited long enough, then merges.
bool TextIndexer::keepHouse()
{
    if (_flushAt && *_flushAt <= _options.now()) {
        _flushAt.reset();
        _latestFlush.reset();
        _isTidy = false;
        if (_index.needsFlush() && !_index.flush())
            retryLater();
        return true;
    }
    if (_isTidy || !_options.mayRun())
        return false;
    _isTidy = !_index.tidy();
    _segments = _index.figures().segments;
    return !_isTidy;
}

std::optional<OfferQueue::Time> TextIndexer::nextDue() const
{
    if (!_isEnabled)
        return {};
    if (_retryAt)
        return _retryAt;
    auto due = _isPaused ? std::optional(_options.now() + _options.retryAfter) : _queue.nextDue();
    for (const auto &other : {_flushAt, _purgeWhenIdle, _purgeAnyhow}) {
        if (other)
            due = due ? std::min(*due, *other) : *other;
    }
    return due;
}

void TextIndexer::run()
{
    while (!_isStopped) {
        if (step())
            continue;
        const auto due = nextDue();
        std::unique_lock lock(_mutex);
        const auto isTold = [this] { return _isStopped || !_commands.empty(); };
        if (due)
            _told.wait_until(lock, *due, isTold);
        else
            _told.wait(lock, isTold);
    }
    applyCommands();
    if (_isOpen)
        _index.flush();
    noteStatus();
}

void TextIndexer::noteStatus()
{
    using State = TextStatus::State;
    const auto figures = _index.figures();
    const auto state = !_isEnabled                       ? State::off
                       : figures.cannotWrite || !_isOpen ? State::cannotWrite
                       : figures.isFull                  ? State::full
                       : _isPaused                       ? State::paused
                       : _queue.size() > 0               ? State::indexing
                                                         : State::idle;
    const std::lock_guard lock(_mutex);
    _status = {state, _queue.size(), _leftOut, figures};
}

}  // namespace vellumhound::content
