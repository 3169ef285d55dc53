// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/hotkeys/KGlobalAccelService.h"

#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

#include <memory>
#include <utility>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;
using Presence = HotKeyBackend::Presence;

namespace {

const auto serviceName = u"org.kde.kglobalaccel"_s;
const auto servicePath = u"/kglobalaccel"_s;
const auto serviceInterface = u"org.kde.KGlobalAccel"_s;
const auto componentInterface = u"org.kde.kglobalaccel.Component"_s;
const auto compositorName = u"org.kde.KWin"_s;

QDBusMessage busCall(const QString &method)
{
    return QDBusMessage::createMethodCall(
        u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, method);
}

/// The first argument of an answer; not valid for an error.
QVariant firstOf(const QDBusMessage &answer)
{
    return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0) : QVariant();
}

}  // namespace

KGlobalAccelService::KGlobalAccelService(
    QDBusConnection bus, QString component, std::chrono::milliseconds answerLimit)
    : _bus(std::move(bus))
    , _component(std::move(component))
    , _answerLimit(answerLimit)
{
    if (!_bus.isConnected()) {
        _presence = Presence::absent;
        return;
    }
    listen();
    follow();
    findOwner();
}

KGlobalAccelService::~KGlobalAccelService() = default;

/// From any sender: naming one would wait for the bus. Who it was is looked at with each signal.
void KGlobalAccelService::listen()
{
    const QStringList ours{_component};
    _bus.connect({}, {}, componentInterface, u"globalShortcutPressed"_s, ours, {}, this,
        SLOT(onPressed(QString, QString, qlonglong, QDBusMessage)));
    _bus.connect({}, {}, componentInterface, u"globalShortcutRepeated"_s, ours, {}, this,
        SLOT(onRepeated(QString, QString, qlonglong, QDBusMessage)));
    _bus.connect({}, {}, componentInterface, u"globalShortcutReleased"_s, ours, {}, this,
        SLOT(onReleased(QString, QString, qlonglong, QDBusMessage)));
    // The second is the name of older services.
    for (const auto &signal : {u"yourShortcutsChanged"_s, u"yourShortcutGotChanged"_s}) {
        _bus.connect({}, servicePath, serviceInterface, signal, this,
            SLOT(onKeysChanged(QStringList, QDBusMessage)));
    }
}

void KGlobalAccelService::follow()
{
    auto *watcher =
        new QDBusServiceWatcher(serviceName, _bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    watcher->addWatchedService(compositorName);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
        [this](const QString &name, const QString &, const QString &owner) {
            if (name == serviceName) {
                ++_ownerQuestion;
                takeOwner(owner);
            } else if (_owner && !_owner->isEmpty()) {
                findCompositor();
            }
        });
}

void KGlobalAccelService::findOwner()
{
    auto message = busCall(u"GetNameOwner"_s);
    message << serviceName;
    send(message, [this, question = ++_ownerQuestion](const QDBusMessage &answer) {
        if (question == _ownerQuestion)
            takeOwner(firstOf(answer).toString());
    });
}

/// The owner is the compositor if both names belong to one process.
void KGlobalAccelService::findCompositor()
{
    struct Processes {
        uint service = 0;
        uint compositor = 0;
        int answers = 0;
    };
    const auto processes = std::make_shared<Processes>();
    const auto question = ++_compositorQuestion;
    const auto askFor = [&](const QString &name, uint Processes::*process) {
        auto message = busCall(u"GetConnectionUnixProcessID"_s);
        message << name;
        send(message, [=, this](const QDBusMessage &answer) {
            (*processes).*process = firstOf(answer).toUInt();
            if (++processes->answers < 2 || question != _compositorQuestion)
                return;
            _isCompositor = processes->service != 0 && processes->service == processes->compositor;
            updatePresence();
        });
    };
    askFor(serviceName, &Processes::service);
    askFor(compositorName, &Processes::compositor);
}

void KGlobalAccelService::takeOwner(const QString &owner)
{
    const auto former = std::exchange(_owner, owner);
    if (former == _owner)
        return;
    _isCompositor.reset();
    ++_compositorQuestion;
    if (!owner.isEmpty())
        findCompositor();
    if (former && !former->isEmpty())
        Q_EMIT stopped();
    updatePresence();
    if (!owner.isEmpty())
        Q_EMIT started();
}

void KGlobalAccelService::updatePresence()
{
    const auto byAnswer = [](const std::optional<bool> &answer) {
        return !answer ? Presence::unknown : *answer ? Presence::present : Presence::absent;
    };
    auto presence = Presence::unknown;
    if (_owner && !_owner->isEmpty())
        presence = byAnswer(_isCompositor);
    else if (_owner)
        presence = Presence::absent;
    if (presence != std::exchange(_presence, presence))
        Q_EMIT presenceChanged();
}

void KGlobalAccelService::ask(const QString &method, const QVariantList &arguments, Answer answer)
{
    auto message =
        QDBusMessage::createMethodCall(serviceName, servicePath, serviceInterface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    send(message, [this, answer = std::move(answer)](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ReplyMessage)
            answer(reply);
        else
            tellAfterOwner(reply, answer);
    });
}

/// A service that ends leaves errors behind, and the bus tells of its end at the same time. What
/// the bus knows is known here when it has answered once more.
void KGlobalAccelService::tellAfterOwner(const QDBusMessage &error, const Answer &answer)
{
    auto message = busCall(u"NameHasOwner"_s);
    message << serviceName;
    send(message, [error, answer](const QDBusMessage &) { answer(error); });
}

void KGlobalAccelService::tell(const QString &method, const QVariantList &arguments)
{
    auto message =
        QDBusMessage::createMethodCall(serviceName, servicePath, serviceInterface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    _bus.send(message);
}

void KGlobalAccelService::send(const QDBusMessage &message, Answer answer)
{
    const auto call = _bus.asyncCall(message, int(_answerLimit.count()));
    auto *watcher = new QDBusPendingCallWatcher(call, this);
    connect(
        watcher, &QDBusPendingCallWatcher::finished, this, [watcher, answer = std::move(answer)] {
            watcher->deleteLater();
            answer(watcher->reply());
        });
}

bool KGlobalAccelService::isFromOwner(const QDBusMessage &message) const
{
    return _owner && !_owner->isEmpty() && message.service() == *_owner;
}

void KGlobalAccelService::onPressed(
    const QString &component, const QString &action, qlonglong time, const QDBusMessage &message)
{
    if (component == _component && isFromOwner(message))
        Q_EMIT pressed(action, time);
}

void KGlobalAccelService::onRepeated(
    const QString &component, const QString &action, qlonglong time, const QDBusMessage &message)
{
    if (component == _component && isFromOwner(message))
        Q_EMIT repeated(action, time);
}

void KGlobalAccelService::onReleased(
    const QString &component, const QString &action, qlonglong, const QDBusMessage &message)
{
    if (component == _component && isFromOwner(message))
        Q_EMIT released(action);
}

void KGlobalAccelService::onKeysChanged(const QStringList &action, const QDBusMessage &message)
{
    if (action.value(0) == _component && isFromOwner(message))
        Q_EMIT keysChanged(action.value(1));
}

}  // namespace vellumhound::platform
