// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

class QWindow;
struct zwp_keyboard_shortcuts_inhibitor_v1;

namespace vellumhound::platform {

class WaylandConnection;

/// Asks the compositor to act on none of its own keys while a window of ours has the focus. The
/// compositor, or the user whom it asks, may decline without a word.
///
/// Main thread; it goes before the connection and the application object. A window has one at most.
class ShortcutsInhibitor {
public:
    /// Null where the compositor offers nothing of the kind, and for a window that is not on
    /// screen. `connection` outlives the inhibitor.
    static std::unique_ptr<ShortcutsInhibitor> inhibit(
        WaylandConnection &connection, QWindow *window);
    ~ShortcutsInhibitor();
    ShortcutsInhibitor(const ShortcutsInhibitor &) = delete;
    ShortcutsInhibitor &operator=(const ShortcutsInhibitor &) = delete;

private:
    ShortcutsInhibitor(WaylandConnection &connection, zwp_keyboard_shortcuts_inhibitor_v1 *object);

    WaylandConnection &_connection;
    zwp_keyboard_shortcuts_inhibitor_v1 *_object;
};

}  // namespace vellumhound::platform
