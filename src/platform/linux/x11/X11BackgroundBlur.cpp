// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/x11/X11BackgroundBlur.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Request.h"

#include <QGuiApplication>
#include <QRegion>
#include <QWindow>

#include <cmath>
#include <utility>
#include <vector>

namespace vellumhound::platform {

std::unique_ptr<X11BackgroundBlur> X11BackgroundBlur::create(Changed changed)
{
    if (!x11Connection())
        return nullptr;
    return std::unique_ptr<X11BackgroundBlur>(new X11BackgroundBlur(std::move(changed)));
}

X11BackgroundBlur::X11BackgroundBlur(Changed changed)
    : _changed(std::move(changed))
    , _atom(x11Atom(x11Connection(), "_KDE_NET_WM_BLUR_BEHIND_REGION"))
    , _isOffered(isAnnounced())
{
    // The toolkit has selected the changes of the root window's properties.
    qGuiApp->installNativeEventFilter(this);
}

X11BackgroundBlur::~X11BackgroundBlur() = default;

bool X11BackgroundBlur::isAnnounced() const
{
    auto *connection = x11Connection();
    const X11Reply<xcb_get_property_reply_t> property(xcb_get_property_reply(connection,
        xcb_get_property(
            connection, 0, x11RootWindow(connection), _atom, XCB_GET_PROPERTY_TYPE_ANY, 0, 0),
        nullptr));
    return property && property->type != XCB_ATOM_NONE;
}

void X11BackgroundBlur::blurBehind(QWindow &window, const QRegion &region)
{
    auto *connection = x11Connection();
    const auto id = xcb_window_t(window.winId());
    if (region.isEmpty()) {
        // An empty list would stand for the whole window.
        xcb_delete_property(connection, id, _atom);
    } else {
        const double scale = window.devicePixelRatio();
        const auto pixels = [scale](
                                int length) { return std::uint32_t(std::lround(length * scale)); };
        std::vector<std::uint32_t> values;
        for (const auto &rect : region) {
            const auto left = pixels(rect.left());
            const auto top = pixels(rect.top());
            values.insert(values.end(), {left, top, pixels(rect.left() + rect.width()) - left,
                                            pixels(rect.top() + rect.height()) - top});
        }
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, _atom, XCB_ATOM_CARDINAL, 32,
            std::uint32_t(values.size()), values.data());
    }
    xcb_flush(connection);
}

bool X11BackgroundBlur::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *head = static_cast<const xcb_generic_event_t *>(message);
    if ((head->response_type & 0x7F) != XCB_PROPERTY_NOTIFY)
        return false;
    const auto *change = static_cast<const xcb_property_notify_event_t *>(message);
    if (change->atom != _atom || change->window != x11RootWindow(x11Connection()))
        return false;
    if (std::exchange(_isOffered, isAnnounced()) != _isOffered)
        _changed();
    return false;
}

}  // namespace vellumhound::platform
