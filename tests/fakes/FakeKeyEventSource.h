// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyEventSource.h"

#include <map>

namespace vellumhound::fakes {

/// Key presses that a test makes.
class FakeKeyEventSource final : public platform::KeyEventSource {
public:
    int addLocalMonitor(Monitor monitor) override
    {
        _monitors.emplace(++_lastHandle, std::move(monitor));
        return _lastHandle;
    }
    void removeMonitor(int handle) override { _monitors.erase(handle); }

    /// What is left of the event behind the monitors; nothing if one of them consumed it.
    std::optional<base::KeyEvent> press(
        int keyCode, std::uint32_t modifiers = 0, const QString &characters = {})
    {
        base::KeyEvent event;
        event.keyCode = keyCode;
        event.modifierFlags = modifiers;
        event.literalFlags = modifiers;
        event.characters = characters;
        event.equivalent = characters.toLower();
        return press(event);
    }
    std::optional<base::KeyEvent> press(const base::KeyEvent &event)
    {
        std::optional<base::KeyEvent> left = event;
        for (const auto &[handle, monitor] : std::map(_monitors)) {
            if (left)
                left = monitor(*left);
        }
        return left;
    }
    int monitorCount() const { return int(_monitors.size()); }

private:
    int _lastHandle = 0;
    std::map<int, Monitor> _monitors;
};

}  // namespace vellumhound::fakes
