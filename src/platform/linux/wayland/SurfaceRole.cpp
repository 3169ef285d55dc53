// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/wayland/SurfaceRole.h"

#include <utility>
#include <wayland-client.h>
#include <wayland-protocols/viewporter.h>
#include <wayland-protocols/wlr-layer-shell-unstable-v1.h>
#include <wayland-protocols/xdg-shell.h>

namespace vellumhound::platform {

namespace {

constexpr auto allEdges = ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                          ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT;
constexpr std::int32_t overBars = -1;  // neither moved by panels and docks nor moving anything

std::uint32_t layerOf(LayerRole::Height height)
{
    return height == LayerRole::Height::aboveAll ? ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY
                                                 : ZWLR_LAYER_SHELL_V1_LAYER_TOP;
}

template <class T> wl_proxy *proxy(T *object)
{
    return reinterpret_cast<wl_proxy *>(object);
}

}  // namespace

LayerRole::LayerRole(WaylandConnection &connection, wl_surface *surface,
    const Description &description, Handlers handlers)
    : _connection(connection)
    , _surface(surface)
    , _handlers(std::move(handlers))
    , _object(zwlr_layer_shell_v1_get_layer_surface(connection.layerShell(), surface,
          description.output, layerOf(description.height), "launcher"))
    , _firstFrame(wl_surface_frame(surface))
    , _isWholeOutput(description.size.isEmpty())
{
    static constexpr zwlr_layer_surface_v1_listener listener{
        [](void *data, zwlr_layer_surface_v1 *object, std::uint32_t serial, std::uint32_t width,
            std::uint32_t height) {
            auto *self = static_cast<LayerRole *>(data);
            zwlr_layer_surface_v1_ack_configure(object, serial);
            self->_configuredSize = QSize(int(width), int(height));
            if (std::exchange(self->_isConfigured, true) && self->_handlers.configured)
                self->_handlers.configured();
        },
        [](void *data, zwlr_layer_surface_v1 *) {
            auto *self = static_cast<LayerRole *>(data);
            self->_isRefused = !self->_isConfigured;
            const auto closed = self->_handlers.closed;
            if (closed && !self->_isRefused)
                closed();
        }};
    zwlr_layer_surface_v1_add_listener(_object, &listener, this);
    static constexpr wl_callback_listener frameListener{
        [](void *data, wl_callback *callback, std::uint32_t) {
            auto *self = static_cast<LayerRole *>(data);
            wl_callback_destroy(callback);
            self->_firstFrame = nullptr;
            self->_isShown = true;
        }};
    wl_callback_add_listener(_firstFrame, &frameListener, this);
    if (_isWholeOutput)
        zwlr_layer_surface_v1_set_anchor(_object, allEdges);
    resize(description.size);
    zwlr_layer_surface_v1_set_exclusive_zone(_object, overBars);
    setKeyboard(description.keyboard);
    wl_surface_commit(_surface);
    _connection.waitUntil(proxy(_object), [this] { return _isConfigured || _isRefused; });
}

LayerRole::~LayerRole()
{
    if (_firstFrame)
        wl_callback_destroy(_firstFrame);
    if (_viewport)
        wp_viewport_destroy(_viewport);
    zwlr_layer_surface_v1_destroy(_object);
    _connection.flush();
}

void LayerRole::resize(const QSize &size)
{
    if (_isWholeOutput || size == _size)
        return;
    _size = size;
    zwlr_layer_surface_v1_set_size(
        _object, std::uint32_t(size.width()), std::uint32_t(size.height()));
}

void LayerRole::setKeyboard(Keyboard keyboard)
{
    auto wanted = ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE;
    if (keyboard == Keyboard::always)
        wanted = ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE;
    else if (keyboard == Keyboard::whenGiven)
        wanted = _connection.layerShellVersion() >=
                         ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND_SINCE_VERSION
                     ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_ON_DEMAND
                     : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE;
    zwlr_layer_surface_v1_set_keyboard_interactivity(_object, wanted);
    if (_isConfigured)
        apply();
}

void LayerRole::centre()
{
    zwlr_layer_surface_v1_set_anchor(_object, 0);
    apply();
}

void LayerRole::moveTo(const QPoint &corner)
{
    zwlr_layer_surface_v1_set_anchor(
        _object, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
    zwlr_layer_surface_v1_set_margin(_object, corner.y(), 0, 0, corner.x());
    apply();
}

bool LayerRole::stretch(const QSize &size)
{
    if (!_connection.viewporter())
        return false;
    if (size == _size)
        return true;
    _size = size;
    if (!_viewport)
        _viewport = wp_viewporter_get_viewport(_connection.viewporter(), _surface);
    wp_viewport_set_destination(_viewport, size.width(), size.height());
    apply();
    return true;
}

void LayerRole::apply()
{
    wl_surface_commit(_surface);
    _connection.flush();
}

PopupRole::PopupRole(WaylandConnection &connection, wl_surface *surface,
    const LayerRole *parentLayer, const PopupRole *parentPopup, const QRect &place,
    std::function<void()> dismissed)
    : _dismissed(std::move(dismissed))
    , _surfaceObject(xdg_wm_base_get_xdg_surface(connection.shell(), surface))
{
    auto *positioner = xdg_wm_base_create_positioner(connection.shell());
    xdg_positioner_set_size(positioner, place.width(), place.height());
    xdg_positioner_set_anchor_rect(positioner, place.x(), place.y(), 1, 1);
    xdg_positioner_set_anchor(positioner, XDG_POSITIONER_ANCHOR_TOP_LEFT);
    xdg_positioner_set_gravity(positioner, XDG_POSITIONER_GRAVITY_BOTTOM_RIGHT);
    xdg_positioner_set_constraint_adjustment(
        positioner, XDG_POSITIONER_CONSTRAINT_ADJUSTMENT_SLIDE_X |
                        XDG_POSITIONER_CONSTRAINT_ADJUSTMENT_SLIDE_Y);
    _object = xdg_surface_get_popup(
        _surfaceObject, parentPopup ? parentPopup->_surfaceObject : nullptr, positioner);
    xdg_positioner_destroy(positioner);
    static constexpr xdg_surface_listener surfaceListener{
        [](void *data, xdg_surface *object, std::uint32_t serial) {
            xdg_surface_ack_configure(object, serial);
            static_cast<PopupRole *>(data)->_isConfigured = true;
        }};
    xdg_surface_add_listener(_surfaceObject, &surfaceListener, this);
    static constexpr xdg_popup_listener popupListener{
        [](void *, xdg_popup *, std::int32_t, std::int32_t, std::int32_t, std::int32_t) {},
        [](void *data, xdg_popup *) {
            auto *self = static_cast<PopupRole *>(data);
            self->_isRefused = !self->_isConfigured;
            const auto handler = self->_dismissed;
            if (!self->_isRefused)
                handler();
        },
        [](void *, xdg_popup *, std::uint32_t) {}};
    xdg_popup_add_listener(_object, &popupListener, this);
    if (parentLayer)
        zwlr_layer_surface_v1_get_popup(parentLayer->object(), _object);
    wl_surface_commit(surface);
    connection.waitUntil(proxy(_surfaceObject), [this] { return _isConfigured || _isRefused; });
}

PopupRole::~PopupRole()
{
    xdg_popup_destroy(_object);
    xdg_surface_destroy(_surfaceObject);
}

}  // namespace vellumhound::platform
