// SPDX-License-Identifier: GPL-3.0-or-later
// Against a service that does what the test says; tst_KGlobalAccel has the real one.
#include "platform/linux/hotkeys/KGlobalAccelHotKeys.h"
#include "support/Peer.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QTest>

#include <array>
#include <functional>
#include <memory>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using platform::HotKeyEvent;
using platform::HotKeyFacility;
using platform::HotKeyId;
using platform::HotKeyReport;
using platform::KGlobalAccelHotKeys;
using Presence = platform::HotKeyBackend::Presence;
using State = HotKeyReport::State;
namespace Answer = platform::HotKeyAnswer;
namespace Modifiers = platform::HotKeyModifiers;

namespace {

constexpr int spaceKey = 49;
constexpr int controlSpace = (Qt::ControlModifier | Qt::Key_Space).toCombined();
constexpr int metaSpace = (Qt::MetaModifier | Qt::Key_Space).toCombined();
constexpr int controlS = (Qt::ControlModifier | Qt::Key_S).toCombined();
constexpr std::array<int, 2> hotKeyKinds{HotKeyEvent::pressed, HotKeyEvent::released};

class UsKeyboard final : public platform::KeyCharacters {
public:
    std::optional<QString> charactersOf(int keyCode) const override
    {
        return keyCode == 1 ? std::optional(u"s"_s) : std::nullopt;
    }
};

class Handler final : public platform::HotKeyCenter::EventHandler {
public:
    int handleEvent(const HotKeyEvent *event) override
    {
        const auto text = event->kind == HotKeyEvent::released ? u"up %1"_s
                          : event->isRepeat                    ? u"repeat %1"_s
                                                               : u"down %1"_s;
        told.append(text.arg(event->directObject->number));
        if (whenTold)
            whenTold();
        return Answer::noError;
    }
    void registrationRefused(HotKeyId id, int status) override
    {
        told.append(u"refused %1: %2"_s.arg(id.number).arg(status));
    }
    void keyboardChanged() override {}

    QStringList told;
    std::function<void()> whenTold;
};

/// The scripted service, with its log.
class Service {
public:
    bool start(const QStringList &words = {})
    {
        return _peer.start(u"kglobalaccel.py"_s, QStringList{_peer.logPath()} + words);
    }
    /// As a part of the compositor.
    bool startInCompositor(const QStringList &words = {})
    {
        return start(QStringList{u"compositor"_s} + words);
    }
    void stop() { _peer.stop(); }
    /// Says it, and waits until it was obeyed.
    bool obey(const QString &word)
    {
        const auto line = u"> "_s + word;
        const auto before = lines().count(line);
        _peer.tell(word.toUtf8());
        return QTest::qWaitFor([&] { return lines().count(line) > before; });
    }
    QStringList lines() const
    {
        QFile file(_peer.logPath());
        return file.open(QIODevice::ReadOnly)
                   ? QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts)
                   : QStringList();
    }
    /// The calls alone, in their order.
    QStringList calls() const
    {
        QStringList result;
        for (const auto &line : lines()) {
            if (!line.startsWith(u'>') && !line.startsWith(u'#'))
                result.append(line);
        }
        return result;
    }

private:
    support::Peer _peer;
};

QString set(const QString &name, int key, int flags)
{
    return u"setShortcut %1 [%2] %3"_s.arg(name).arg(key).arg(flags);
}

}  // namespace

class tst_KGlobalAccelHotKeys : public QObject {
    Q_OBJECT

private:
    UsKeyboard _characters;
    std::unique_ptr<Service> _service;
    std::unique_ptr<Handler> _handler;
    std::unique_ptr<KGlobalAccelHotKeys> _keys;

    void make(std::chrono::milliseconds answerLimit = 10s)
    {
        const auto labels = [](const QString &name) {
            return name == u"launch" ? u"Show the panel"_s : QString();
        };
        _keys = std::make_unique<KGlobalAccelHotKeys>(
            QDBusConnection::sessionBus(), _characters, labels, answerLimit);
        QVERIFY(_keys->installEventHandler(*_handler));
        _keys->addEventTypes(hotKeyKinds);
    }
    /// Once the service is known to be there: requests come no sooner.
    void makePresent(std::chrono::milliseconds answerLimit = 10s)
    {
        make(answerLimit);
        QTRY_COMPARE(_keys->presence(), Presence::present);
    }
    platform::HotKeyCenter::Registration add(
        const QString &name, int number, int keyCode = spaceKey, int modifiers = Modifiers::control)
    {
        return _keys->registerHotKey({keyCode, modifiers, {0x54455354, number}, name});
    }
    State stateOf(const QString &name) const { return _keys->report(name).state; }
    /// With one hot key that is active.
    void makeActive()
    {
        makePresent();
        QCOMPARE(add(u"launch"_s, 1).status, Answer::noError);
        QTRY_COMPARE(stateOf(u"launch"_s), State::active);
    }

private Q_SLOTS:
    void init()
    {
        _service = std::make_unique<Service>();
        _handler = std::make_unique<Handler>();
    }
    void cleanup()
    {
        _keys.reset();
        _service.reset();
        for (const auto &name : {u"org.kde.kglobalaccel"_s, u"org.kde.KWin"_s}) {
            QTRY_VERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(name));
        }
    }

    void withoutTheServiceNothingIsSupported()
    {
        make();
        QCOMPARE(_keys->presence(), Presence::unknown);
        QCOMPARE(add(u"launch"_s, 1).status, Answer::unsupported);

        QTRY_COMPARE(_keys->presence(), Presence::absent);

        QCOMPARE(add(u"launch"_s, 2).status, Answer::unsupported);
        QVERIFY(_handler->told.isEmpty());
    }

    void theServiceMayComeAndGo()
    {
        make();
        QTRY_COMPARE(_keys->presence(), Presence::absent);

        QVERIFY(_service->startInCompositor());
        QTRY_COMPARE(_keys->presence(), Presence::present);
        _service->stop();

        QTRY_COMPARE(_keys->presence(), Presence::absent);
    }

    void onlyTheCompositorsOwnServiceCounts()
    {
        QVERIFY(_service->start());
        make();
        QTRY_COMPARE(_keys->presence(), Presence::absent);

        QVERIFY(_service->obey(u"compositor"_s));

        QTRY_COMPARE(_keys->presence(), Presence::present);
    }

    void aHotKeyIsAskedForByItsName()
    {
        QVERIFY(_service->startInCompositor());
        makePresent();

        QCOMPARE(add(u"launch"_s, 1).status, Answer::noError);
        QCOMPARE(stateOf(u"launch"_s), State::waiting);

        QTRY_COMPARE(stateOf(u"launch"_s), State::active);
        QCOMPARE(_keys->report(u"launch"_s).trigger, u"Ctrl+Space"_s);
        QCOMPARE(_keys->report(u"launch"_s).facility, HotKeyFacility::kGlobalAccel);
        QTRY_COMPARE(_service->calls(),
            (QStringList{u"doRegister launch"_s, u"shortcut launch"_s,
                u"defaultShortcutKeys launch"_s, set(u"launch"_s, controlSpace, 6),
                u"getGlobalShortcutsByKey %1"_s.arg(controlSpace),
                set(u"launch"_s, controlSpace, 8)}));
        QVERIFY(_service->lines().contains(
            u"# org.vellumhound.Vellumhound|launch|Vellumhound|Show the panel"_s));
    }

    void aKeyWithoutASymbolIsRefusedAtOnce()
    {
        QVERIFY(_service->startInCompositor());
        makePresent();

        const auto registration = add(u"launch"_s, 1, 0);

        QCOMPARE(registration.status, Answer::hotKeyInvalid);
        QVERIFY(!registration.handle);
        QCOMPARE(stateOf(u"launch"_s), State::refused);
    }

    void aKeyOfAnotherProgramIsRefusedWithItsHolder_data()
    {
        QTest::addColumn<QString>("manner");
        QTest::newRow("refused") << u"resume"_s;
        QTest::newRow("shared") << u"shares"_s;
    }
    void aKeyOfAnotherProgramIsRefusedWithItsHolder()
    {
        QFETCH(QString, manner);
        QVERIFY(_service->startInCompositor(
            {manner, u"held:%1:Input Method:Switch Language"_s.arg(controlSpace)}));
        makePresent();

        QCOMPARE(add(u"launch"_s, 1).status, Answer::noError);

        QTRY_COMPARE(_handler->told, QStringList{u"refused 1: -9878"_s});
        const auto report = _keys->report(u"launch"_s);
        QCOMPARE(report.state, State::taken);
        QCOMPARE(report.holder, u"Input Method (Switch Language)"_s);
        QCOMPARE(report.status, Answer::hotKeyExists);
        // Nothing of the try is left behind.
        QTRY_COMPARE(_service->calls().last(), u"setInactive launch"_s);
        QVERIFY(_service->calls().contains(u"setShortcut launch [] 4"_s));
        QVERIFY(_service->calls().contains(u"setShortcut launch [] 8"_s));
    }

    void aKeyThatTheDesktopsUserChoseStays()
    {
        QVERIFY(_service->startInCompositor(
            {u"keys:launch:%1"_s.arg(metaSpace), u"default:launch:%1"_s.arg(controlSpace)}));

        makeActive();

        QCOMPARE(_keys->report(u"launch"_s).trigger, u"Meta+Space"_s);
        QVERIFY(_service->calls().contains(set(u"launch"_s, controlSpace, 2)));
        QVERIFY(!_service->calls().contains(set(u"launch"_s, controlSpace, 6)));
    }

    void aKeyChosenThereAfterARefusalStaysToo()
    {
        QVERIFY(_service->startInCompositor({u"keys:launch:%1"_s.arg(metaSpace)}));

        makeActive();

        QCOMPARE(_keys->report(u"launch"_s).trigger, u"Meta+Space"_s);
    }

    void anotherKeyThanTheLastOneTakesItsPlace()
    {
        QVERIFY(_service->startInCompositor(
            {u"keys:launch:%1"_s.arg(metaSpace), u"default:launch:%1"_s.arg(controlS)}));

        makeActive();

        QCOMPARE(_keys->report(u"launch"_s).trigger, u"Ctrl+Space"_s);
        QTRY_COMPARE(_service->calls().last(), set(u"launch"_s, controlSpace, 8));
    }

    void aKeyGivenToAnotherProgramIsAskedForAgain()
    {
        QVERIFY(_service->startInCompositor(
            {u"keys:launch:0"_s, u"default:launch:%1"_s.arg(controlSpace)}));

        makeActive();

        QVERIFY(_service->calls().contains(set(u"launch"_s, controlSpace, 6)));
    }

    void aKeyRemovedThereStaysRemovedUntilItIsGivenBack()
    {
        QVERIFY(_service->startInCompositor(
            {u"keys:launch:"_s, u"default:launch:%1"_s.arg(controlSpace)}));
        makePresent();
        add(u"launch"_s, 1);

        QTRY_COMPARE(stateOf(u"launch"_s), State::refused);
        QCOMPARE(_keys->report(u"launch"_s).status, Answer::hotKeyInvalid);
        QVERIFY(_handler->told.isEmpty());

        QVERIFY(_service->obey(u"change:launch:%1"_s.arg(controlS)));
        QTRY_COMPARE(stateOf(u"launch"_s), State::active);
        QVERIFY(_service->obey(u"press:launch:5000"_s));
        QTRY_COMPARE(_handler->told, QStringList{u"down 1"_s});
    }

    void aKeyChangedThereIsToldAndStillActs()
    {
        QVERIFY(_service->startInCompositor());
        makeActive();
        int reports = 0;
        _keys->setReportObserver([&] { ++reports; });

        QVERIFY(_service->obey(u"change:launch:%1,%2"_s.arg(metaSpace).arg(controlS)));

        QTRY_COMPARE(_keys->report(u"launch"_s).trigger, u"Meta+Space, Ctrl+S"_s);
        QCOMPARE(reports, 1);
        QVERIFY(_service->obey(u"press:launch:5000"_s));
        QTRY_COMPARE(_handler->told, QStringList{u"down 1"_s});
    }

    void aHeldKeyIsOnePress_data()
    {
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<QStringList>("told");
        QTest::newRow("told as presses")
            << QStringList{u"press:launch:1000"_s, u"press:launch:1500"_s, u"press:launch:1530"_s,
                   u"release:launch:1530"_s, u"press:launch:1700"_s}
            << QStringList{u"down 1"_s, u"repeat 1"_s, u"repeat 1"_s, u"up 1"_s, u"down 1"_s};
        QTest::newRow("told apart")
            << QStringList{u"press:launch:0"_s, u"repeat:launch:0"_s, u"release:launch:0"_s}
            << QStringList{u"down 1"_s, u"repeat 1"_s, u"up 1"_s};
        QTest::newRow("told as presses without a time")
            << QStringList{u"press:launch:0"_s, u"press:launch:0"_s, u"release:launch:0"_s}
            << QStringList{u"down 1"_s, u"repeat 1"_s, u"up 1"_s};
        QTest::newRow("pressed again at once")
            << QStringList{u"press:launch:1000"_s, u"release:launch:1010"_s, u"press:launch:1030"_s}
            << QStringList{u"down 1"_s, u"up 1"_s, u"down 1"_s};
        QTest::newRow("the release was lost")
            << QStringList{u"press:launch:1000"_s, u"press:launch:4001"_s}
            << QStringList{u"down 1"_s, u"down 1"_s};
    }
    void aHeldKeyIsOnePress()
    {
        QFETCH(QStringList, words);
        QFETCH(QStringList, told);
        QVERIFY(_service->startInCompositor());
        makeActive();

        for (const auto &word : words)
            QVERIFY(_service->obey(word));

        QTRY_COMPARE(_handler->told, told);
    }

    void onlyTheServiceItselfIsBelieved()
    {
        QVERIFY(_service->startInCompositor());
        makeActive();
        auto forged = QDBusMessage::createSignal(u"/component/org_vellumhound_Vellumhound"_s,
            u"org.kde.kglobalaccel.Component"_s, u"globalShortcutPressed"_s);
        forged << u"org.vellumhound.Vellumhound"_s << u"launch"_s << qlonglong(1);

        QVERIFY(QDBusConnection::sessionBus().send(forged));
        QVERIFY(_service->obey(u"release:launch:2"_s));

        QTRY_COMPARE(_handler->told, QStringList{u"up 1"_s});
    }

    void onlyTheKindsAskedForAreTold()
    {
        QVERIFY(_service->startInCompositor());
        makeActive();
        _keys->removeEventTypes(std::array{int(HotKeyEvent::pressed)});

        QVERIFY(_service->obey(u"press:launch:1"_s));
        QVERIFY(_service->obey(u"release:launch:1"_s));

        QTRY_COMPARE(_handler->told, QStringList{u"up 1"_s});
    }

    void aKeyGivenBackIsHeardNoMoreAndKeptInTheDesktopsSettings()
    {
        QVERIFY(_service->startInCompositor());
        makePresent();
        const auto first = add(u"launch"_s, 1);
        add(u"other"_s, 2, 1);
        QTRY_COMPARE(stateOf(u"other"_s), State::active);
        QTRY_COMPARE(stateOf(u"launch"_s), State::active);

        _keys->unregisterHotKey(*first.handle);
        QCOMPARE(stateOf(u"launch"_s), State::unknown);
        QVERIFY(_service->obey(u"press:launch:1"_s));
        QVERIFY(_service->obey(u"press:other:2"_s));

        QTRY_COMPARE(_handler->told, QStringList{u"down 2"_s});
        QCOMPARE(_service->calls().last(), u"setInactive launch"_s);
        QVERIFY(_service->calls().filter(u"unregister"_s, Qt::CaseInsensitive).isEmpty());
    }

    void allKeysAreGivenBackAtTheEnd()
    {
        QVERIFY(_service->startInCompositor());
        makeActive();

        _keys.reset();

        QTRY_COMPARE(_service->calls().last(), u"setInactive launch"_s);
    }

    void whatIsGivenBackWhileTheServiceThinksStaysGivenBack()
    {
        QVERIFY(_service->startInCompositor({u"hang"_s}));
        makePresent();
        const auto registration = add(u"launch"_s, 1);
        QTRY_VERIFY(_service->calls().contains(u"doRegister launch"_s));

        _keys->unregisterHotKey(*registration.handle);
        QTRY_COMPARE(_service->calls().last(), u"setInactive launch"_s);
        QVERIFY(_service->obey(u"resume"_s));
        add(u"other"_s, 2, 1);
        QTRY_COMPARE(stateOf(u"other"_s), State::active);

        QCOMPARE(stateOf(u"launch"_s), State::unknown);
        QVERIFY(_service->calls().filter(u"setShortcut launch"_s).isEmpty());
        QVERIFY(_handler->told.isEmpty());
    }

    void theLastRequestForANameCounts()
    {
        QVERIFY(_service->startInCompositor({u"hang"_s}));
        makePresent();
        const auto first = add(u"launch"_s, 1);
        _keys->unregisterHotKey(*first.handle);
        add(u"launch"_s, 2, 1);
        QTRY_COMPARE(_service->calls().count(u"defaultShortcutKeys launch"_s), 2);

        QVERIFY(_service->obey(u"resume"_s));

        QTRY_COMPARE(stateOf(u"launch"_s), State::active);
        QCOMPARE(_keys->report(u"launch"_s).trigger, u"Ctrl+S"_s);
        QVERIFY(_service->obey(u"press:launch:1"_s));
        QTRY_COMPARE(_handler->told, QStringList{u"down 2"_s});
        QVERIFY(!_service->calls().contains(set(u"launch"_s, controlSpace, 6)));
    }

    void aServiceThatNeverAnswersIsWaitedForOnlySoLong()
    {
        QVERIFY(_service->startInCompositor({u"hang"_s}));
        makePresent(200ms);
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(u"^KGlobalAccel did not answer doRegister: .+"_s));

        QCOMPARE(add(u"launch"_s, 1).status, Answer::noError);
        QCOMPARE(stateOf(u"launch"_s), State::waiting);

        QTRY_COMPARE(_handler->told, QStringList{u"refused 1: -9868"_s});
        QCOMPARE(stateOf(u"launch"_s), State::refused);
        // Whatever it does when it wakes up, it does not keep the key.
        QTRY_COMPARE(_service->calls().last(), u"setInactive launch"_s);
    }

    void anErrorIsARefusal_data()
    {
        QTest::addColumn<QString>("method");
        for (const auto *method : {"doRegister", "shortcut", "defaultShortcutKeys", "setShortcut",
                 "getGlobalShortcutsByKey"})
            QTest::newRow(method) << QString::fromLatin1(method);
    }
    void anErrorIsARefusal()
    {
        QFETCH(QString, method);
        QVERIFY(_service->startInCompositor({u"fail "_s + method}));
        makePresent();
        QTest::ignoreMessage(QtWarningMsg,
            qPrintable(
                u"KGlobalAccel did not answer %1: the service is in a bad mood"_s.arg(method)));

        add(u"launch"_s, 1);

        QTRY_COMPARE(_handler->told, QStringList{u"refused 1: -9868"_s});
        QCOMPARE(stateOf(u"launch"_s), State::refused);
    }

    void aServiceThatEndsInBetweenIsAskedAgainWhenItIsBack()
    {
        QVERIFY(_service->startInCompositor({u"hang"_s}));
        makePresent();
        add(u"launch"_s, 1);
        QTRY_VERIFY(_service->calls().contains(u"defaultShortcutKeys launch"_s));

        _service->stop();
        QTRY_COMPARE(_keys->presence(), Presence::absent);
        QCOMPARE(stateOf(u"launch"_s), State::waiting);
        _service = std::make_unique<Service>();
        QVERIFY(_service->startInCompositor());

        QTRY_COMPARE(stateOf(u"launch"_s), State::active);
        QVERIFY(_handler->told.isEmpty());
    }

    void aServiceThatWasStartedAnewGetsAllKeysAgain()
    {
        QVERIFY(_service->startInCompositor());
        makeActive();
        add(u"other"_s, 2, 1);
        QTRY_COMPARE(stateOf(u"other"_s), State::active);
        QVERIFY(_service->obey(u"press:launch:1000"_s));

        _service->stop();
        QTRY_COMPARE(stateOf(u"launch"_s), State::waiting);
        _service = std::make_unique<Service>();
        QVERIFY(_service->startInCompositor());

        QTRY_COMPARE(stateOf(u"launch"_s), State::active);
        QTRY_COMPARE(stateOf(u"other"_s), State::active);
        _handler->told.clear();
        // The key was down when the service ended; that was another press.
        QVERIFY(_service->obey(u"press:launch:1100"_s));
        QVERIFY(_service->obey(u"press:other:1200"_s));
        QTRY_COMPARE(_handler->told, (QStringList{u"down 1"_s, u"down 2"_s}));
    }

    void theHandlerMayGiveTheKeyBackWhenItIsPressed()
    {
        QVERIFY(_service->startInCompositor());
        makePresent();
        const auto registration = add(u"launch"_s, 1);
        QTRY_COMPARE(stateOf(u"launch"_s), State::active);
        _handler->whenTold = [&] { _keys->unregisterHotKey(*registration.handle); };

        QVERIFY(_service->obey(u"press:launch:1"_s));
        QVERIFY(_service->obey(u"press:launch:2"_s));

        QTRY_COMPARE(_service->calls().last(), u"setInactive launch"_s);
        QCOMPARE(_handler->told, QStringList{u"down 1"_s});
    }

    void theObserverOfReportsMayGiveTheKeyBack()
    {
        QVERIFY(_service->startInCompositor());
        makePresent();
        const auto registration = add(u"launch"_s, 1);
        QTRY_COMPARE(stateOf(u"launch"_s), State::active);
        _keys->setReportObserver([&] { _keys->unregisterHotKey(*registration.handle); });

        QVERIFY(_service->obey(u"change:launch:%1"_s.arg(metaSpace)));

        QTRY_COMPARE(stateOf(u"launch"_s), State::unknown);
        QTRY_COMPARE(_service->calls().last(), u"setInactive launch"_s);
    }
};

QTEST_MAIN(tst_KGlobalAccelHotKeys)
#include "tst_KGlobalAccelHotKeys.moc"
