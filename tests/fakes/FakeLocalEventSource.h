// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/LocalEventSource.h"

#include <map>
#include <utility>

namespace vellumhound::fakes {

/// Windows of ours whose keys and clicks a test sends.
class FakeLocalEventSource final : public platform::LocalEventSource {
public:
    int addLocalMonitor(std::uint64_t eventMask, Handler handler) override
    {
        monitors.emplace(++_lastHandle, std::pair(eventMask, std::move(handler)));
        return _lastHandle;
    }
    void removeMonitor(int handle) override { monitors.erase(handle); }

    /// What is left of the event behind all monitors; nothing if one has consumed it.
    std::optional<platform::LocalEvent> send(const platform::LocalEvent &event)
    {
        std::optional<platform::LocalEvent> left = event;
        for (const auto &[handle, monitor] : std::map(monitors)) {
            if (left && (monitor.first >> unsigned(event.type)) & 1U)
                left = monitor.second(*left);
        }
        return left;
    }

    std::map<int, std::pair<std::uint64_t, Handler>> monitors;

private:
    int _lastHandle = 0;
};

}  // namespace vellumhound::fakes
