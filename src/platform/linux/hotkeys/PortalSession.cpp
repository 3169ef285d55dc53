// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/hotkeys/PortalSession.h"

#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

const auto portalPath = u"/org/freedesktop/portal/desktop"_s;
const auto shortcutsInterface = u"org.freedesktop.portal.GlobalShortcuts"_s;
const auto requestInterface = u"org.freedesktop.portal.Request"_s;
const auto sessionInterface = u"org.freedesktop.portal.Session"_s;
constexpr QLatin1StringView portalErrors("org.freedesktop.portal.Error.");
/// The last part of the session's path, the same at each start: a desktop that cannot tell what
/// program we are may keep the user's keys under it.
const auto sessionToken = u"vellumhound_hot_keys"_s;
constexpr int noTimeout = std::numeric_limits<int>::max();
constexpr qsizetype mostEarlyResponses = 8;
constexpr qsizetype mostShortcuts = 1000;
constexpr qsizetype longestTrigger = 100;

enum ResponseCode : uint { success = 0, cancelled = 1 };

QString newToken()
{
    return u"vellumhound_"_s + QString::number(QRandomGenerator::global()->generate64(), 16);
}

bool isObjectPath(const QString &path)
{
    static const QRegularExpression form(u"\\A(?:/[A-Za-z0-9_]+)+\\z"_s);
    return form.match(path).hasMatch();
}

/// One line of reasonable length without anything that steers how it is drawn.
QString cleaned(const QString &text)
{
    QString result;
    for (const auto character : text.left(longestTrigger)) {
        const auto category = character.category();
        const bool isOdd = category == QChar::Other_Control || category == QChar::Other_Format ||
                           category == QChar::Separator_Line ||
                           category == QChar::Separator_Paragraph;
        result.append(isOdd ? QChar(u' ') : character);
    }
    return result.simplified();
}

QVariantMap mapOf(const QVariant &value)
{
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return {};
    const auto argument = value.value<QDBusArgument>();
    return argument.currentSignature() == "a{sv}"_L1 ? qdbus_cast<QVariantMap>(argument)
                                                     : QVariantMap();
}

/// Absent if `value` is no list of shortcuts.
std::optional<QList<PortalSession::Bound>> listOf(const QVariant &value)
{
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != "a(sa{sv})"_L1)
        return std::nullopt;
    QList<PortalSession::Bound> result;
    argument.beginArray();
    while (!argument.atEnd() && result.size() < mostShortcuts) {
        PortalShortcut shortcut;
        argument >> shortcut;
        const auto trigger = shortcut.properties.value(u"trigger_description"_s);
        result.append({shortcut.id, cleaned(trigger.toString())});
    }
    argument.endArray();
    return result;
}

}  // namespace

QDBusArgument &operator<<(QDBusArgument &argument, const PortalShortcut &shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, PortalShortcut &shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

PortalSession::PortalSession(
    QDBusConnection bus, QString portal, Observer &observer, std::chrono::milliseconds answerLimit)
    : _bus(std::move(bus))
    , _portal(std::move(portal))
    , _observer(&observer)
    , _answerLimit(answerLimit)
{
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    _limit.setSingleShot(true);
    _limit.setInterval(answerLimit);
    connect(&_limit, &QTimer::timeout, this, [this] {
        if (_closed)
            std::exchange(_closed, nullptr)();
        else
            onCallFailed({});
    });
    subscribe();
}

PortalSession::~PortalSession()
{
    _closed = nullptr;
    close(nullptr);
}

/// By the unique name of the sender: a well-known one would make the toolkit wait for the bus. Of
/// any path: where the answers come from is known only later.
void PortalSession::subscribe()
{
    _bus.connect(
        _portal, {}, requestInterface, u"Response"_s, this, SLOT(onResponse(QDBusMessage)));
    _bus.connect(_portal, {}, sessionInterface, u"Closed"_s, this, SLOT(onClosed(QDBusMessage)));
    _bus.connect(_portal, portalPath, shortcutsInterface, u"Activated"_s, this,
        SLOT(onActivated(QDBusMessage)));
    _bus.connect(_portal, portalPath, shortcutsInterface, u"Deactivated"_s, this,
        SLOT(onDeactivated(QDBusMessage)));
    _bus.connect(_portal, portalPath, shortcutsInterface, u"ShortcutsChanged"_s, this,
        SLOT(onShortcutsChanged(QDBusMessage)));
}

void PortalSession::bind(const QList<PortalShortcut> &shortcuts)
{
    _shortcuts = shortcuts;
    ask(Step::creating,
        QDBusMessage::createMethodCall(_portal, portalPath, shortcutsInterface, u"CreateSession"_s),
        {{u"session_handle_token"_s, sessionToken}});
}

void PortalSession::askForBinding()
{
    auto message =
        QDBusMessage::createMethodCall(_portal, portalPath, shortcutsInterface, u"BindShortcuts"_s);
    message << QVariant::fromValue(QDBusObjectPath(_path)) << QVariant::fromValue(_shortcuts)
            << QString();
    ask(Step::binding, message, {});
}

void PortalSession::askForList()
{
    auto message =
        QDBusMessage::createMethodCall(_portal, portalPath, shortcutsInterface, u"ListShortcuts"_s);
    message << QVariant::fromValue(QDBusObjectPath(_path));
    ask(Step::listing, message, {});
}

/// `options` are the last argument of `message`.
void PortalSession::ask(Step step, QDBusMessage message, QVariantMap options)
{
    _step = step;
    const auto token = newToken();
    const auto sender = _bus.baseService().mid(1).replace(u'.', u'_');
    _request = {portalPath + u"/request/"_s + sender + u'/' + token, {}};
    _early.clear();
    options.insert(u"handle_token"_s, token);
    message << options;
    _limit.start();
    auto *watcher = new QDBusPendingCallWatcher(_bus.asyncCall(message, noTimeout), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
        [this, watcher, expectedPath = _request.expectedPath] {
            watcher->deleteLater();
            onCallFinished(expectedPath, watcher->reply());
        });
}

void PortalSession::onCallFinished(const QString &expectedPath, const QDBusMessage &reply)
{
    if (expectedPath != _request.expectedPath || !isPending())
        return;  // answered or given up already
    if (reply.type() == QDBusMessage::ErrorMessage) {
        onCallFailed(reply.errorName());
        return;
    }
    if (_step == Step::binding)
        _limit.stop();  // from here on it is the user who takes their time
    _request.path = reply.arguments().value(0).value<QDBusObjectPath>().path();
    const auto early = std::exchange(_early, {});
    const auto answer = std::find_if(early.begin(), early.end(),
        [&](const QDBusMessage &response) { return response.path() == _request.path; });
    if (answer != early.end())
        take(*answer);
}

/// `error` is empty where there was no answer at all.
void PortalSession::onCallFailed(const QString &error)
{
    const bool isNoList = _step == Step::listing;
    if (isNoList) {
        takeListed(success, {});
        return;
    }
    if (!error.startsWith(portalErrors)) {
        fail(Failure::broken);
        return;
    }
    const auto reason = QStringView(error).mid(portalErrors.size());
    const bool isUnknown =
        reason == "NotAllowed"_L1 || (reason == "InvalidArgument"_L1 && _step == Step::creating);
    fail(isUnknown ? Failure::unknownApplication : Failure::refused);
}

void PortalSession::onResponse(const QDBusMessage &message)
{
    if (!isPending())
        return;
    if (message.path() == _request.expectedPath || message.path() == _request.path)
        take(message);
    else if (_request.path.isEmpty() && _early.size() < mostEarlyResponses)
        _early.append(message);
}

void PortalSession::take(const QDBusMessage &response)
{
    _limit.stop();
    _request = {};
    const bool isResponse = response.signature() == "ua{sv}"_L1;
    const auto code = isResponse ? response.arguments().at(0).toUInt() : uint(cancelled) + 1;
    const auto results = isResponse ? mapOf(response.arguments().at(1)) : QVariantMap();
    if (_step == Step::creating)
        takeSession(code, results);
    else if (_step == Step::binding)
        takeBound(code, results);
    else
        takeListed(code, results);
}

void PortalSession::takeSession(uint code, const QVariantMap &results)
{
    // Nobody has been asked anything yet: whatever went wrong was not the user.
    const auto handle = results.value(u"session_handle"_s);
    const auto path = handle.metaType() == QMetaType::fromType<QDBusObjectPath>()
                          ? handle.value<QDBusObjectPath>().path()
                          : handle.toString();
    if (code != success || !isObjectPath(path)) {
        fail(Failure::broken);
        return;
    }
    _path = path;
    askForBinding();
}

void PortalSession::takeBound(uint code, const QVariantMap &results)
{
    if (code != success) {
        fail(code == cancelled ? Failure::cancelled : Failure::refused);
        return;
    }
    // Some versions of the portal leave the list out of the answer.
    if (const auto list = listOf(results.value(u"shortcuts"_s)))
        tellBound(*list);
    else
        askForList();
}

void PortalSession::takeListed(uint code, const QVariantMap &results)
{
    auto list = code == success ? listOf(results.value(u"shortcuts"_s)) : std::nullopt;
    if (!list) {
        list.emplace();
        for (const auto &shortcut : std::as_const(_shortcuts))
            list->append({shortcut.id, {}});
    }
    tellBound(*list);
}

void PortalSession::tellBound(const QList<Bound> &shortcuts)
{
    _limit.stop();
    _step = Step::bound;
    if (_observer)
        _observer->sessionBound(shortcuts);
}

void PortalSession::fail(Failure failure)
{
    _limit.stop();
    const auto request = std::exchange(_request, {});
    if (_step == Step::binding && !request.expectedPath.isEmpty())
        sendClose(request.path.isEmpty() ? request.expectedPath : request.path, requestInterface);
    _step = Step::over;
    if (auto *observer = std::exchange(_observer, nullptr))
        observer->sessionFailed(failure);
}

void PortalSession::close(std::function<void()> done)
{
    _observer = nullptr;
    _limit.stop();
    if (_step == Step::binding && !_request.expectedPath.isEmpty()) {
        // A question that is still open on the screen.
        sendClose(
            _request.path.isEmpty() ? _request.expectedPath : _request.path, requestInterface);
    }
    _step = Step::over;
    const auto path = std::exchange(_path, {});
    if (path.isEmpty() || !done) {
        if (!path.isEmpty())
            sendClose(path, sessionInterface);
        if (done)
            done();
        return;
    }
    _closed = std::move(done);
    _limit.start();
    const auto message =
        QDBusMessage::createMethodCall(_portal, path, sessionInterface, u"Close"_s);
    auto *watcher = new QDBusPendingCallWatcher(_bus.asyncCall(message, noTimeout), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this] {
        _limit.stop();
        if (_closed)
            std::exchange(_closed, nullptr)();
    });
}

void PortalSession::abandon()
{
    _observer = nullptr;
    _closed = nullptr;
    _limit.stop();
    _step = Step::over;
    _path.clear();
}

void PortalSession::sendClose(const QString &path, const QString &interface)
{
    auto message = QDBusMessage::createMethodCall(_portal, path, interface, u"Close"_s);
    message.setAutoStartService(false);
    _bus.send(message);
}

void PortalSession::onClosed(const QDBusMessage &message)
{
    if (_path.isEmpty() || message.path() != _path)
        return;
    _path.clear();  // there is nothing left to be closed
    if (_observer)
        fail(Failure::broken);
}

/// Whether a signal is about this session, which must have been bound.
bool PortalSession::isOurs(const QDBusMessage &message) const
{
    const auto arguments = message.arguments();
    return _step == Step::bound && _observer && !_path.isEmpty() &&
           message.signature().startsWith(u'o') &&
           arguments.at(0).value<QDBusObjectPath>().path() == _path;
}

void PortalSession::onActivated(const QDBusMessage &message)
{
    if (!isOurs(message) || message.signature() != "osta{sv}"_L1)
        return;
    const auto arguments = message.arguments();
    _observer->shortcutActivated(arguments.at(1).toString(), mapOf(arguments.at(3)));
}

void PortalSession::onDeactivated(const QDBusMessage &message)
{
    if (isOurs(message) && message.signature().startsWith("os"_L1))
        _observer->shortcutDeactivated(message.arguments().at(1).toString());
}

void PortalSession::onShortcutsChanged(const QDBusMessage &message)
{
    if (!isOurs(message))
        return;
    if (const auto list = listOf(message.arguments().value(1)))
        _observer->shortcutsChanged(*list);
}

}  // namespace vellumhound::platform
