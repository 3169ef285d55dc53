// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

class QWindow;

namespace vellumhound::platform {

/// Brings every key to one window of ours, those that the window manager and other programs act on
/// included. Main thread; outlives its tokens.
class KeyboardGrab {
public:
    /// Ends the grab when its last copy goes.
    using Token = std::shared_ptr<void>;

    virtual ~KeyboardGrab() = default;

    /// `window` is on screen and has the focus. One grab at a time: a new one ends the one before.
    /// Null, with a line on the log, where the desktop does not allow it: keys then come as usual.
    /// A desktop may also agree and then grant nothing.
    [[nodiscard]] virtual Token grab(QWindow *window) = 0;
};

}  // namespace vellumhound::platform
