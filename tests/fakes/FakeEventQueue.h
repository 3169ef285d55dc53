// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/EventQueue.h"

#include <QList>

#include <map>
#include <utility>

namespace vellumhound::fakes {

/// Events that a test puts before an open menu.
class FakeEventQueue final : public platform::EventQueue {
public:
    int addObserver(const QString &mode, std::function<void()> beforeSources) override
    {
        _observers.emplace(++_lastHandle, std::pair(mode, std::move(beforeSources)));
        return _lastHandle;
    }
    void removeObserver(int handle) override { _observers.erase(handle); }
    std::optional<platform::QueuedEvent> nextEvent() override
    {
        return waiting.isEmpty() ? std::nullopt : std::optional(waiting.takeFirst());
    }
    void postEvent(const platform::QueuedEvent &event) override { waiting.append(event); }

    /// One turn of the loop in this mode.
    void turn(const QString &mode)
    {
        for (const auto &[handle, observer] : std::map(_observers)) {
            if (observer.first == mode)
                observer.second();
        }
    }
    bool isObserved() const { return !_observers.empty(); }

    QList<platform::QueuedEvent> waiting;

private:
    std::map<int, std::pair<QString, std::function<void()>>> _observers;
    int _lastHandle = 0;
};

}  // namespace vellumhound::fakes
