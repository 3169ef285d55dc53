// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/InotifySource.h"

#include <algorithm>
#include <array>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

std::uint32_t eventsFor(ChangeSource::Interest interest)
{
    // A folder that others watch as well goes on being watched for what they want.
    std::uint32_t events = IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_MASK_ADD;
    if (interest != ChangeSource::Interest::place)
        events |= IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
    if (interest == ChangeSource::Interest::contents)
        events |= IN_CLOSE_WRITE;
    return events;
}

Change changeOf(const inotify_event &event)
{
    Change change;
    change.watch = event.wd;
    if ((event.mask & IN_Q_OVERFLOW) != 0)
        change.kind = Change::Kind::lost;
    else if ((event.mask & (IN_DELETE_SELF | IN_UNMOUNT | IN_IGNORED)) != 0)
        change.kind = Change::Kind::folderGone;
    else if ((event.mask & IN_MOVE_SELF) != 0)
        change.kind = Change::Kind::folderMoved;
    else if ((event.mask & IN_MOVED_FROM) != 0)
        change.kind = Change::Kind::movedAway;
    else if ((event.mask & IN_MOVED_TO) != 0)
        change.kind = Change::Kind::movedHere;
    else if ((event.mask & IN_CLOSE_WRITE) != 0)
        change.kind = Change::Kind::written;
    if (event.len > 0)
        change.name = event.name;
    change.move = event.cookie;
    change.isNewFolder =
        (event.mask & IN_ISDIR) != 0 && (event.mask & (IN_CREATE | IN_MOVED_TO)) != 0;
    return change;
}

}  // namespace

InotifySource::InotifySource(std::function<int()> budget)
    : _descriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
    , _allowance(std::move(budget))
{
}

InotifySource::~InotifySource()
{
    if (_descriptor >= 0)
        ::close(_descriptor);
}

int InotifySource::watch(int folderDescriptor, Interest interest)
{
    const std::lock_guard lock(_mutex);
    if (_descriptor < 0)
        return noWatch;
    struct stat status {};
    const bool isCovered = _allowance.coversOneMoreThan(_held);
    _isRecountWanted = _isRecountWanted || (!isCovered && _mayHoldLess);
    if (!isCovered && (::fstat(folderDescriptor, &status) != 0 || !mayBeHeld(status.st_ino)))
        return noWatch;
    // By descriptor: the path may be too long, or meanwhile that of another folder.
    const auto path = "/proc/self/fd/" + std::to_string(folderDescriptor);
    const int watch = ::inotify_add_watch(_descriptor, path.c_str(), eventsFor(interest));
    if (watch <= _highest)
        return watch < 0 ? noWatch : watch;
    _highest = watch;
    ++_held;
    if (!isCovered) {
        unwatch(watch);  // another folder that once had this one's number
        return noWatch;
    }
    if (!_heldInodes.empty() && ::fstat(folderDescriptor, &status) == 0)
        noteHeld(status.st_ino);
    return watch;
}

/// By the kernel's count. When nothing waits to be read: what says that a watch is no more would be
/// counted twice.
void InotifySource::recount()
{
    const std::lock_guard lock(_mutex);
    if (!_isRecountWanted)
        return;
    _held = countWatchesOf(_descriptor);
    _isRecountWanted = false;
    _mayHoldLess = false;
}

bool InotifySource::mayBeHeld(std::uint64_t inode)
{
    constexpr std::size_t fewStale = 1024;
    const bool areMostStale = _heldInodes.size() > 2 * _held + fewStale;
    if ((_heldInodes.empty() && _held > 0) || areMostStale)
        _heldInodes = inodesWatchedBy(_descriptor);
    return std::binary_search(_heldInodes.begin(), _heldInodes.end(), inode);
}

void InotifySource::noteHeld(std::uint64_t inode)
{
    const auto place = std::lower_bound(_heldInodes.begin(), _heldInodes.end(), inode);
    if (place == _heldInodes.end() || *place != inode)
        _heldInodes.insert(place, inode);
}

void InotifySource::unwatch(int watch)
{
    ::inotify_rm_watch(_descriptor, watch);  // the kernel answers with IN_IGNORED
}

std::vector<Change> InotifySource::read()
{
    std::vector<Change> changes;
    alignas(inotify_event) std::array<char, 65536> buffer;
    for (;;) {
        const auto length = ::read(_descriptor, buffer.data(), buffer.size());
        if (length <= 0) {
            recount();
            return changes;
        }
        for (std::size_t at = 0; at < std::size_t(length);) {
            const auto &event = *reinterpret_cast<const inotify_event *>(buffer.data() + at);
            if ((event.mask & (IN_IGNORED | IN_Q_OVERFLOW)) != 0) {
                const std::lock_guard lock(_mutex);
                if ((event.mask & IN_Q_OVERFLOW) != 0)
                    _mayHoldLess = true;
                else if (_held > 0)
                    --_held;
            }
            changes.push_back(changeOf(event));
            at += sizeof event + event.len;
        }
        // Applying soon matters more than reading all: what is left makes the descriptor readable.
        if (changes.size() >= 1024)
            return changes;
    }
}

int InotifySource::halfOfWhatTheUserMayHave()
{
    return readWatchBudget(WatchKind::inotify);
}

}  // namespace vellumhound::index
