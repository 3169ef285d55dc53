// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/wayland/WaylandConnection.h"

#include <QPoint>
#include <QRect>
#include <QSize>

#include <functional>

struct wl_callback;
struct wp_viewport;
struct xdg_popup;
struct xdg_surface;
struct zwlr_layer_surface_v1;

namespace vellumhound::platform {

/// What a surface is to the compositor: without a role it is never shown. A role is given before
/// anything is drawn on the surface and ends before the surface does. Main thread; the connection
/// outlives it.
class SurfaceRole {
public:
    virtual ~SurfaceRole() = default;

    /// The surface has a size now and may be drawn on.
    bool isConfigured() const { return _isConfigured; }
    virtual void resize(const QSize &) {}

protected:
    bool _isConfigured = false;
    bool _isRefused = false;  // taken away before it was configured
};

/// A part of the desktop: above ordinary windows, on one output, where it says itself.
class LayerRole final : public SurfaceRole {
public:
    enum class Height { aboveWindows, aboveAll };
    enum class Keyboard { never, whenGiven, always };
    struct Description {
        wl_output *output = nullptr;  ///< null: the one in use, as the compositor sees it
        Height height = Height::aboveWindows;
        Keyboard keyboard = Keyboard::whenGiven;
        QSize size;  ///< empty: the whole output
    };
    struct Handlers {
        std::function<void()> configured;  ///< once more, with a `configuredSize` of its own
        /// The compositor took it away, for example with its output. May destroy the role.
        std::function<void()> closed;
    };

    /// Waits for the compositor's answer.
    LayerRole(WaylandConnection &connection, wl_surface *surface, const Description &description,
        Handlers handlers);
    ~LayerRole() override;
    Q_DISABLE_COPY_MOVE(LayerRole)

    void resize(const QSize &size) override;
    void setKeyboard(Keyboard keyboard);
    /// In the middle of its output, where it is at first.
    void centre();
    /// By its upper left corner, in pixels of the output.
    void moveTo(const QPoint &corner);
    /// Fills `size` with what is drawn, however small that is. False where the compositor cannot.
    bool stretch(const QSize &size);
    /// The compositor has shown it at least once.
    bool isShown() const { return _isShown; }
    /// Empty: as was asked for.
    QSize configuredSize() const { return _configuredSize; }
    zwlr_layer_surface_v1 *object() const { return _object; }

private:
    void apply();

    WaylandConnection &_connection;
    wl_surface *_surface;
    const Handlers _handlers;
    zwlr_layer_surface_v1 *_object;
    wl_callback *_firstFrame;
    wp_viewport *_viewport = nullptr;
    const bool _isWholeOutput;
    QSize _size;  // that was asked for, or is stretched to
    QSize _configuredSize;
    bool _isShown = false;
};

/// A menu or a tooltip: beside a place on another surface, moved by the compositor where the output
/// ends.
class PopupRole final : public SurfaceRole {
public:
    /// `dismissed` may destroy the role. Waits for the compositor's answer. Exactly one of the
    /// parents is given; `place` is in the parent's pixels.
    PopupRole(WaylandConnection &connection, wl_surface *surface, const LayerRole *parentLayer,
        const PopupRole *parentPopup, const QRect &place, std::function<void()> dismissed);
    ~PopupRole() override;
    Q_DISABLE_COPY_MOVE(PopupRole)

private:
    const std::function<void()> _dismissed;
    xdg_surface *_surfaceObject;
    xdg_popup *_object = nullptr;
};

}  // namespace vellumhound::platform
