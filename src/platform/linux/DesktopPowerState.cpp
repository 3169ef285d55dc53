// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/DesktopPowerState.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <utility>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

const auto propertiesInterface = u"org.freedesktop.DBus.Properties"_s;
enum Place { profile, formerProfile, battery, warning };

bool isPowerSaver(const QVariant &value)
{
    return value.toString() == u"power-saver";
}

bool isTrue(const QVariant &value)
{
    return value.toBool();
}

bool isLowOrWorse(const QVariant &value)
{
    constexpr unsigned low = 3;
    return value.toUInt() >= low;
}

}  // namespace

DesktopPowerState::DesktopPowerState(QDBusConnection bus)
    : _bus(std::move(bus))
{
    const auto upower = u"org.freedesktop.UPower"_s;
    _witnesses[profile] = {u"org.freedesktop.UPower.PowerProfiles"_s,
        u"/org/freedesktop/UPower/PowerProfiles"_s, u"org.freedesktop.UPower.PowerProfiles"_s,
        u"ActiveProfile"_s, isPowerSaver};
    _witnesses[formerProfile] = {u"net.hadess.PowerProfiles"_s, u"/net/hadess/PowerProfiles"_s,
        u"net.hadess.PowerProfiles"_s, u"ActiveProfile"_s, isPowerSaver};
    _witnesses[battery] = {upower, u"/org/freedesktop/UPower"_s, upower, u"OnBattery"_s, isTrue};
    _witnesses[warning] = {upower, u"/org/freedesktop/UPower/devices/DisplayDevice"_s,
        u"org.freedesktop.UPower.Device"_s, u"WarningLevel"_s, isLowOrWorse};
    if (!_bus.isConnected())
        return;
    for (auto &witness : _witnesses)
        follow(witness);
}

DesktopPowerState::~DesktopPowerState() = default;

void DesktopPowerState::onChanged(std::function<void(bool)> changed)
{
    _changed = std::move(changed);
}

void DesktopPowerState::follow(Witness &witness)
{
    // From any sender: naming one would wait for the bus. It is only taken as a hint to ask.
    _bus.connect({}, witness.path, propertiesInterface, u"PropertiesChanged"_s, this,
        SLOT(onPropertiesChanged(QString)));
    auto *watcher = new QDBusServiceWatcher(
        witness.service, _bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
        [this, &witness](const QString &, const QString &, const QString &owner) {
            if (!owner.isEmpty()) {
                ask(witness);
                return;
            }
            ++witness.question;
            note(witness, false);
        });
    ask(witness);
}

void DesktopPowerState::ask(Witness &witness)
{
    auto message = QDBusMessage::createMethodCall(
        witness.service, witness.path, propertiesInterface, u"Get"_s);
    message << witness.interface << witness.property;
    message.setAutoStartService(false);
    auto *watcher = new QDBusPendingCallWatcher(_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
        [this, watcher, &witness, question = ++witness.question] {
            watcher->deleteLater();
            const QDBusPendingReply<QDBusVariant> reply(*watcher);
            if (question == witness.question)
                note(witness, !reply.isError() && witness.isYesFor(reply.value().variant()));
        });
}

void DesktopPowerState::onPropertiesChanged(const QString &interface)
{
    for (auto &witness : _witnesses) {
        if (witness.interface == interface)
            ask(witness);
    }
}

void DesktopPowerState::note(Witness &witness, bool saysYes)
{
    witness.saysYes = saysYes;
    const auto &all = _witnesses;
    const bool isLow = all[battery].saysYes && all[warning].saysYes;
    const bool now = all[profile].saysYes || all[formerProfile].saysYes || isLow;
    if (std::exchange(_savesPower, now) != now && _changed)
        _changed(now);
}

}  // namespace vellumhound::platform
