// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakeKeyCharacters.h"
#include "platform/linux/hotkeys/PortalHotKeys.h"
#include "support/Peer.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QTest>

#include <array>
#include <csignal>
#include <memory>

using namespace vellumhound;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using platform::HotKeyBackend;
using platform::HotKeyEvent;
using platform::HotKeyFacility;
using platform::HotKeyReport;
using platform::PortalHotKeys;
using platform::PortalTiming;
using support::Peer;
namespace Answer = platform::HotKeyAnswer;
using State = HotKeyReport::State;
using Presence = HotKeyBackend::Presence;

namespace {

constexpr int slow = 30'000;  // ms, for what comes from another process
const auto script = u"shortcuts_portal.py"_s;
const auto applicationId = u"org.vellumhound.Vellumhound"_s;
const platform::HotKeyRequest show{49, 0x1000, {7, 1}, u"show"_s};
const platform::HotKeyRequest load{1, 0x800, {7, 2}, u"load"_s};

/// Keeps what it is told, as "pressed #1".
class Handler final : public platform::HotKeyCenter::EventHandler {
public:
    int handleEvent(const HotKeyEvent *event) override
    {
        const int number = event->directObject ? event->directObject->number : -1;
        const auto word = event->isRepeat                        ? u"repeat"_s
                          : event->kind == HotKeyEvent::pressed  ? u"pressed"_s
                          : event->kind == HotKeyEvent::released ? u"released"_s
                                                                 : u"other"_s;
        told.append(u"%1 #%2"_s.arg(word).arg(number));
        return Answer::noError;
    }
    void registrationRefused(platform::HotKeyId id, int status) override
    {
        told.append(u"refused #%1 %2"_s.arg(id.number).arg(status));
    }
    void keyboardChanged() override { told.append(u"keyboard"_s); }

    QStringList told;
};

}  // namespace

class tst_PortalHotKeys : public QObject {
    Q_OBJECT

private:
    Peer _portal;
    int _count = 0;
    QString _busName;
    fakes::FakeKeyCharacters _layout;
    Handler _handler;
    platform::RawKeyFeed _rawKeys;
    PortalTiming _timing;
    std::unique_ptr<PortalHotKeys> _keys;

    bool startPortal(QStringList lines = {})
    {
        lines.prepend(_portal.logPath());
        return _portal.start(script, lines + QStringList{u"own"_s});
    }
    void makeKeys()
    {
        const auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, _busName);
        const auto label = [](const QString &name) { return u"Does "_s + name; };
        _keys =
            std::make_unique<PortalHotKeys>(bus, applicationId, label, _layout, _rawKeys, _timing);
        QVERIFY(_keys->installEventHandler(_handler));
        _keys->addEventTypes(std::array{int(HotKeyEvent::pressed), int(HotKeyEvent::released)});
    }
    /// The portal, and the keys once they know of it.
    void start(const QStringList &lines = {})
    {
        QVERIFY(startPortal(lines));
        makeKeys();
        QTRY_COMPARE_WITH_TIMEOUT(_keys->presence(), Presence::present, slow);
    }
    QStringList methods() const
    {
        QStringList result;
        for (const auto &call : _portal.calls())
            result.append(call[u"method"].toString());
        return result;
    }
    qsizetype count(const QString &method) const { return methods().count(method); }
    QJsonArray lastArguments(const QString &method) const
    {
        QJsonArray result;
        for (const auto &call : _portal.calls()) {
            if (call[u"method"] == method)
                result = call[u"arguments"].toArray();
        }
        return result;
    }
    /// The ids of the last request to the portal.
    QStringList lastIds() const
    {
        QStringList result;
        for (const auto &shortcut : lastArguments(u"BindShortcuts"_s).at(1).toArray())
            result.append(shortcut.toArray().at(0).toString());
        return result;
    }
    State stateOf(const platform::HotKeyRequest &request) const
    {
        return _keys->report(request.name).state;
    }
    platform::HotKeyCenter::Handle take(const platform::HotKeyRequest &request)
    {
        const auto registration = _keys->registerHotKey(request);
        return registration.handle.value_or(0);
    }
    /// What the portal was told is done, and whatever was under way has arrived.
    void settle()
    {
        const auto marks = count(u"mark"_s);
        _portal.tell("mark");
        QTRY_COMPARE_WITH_TIMEOUT(count(u"mark"_s), marks + 1, slow);
        for (int i = 0; i < 2; ++i) {
            auto message = QDBusMessage::createMethodCall(u"org.freedesktop.portal.Desktop"_s,
                u"/org/freedesktop/portal/desktop"_s, u"org.freedesktop.host.portal.Registry"_s,
                u"Register"_s);
            message << u"settle"_s << QVariantMap();
            const QDBusPendingCallWatcher watcher(QDBusConnection(_busName).asyncCall(message));
            QTRY_VERIFY_WITH_TIMEOUT(watcher.isFinished(), slow);
            QCoreApplication::processEvents();
        }
    }

private Q_SLOTS:
    void init()
    {
        _busName = u"test %1"_s.arg(++_count);
        _layout.printed = {{1, u"s"_s}, {3, u"f"_s}};
        _handler.told.clear();
        _timing = {};
        QFile::remove(_portal.logPath());
    }
    void cleanup()
    {
        _keys.reset();
        QDBusConnection::disconnectFromBus(_busName);
        _portal.stop();
        // The bus may need a moment to see that the portal is gone.
        auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"cleanup"_s);
        QTRY_VERIFY_WITH_TIMEOUT(
            !bus.interface()->isServiceRegistered(u"org.freedesktop.portal.Desktop"_s), slow);
    }

    void aHotKeyIsAskedForByNameTextAndKey()
    {
        start({u"trigger show 'Press Ctrl+Space'"_s});

        QCOMPARE(_keys->registerHotKey(show).status, Answer::noError);
        QCOMPARE(stateOf(show), State::waiting);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(_keys->report(u"show"_s),
            (HotKeyReport{State::active, HotKeyFacility::portal, u"Press Ctrl+Space"_s, {}, 0}));
        QCOMPARE(methods(),
            (QStringList{u"Register"_s, u"Get"_s, u"CreateSession"_s, u"BindShortcuts"_s}));
        QCOMPARE(lastArguments(u"Register"_s).at(0).toString(), applicationId);
        const auto asked = lastArguments(u"BindShortcuts"_s);
        const auto shortcut = asked.at(1).toArray().at(0).toArray();
        QCOMPARE(shortcut.at(0).toString(), u"show"_s);
        QCOMPARE(shortcut.at(1).toObject(), (QJsonObject{{u"description"_s, u"Does show"_s},
                                                {u"preferred_trigger"_s, u"CTRL+space"_s}}));
        QCOMPARE(asked.at(2).toString(), QString());
        QVERIFY(_handler.told.isEmpty());
    }

    void aPressComesWithTheLeaveToTakeTheFocus()
    {
        qunsetenv("XDG_ACTIVATION_TOKEN");
        start({u"trigger show Ctrl+Space"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _portal.tell("activated show token-1");
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"pressed #1"_s}, slow);
        QCOMPARE(qgetenv("XDG_ACTIVATION_TOKEN"), QByteArray("token-1"));
        _portal.tell("deactivated show");
        QTRY_COMPARE_WITH_TIMEOUT(
            _handler.told, (QStringList{u"pressed #1"_s, u"released #1"_s}), slow);
        qunsetenv("XDG_ACTIVATION_TOKEN");
    }

    void aKeyThatIsHeldIsPressedOnce()
    {
        _timing.shortHold = _timing.longHold = 1h;
        start({u"trigger show Ctrl+Space"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _portal.tell("activated show");
        _portal.tell("activated show");
        _portal.tell("deactivated show");
        _portal.tell("activated show");

        const QStringList expected{
            u"pressed #1"_s, u"repeat #1"_s, u"released #1"_s, u"pressed #1"_s};
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, expected, slow);
    }

    void aPortalThatTellsNoReleaseIsPressedAgainAfterAPause()
    {
        _timing.shortHold = 0ms;
        _timing.longHold = 1h;
        start({u"trigger show Ctrl+Space"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _portal.tell("activated show");
        _portal.tell("activated show");

        QTRY_COMPARE_WITH_TIMEOUT(
            _handler.told, (QStringList{u"pressed #1"_s, u"pressed #1"_s}), slow);
    }

    void whatIsAskedForInOneTurnGoesIntoOneSession()
    {
        start();

        take(show);
        take(load);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(load), State::unassigned, slow);
        QCOMPARE(count(u"CreateSession"_s), 1);
        QCOMPARE(lastIds(), (QStringList{u"load"_s, u"show"_s}));
    }

    void oneMoreNameTakesANewSessionWithAllOfThem()
    {
        start({u"trigger show Ctrl+Space"_s, u"trigger load Alt+S"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        take(load);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(load), State::active, slow);
        QCOMPARE(stateOf(show), State::active);
        QCOMPARE(lastIds(), (QStringList{u"load"_s, u"show"_s}));
        QCOMPARE(
            methods().mid(2), (QStringList{u"CreateSession"_s, u"BindShortcuts"_s,
                                  u"Session.Close"_s, u"CreateSession"_s, u"BindShortcuts"_s}));
        _portal.tell("activated show");
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"pressed #1"_s}, slow);
    }

    void anotherKeyIsProposedAnew()
    {
        start({u"trigger show Ctrl+Space"_s});
        const auto old = take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _keys->unregisterHotKey(old);
        auto changed = show;
        changed.keyCode = 3;
        take(changed);

        QCOMPARE(stateOf(show), State::waiting);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(count(u"BindShortcuts"_s), 2);
        const auto shortcut = lastArguments(u"BindShortcuts"_s).at(1).toArray().at(0).toArray();
        QCOMPARE(shortcut.at(1).toObject()[u"preferred_trigger"_s].toString(), u"CTRL+f"_s);
    }

    void whatIsAskedForWhileTheUserDecidesWaits()
    {
        start({u"set bind hold"_s, u"trigger show Ctrl+Space"_s, u"trigger load Alt+S"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(count(u"BindShortcuts"_s), 1, slow);

        take(load);
        settle();
        QCOMPARE(count(u"CreateSession"_s), 1);
        _portal.tell("set bind ok");
        _portal.tell("respond");

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(load), State::active, slow);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(count(u"BindShortcuts"_s), 2);
    }

    void givingBackForAMomentIsNotToldToTheDesktop()
    {
        start({u"trigger show Ctrl+Space"_s, u"trigger load Alt+S"_s});
        const auto first = take(show);
        const auto second = take(load);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(load), State::active, slow);

        _keys->unregisterHotKey(first);
        _keys->unregisterHotKey(second);
        QCOMPARE(stateOf(show), State::unknown);
        _portal.tell("activated show token-2");
        _portal.tell("deactivated show");
        settle();
        QVERIFY(_handler.told.isEmpty());
        QVERIFY(!qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
        take(show);
        take(load);

        QCOMPARE(stateOf(show), State::active);
        _portal.tell("activated load");
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"pressed #2"_s}, slow);
        QCOMPARE(count(u"CreateSession"_s), 1);
        QCOMPARE(count(u"Session.Close"_s), 0);
    }

    void whatStaysGivenBackIsGivenToTheDesktopLater()
    {
        _timing.forgetPause = 1ms;
        start({u"trigger show Ctrl+Space"_s, u"trigger load Alt+S"_s});
        take(show);
        const auto second = take(load);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(load), State::active, slow);

        _keys->unregisterHotKey(second);

        QTRY_COMPARE_WITH_TIMEOUT(count(u"BindShortcuts"_s), 2, slow);
        QCOMPARE(lastIds(), QStringList{u"show"_s});
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
    }

    void whereAllIsGivenBackNothingIsForgotten()
    {
        _timing.forgetPause = 0ms;
        start({u"trigger show Ctrl+Space"_s});
        const auto handle = take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _keys->unregisterHotKey(handle);
        settle();
        take(show);

        QCOMPARE(stateOf(show), State::active);
        settle();
        QCOMPARE(count(u"CreateSession"_s), 1);
    }

    void aNoOfTheUserIsFinalUntilTheKeyIsAskedForAnew()
    {
        _timing.firstBackOff = 0ms;
        start({u"set bind code:1"_s, u"trigger show Ctrl+Space"_s});
        take(show);

        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"refused #1 -128"_s}, slow);
        QCOMPARE(stateOf(show), State::refused);
        QCOMPARE(_keys->report(u"show"_s).status, Answer::cancelledByUser);
        settle();
        QCOMPARE(count(u"CreateSession"_s), 1);

        _portal.tell("set bind ok");
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(count(u"BindShortcuts"_s), 2);
    }

    void aNoToOneMoreKeyLeavesTheOthers()
    {
        start({u"trigger show Ctrl+Space"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        _portal.tell("set bind known");
        settle();

        take(load);
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"refused #2 -128"_s}, slow);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(stateOf(load), State::refused);
        QCOMPARE(count(u"BindShortcuts"_s), 3);
        QCOMPARE(lastIds(), QStringList{u"show"_s});
        _portal.tell("activated show");
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told.value(1), u"pressed #1"_s, slow);
    }

    void aNoToWhatHadBeenGrantedIsFinalToo()
    {
        start({u"trigger show Ctrl+Space"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        _portal.tell("set bind code:1");
        settle();

        take(load);

        const QStringList refusals{u"refused #2 -128"_s, u"refused #1 -128"_s};
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, refusals, slow);
        settle();
        QCOMPARE(count(u"BindShortcuts"_s), 3);
    }

    void aShortcutThatTheUserLeftOutIsRefusedAlone()
    {
        start({u"deny load"_s, u"trigger show Ctrl+Space"_s});

        take(show);
        take(load);

        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"refused #2 -128"_s}, slow);
        QCOMPARE(stateOf(show), State::active);
        QCOMPARE(stateOf(load), State::refused);
        settle();
        QCOMPARE(count(u"BindShortcuts"_s), 1);
    }

    void aRefusalTellsWhy_data()
    {
        QTest::addColumn<QString>("manner");
        QTest::addColumn<int>("status");
        QTest::newRow("the portal could not") << u"set bind code:2"_s << Answer::internalError;
        QTest::newRow("an answer that is none") << u"set bind garbage"_s << Answer::internalError;
        QTest::newRow("no application id")
            << u"set create error:org.freedesktop.portal.Error.NotAllowed"_s
            << Answer::unknownApplication;
        QTest::newRow("an application id without an entry")
            << u"set create error:org.freedesktop.portal.Error.InvalidArgument"_s
            << Answer::unknownApplication;
        QTest::newRow("not allowed to bind")
            << u"set bind error:org.freedesktop.portal.Error.NotAllowed"_s
            << Answer::unknownApplication;
        QTest::newRow("a shortcut that it does not understand")
            << u"set bind error:org.freedesktop.portal.Error.InvalidArgument"_s
            << Answer::internalError;
    }

    void aRefusalTellsWhy()
    {
        QFETCH(QString, manner);
        QFETCH(int, status);
        start({manner});

        take(show);

        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"refused #1 %1"_s.arg(status)}, slow);
        QCOMPARE(_keys->report(u"show"_s),
            (HotKeyReport{State::refused, HotKeyFacility::portal, {}, {}, status}));
    }

    void aShortcutWithoutAKeyIsToBeSetInTheDesktop()
    {
        start();
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::unassigned, slow);

        _portal.tell("trigger show 'Meta+Space'");
        _portal.tell("changed");

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(_keys->report(u"show"_s).trigger, u"Meta+Space"_s);
    }

    void aShortcutThatIsPressedHasAKey()
    {
        start();
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::unassigned, slow);

        _portal.tell("activated show");

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(_handler.told, QStringList{u"pressed #1"_s});
    }

    void nothingCountsBeforeTheUserHasAnswered()
    {
        _timing.answerLimit = 1s;
        start({u"set bind hold"_s, u"trigger show Ctrl+Space"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(count(u"BindShortcuts"_s), 1, slow);
        settle();
        QElapsedTimer clock;
        clock.start();

        _portal.tell("changed");
        _portal.tell("activated show");
        // The limit is for programs, not for people.
        QTRY_VERIFY_WITH_TIMEOUT(clock.hasExpired(2 * _timing.answerLimit.count()), slow);
        settle();
        QCOMPARE(stateOf(show), State::waiting);
        QVERIFY(_handler.told.isEmpty());
        QCOMPARE(count(u"BindShortcuts"_s), 1);
        _portal.tell("respond");

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
    }

    void theAnswerIsFoundWhereverItComesFrom_data()
    {
        QTest::addColumn<QString>("manner");
        QTest::newRow("before the call returns") << u"early"_s;
        QTest::newRow("from another path") << u"elsewhere"_s;
        QTest::newRow("from another path before the call returns") << u"earlyelsewhere"_s;
    }

    void theAnswerIsFoundWhereverItComesFrom()
    {
        QFETCH(QString, manner);
        start({u"set create "_s + manner, u"set bind "_s + manner, u"trigger show Ctrl+Space"_s});

        take(show);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(count(u"CreateSession"_s), 1);
    }

    void anAnswerWithoutTheListIsFollowedByAQuestionForIt()
    {
        start({u"set bind bare"_s, u"trigger show Ctrl+Space"_s});

        take(show);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(_keys->report(u"show"_s).trigger, u"Ctrl+Space"_s);
        QCOMPARE(count(u"ListShortcuts"_s), 1);
    }

    void whereThereIsNoListAtAllTheKeyIsNotKnown_data()
    {
        QTest::addColumn<QString>("manner");
        QTest::newRow("an error") << u"error:org.freedesktop.DBus.Error.UnknownMethod"_s;
        QTest::newRow("a failure") << u"code:2"_s;
        QTest::newRow("nothing in it") << u"bare"_s;
        QTest::newRow("nonsense") << u"garbage"_s;
        QTest::newRow("no answer") << u"hang"_s;
    }

    void whereThereIsNoListAtAllTheKeyIsNotKnown()
    {
        QFETCH(QString, manner);
        _timing.answerLimit = 1s;
        start({u"set bind bare"_s, u"set list "_s + manner});

        take(show);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::unassigned, slow);
        QVERIFY(_handler.told.isEmpty());
    }

    void aPortalThatFailsIsTriedAFewTimesOnly_data()
    {
        QTest::addColumn<QString>("manner");
        QTest::newRow("no session") << u"set create code:2"_s;
        QTest::newRow("a session without its path") << u"set create bare"_s;
        QTest::newRow("no answer") << u"set create hang"_s;
        QTest::newRow("a call that returns and no response") << u"set create hold"_s;
        QTest::newRow("no answer to the shortcuts") << u"set bind hang"_s;
        QTest::newRow("an error of the bus")
            << u"set bind error:org.freedesktop.DBus.Error.AccessDenied"_s;
    }

    void aPortalThatFailsIsTriedAFewTimesOnly()
    {
        QFETCH(QString, manner);
        _timing.answerLimit = 1s;
        _timing.firstBackOff = 1ms;
        _timing.quietTime = 1h;
        start({manner, u"trigger show Ctrl+Space"_s});
        QTest::ignoreMessage(
            QtWarningMsg, "the portal for global shortcuts does not answer, or ends what it began");

        const auto handle = take(show);
        QCOMPARE(stateOf(show), State::waiting);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::refused, slow);
        QCOMPARE(_keys->report(u"show"_s).status, Answer::internalError);
        QCOMPARE(count(u"CreateSession"_s), 4);
        // A menu that opens and closes starts nothing.
        _keys->unregisterHotKey(handle);
        take(show);
        settle();
        QCOMPARE(count(u"CreateSession"_s), 4);
        QCOMPARE(stateOf(show), State::refused);
        QVERIFY(_handler.told.isEmpty());

        // Another key does.
        _portal.tell("set create ok");
        _portal.tell("set bind ok");
        settle();
        auto changed = show;
        changed.modifiers = 0x800;
        take(changed);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
    }

    void aSessionThatTheDesktopEndsIsMadeAnew()
    {
        _timing.firstBackOff = 1ms;
        start({u"trigger show Ctrl+Space"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _portal.tell("closed");

        QTRY_COMPARE_WITH_TIMEOUT(count(u"BindShortcuts"_s), 2, slow);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        _portal.tell("activated show");
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"pressed #1"_s}, slow);
        QCOMPARE(count(u"Session.Close"_s), 0);
    }

    void aDesktopThatEndsEverySessionIsLeftAlone()
    {
        _timing.firstBackOff = 1ms;
        _timing.quietTime = 1h;
        start({u"trigger show Ctrl+Space"_s});
        take(show);
        QTest::ignoreMessage(
            QtWarningMsg, "the portal for global shortcuts does not answer, or ends what it began");

        for (int i = 1; i <= 4; ++i) {
            QTRY_COMPARE_WITH_TIMEOUT(count(u"BindShortcuts"_s), i, slow);
            QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
            _portal.tell("closed");
        }

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::refused, slow);
        settle();
        QCOMPARE(count(u"CreateSession"_s), 4);
    }

    void aTroubleAfterAQuietTimeIsTheFirstOne()
    {
        _timing.firstBackOff = 1ms;
        _timing.quietTime = 0ms;
        start({u"trigger show Ctrl+Space"_s});
        take(show);

        for (int i = 1; i <= 6; ++i) {
            QTRY_COMPARE_WITH_TIMEOUT(count(u"BindShortcuts"_s), i, slow);
            QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
            _portal.tell("closed");
        }

        QTRY_COMPARE_WITH_TIMEOUT(count(u"BindShortcuts"_s), 7, slow);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
    }

    void aPortalThatComesBackIsAskedAnew()
    {
        int changes = 0;
        start({u"trigger show Ctrl+Space"_s});
        _keys->setPresenceObserver([&] { ++changes; });
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _portal.stop();
        QTRY_COMPARE_WITH_TIMEOUT(_keys->presence(), Presence::absent, slow);
        QVERIFY(!_keys->isSupported());
        QCOMPARE(stateOf(show), State::waiting);
        QCOMPARE(_keys->registerHotKey(load).status, Answer::unsupported);
        QVERIFY(changes > 0);
        QVERIFY(startPortal({u"trigger show Alt+Space"_s}));

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QCOMPARE(_keys->report(u"show"_s).trigger, u"Alt+Space"_s);
        _portal.tell("activated show");
        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"pressed #1"_s}, slow);
    }

    void aPortalWithoutTheInterfaceIsAbsent_data()
    {
        QTest::addColumn<QString>("manner");
        QTest::newRow("no interface") << u"error:org.freedesktop.DBus.Error.UnknownInterface"_s;
        QTest::newRow("a version that is a text") << u"two"_s;
        QTest::newRow("version nought") << u"0"_s;
        QTest::newRow("no answer") << u"hang"_s;
    }

    void aPortalWithoutTheInterfaceIsAbsent()
    {
        QFETCH(QString, manner);
        _timing.answerLimit = 1s;
        QVERIFY(startPortal({u"set version "_s + manner}));
        makeKeys();
        QCOMPARE(_keys->presence(), Presence::unknown);
        QCOMPARE(_keys->registerHotKey(show).status, Answer::noError);

        QTRY_COMPARE_WITH_TIMEOUT(_keys->presence(), Presence::absent, slow);
        QTRY_COMPARE_WITH_TIMEOUT(count(u"Get"_s), 1, slow);
        settle();
        QCOMPARE(count(u"CreateSession"_s), 0);
    }

    void aPortalThatKnowsNoRegistryWillDo()
    {
        start({u"set register error:org.freedesktop.DBus.Error.UnknownMethod"_s});

        take(show);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::unassigned, slow);
    }

    void aPortalThatCanBeStartedIsStarted()
    {
        const auto log = _portal.logPath();
        QFile service(QDir(qEnvironmentVariable("TEST_BUS_SERVICES")).filePath(u"p.service"_s));
        QVERIFY(service.open(QIODevice::WriteOnly));
        service.write(
            "[D-BUS "
            "Service]\nName=org.freedesktop.portal.Desktop\nExec=/usr/bin/python3 " PEERS_FOLDER
            "/shortcuts_portal.py " +
            log.toUtf8() + " own\n");
        service.close();
        auto bus = QDBusConnection::sessionBus();
        const auto reload = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s,
            u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, u"ReloadConfig"_s);
        QCOMPARE(bus.call(reload).type(), QDBusMessage::ReplyMessage);

        makeKeys();
        QTRY_COMPARE_WITH_TIMEOUT(_keys->presence(), Presence::present, slow);

        QVERIFY(service.remove());
        QCOMPARE(bus.call(reload).type(), QDBusMessage::ReplyMessage);
        const auto owner = bus.interface()->servicePid(u"org.freedesktop.portal.Desktop"_s);
        QVERIFY(owner.isValid());
        ::kill(pid_t(owner.value()), SIGKILL);
        QTRY_COMPARE_WITH_TIMEOUT(_keys->presence(), Presence::absent, slow);
    }

    void aPortalThatStandsStillHoldsNothingUp()
    {
        start({u"trigger show Ctrl+Space"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        const auto owner = QDBusConnection::sessionBus().interface()->servicePid(
            u"org.freedesktop.portal.Desktop"_s);
        QVERIFY(owner.isValid());
        QCOMPARE(::kill(pid_t(owner.value()), SIGSTOP), 0);
        QElapsedTimer clock;
        clock.start();

        take(load);
        QCoreApplication::processEvents();
        _keys.reset();
        makeKeys();
        QCoreApplication::processEvents();

        QVERIFY(!clock.hasExpired(15'000));  // a call that waits gives up after 25 s
        QCOMPARE(_keys->presence(), Presence::unknown);
    }

    void withoutAPortalNothingIsSupported()
    {
        makeKeys();

        QTRY_COMPARE_WITH_TIMEOUT(_keys->presence(), Presence::absent, slow);

        QCOMPARE(_keys->registerHotKey(show).status, Answer::unsupported);
    }

    void withoutABusNothingIsSupported()
    {
        const PortalHotKeys keys(
            QDBusConnection(u"no such connection"_s), applicationId, {}, _layout, _rawKeys);

        QCOMPARE(keys.presence(), Presence::absent);
        QVERIFY(!keys.isSupported());
    }

    void whatConcernsOthersOrIsNonsenseIsPassedOver()
    {
        start({u"trigger show Ctrl+Space"_s});
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        _portal.tell("foreign");
        _portal.tell("activated show");

        QTRY_COMPARE_WITH_TIMEOUT(_handler.told, QStringList{u"pressed #1"_s}, slow);
        QCOMPARE(_keys->report(u"show"_s).trigger, u"Ctrl+Space"_s);
        QCOMPARE(count(u"CreateSession"_s), 1);
    }

    void aTextOfTheDesktopIsOneShortLine()
    {
        start({u"trigger show '\\u202eCtrl\\n\\t+\\u0007 Space%1'"_s.arg(QString(5000, u'!'))});
        take(show);

        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);

        const auto trigger = _keys->report(u"show"_s).trigger;
        QVERIFY2(trigger.startsWith(u"Ctrl + Space!!"_s), qPrintable(trigger));
        QVERIFY(trigger.size() <= 100);
    }

    void aRequestWithoutANameIsRefused()
    {
        start();
        auto nameless = show;
        nameless.name.clear();

        QCOMPARE(_keys->registerHotKey(nameless).status, Answer::parameterNotFound);
    }

    void aHotKeyPressedInAnOpenMenuIsOfferedAsARawKey()
    {
        qunsetenv("XDG_ACTIVATION_TOKEN");
        _timing.shortHold = _timing.longHold = 1h;
        start({u"trigger show Ctrl+Space"_s});
        const auto handle = take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        QList<HotKeyEvent> offered;
        _rawKeys.start([&](const HotKeyEvent &event) {
            offered.append(event);
            return true;
        });
        _keys->unregisterHotKey(handle);

        for (const char *line : {"activated show token-1", "activated show", "deactivated show"})
            _portal.tell(line);
        QTRY_COMPARE_WITH_TIMEOUT(offered.size(), 3, slow);

        const auto raw = [](int kind) {
            return HotKeyEvent{kind, std::nullopt, 49, 0x1000, false};
        };
        QCOMPARE(offered, (QList{raw(HotKeyEvent::rawKeyDown), raw(HotKeyEvent::rawKeyRepeat),
                              raw(HotKeyEvent::rawKeyUp)}));
        QCOMPARE(qgetenv("XDG_ACTIVATION_TOKEN"), QByteArray("token-1"));
        qunsetenv("XDG_ACTIVATION_TOKEN");
        QVERIFY(_handler.told.isEmpty());
        _rawKeys.stop();
    }

    void aHotKeyThatIsGivenBackWithoutAMenuIsNotHeard()
    {
        qunsetenv("XDG_ACTIVATION_TOKEN");
        start({u"trigger show Ctrl+Space"_s});
        const auto handle = take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::active, slow);
        _keys->unregisterHotKey(handle);

        _portal.tell("activated show token-1");
        _portal.tell("deactivated show");
        settle();

        QVERIFY(_handler.told.isEmpty());
        QVERIFY(!qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    }

    void theSessionEndsWithItsOwner()
    {
        start();
        take(show);
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(show), State::unassigned, slow);

        _keys.reset();

        QTRY_COMPARE_WITH_TIMEOUT(count(u"Session.Close"_s), 1, slow);
    }
};

QTEST_MAIN(tst_PortalHotKeys)
#include "tst_PortalHotKeys.moc"
