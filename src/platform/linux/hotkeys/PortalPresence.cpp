// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/hotkeys/PortalPresence.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <limits>
#include <utility>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;
using Presence = HotKeyBackend::Presence;

namespace {

const auto portalName = u"org.freedesktop.portal.Desktop"_s;
const auto portalPath = u"/org/freedesktop/portal/desktop"_s;
const auto busName = u"org.freedesktop.DBus"_s;
const auto busPath = u"/org/freedesktop/DBus"_s;
constexpr int noTimeout = std::numeric_limits<int>::max();
/// A portal that falls over again and again is left to others.
constexpr int mostStarts = 3;

QDBusMessage busCall(const QString &method)
{
    return QDBusMessage::createMethodCall(busName, busPath, busName, method);
}

}  // namespace

PortalPresence::PortalPresence(QDBusConnection bus, QString applicationId,
    std::chrono::milliseconds answerLimit, std::function<void()> changed)
    : _bus(std::move(bus))
    , _applicationId(std::move(applicationId))
    , _changed(std::move(changed))
{
    if (!_bus.isConnected()) {
        _presence = Presence::absent;
        return;
    }
    _limit.setSingleShot(true);
    _limit.setInterval(answerLimit);
    connect(&_limit, &QTimer::timeout, this, [this] { note(Presence::absent); });
    _restart.setSingleShot(true);
    _restart.setInterval(answerLimit);
    connect(&_restart, &QTimer::timeout, this, &PortalPresence::startIfPossible);
    auto *watcher =
        new QDBusServiceWatcher(portalName, _bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
        [this](const QString &, const QString &, const QString &owner) { setOwner(owner); });
    _limit.start();
    askForOwner();
}

PortalPresence::~PortalPresence() = default;

QString PortalPresence::owner() const
{
    return _presence == Presence::present ? _owner : QString();
}

/// Drops the answer if the portal's owner has changed meanwhile.
void PortalPresence::call(
    const QDBusMessage &message, std::function<void(const QDBusMessage &)> answered)
{
    auto *watcher = new QDBusPendingCallWatcher(_bus.asyncCall(message, noTimeout), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
        [this, watcher, run = _run, answered = std::move(answered)] {
            watcher->deleteLater();
            if (run == _run)
                answered(watcher->reply());
        });
}

void PortalPresence::askForOwner()
{
    auto message = busCall(u"GetNameOwner"_s);
    message << portalName;
    call(message, [this](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ReplyMessage)
            setOwner(reply.arguments().value(0).toString());
        else
            startIfPossible();
    });
}

void PortalPresence::startIfPossible()
{
    if (!_owner.isEmpty())
        return;
    call(busCall(u"ListActivatableNames"_s), [this](const QDBusMessage &reply) {
        if (reply.arguments().value(0).toStringList().contains(portalName) && _starts < mostStarts)
            start();
        else
            note(Presence::absent);
    });
}

void PortalPresence::start()
{
    ++_starts;
    auto message = busCall(u"StartServiceByName"_s);
    message << portalName << 0U;
    call(message, [this](const QDBusMessage &reply) {
        if (reply.type() != QDBusMessage::ReplyMessage)
            note(Presence::absent);
    });
}

void PortalPresence::setOwner(const QString &owner)
{
    ++_run;
    _owner = owner;
    if (owner.isEmpty()) {
        note(Presence::absent);
        _restart.start();
        return;
    }
    _restart.stop();
    // Of a new owner nothing is known yet.
    _presence = Presence::unknown;
    _limit.start();
    _changed();
    introduceUs();
}

/// A portal takes this only before any other call of the same connection. One that does not know
/// it says so at once, and that is all right.
void PortalPresence::introduceUs()
{
    auto message = QDBusMessage::createMethodCall(
        _owner, portalPath, u"org.freedesktop.host.portal.Registry"_s, u"Register"_s);
    message << _applicationId << QVariantMap();
    call(message, [this](const QDBusMessage &) { askForVersion(); });
}

void PortalPresence::askForVersion()
{
    auto message = QDBusMessage::createMethodCall(
        _owner, portalPath, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    message << u"org.freedesktop.portal.GlobalShortcuts"_s << u"version"_s;
    call(message, [this](const QDBusMessage &reply) {
        const auto value = reply.arguments().value(0).value<QDBusVariant>().variant();
        const bool isThere = reply.type() == QDBusMessage::ReplyMessage &&
                             value.metaType() == QMetaType::fromType<uint>() && value.toUInt() > 0;
        note(isThere ? Presence::present : Presence::absent);
    });
}

void PortalPresence::note(Presence presence)
{
    _limit.stop();
    if (std::exchange(_presence, presence) != presence)
        _changed();
}

}  // namespace vellumhound::platform
