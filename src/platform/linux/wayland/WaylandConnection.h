// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

class QScreen;
class QWindow;
struct wl_display;
struct wl_event_queue;
struct wl_output;
struct wl_pointer;
struct wl_proxy;
struct wl_registry;
struct wl_seat;
struct wl_surface;
struct wp_viewporter;
struct xdg_wm_base;
struct zwlr_foreign_toplevel_manager_v1;
struct zwlr_layer_shell_v1;
struct zwp_keyboard_shortcuts_inhibit_manager_v1;
struct zwp_relative_pointer_manager_v1;

namespace vellumhound::platform {

/// What the compositor offers beyond what the toolkit uses, on the toolkit's own connection. The
/// process has one, made for the first who opens it and gone with the last. Main thread; it goes
/// before the application object does.
class WaylandConnection {
public:
    /// Null on any other window system.
    static std::shared_ptr<WaylandConnection> open();
    ~WaylandConnection();
    WaylandConnection(const WaylandConnection &) = delete;
    WaylandConnection &operator=(const WaylandConnection &) = delete;

    // Each is null where the compositor lacks it.
    zwlr_layer_shell_v1 *layerShell() const { return _layerShell; }
    std::uint32_t layerShellVersion() const { return _layerShellVersion; }
    xdg_wm_base *shell() const { return _shell; }
    wp_viewporter *viewporter() const { return _viewporter; }
    zwp_relative_pointer_manager_v1 *relativePointers() const { return _relativePointers; }
    zwp_keyboard_shortcuts_inhibit_manager_v1 *shortcutsInhibitors() const
    {
        return _shortcutsInhibitors;
    }
    /// The first seat, as an object of the caller's own, who destroys it before the connection
    /// goes. What it tells is heard by `waitUntil` alone until that was called for it. Null without
    /// any seat.
    wl_seat *makeSeat();

    /// Whether the window in use covers its whole output, as far as the compositor tells. Waits for
    /// the answer.
    bool isFullScreenWindowActive();

    /// Waits, a second at most, until the events of `object` have made `isDone` true, and says
    /// whether they did. It was just made; nobody else hears of them meanwhile, later ones come
    /// with the toolkit's.
    bool waitUntil(wl_proxy *object, const std::function<bool()> &isDone);
    void flush();

    /// Null for a window that is not on screen.
    static wl_surface *surfaceOf(QWindow *window);
    /// Null for the screen that stands for none.
    static wl_output *outputOf(QScreen *screen);
    /// Null without a pointer.
    static wl_pointer *pointer();

private:
    explicit WaylandConnection(wl_display *display);
    void readEvents(std::chrono::milliseconds time);
    void bind(
        wl_registry *registry, std::uint32_t name, const char *interface, std::uint32_t version);

    wl_display *_display;
    wl_event_queue *_queue;  // of what is waited for
    wl_registry *_registry = nullptr;
    zwlr_layer_shell_v1 *_layerShell = nullptr;
    std::uint32_t _layerShellVersion = 0;
    xdg_wm_base *_shell = nullptr;
    wp_viewporter *_viewporter = nullptr;
    zwp_relative_pointer_manager_v1 *_relativePointers = nullptr;
    zwp_keyboard_shortcuts_inhibit_manager_v1 *_shortcutsInhibitors = nullptr;
    std::uint32_t _seatName = 0;        // 0: none
    std::uint32_t _windowListName = 0;  // of the list of all programs' windows; 0: none
};

}  // namespace vellumhound::platform
