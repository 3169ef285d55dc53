// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakePowerState.h"
#include "platform/linux/DesktopPowerState.h"
#include "support/Peer.h"

#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::DesktopPowerState;
using support::Peer;

namespace {

const auto profiles = u"own org.freedesktop.UPower.PowerProfiles"_s;
const auto formerProfiles = u"own net.hadess.PowerProfiles"_s;
const auto upower = u"own org.freedesktop.UPower"_s;

QString profile(const char *value)
{
    return u"set /org/freedesktop/UPower/PowerProfiles org.freedesktop.UPower.PowerProfiles "
           "ActiveProfile s:"_s +
           QLatin1String(value);
}

QString formerProfile(const char *value)
{
    return u"set /net/hadess/PowerProfiles net.hadess.PowerProfiles ActiveProfile s:"_s +
           QLatin1String(value);
}

QString onBattery(bool isOn)
{
    return u"set /org/freedesktop/UPower org.freedesktop.UPower OnBattery b:"_s +
           QString::number(int(isOn));
}

QString warningLevel(int level)
{
    return u"set /org/freedesktop/UPower/devices/DisplayDevice org.freedesktop.UPower.Device "
           "WarningLevel u:"_s +
           QString::number(level);
}

}  // namespace

class tst_DesktopPowerState : public QObject {
    Q_OBJECT

private:
    QList<bool> _seen;

    void listenTo(platform::PowerState &state)
    {
        state.onChanged([this](bool savesPower) { _seen.append(savesPower); });
    }

private Q_SLOTS:
    void init() { _seen.clear(); }

    void thePowerSaverAmongTheProfilesSavesPower()
    {
        Peer peer;
        QVERIFY(peer.start(u"power.py"_s, {profile("power-saver"), profiles}));

        DesktopPowerState power(QDBusConnection::sessionBus());
        listenTo(power);
        QVERIFY(!power.savesPower());

        QTRY_COMPARE(_seen, QList{true});
        QVERIFY(power.savesPower());
    }

    void aChangeOfTheProfileIsFollowed()
    {
        Peer peer;
        QVERIFY(peer.start(u"power.py"_s, {profile("power-saver"), profiles}));
        DesktopPowerState power(QDBusConnection::sessionBus());
        listenTo(power);
        QTRY_COMPARE(_seen, QList{true});

        peer.tell(profile("balanced").toLatin1());
        QTRY_COMPARE(_seen, (QList{true, false}));
        peer.tell(profile("power-saver").toLatin1());

        QTRY_COMPARE(_seen, (QList{true, false, true}));
    }

    void theFormerNameOfTheProfilesIsKnownToo()
    {
        Peer peer;
        QVERIFY(peer.start(u"power.py"_s, {formerProfile("power-saver"), formerProfiles}));

        DesktopPowerState power(QDBusConnection::sessionBus());
        listenTo(power);

        QTRY_COMPARE(_seen, QList{true});
    }

    void aLowBatterySavesPowerWhileItIsInUse()
    {
        Peer peer;
        QVERIFY(peer.start(u"power.py"_s, {onBattery(true), warningLevel(1), upower}));
        DesktopPowerState power(QDBusConnection::sessionBus());
        listenTo(power);

        peer.tell(warningLevel(3).toLatin1());
        QTRY_COMPARE(_seen, QList{true});
        peer.tell(onBattery(false).toLatin1());

        QTRY_COMPARE(_seen, (QList{true, false}));
    }

    void aProgramThatComesLaterIsAsked()
    {
        Peer peer;
        QVERIFY(peer.start(u"power.py"_s, {profile("power-saver")}));
        DesktopPowerState power(QDBusConnection::sessionBus());
        listenTo(power);

        peer.tell(profiles.toLatin1());

        QTRY_COMPARE(_seen, QList{true});
    }

    void aProgramThatGoesHasNoSayAnyMore()
    {
        Peer peer;
        QVERIFY(peer.start(u"power.py"_s, {profile("power-saver"), profiles}));
        DesktopPowerState power(QDBusConnection::sessionBus());
        listenTo(power);
        QTRY_COMPARE(_seen, QList{true});

        peer.stop();

        QTRY_COMPARE(_seen, (QList{true, false}));
    }

    void aPropertyOfAnotherKindIsNoYes()
    {
        Peer peer;
        QVERIFY(peer.start(u"power.py"_s,
            {u"set /org/freedesktop/UPower/PowerProfiles org.freedesktop.UPower.PowerProfiles "
             "ActiveProfile u:7"_s,
                profiles, onBattery(true), warningLevel(4), upower}));

        DesktopPowerState power(QDBusConnection::sessionBus());
        listenTo(power);

        // The battery says yes, which shows that the answers have come.
        QTRY_COMPARE(_seen, QList{true});
        peer.tell(onBattery(false).toLatin1());
        QTRY_COMPARE(_seen, (QList{true, false}));
    }

    void withoutABusPowerIsNotSaved()
    {
        DesktopPowerState power(QDBusConnection(u"no such connection"_s));

        QVERIFY(!power.savesPower());
        QVERIFY(!platform::UnknownPowerState().savesPower());
    }

    void theFakeTellsEachChangeOnce()
    {
        fakes::FakePowerState power;
        listenTo(power);

        power.setSavesPower(true);
        power.setSavesPower(true);
        power.setSavesPower(false);

        QCOMPARE(_seen, (QList{true, false}));
    }
};

QTEST_GUILESS_MAIN(tst_DesktopPowerState)
#include "tst_DesktopPowerState.moc"
