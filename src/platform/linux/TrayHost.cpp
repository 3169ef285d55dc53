// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/TrayHost.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Request.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <algorithm>
#include <xcb/xcb.h>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

const auto watcherName = u"org.kde.StatusNotifierWatcher"_s;
const auto watcherPath = u"/StatusNotifierWatcher"_s;
const auto watcherInterface = u"org.kde.StatusNotifierWatcher"_s;
const auto hostProperty = u"IsStatusNotifierHostRegistered"_s;
const auto properties = u"org.freedesktop.DBus.Properties"_s;

/// The property says 16 bits a share.
double share(std::uint32_t value)
{
    return double(std::min(value, 0xFFFFU)) / 0xFFFF;
}

}  // namespace

struct TrayHost::X11Atoms {
    explicit X11Atoms(xcb_connection_t *server)
        : connection(server)
        , root(x11RootWindow(server))
        , selection(x11Atom(server, "_NET_SYSTEM_TRAY_S0"))
        , manager(x11Atom(server, "MANAGER"))
        , colors(x11Atom(server, "_NET_SYSTEM_TRAY_COLORS"))
    {
    }

    xcb_connection_t *connection;
    xcb_window_t root;
    xcb_atom_t selection;
    xcb_atom_t manager;
    xcb_atom_t colors;
};

TrayHost::TrayHost(QDBusConnection bus, base::Timer &timer, QObject *parent)
    : QObject(parent)
    , _bus(std::move(bus))
    , _timer(timer)
{
    if (_bus.isConnected())
        followWatcher();
    if (auto *connection = x11Connection()) {
        _atoms = std::make_unique<X11Atoms>(connection);
        followX11Tray();
    }
}

TrayHost::~TrayHost() = default;

void TrayHost::followWatcher()
{
    auto *watcher =
        new QDBusServiceWatcher(watcherName, _bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &TrayHost::askForHost);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        ++_question;
        _isWatcherThere = false;
        lookForX11Tray();
    });
    _bus.connect(watcherName, watcherPath, watcherInterface, u"StatusNotifierHostRegistered"_s,
        this, SLOT(askForHost()));
    askForHost();
}

void TrayHost::askForHost()
{
    if (_kind != Kind::none)
        return;
    _isWatcherThere = true;  // as long as nothing says otherwise, so that the X11 tray waits
    auto message = QDBusMessage::createMethodCall(watcherName, watcherPath, properties, u"Get"_s);
    message << watcherInterface << hostProperty;
    // Nobody is started for this: a desktop that wants the watcher starts it.
    message.setAutoStartService(false);
    auto *call = new QDBusPendingCallWatcher(_bus.asyncCall(message), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, question = ++_question] {
        call->deleteLater();
        if (question != _question)
            return;
        const QDBusPendingReply<QDBusVariant> reply(*call);
        _isWatcherThere = !reply.isError();
        if (reply.isValid() && reply.value().variant().toBool())
            settle(Kind::statusNotifier);
        else
            lookForX11Tray();
    });
}

void TrayHost::followX11Tray()
{
    // The toolkit has asked for the structure events of the root window, which carry the
    // announcement of a new tray.
    QCoreApplication::instance()->installNativeEventFilter(this);
    lookForX11Tray();
}

void TrayHost::lookForX11Tray()
{
    if (!_atoms)
        return;
    const X11Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(_atoms->connection,
            xcb_get_selection_owner(_atoms->connection, _atoms->selection), nullptr));
    _tray = reply ? reply->owner : 0;
    readColors();
    if (_tray == 0)
        return;
    if (!_isWatcherThere || _isPatienceOver) {
        settle(Kind::x11);
    } else if (_kind == Kind::none && !_patience) {
        _patience = _timer.after(hostPatience, [this] {
            _isPatienceOver = true;
            lookForX11Tray();
        });
    }
}

void TrayHost::readColors()
{
    std::optional<base::Color> found;
    if (_tray != 0) {
        // Changes of the property shall be told. The window is not ours: the toolkit may listen to
        // it as well, on the same connection, so its choice of events is kept.
        const X11Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(
                _atoms->connection, xcb_get_window_attributes(_atoms->connection, _tray), nullptr));
        if (attributes) {
            const std::uint32_t events =
                attributes->your_event_mask | XCB_EVENT_MASK_PROPERTY_CHANGE;
            // The tray may be gone by now, and that is no error of anybody's.
            const auto cookie = xcb_change_window_attributes_checked(
                _atoms->connection, _tray, XCB_CW_EVENT_MASK, &events);
            xcb_discard_reply(_atoms->connection, cookie.sequence);
        }
        constexpr std::uint32_t sharesOfForeground = 3;
        const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(_atoms->connection,
            xcb_get_property(_atoms->connection, 0, _tray, _atoms->colors, XCB_ATOM_CARDINAL, 0,
                sharesOfForeground),
            nullptr));
        if (reply && reply->format == 32 && reply->value_len >= sharesOfForeground) {
            const auto *values =
                static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
            found = base::Color{share(values[0]), share(values[1]), share(values[2]), 1};
        }
    }
    if (found == _foreground)
        return;
    _foreground = found;
    Q_EMIT foregroundChanged();
}

void TrayHost::settle(Kind kind)
{
    if (_kind != Kind::none)
        return;
    _kind = kind;
    _patience.reset();
    Q_EMIT kindChanged();
}

bool TrayHost::nativeEventFilter(const QByteArray &type, void *message, qintptr *)
{
    if (type != "xcb_generic_event_t" || !_atoms)
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    switch (event->response_type & ~0x80) {
    case XCB_CLIENT_MESSAGE: {
        const auto *announced = reinterpret_cast<const xcb_client_message_event_t *>(event);
        if (announced->type == _atoms->manager && announced->data.data32[1] == _atoms->selection)
            lookForX11Tray();
        break;
    }
    case XCB_PROPERTY_NOTIFY: {
        const auto *changed = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (changed->window == _tray && changed->atom == _atoms->colors)
            readColors();
        break;
    }
    default:
        break;
    }
    return false;
}

}  // namespace vellumhound::platform
