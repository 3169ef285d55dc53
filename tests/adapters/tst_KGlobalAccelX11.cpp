// SPDX-License-Identifier: GPL-3.0-or-later
// What only shows where KDE's service is a program of its own, on any desktop on X11.
#include "support/KGlobalAccelDesk.h"

#include <QDBusConnectionInterface>

#include <csignal>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using Desk = support::KGlobalAccelDesk;
using State = Desk::State;

class tst_KGlobalAccelX11 : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Desk> _desk;

private Q_SLOTS:
    void init()
    {
        _desk = std::make_unique<Desk>();
        QVERIFY(_desk->start());
    }
    void cleanup() { _desk.reset(); }

    void aHeldKeyIsOnePress()
    {
        _desk->add(1);
        QTRY_VERIFY(_desk->isActive(1));
        QVERIFY(Desk::run(u"xset"_s, {u"r"_s, u"on"_s, u"r"_s, u"rate"_s, u"100"_s, u"50"_s}));

        QVERIFY(Desk::hold(u"ctrl+space"_s, [&] { return _desk->repeats >= 3; }));

        QTRY_VERIFY(_desk->told.contains(u"up 1"_s));
        QCOMPARE(_desk->told.first(2), (QStringList{u"down 1"_s, u"up 1"_s}));
    }

    void aServiceThatEndedAndCameBackGetsAllKeysAgain()
    {
        _desk->add(1);
        QTRY_VERIFY(_desk->isActive(1));
        auto *bus = QDBusConnection::sessionBus().interface();
        const auto process = bus->servicePid(Desk::serviceName).value();
        QVERIFY(process > 1);

        QCOMPARE(::kill(pid_t(process), SIGKILL), 0);
        QTRY_COMPARE(_desk->stateOf(1), State::waiting);
        bus->startService(Desk::serviceName);

        QTRY_VERIFY(_desk->isActive(1));
        QVERIFY(_desk->isHeardAlone(u"ctrl+space"_s, 1));
    }

    void onAnotherLayoutAKeyGoesWithItsLetter()
    {
        _desk->add(1, Desk::sKey, Desk::option);
        QTRY_VERIFY(_desk->isActive(1));

        QVERIFY(Desk::run(u"setxkbmap"_s, {u"us"_s, u"-variant"_s, u"dvorak"_s}));

        // The service takes its time to listen for the other key.
        QTRY_VERIFY((Desk::press(u"alt+s"_s), _desk->told.contains(u"down 1"_s)));
    }
};

QTEST_MAIN(tst_KGlobalAccelX11)
#include "tst_KGlobalAccelX11.moc"
