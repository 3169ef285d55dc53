// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/LocalEventMonitor.h"

#include <utility>

namespace vellumhound::keyboard::KeyboardShortcuts {

LocalEventMonitor::LocalEventMonitor(
    platform::LocalEventSource &source, std::uint64_t events, Callback callback)
    : _source(source)
    , _events(events)
    , _callback(std::move(callback))
{
}

LocalEventMonitor::~LocalEventMonitor()
{
    stop();
}

void LocalEventMonitor::start()
{
    if (!_monitor)
        _monitor = _source.addLocalMonitor(_events, _callback);
}

void LocalEventMonitor::stop()
{
    if (const auto monitor = std::exchange(_monitor, std::nullopt))
        _source.removeMonitor(*monitor);
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
