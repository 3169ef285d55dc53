// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/wayland/WaylandConnection.h"

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>
#include <qpa/qplatformscreen.h>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <poll.h>
#include <span>
#include <string_view>
#include <vector>
#include <wayland-client.h>
#include <wayland-protocols/keyboard-shortcuts-inhibit-unstable-v1.h>
#include <wayland-protocols/relative-pointer-unstable-v1.h>
#include <wayland-protocols/viewporter.h>
#include <wayland-protocols/wlr-foreign-toplevel-management-unstable-v1.h>
#include <wayland-protocols/wlr-layer-shell-unstable-v1.h>
#include <wayland-protocols/xdg-shell.h>

namespace vellumhound::platform {

namespace {

constexpr std::chrono::seconds patience{1};
constexpr std::uint32_t knownLayerShellVersion = 4;
constexpr std::uint32_t neededWindowListVersion = 2;  // the first that tells of full screen

QPlatformNativeInterface *native()
{
    return qGuiApp && QGuiApplication::platformName().startsWith(QLatin1String("wayland"))
               ? QGuiApplication::platformNativeInterface()
               : nullptr;
}

template <class T> T *named(const char *name)
{
    auto *interface = native();
    return interface ? static_cast<T *>(interface->nativeResourceForIntegration(name)) : nullptr;
}

/// The windows of all programs, as they are at the moment: asked for once and not followed, as each
/// new title of each window would wake us.
struct WindowList {
    std::vector<zwlr_foreign_toplevel_handle_v1 *> windows;
    bool isFullScreenActive = false;
};

void readState(void *list, zwlr_foreign_toplevel_handle_v1 *, wl_array *state)
{
    const std::span states(
        static_cast<const std::uint32_t *>(state->data), state->size / sizeof(std::uint32_t));
    const auto has = [&](std::uint32_t wanted) {
        return std::find(states.begin(), states.end(), wanted) != states.end();
    };
    if (has(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED) &&
        has(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_FULLSCREEN))
        static_cast<WindowList *>(list)->isFullScreenActive = true;
}

void takeWindow(
    void *data, zwlr_foreign_toplevel_manager_v1 *, zwlr_foreign_toplevel_handle_v1 *window)
{
    using Window = zwlr_foreign_toplevel_handle_v1;
    static constexpr zwlr_foreign_toplevel_handle_v1_listener listener{
        [](void *, Window *, const char *) {}, [](void *, Window *, const char *) {},
        [](void *, Window *, wl_output *) {}, [](void *, Window *, wl_output *) {}, readState,
        [](void *, Window *) {}, [](void *, Window *) {}};
    static_cast<WindowList *>(data)->windows.push_back(window);
    zwlr_foreign_toplevel_handle_v1_add_listener(window, &listener, data);
}

void answerPing(void *, xdg_wm_base *shell, std::uint32_t serial)
{
    xdg_wm_base_pong(shell, serial);
}

}  // namespace

std::shared_ptr<WaylandConnection> WaylandConnection::open()
{
    static std::weak_ptr<WaylandConnection> ofProcess;
    auto connection = ofProcess.lock();
    auto *display = connection ? nullptr : named<wl_display>("wl_display");
    if (display) {
        connection.reset(new WaylandConnection(display));
        ofProcess = connection;
    }
    return connection;
}

WaylandConnection::WaylandConnection(wl_display *display)
    : _display(display)
    , _queue(wl_display_create_queue(display))
{
    auto *onQueue = static_cast<wl_display *>(wl_proxy_create_wrapper(display));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(onQueue), _queue);
    _registry = wl_display_get_registry(onQueue);
    wl_proxy_wrapper_destroy(onQueue);
    static constexpr wl_registry_listener registryListener{
        [](void *self, wl_registry *registry, std::uint32_t name, const char *interface,
            std::uint32_t version) {
            static_cast<WaylandConnection *>(self)->bind(registry, name, interface, version);
        },
        [](void *, wl_registry *, std::uint32_t) {}};
    wl_registry_add_listener(_registry, &registryListener, this);
    wl_display_roundtrip_queue(_display, _queue);
    static constexpr xdg_wm_base_listener shellListener{answerPing};
    if (_shell) {
        xdg_wm_base_add_listener(_shell, &shellListener, nullptr);
        wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(_shell), nullptr);
    }
}

WaylandConnection::~WaylandConnection()
{
    if (_shortcutsInhibitors)
        zwp_keyboard_shortcuts_inhibit_manager_v1_destroy(_shortcutsInhibitors);
    if (_relativePointers)
        zwp_relative_pointer_manager_v1_destroy(_relativePointers);
    if (_viewporter)
        wp_viewporter_destroy(_viewporter);
    if (_shell)
        xdg_wm_base_destroy(_shell);
    if (_layerShell && _layerShellVersion >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION)
        zwlr_layer_shell_v1_destroy(_layerShell);
    else if (_layerShell)
        wl_proxy_destroy(reinterpret_cast<wl_proxy *>(_layerShell));
    wl_registry_destroy(_registry);
    wl_event_queue_destroy(_queue);
}

void WaylandConnection::bind(
    wl_registry *registry, std::uint32_t name, const char *interface, std::uint32_t version)
{
    const auto take = [&](auto *&place, const wl_interface &wanted, std::uint32_t known) {
        if (place || std::string_view(interface) != wanted.name)
            return;
        place = static_cast<std::remove_reference_t<decltype(place)>>(
            wl_registry_bind(registry, name, &wanted, std::min(version, known)));
        if (&wanted == &zwlr_layer_shell_v1_interface)
            _layerShellVersion = std::min(version, known);
    };
    if (version >= neededWindowListVersion &&
        std::string_view(interface) == zwlr_foreign_toplevel_manager_v1_interface.name)
        _windowListName = name;
    if (_seatName == 0 && std::string_view(interface) == wl_seat_interface.name)
        _seatName = name;
    take(_layerShell, zwlr_layer_shell_v1_interface, knownLayerShellVersion);
    take(_shell, xdg_wm_base_interface, 1);
    take(_viewporter, wp_viewporter_interface, 1);
    take(_relativePointers, zwp_relative_pointer_manager_v1_interface, 1);
    take(_shortcutsInhibitors, zwp_keyboard_shortcuts_inhibit_manager_v1_interface, 1);
}

wl_seat *WaylandConnection::makeSeat()
{
    return _seatName == 0 ? nullptr
                          : static_cast<wl_seat *>(
                                wl_registry_bind(_registry, _seatName, &wl_seat_interface, 1));
}

bool WaylandConnection::isFullScreenWindowActive()
{
    if (_windowListName == 0)
        return false;
    auto *manager = static_cast<zwlr_foreign_toplevel_manager_v1 *>(wl_registry_bind(_registry,
        _windowListName, &zwlr_foreign_toplevel_manager_v1_interface, neededWindowListVersion));
    static constexpr zwlr_foreign_toplevel_manager_v1_listener listener{
        takeWindow, [](void *, zwlr_foreign_toplevel_manager_v1 *) {}};
    WindowList list;
    zwlr_foreign_toplevel_manager_v1_add_listener(manager, &listener, &list);
    wl_display_roundtrip_queue(_display, _queue);
    zwlr_foreign_toplevel_manager_v1_stop(manager);
    zwlr_foreign_toplevel_manager_v1_destroy(manager);
    for (auto *window : list.windows)
        zwlr_foreign_toplevel_handle_v1_destroy(window);
    return list.isFullScreenActive;
}

bool WaylandConnection::waitUntil(wl_proxy *object, const std::function<bool()> &isDone)
{
    // A round trip is not enough: some compositors answer it before they have configured a surface.
    wl_proxy_set_queue(object, _queue);
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!isDone()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            break;
        readEvents(left);
    }
    wl_proxy_set_queue(object, nullptr);
    // What was read before that line and is not dispatched yet.
    wl_display_dispatch_queue_pending(_display, _queue);
    return isDone();
}

/// The toolkit reads in a thread of its own; whoever reads first hands out to all.
void WaylandConnection::readEvents(std::chrono::milliseconds time)
{
    if (wl_display_prepare_read_queue(_display, _queue) == 0) {
        wl_display_flush(_display);
        pollfd socket{wl_display_get_fd(_display), POLLIN, 0};
        if (::poll(&socket, 1, int(time.count())) > 0)
            wl_display_read_events(_display);
        else
            wl_display_cancel_read(_display);
    }
    wl_display_dispatch_queue_pending(_display, _queue);
}

void WaylandConnection::flush()
{
    wl_display_flush(_display);
}

wl_surface *WaylandConnection::surfaceOf(QWindow *window)
{
    auto *interface = native();
    return interface && window->handle()
               ? static_cast<wl_surface *>(interface->nativeResourceForWindow("surface", window))
               : nullptr;
}

wl_output *WaylandConnection::outputOf(QScreen *screen)
{
    auto *interface = native();
    // With all outputs gone the toolkit has a screen of its own making, which is not Wayland's.
    return interface && screen && !screen->handle()->isPlaceholder()
               ? static_cast<wl_output *>(interface->nativeResourceForScreen("output", screen))
               : nullptr;
}

wl_pointer *WaylandConnection::pointer()
{
    return named<wl_pointer>("wl_pointer");
}

}  // namespace vellumhound::platform
