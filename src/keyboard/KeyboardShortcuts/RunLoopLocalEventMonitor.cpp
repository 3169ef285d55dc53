// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/RunLoopLocalEventMonitor.h"

#include "keyboard/KeyboardShortcuts/Shortcut.h"

#include <utility>

namespace vellumhound::keyboard::KeyboardShortcuts {

using platform::HotKeyEvent;

namespace {

bool isInMask(const HotKeyEvent &event, std::uint64_t mask)
{
    const int type = event.kind == HotKeyEvent::rawKeyUp ? EventType::keyUp : EventType::keyDown;
    return (mask >> unsigned(type)) & 1U;
}

}  // namespace

RunLoopLocalEventMonitor::RunLoopLocalEventMonitor(
    platform::RawKeyFeed &feed, std::uint64_t eventMask, QString runLoopMode, Callback callback)
    : _feed(feed)
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
    if (std::exchange(_isRunning, true))
        return;
    // Copies: the callback may end the monitor.
    _feed.start([callback = _callback, mask = _eventMask](const HotKeyEvent &event) {
        return isInMask(event, mask) && !callback(event);
    });
}

void RunLoopLocalEventMonitor::stop()
{
    if (std::exchange(_isRunning, false))
        _feed.stop();
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
