// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/CombinedSource.h"

#include "index/disk/Logging.h"

#include <iterator>
#include <sys/epoll.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

/// fanotify's numbers stand above this one, inotify's below.
constexpr int firstOfFanotify = 1 << 30;

}  // namespace

CombinedSource::CombinedSource(
    std::function<int()> inotifyBudget, std::function<int()> fanotifyBudget)
    : _inotify(std::move(inotifyBudget))
    , _fanotify(std::move(fanotifyBudget))
    , _descriptor(::epoll_create1(EPOLL_CLOEXEC))
{
    for (const int source : {_inotify.descriptor(), _fanotify.descriptor()}) {
        epoll_event event{};
        event.events = EPOLLIN;
        if (source >= 0)
            ::epoll_ctl(_descriptor, EPOLL_CTL_ADD, source, &event);
    }
}

CombinedSource::~CombinedSource()
{
    if (_descriptor >= 0)
        ::close(_descriptor);
}

int CombinedSource::watch(int folderDescriptor, Interest interest)
{
    // A folder keeps its number, also when inotify has room again.
    if (const int known = _fanotify.find(folderDescriptor); known >= 0)
        return firstOfFanotify + known;
    const int watch = _inotify.watch(folderDescriptor, interest);
    if (watch >= firstOfFanotify) {
        _inotify.unwatch(watch);
        return noWatch;
    }
    // fanotify would tell of every entry that comes and goes.
    if (watch >= 0 || interest == Interest::place)
        return watch;
    const int other = _fanotify.watch(folderDescriptor, interest);
    if (other < 0)
        return noWatch;
    if (!_hasToldOfFanotify.exchange(true))
        qCInfo(logIndex, "the budget of inotify is spent, fanotify watches further folders");
    return firstOfFanotify + other;
}

void CombinedSource::unwatch(int watch)
{
    if (watch >= firstOfFanotify)
        _fanotify.unwatch(watch - firstOfFanotify);
    else
        _inotify.unwatch(watch);
}

std::vector<Change> CombinedSource::read()
{
    auto changes = _inotify.read();
    auto others = _fanotify.read();
    for (auto &change : others) {
        if (change.watch >= 0)
            change.watch += firstOfFanotify;
    }
    changes.insert(changes.end(), std::make_move_iterator(others.begin()),
        std::make_move_iterator(others.end()));
    return changes;
}

}  // namespace vellumhound::index
