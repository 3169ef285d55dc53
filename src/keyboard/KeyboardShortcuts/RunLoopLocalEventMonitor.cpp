// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/RunLoopLocalEventMonitor.h"

#include <QList>

#include <utility>

namespace vellumhound::keyboard::KeyboardShortcuts {

namespace {
constexpr int mostTypes = 64;
}

RunLoopLocalEventMonitor::RunLoopLocalEventMonitor(
    platform::EventQueue &queue, std::uint64_t eventMask, QString runLoopMode, Callback callback)
    : _queue(queue)
    , _eventMask(eventMask)
    , _runLoopMode(std::move(runLoopMode))
    , _callback(std::move(callback))
{
}

RunLoopLocalEventMonitor::~RunLoopLocalEventMonitor()
{
    stop();
}

void RunLoopLocalEventMonitor::start()
{
    if (_run)
        return;
    _run = std::make_shared<bool>(true);
    _observer = _queue.addObserver(_runLoopMode, [this] { drain(); });
}

void RunLoopLocalEventMonitor::stop()
{
    if (!_run)
        return;
    *std::exchange(_run, nullptr) = false;
    _queue.removeObserver(_observer);
}

void RunLoopLocalEventMonitor::drain()
{
    // All are taken out before the first goes back, or the drain would never end.
    QList<platform::QueuedEvent> events;
    while (const auto event = _queue.nextEvent())
        events.append(*event);

    const auto run = _run;
    const auto callback = _callback;
    const auto mask = _eventMask;
    auto &queue = _queue;
    for (const auto &event : std::as_const(events)) {
        const bool isInMask =
            event.type >= 0 && event.type < mostTypes && (mask >> unsigned(event.type)) & 1U;
        const auto left = *run && isInMask ? callback(event) : std::optional(event);
        if (left)
            queue.postEvent(*left);
    }
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
