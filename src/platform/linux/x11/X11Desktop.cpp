// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/x11/X11Desktop.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Request.h"
#include "platform/linux/x11/X11Time.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <array>
#include <cstring>
#include <xcb/xcb.h>

namespace vellumhound::platform {

namespace {

/// Atoms never change while the server runs, and neither does our connection to it.
xcb_atom_t activeWindowAtom(xcb_connection_t *connection)
{
    static const auto value = x11Atom(connection, "_NET_ACTIVE_WINDOW");
    return value;
}

xcb_atom_t stateAtom(xcb_connection_t *connection)
{
    static const auto value = x11Atom(connection, "_NET_WM_STATE");
    return value;
}

const std::array<xcb_atom_t, 3> &panelStates(xcb_connection_t *connection)
{
    static const std::array values{x11Atom(connection, "_NET_WM_STATE_SKIP_TASKBAR"),
        x11Atom(connection, "_NET_WM_STATE_SKIP_PAGER"),
        x11Atom(connection, "_NET_WM_STATE_ABOVE")};
    return values;
}

QRect nativeGeometry(const QScreen &screen)
{
    const auto geometry = screen.geometry();
    return {geometry.topLeft(), (QSizeF(geometry.size()) * screen.devicePixelRatio()).toSize()};
}

void askWindowManager(xcb_connection_t *connection, WId window, xcb_atom_t request,
    const std::array<std::uint32_t, 5> &arguments)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = xcb_window_t(window);
    message.type = request;
    std::copy(arguments.begin(), arguments.end(), message.data.data32);
    xcb_send_event(connection, 0, x11RootWindow(connection),
        XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        reinterpret_cast<const char *>(&message));
}

}  // namespace

bool isComposited()
{
    return !x11Connection() || hasX11Compositor();
}

bool hasX11Compositor()
{
    auto *connection = x11Connection();
    if (!connection)
        return false;
    static const auto manager = x11Atom(connection, "_NET_WM_CM_S0");
    const X11Reply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, manager), nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

void writePanelState(WId window)
{
    auto *connection = x11Connection();
    if (!connection)
        return;
    const auto &states = panelStates(connection);
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, xcb_window_t(window),
        stateAtom(connection), XCB_ATOM_ATOM, 32, std::uint32_t(states.size()), states.data());
}

void requestPanelState(WId window)
{
    auto *connection = x11Connection();
    if (!connection)
        return;
    constexpr std::uint32_t add = 1;
    constexpr std::uint32_t fromApplication = 1;
    for (const auto state : panelStates(connection))
        askWindowManager(
            connection, window, stateAtom(connection), {add, state, 0, fromApplication});
    xcb_flush(connection);
}

void requestKeyboard(WId window)
{
    auto *connection = x11Connection();
    if (!connection)
        return;
    constexpr std::uint32_t fromUser = 2;
    askWindowManager(connection, window, activeWindowAtom(connection), {fromUser, lastEventTime()});
    xcb_flush(connection);
}

std::optional<QRect> activeWindowGeometry()
{
    auto *connection = x11Connection();
    if (!connection)
        return std::nullopt;
    const auto root = x11RootWindow(connection);
    const X11Reply<xcb_get_property_reply_t> property(xcb_get_property_reply(connection,
        xcb_get_property(connection, 0, root, activeWindowAtom(connection), XCB_ATOM_WINDOW, 0, 1),
        nullptr));
    if (!property || xcb_get_property_value_length(property.get()) < int(sizeof(xcb_window_t)))
        return std::nullopt;
    xcb_window_t window = XCB_WINDOW_NONE;
    std::memcpy(&window, xcb_get_property_value(property.get()), sizeof window);
    if (window == XCB_WINDOW_NONE)
        return std::nullopt;
    const auto geometryCookie = xcb_get_geometry(connection, window);
    const auto placeCookie = xcb_translate_coordinates(connection, window, root, 0, 0);
    const X11Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection, geometryCookie, nullptr));
    const X11Reply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(connection, placeCookie, nullptr));
    if (!geometry || !place)
        return std::nullopt;
    return QRect(place->dst_x, place->dst_y, geometry->width, geometry->height);
}

QScreen *mainScreen()
{
    if (const auto active = activeWindowGeometry()) {
        for (auto *screen : QGuiApplication::screens()) {
            if (nativeGeometry(*screen).contains(active->center()))
                return screen;
        }
    }
    if (auto *screen = QGuiApplication::screenAt(QCursor::pos()))
        return screen;
    return QGuiApplication::primaryScreen();
}

bool isActiveWindowChange(const void *event)
{
    const auto *head = static_cast<const xcb_generic_event_t *>(event);
    if ((head->response_type & 0x7F) != XCB_PROPERTY_NOTIFY)
        return false;
    auto *connection = x11Connection();
    const auto *change = static_cast<const xcb_property_notify_event_t *>(event);
    return connection && change->atom == activeWindowAtom(connection);
}

bool isFocusGrabEvent(const void *event)
{
    const auto *head = static_cast<const xcb_generic_event_t *>(event);
    const int type = head->response_type & 0x7F;
    if (type != XCB_FOCUS_IN && type != XCB_FOCUS_OUT)
        return false;
    const auto mode = static_cast<const xcb_focus_in_event_t *>(event)->mode;
    return mode == XCB_NOTIFY_MODE_GRAB || mode == XCB_NOTIFY_MODE_UNGRAB;
}

}  // namespace vellumhound::platform
