// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/KeyEvent.h"

#include <QString>

#include <optional>

namespace vellumhound::keyboard {

/// A screen that takes key events while it holds the focus. Main thread.
class KeyboardHandling {
public:
    virtual ~KeyboardHandling() = default;

    /// Names the screen, so that it can give up only its own place
    /// (KeyboardMonitor::clearFocusedHandler).
    virtual QString id() const = 0;
    /// Nothing means that the key has been consumed; an event, the same or another, goes on.
    virtual std::optional<base::KeyEvent> handleKeyEvent(const base::KeyEvent &event) = 0;
};

}  // namespace vellumhound::keyboard
