// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/FileManagerReveal.h"

#include "platform/Logging.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <algorithm>
#include <utility>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto limit = 5000ms;
constexpr auto retryPause = 100ms;  // a file manager owns its name before its objects are there

const auto busService = u"org.freedesktop.DBus"_s;
const auto busPath = u"/org/freedesktop/DBus"_s;
const auto commonName = u"org.freedesktop.FileManager1"_s;

/// The bus name under which a file manager answers for itself. One that ends with a dash is
/// followed by the number of its process.
QString busNameOf(const QString &desktopId)
{
    static constexpr std::pair<const char16_t *, const char16_t *> names[] = {
        {u"org.gnome.nautilus", u"org.gnome.Nautilus"}, {u"nautilus", u"org.gnome.Nautilus"},
        {u"nemo", u"org.Nemo"}, {u"caja", u"org.mate.Caja"}, {u"thunar", u"org.xfce.Thunar"},
        {u"org.xfce.thunar", u"org.xfce.Thunar"}, {u"org.kde.dolphin", u"org.kde.dolphin-"},
        {u"pcmanfm-qt", u"org.pcmanfm.PCManFM"}};
    const auto id = desktopId.toLower();
    for (const auto &[beginning, name] : names) {
        const QStringView begins(beginning);
        const auto next = id.size() > begins.size() ? id[begins.size()] : QChar();
        if (id.startsWith(begins) && (next == u'.' || next == u'-'))
            return QStringView(name).toString();
    }
    return {};
}

bool isNameOf(const QString &busName, const QString &ownName)
{
    return ownName.endsWith(u'-') ? busName.startsWith(ownName) : busName == ownName;
}

}  // namespace

FileManagerReveal::FileManagerReveal(QDBusConnection bus, base::Timer &timer, Request request,
    OpenFolder openFolder, QObject *parent)
    : QObject(parent)
    , _bus(std::move(bus))
    , _timer(timer)
    , _request(std::move(request))
    , _openFolder(std::move(openFolder))
    , _ownName(busNameOf(_request.fileManagerId))
{
}

FileManagerReveal::~FileManagerReveal() = default;

void FileManagerReveal::start(std::function<void(bool)> finished)
{
    _finished = std::move(finished);
    if (!_bus.isConnected()) {
        giveUp();
        return;
    }
    _limit = _timer.after(limit, [this] { onTimeUp(); });
    askBus(u"ListNames"_s, &FileManagerReveal::onRunning);
}

void FileManagerReveal::askBus(const QString &method, NamesHandler handler)
{
    const auto message = QDBusMessage::createMethodCall(busService, busPath, busService, method);
    auto *watcher = new QDBusPendingCallWatcher(_bus.asyncCall(message, int(limit.count())), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, handler, watcher] {
        watcher->deleteLater();
        if (_finished)
            (this->*handler)(QDBusPendingReply<QStringList>(*watcher).value());
    });
}

void FileManagerReveal::onRunning(const QStringList &names)
{
    _running = names;
    askBus(u"ListActivatableNames"_s, &FileManagerReveal::onActivatable);
}

void FileManagerReveal::onActivatable(const QStringList &names)
{
    if (_running.contains(commonName) || names.contains(commonName))
        _candidates.append(commonName);
    if (_ownName.isEmpty()) {
        askNext();
        return;
    }
    for (const auto &list : {_running, names}) {
        const auto own = std::find_if(list.begin(), list.end(),
            [this](const QString &name) { return isNameOf(name, _ownName); });
        if (own != list.end()) {
            _candidates.prepend(*own);
            askNext();
            return;
        }
    }
    startDefault();
}

void FileManagerReveal::startDefault()
{
    _isStartingDefault = true;
    _bus.connect(busService, busPath, busService, u"NameOwnerChanged"_s, this,
        SLOT(onNameOwnerChanged(QString, QString, QString)));
    _openFolder([this](bool isAccepted) {
        if (!_finished)
            return;
        _hasOpenedFolder = isAccepted;
        if (!isAccepted && std::exchange(_isStartingDefault, false))
            askNext();
    });
}

void FileManagerReveal::onNameOwnerChanged(const QString &name, const QString &, const QString &now)
{
    if (now.isEmpty() || !isNameOf(name, _ownName) || !std::exchange(_isStartingDefault, false))
        return;
    ask(name);
}

void FileManagerReveal::askNext()
{
    if (_candidates.isEmpty())
        giveUp();
    else
        ask(_candidates.takeFirst());
}

void FileManagerReveal::ask(const QString &busName)
{
    auto message = QDBusMessage::createMethodCall(busName, u"/org/freedesktop/FileManager1"_s,
        u"org.freedesktop.FileManager1"_s, u"ShowItems"_s);
    message << QStringList{_request.uri} << _request.startupId;
    auto *watcher = new QDBusPendingCallWatcher(_bus.asyncCall(message, int(limit.count())), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, busName] {
        watcher->deleteLater();
        if (_finished)
            onAnswer(busName, watcher->reply());
    });
}

void FileManagerReveal::onAnswer(const QString &busName, const QDBusMessage &answer)
{
    if (answer.type() != QDBusMessage::ErrorMessage) {
        finish(true);
        return;
    }
    const auto error = answer.errorName();
    const bool isStillStarting = isNameOf(busName, _ownName) &&
                                 (error == "org.freedesktop.DBus.Error.UnknownObject"_L1 ||
                                     error == "org.freedesktop.DBus.Error.UnknownMethod"_L1 ||
                                     error == "org.freedesktop.DBus.Error.UnknownInterface"_L1);
    if (isStillStarting && !_running.contains(busName)) {
        _retry = _timer.after(retryPause, [this, busName] { ask(busName); });
        return;
    }
    qCInfo(logPlatform).noquote() << busName << "did not show the file:" << error;
    askNext();
}

void FileManagerReveal::onTimeUp()
{
    qCInfo(logPlatform) << "no file manager showed the file in time";
    _retry.reset();
    giveUp();
}

/// The folder, unless it is open already.
void FileManagerReveal::giveUp()
{
    if (_hasOpenedFolder) {
        finish(true);
        return;
    }
    const auto finished = std::exchange(_finished, {});
    _limit.reset();
    if (finished)
        _openFolder(finished);
}

void FileManagerReveal::finish(bool isAccepted)
{
    _limit.reset();
    if (const auto finished = std::exchange(_finished, {}))
        finished(isAccepted);
}

}  // namespace vellumhound::platform
