// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/HotKeyCenter.h"

#include <functional>
#include <utility>

namespace vellumhound::platform {

/// What a hot key does, in a few words for the user, by the name of its request.
using HotKeyLabels = std::function<QString(const QString &name)>;

/// One of several ways to hot keys. A desktop may have it, lose it and get it back while we run.
/// A request that it cannot answer at once is accepted, and refused later if need be.
class HotKeyBackend : public HotKeyCenter {
public:
    enum class Presence {
        unknown,  ///< asked and not answered yet
        absent,
        present,
    };

    /// Never waits.
    virtual Presence presence() const = 0;
    /// Called from the event loop after each change of presence().
    void setPresenceObserver(std::function<void()> observer)
    {
        _presenceObserver = std::move(observer);
    }

    bool isSupported() const override { return presence() == Presence::present; }

protected:
    void announcePresence() const
    {
        if (_presenceObserver)
            _presenceObserver();
    }

private:
    std::function<void()> _presenceObserver;
};

}  // namespace vellumhound::platform
