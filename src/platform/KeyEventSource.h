// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/KeyEvent.h"

#include <functional>
#include <optional>

namespace vellumhound::platform {

/// Where the key presses of our own windows come from, before anything of the toolkit sees them.
/// Main thread.
class KeyEventSource {
public:
    /// Gets each key-down event; gives it back, gives another, or gives nothing to consume it.
    using Monitor = std::function<std::optional<base::KeyEvent>(const base::KeyEvent &)>;

    virtual ~KeyEventSource() = default;

    /// A handle for removeMonitor.
    virtual int addLocalMonitor(Monitor monitor) = 0;
    virtual void removeMonitor(int handle) = 0;
};

}  // namespace vellumhound::platform
