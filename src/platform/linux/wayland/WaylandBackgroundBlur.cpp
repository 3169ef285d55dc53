// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/wayland/WaylandBackgroundBlur.h"

#include "platform/linux/wayland/WaylandConnection.h"

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>
#include <QRegion>
#include <QWindow>

#include <private/qhighdpiscaling_p.h>
#include <string_view>
#include <utility>
#include <wayland-client.h>
#include <wayland-protocols/blur.h>

namespace vellumhound::platform {

std::unique_ptr<WaylandBackgroundBlur> WaylandBackgroundBlur::create(Changed changed)
{
    auto *interface = QGuiApplication::platformName().startsWith(QLatin1String("wayland"))
                          ? QGuiApplication::platformNativeInterface()
                          : nullptr;
    auto *display = interface ? static_cast<wl_display *>(interface->nativeResourceForIntegration(
                                    QByteArrayLiteral("wl_display")))
                              : nullptr;
    if (!display)
        return nullptr;
    return std::unique_ptr<WaylandBackgroundBlur>(
        new WaylandBackgroundBlur(display, std::move(changed)));
}

WaylandBackgroundBlur::WaylandBackgroundBlur(wl_display *display, Changed changed)
{
    // A queue of its own for the first announcements: the toolkit's events wait for their turn.
    auto *queue = wl_display_create_queue(display);
    auto *onQueue = static_cast<wl_display *>(wl_proxy_create_wrapper(display));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(onQueue), queue);
    _registry = wl_display_get_registry(onQueue);
    wl_proxy_wrapper_destroy(onQueue);
    static constexpr wl_registry_listener listener{
        [](void *self, wl_registry *, std::uint32_t name, const char *interface, std::uint32_t) {
            static_cast<WaylandBackgroundBlur *>(self)->onGlobal(name, interface);
        },
        [](void *self, wl_registry *, std::uint32_t name) {
            static_cast<WaylandBackgroundBlur *>(self)->onGlobalRemoved(name);
        }};
    wl_registry_add_listener(_registry, &listener, this);
    wl_display_roundtrip_queue(display, queue);
    for (auto *proxy : {reinterpret_cast<wl_proxy *>(_registry),
             reinterpret_cast<wl_proxy *>(_compositor), reinterpret_cast<wl_proxy *>(_manager)}) {
        if (proxy)
            wl_proxy_set_queue(proxy, nullptr);
    }
    wl_display_dispatch_queue_pending(display, queue);
    wl_event_queue_destroy(queue);
    _changed = std::move(changed);
}

WaylandBackgroundBlur::~WaylandBackgroundBlur()
{
    releaseBlur();
    if (_manager)
        org_kde_kwin_blur_manager_destroy(_manager);
    if (_compositor)
        wl_compositor_destroy(_compositor);
    wl_registry_destroy(_registry);
}

void WaylandBackgroundBlur::onGlobal(std::uint32_t name, const char *interface)
{
    const auto bind = [&](const wl_interface &wanted) {
        return wl_registry_bind(_registry, name, &wanted, 1);
    };
    if (!_compositor && std::string_view(interface) == wl_compositor_interface.name)
        _compositor = static_cast<wl_compositor *>(bind(wl_compositor_interface));
    if (_manager || std::string_view(interface) != org_kde_kwin_blur_manager_interface.name)
        return;
    _manager = static_cast<org_kde_kwin_blur_manager *>(bind(org_kde_kwin_blur_manager_interface));
    _managerName = name;
    if (_changed)
        _changed();
}

void WaylandBackgroundBlur::onGlobalRemoved(std::uint32_t name)
{
    if (!_manager || name != _managerName)
        return;
    releaseBlur();
    org_kde_kwin_blur_manager_destroy(std::exchange(_manager, nullptr));
    if (_changed)
        _changed();
}

void WaylandBackgroundBlur::releaseBlur()
{
    if (_blur)
        org_kde_kwin_blur_release(std::exchange(_blur, nullptr));
}

void WaylandBackgroundBlur::blurBehind(QWindow &window, const QRegion &region)
{
    releaseBlur();
    auto *surface = WaylandConnection::surfaceOf(&window);
    if (!_manager || !_compositor || !surface)
        return;
    if (region.isEmpty()) {
        org_kde_kwin_blur_manager_unset(_manager, surface);
        return;
    }
    auto *area = wl_compositor_create_region(_compositor);
    for (const auto &rect : QHighDpi::toNativeLocalRegion(region, &window))
        wl_region_add(area, rect.x(), rect.y(), rect.width(), rect.height());
    _blur = org_kde_kwin_blur_manager_create(_manager, surface);
    org_kde_kwin_blur_set_region(_blur, area);
    org_kde_kwin_blur_commit(_blur);
    wl_region_destroy(area);
}

}  // namespace vellumhound::platform
