// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PathWatch.h"

#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <climits>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vellumhound::settings {

namespace {

constexpr std::uint32_t watchedEvents = IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB | IN_CREATE |
                                        IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF |
                                        IN_MOVE_SELF;

}  // namespace

PathWatch::PathWatch(Changed changed)
    : _changed(std::move(changed))
    , _descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    if (_descriptor < 0)
        return;
    _notifier = std::make_unique<QSocketNotifier>(_descriptor, QSocketNotifier::Read);
    QObject::connect(
        _notifier.get(), &QSocketNotifier::activated, _notifier.get(), [this] { readEvents(); });
}

PathWatch::~PathWatch()
{
    _notifier.reset();
    if (_descriptor >= 0)
        ::close(_descriptor);
}

void PathWatch::watch(const QByteArrayList &paths)
{
    QHash<int, QByteArray> wanted;
    for (const auto &path : paths) {
        const int number = ::inotify_add_watch(_descriptor, path.constData(), watchedEvents);
        if (number >= 0)
            wanted.insert(number, path);
    }
    for (auto known = _paths.keyBegin(); known != _paths.keyEnd(); ++known) {
        if (!wanted.contains(*known))
            ::inotify_rm_watch(_descriptor, *known);
    }
    _paths = std::move(wanted);
}

bool PathWatch::isWatching(const QByteArray &path) const
{
    return std::find(_paths.cbegin(), _paths.cend(), path) != _paths.cend();
}

void PathWatch::readEvents()
{
    std::vector<std::pair<QByteArray, QByteArray>> changes;
    alignas(inotify_event) std::array<char, 16 * (sizeof(inotify_event) + NAME_MAX + 1)> buffer;
    for (;;) {
        const auto count = ::read(_descriptor, buffer.data(), buffer.size());
        if (count <= 0)
            break;
        for (const char *at = buffer.data(); at < buffer.data() + count;) {
            const auto *event = reinterpret_cast<const inotify_event *>(at);
            at += sizeof(inotify_event) + event->len;
            // A watch that was given up; what came in its place is watched already.
            if ((event->mask & IN_IGNORED) != 0)
                continue;
            changes.emplace_back(
                _paths.value(event->wd), event->len > 0 ? QByteArray(event->name) : QByteArray());
        }
    }
    for (const auto &[path, name] : changes)
        _changed(path, name);
}

}  // namespace vellumhound::settings
