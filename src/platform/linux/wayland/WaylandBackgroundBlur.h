// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/BackgroundBlur.h"

#include <cstdint>
#include <memory>

struct org_kde_kwin_blur;
struct org_kde_kwin_blur_manager;
struct wl_compositor;
struct wl_display;
struct wl_registry;

namespace vellumhound::platform {

/// The blur of KWin on Wayland, for one window at a time. KWin announces it as long as its effect
/// runs. Goes before the application object does.
class WaylandBackgroundBlur final : public BackgroundBlur {
public:
    /// Null on other window systems. Needs the application object.
    static std::unique_ptr<WaylandBackgroundBlur> create(Changed changed);
    ~WaylandBackgroundBlur() override;
    WaylandBackgroundBlur(const WaylandBackgroundBlur &) = delete;
    WaylandBackgroundBlur &operator=(const WaylandBackgroundBlur &) = delete;

    bool isOffered() const override { return _manager != nullptr; }
    /// Takes effect with the window's next frame. A window without a surface is passed over.
    void blurBehind(QWindow &window, const QRegion &region) override;

private:
    WaylandBackgroundBlur(wl_display *display, Changed changed);
    void onGlobal(std::uint32_t name, const char *interface);
    void onGlobalRemoved(std::uint32_t name);
    void releaseBlur();

    Changed _changed;  // empty until the first announcements have been read
    wl_registry *_registry = nullptr;
    wl_compositor *_compositor = nullptr;
    org_kde_kwin_blur_manager *_manager = nullptr;
    std::uint32_t _managerName = 0;
    org_kde_kwin_blur *_blur = nullptr;  // of the window last asked for
};

}  // namespace vellumhound::platform
