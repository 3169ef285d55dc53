// SPDX-License-Identifier: GPL-3.0-or-later
// Hot keys through the real desktop portal, with a scripted desktop behind it.
#include "fakes/FakeKeyCharacters.h"
#include "platform/linux/hotkeys/PortalHotKeys.h"
#include "support/Peer.h"

#include <QDBusConnectionInterface>
#include <QGuiApplication>
#include <QJsonArray>
#include <QTest>

#include <array>
#include <memory>

using namespace vellumhound;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using platform::HotKeyEvent;
using platform::HotKeyReport;
using platform::PortalHotKeys;
using platform::PortalTiming;
using support::Peer;
namespace Answer = platform::HotKeyAnswer;
using State = HotKeyReport::State;
using Presence = platform::HotKeyBackend::Presence;

namespace {

constexpr int slow = 30'000;  // ms, for what comes from another process
const auto portalName = u"org.freedesktop.portal.Desktop"_s;
const platform::HotKeyRequest show{49, 0x1000, {7, 1}, u"show"_s};
const platform::HotKeyRequest load{1, 0x800, {7, 2}, u"load"_s};

/// Keeps what it is told, as "pressed #1".
class Handler final : public platform::HotKeyCenter::EventHandler {
public:
    int handleEvent(const HotKeyEvent *event) override
    {
        const auto word =
            event->kind == HotKeyEvent::pressed ? u"pressed #%1"_s : u"released #%1"_s;
        told.append(word.arg(event->directObject->number));
        return Answer::noError;
    }
    void registrationRefused(platform::HotKeyId id, int status) override
    {
        told.append(u"refused #%1 %2"_s.arg(id.number).arg(status));
    }
    void keyboardChanged() override {}

    QStringList told;
};

}  // namespace

class tst_PortalHotKeysReal : public QObject {
    Q_OBJECT

private:
    Peer _desktop;
    int _count = 0;
    QString _busName;
    fakes::FakeKeyCharacters _layout;
    Handler _handler;
    platform::RawKeyFeed _rawKeys;
    std::unique_ptr<PortalHotKeys> _keys;

    bool startDesktop() { return _desktop.start(u"shortcuts_backend.py"_s, {_desktop.logPath()}); }
    void stopDesktop()
    {
        _desktop.stop();
        auto bus = QDBusConnection::sessionBus();
        QTRY_VERIFY_WITH_TIMEOUT(!bus.interface()->isServiceRegistered(portalName), slow);
    }
    qsizetype count(const QString &method) const
    {
        const auto calls = _desktop.calls();
        return std::count_if(calls.begin(), calls.end(),
            [&](const QJsonObject &call) { return call[u"method"] == method; });
    }
    State stateOf(const platform::HotKeyRequest &request) const
    {
        return _keys->report(request.name).state;
    }

private Q_SLOTS:
    void init()
    {
        QVERIFY(startDesktop());
        _busName = u"test %1"_s.arg(++_count);
        _layout.printed = {{1, u"s"_s}};
        _handler.told.clear();
        PortalTiming timing;
        timing.answerLimit = 30s;
        timing.firstBackOff = 1ms;
        _keys = std::make_unique<PortalHotKeys>(
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, _busName),
            u"org.vellumhound.Vellumhound"_s, [](const QString &name) { return name; }, _layout,
            _rawKeys, timing);
        QVERIFY(_keys->installEventHandler(_handler));
        _keys->addEventTypes(std::array{int(HotKeyEvent::pressed), int(HotKeyEvent::released)});
        QTRY_COMPARE_WITH_TIMEOUT(_keys->presence(), Presence::present, slow);
    }
    void cleanup()
    {
        _keys.reset();
        QDBusConnection::disconnectFromBus(_busName);
        stopDesktop();
        QFile::remove(_desktop.logPath());
    }

    void aHotKeyGoesFromTheRequestToThePress()
    {
        qunsetenv("XDG_ACTIVATION_TOKEN");
        QCOMPARE(_keys->registerHotKey(show).status, Answer::noError);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(_keys->report(u"show"_s).trigger, u"CTRL+space"_s);

        _desktop.tell("activated show token");
        _desktop.tell("deactivated show");

        QTRY_COMPARE_WITH_TIMEOUT(
            _handler.told, (QStringList{u"pressed #1"_s, u"released #1"_s}), slow);
        QCOMPARE(qgetenv("XDG_ACTIVATION_TOKEN"), QByteArray("token"));
        qunsetenv("XDG_ACTIVATION_TOKEN");
    }

    void otherKeysAreTold()
    {
        _keys->registerHotKey(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _desktop.tell("trigger show Meta+V");

        QTRY_COMPARE_WITH_TIMEOUT(_keys->report(u"show"_s).trigger, u"Meta+V"_s, slow);
    }

    void oneMoreNameIsBoundBesideTheFirst()
    {
        _keys->registerHotKey(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _keys->registerHotKey(load);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(load), State::active, slow);
        QCOMPARE(stateOf(show), State::active);
        _desktop.tell("activated show");
        _desktop.tell("activated load");
        QTRY_COMPARE_WITH_TIMEOUT(
            _handler.told, (QStringList{u"pressed #1"_s, u"pressed #2"_s}), slow);
    }

    void aNoOfTheUserIsARefusal()
    {
        _desktop.tell("answer 1");
        QTRY_COMPARE_WITH_TIMEOUT(count(u"answer"_s), 1, slow);
        _keys->registerHotKey(show);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::refused, slow);

        QCOMPARE(_handler.told, QStringList{u"refused #1 -128"_s});
    }

    void aSessionThatTheDesktopEndsIsMadeAnew()
    {
        _keys->registerHotKey(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _desktop.tell("closed");

        QTRY_COMPARE_WITH_TIMEOUT(count(u"BindShortcuts"_s), 2, slow);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        _desktop.tell("activated show");
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"pressed #1"_s}, slow);
    }

    void aPortalThatIsStartedAgainIsAskedAnew()
    {
        _keys->registerHotKey(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        stopDesktop();
        QTRY_COMPARE_WITH_TIMEOUT(_keys->presence(), Presence::absent, slow);
        QVERIFY(startDesktop());

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        _desktop.tell("activated show");
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"pressed #1"_s}, slow);
    }
};

int main(int argc, char *argv[])
{
    if (!QFile::exists(u"/usr/libexec/xdg-desktop-portal"_s)) {
        qWarning("skipped: the package xdg-desktop-portal is not installed");
        return 77;
    }
    const QGuiApplication application(argc, argv);
    tst_PortalHotKeysReal tests;
    return QTest::qExec(&tests, argc, argv);
}

#include "tst_PortalHotKeysReal.moc"
