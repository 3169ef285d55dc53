// SPDX-License-Identifier: GPL-3.0-or-later
// Against a scripted watcher on the session bus and a tray of the test's own on a real X server.
#include "fakes/ManualTimer.h"
#include "platform/linux/TrayHost.h"
#include "support/Peer.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

#include <array>
#include <cstdlib>
#include <string_view>
#include <xcb/xcb.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::TrayHost;
using support::Peer;

namespace {

/// The manager of an X11 tray, over a connection of its own; it takes nothing in.
class X11Tray {
public:
    X11Tray()
        : _connection(xcb_connect(nullptr, nullptr))
        , _screen(xcb_setup_roots_iterator(xcb_get_setup(_connection)).data)
        , _window(xcb_generate_id(_connection))
    {
        xcb_create_window(_connection, 0, _window, _screen->root, -1, -1, 1, 1, 0,
            XCB_WINDOW_CLASS_INPUT_OUTPUT, _screen->root_visual, 0, nullptr);
    }
    ~X11Tray() { xcb_disconnect(_connection); }
    Q_DISABLE_COPY_MOVE(X11Tray)

    void announce()
    {
        xcb_set_selection_owner(
            _connection, _window, atom("_NET_SYSTEM_TRAY_S0"), XCB_CURRENT_TIME);
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = _screen->root;
        event.type = atom("MANAGER");
        event.data.data32[1] = atom("_NET_SYSTEM_TRAY_S0");
        event.data.data32[2] = _window;
        xcb_send_event(_connection, 0, _screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
            reinterpret_cast<const char *>(&event));
        sync();
    }

    void setForeground(std::uint32_t red, std::uint32_t green, std::uint32_t blue)
    {
        std::array<std::uint32_t, 12> colors{red, green, blue};
        xcb_change_property(_connection, XCB_PROP_MODE_REPLACE, _window,
            atom("_NET_SYSTEM_TRAY_COLORS"), XCB_ATOM_CARDINAL, 32, std::uint32_t(colors.size()),
            colors.data());
        sync();
    }

private:
    xcb_atom_t atom(std::string_view name)
    {
        auto *reply = xcb_intern_atom_reply(_connection,
            xcb_intern_atom(_connection, 0, std::uint16_t(name.size()), name.data()), nullptr);
        const auto found = reply->atom;
        std::free(reply);
        return found;
    }
    void sync()
    {
        std::free(
            xcb_get_input_focus_reply(_connection, xcb_get_input_focus(_connection), nullptr));
    }

    xcb_connection_t *_connection;
    xcb_screen_t *_screen;
    xcb_window_t _window;
};

bool isAnX11TrayThere()
{
    constexpr std::string_view name = "_NET_SYSTEM_TRAY_S0";
    auto *connection = xcb_connect(nullptr, nullptr);
    auto *atom = xcb_intern_atom_reply(connection,
        xcb_intern_atom(connection, 0, std::uint16_t(name.size()), name.data()), nullptr);
    auto *selection = xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, atom->atom), nullptr);
    const bool isThere = selection->owner != XCB_NONE;
    std::free(atom);
    std::free(selection);
    xcb_disconnect(connection);
    return isThere;
}

}  // namespace

class tst_TrayHost : public QObject {
    Q_OBJECT

    fakes::ManualTimer _timer;

    /// All that the host has asked so far has been answered.
    static void settleQuestions()
    {
        // One program answers another in the order in which it was asked, and so does the bus for
        // a program that is not there.
        bool isAnswered = false;
        auto message = QDBusMessage::createMethodCall(u"org.kde.StatusNotifierWatcher"_s,
            u"/StatusNotifierWatcher"_s, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
        message << u"org.kde.StatusNotifierWatcher"_s << u"ProtocolVersion"_s;
        QDBusPendingCallWatcher watcher(QDBusConnection::sessionBus().asyncCall(message));
        connect(&watcher, &QDBusPendingCallWatcher::finished, [&] { isAnswered = true; });
        QTRY_VERIFY(isAnswered);
    }

private Q_SLOTS:
    void init()
    {
        // The X server and the bus see a moment later that a tray has gone with its program.
        QTRY_VERIFY(!isAnX11TrayThere());
        QTRY_VERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(
            u"org.kde.StatusNotifierWatcher"_s));
    }

    void withoutAnyTrayThereIsNone()
    {
        const TrayHost host(QDBusConnection::sessionBus(), _timer);

        settleQuestions();

        QCOMPARE(host.kind(), TrayHost::Kind::none);
        QCOMPARE(_timer.pendingCount(), 0);
    }

    void aWatcherThatIsThereIsFound()
    {
        Peer watcher;
        QVERIFY(watcher.start(u"tray.py"_s, {watcher.logPath()}));

        const TrayHost host(QDBusConnection::sessionBus(), _timer);

        QTRY_COMPARE(host.kind(), TrayHost::Kind::statusNotifier);
    }

    void aWatcherThatComesLateIsFound()
    {
        const TrayHost host(QDBusConnection::sessionBus(), _timer);
        settleQuestions();

        Peer watcher;
        QVERIFY(watcher.start(u"tray.py"_s, {watcher.logPath()}));

        QTRY_COMPARE(host.kind(), TrayHost::Kind::statusNotifier);
    }

    void aWatcherWithoutAHostIsNoTrayYet()
    {
        Peer watcher;
        QVERIFY(watcher.start(u"tray.py"_s, {watcher.logPath(), u"nohost"_s}));
        const TrayHost host(QDBusConnection::sessionBus(), _timer);
        settleQuestions();
        QCOMPARE(host.kind(), TrayHost::Kind::none);

        watcher.tell("host");

        QTRY_COMPARE(host.kind(), TrayHost::Kind::statusNotifier);
    }

    void anX11TrayThatIsThereIsFound()
    {
        X11Tray tray;
        tray.announce();

        const TrayHost host(QDBusConnection::sessionBus(), _timer);

        QTRY_COMPARE(host.kind(), TrayHost::Kind::x11);
        QCOMPARE(host.foreground(), std::nullopt);
    }

    void anX11TrayThatComesLateIsFound()
    {
        const TrayHost host(QDBusConnection::sessionBus(), _timer);
        settleQuestions();
        QCOMPARE(host.kind(), TrayHost::Kind::none);

        X11Tray tray;
        tray.announce();

        QTRY_COMPARE(host.kind(), TrayHost::Kind::x11);
    }

    void withoutASessionBusTheX11TrayIsFound()
    {
        X11Tray tray;
        tray.announce();

        const TrayHost host(QDBusConnection(u"none"_s), _timer);

        QCOMPARE(host.kind(), TrayHost::Kind::x11);
    }

    void theX11TrayWaitsForAHostThatIsAboutToCome()
    {
        Peer watcher;
        QVERIFY(watcher.start(u"tray.py"_s, {watcher.logPath(), u"nohost"_s}));
        X11Tray tray;
        tray.announce();
        const TrayHost host(QDBusConnection::sessionBus(), _timer);
        settleQuestions();
        QCOMPARE(host.kind(), TrayHost::Kind::none);

        watcher.tell("host");

        QTRY_COMPARE(host.kind(), TrayHost::Kind::statusNotifier);
        _timer.advance(TrayHost::hostPatience);
        QCOMPARE(host.kind(), TrayHost::Kind::statusNotifier);
    }

    void theX11TrayIsTakenWhenTheHostDoesNotCome()
    {
        Peer watcher;
        QVERIFY(watcher.start(u"tray.py"_s, {watcher.logPath(), u"nohost"_s}));
        X11Tray tray;
        tray.announce();
        const TrayHost host(QDBusConnection::sessionBus(), _timer);
        QTRY_COMPARE(_timer.pendingCount(), 1);
        settleQuestions();

        _timer.advance(TrayHost::hostPatience);

        QCOMPARE(host.kind(), TrayHost::Kind::x11);
    }

    void theX11TrayIsTakenWhenTheWatcherGoes()
    {
        Peer watcher;
        QVERIFY(watcher.start(u"tray.py"_s, {watcher.logPath(), u"nohost"_s}));
        X11Tray tray;
        tray.announce();
        const TrayHost host(QDBusConnection::sessionBus(), _timer);
        settleQuestions();
        QCOMPARE(host.kind(), TrayHost::Kind::none);

        watcher.stop();

        QTRY_COMPARE(host.kind(), TrayHost::Kind::x11);
    }

    void theFirstTrayDecides()
    {
        X11Tray tray;
        tray.announce();
        TrayHost host(QDBusConnection::sessionBus(), _timer);
        QSignalSpy changes(&host, &TrayHost::kindChanged);
        QTRY_COMPARE(host.kind(), TrayHost::Kind::x11);

        Peer watcher;
        QVERIFY(watcher.start(u"tray.py"_s, {watcher.logPath()}));
        settleQuestions();

        QCOMPARE(host.kind(), TrayHost::Kind::x11);
        QVERIFY(changes.size() <= 1);
    }

    void theX11TraySaysItsColor()
    {
        X11Tray tray;
        tray.setForeground(0xFFFF, 0, 0x8000);
        tray.announce();
        TrayHost host(QDBusConnection::sessionBus(), _timer);
        QTRY_VERIFY(host.foreground());
        QCOMPARE(host.foreground()->red, 1.0);
        QCOMPARE(host.foreground()->green, 0.0);
        QVERIFY(qAbs(host.foreground()->blue - 0.5) < 0.001);

        QSignalSpy changes(&host, &TrayHost::foregroundChanged);
        tray.setForeground(0, 0xFFFF, 0);

        QTRY_COMPARE(changes.size(), 1);
        QCOMPARE(host.foreground(), std::optional(base::Color{0, 1, 0, 1}));
    }
};

QTEST_MAIN(tst_TrayHost)
#include "tst_TrayHost.moc"
