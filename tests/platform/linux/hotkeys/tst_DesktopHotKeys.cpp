// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakeHotKeyBackend.h"
#include "platform/linux/hotkeys/DesktopHotKeys.h"

#include <QTest>

#include <array>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using fakes::FakeHotKeyBackend;
using platform::DesktopHotKeys;
using platform::HotKeyEvent;
using platform::HotKeyFacility;
using platform::HotKeyReport;
namespace Answer = platform::HotKeyAnswer;
using Presence = platform::HotKeyBackend::Presence;

namespace {

const platform::HotKeyRequest show{49, 0x1000, {7, 1}, u"show"_s};
const platform::HotKeyRequest load{1, 0x800, {7, 2}, u"load"_s};

class Handler final : public platform::HotKeyCenter::EventHandler {
public:
    int handleEvent(const HotKeyEvent *event) override
    {
        told.append(u"pressed #%1"_s.arg(event->directObject->number));
        return answer;
    }
    void registrationRefused(platform::HotKeyId id, int status) override
    {
        told.append(u"refused #%1 %2"_s.arg(id.number).arg(status));
    }
    void keyboardChanged() override { told.append(u"keyboard"_s); }

    QStringList told;
    int answer = Answer::noError;
};

}  // namespace

class tst_DesktopHotKeys : public QObject {
    Q_OBJECT

private:
    FakeHotKeyBackend *_best = nullptr;
    FakeHotKeyBackend *_other = nullptr;
    std::unique_ptr<DesktopHotKeys> _keys;
    Handler _handler;

    void make(Presence best, Presence other)
    {
        std::vector<std::unique_ptr<platform::HotKeyBackend>> backends;
        backends.push_back(std::make_unique<FakeHotKeyBackend>(best));
        backends.push_back(std::make_unique<FakeHotKeyBackend>(other));
        _best = static_cast<FakeHotKeyBackend *>(backends[0].get());
        _other = static_cast<FakeHotKeyBackend *>(backends[1].get());
        _keys = std::make_unique<DesktopHotKeys>(std::move(backends));
        _handler.told.clear();
        _handler.answer = Answer::noError;
        QVERIFY(_keys->installEventHandler(_handler));
        _keys->addEventTypes(std::array{int(HotKeyEvent::pressed)});
    }
    platform::HotKeyCenter::Handle take(const platform::HotKeyRequest &request)
    {
        const auto registration = _keys->registerHotKey(request);
        return registration.handle.value_or(0);
    }

private Q_SLOTS:
    void theFirstThatIsThereGetsTheRequest()
    {
        make(Presence::absent, Presence::present);

        const auto registration = _keys->registerHotKey(show);

        QCOMPARE(registration.status, Answer::noError);
        QVERIFY(registration.handle.has_value());
        QVERIFY(_best->calls.isEmpty());
        QCOMPARE(_other->calls, QStringList{u"register show"_s});
        QCOMPARE(_other->press(u"show"_s), QList<int>{Answer::noError});
        QCOMPARE(_handler.told, QStringList{u"pressed #1"_s});
    }

    void theAnswerOfTheHandlerGoesBack()
    {
        make(Presence::present, Presence::absent);
        take(show);

        _handler.answer = Answer::notHandled;

        QCOMPARE(_best->press(u"show"_s), QList<int>{Answer::notHandled});
    }

    void whoMayStillTurnOutToBeThereIsWaitedFor()
    {
        make(Presence::unknown, Presence::present);
        QVERIFY(take(show) != 0);
        QVERIFY(_other->calls.isEmpty());
        QCOMPARE(_keys->report(u"show"_s).state, HotKeyReport::State::waiting);
        QVERIFY(_keys->isSupported());

        _best->setPresence(Presence::present);

        QCOMPARE(_best->calls, QStringList{u"register show"_s});
        QVERIFY(_other->calls.isEmpty());
        _best->press(u"show"_s);
        QCOMPARE(_handler.told, QStringList{u"pressed #1"_s});
    }

    void theNextOneIsTakenWhenTheFirstTurnsOutToBeAbsent()
    {
        make(Presence::unknown, Presence::present);
        take(show);

        _best->setPresence(Presence::absent);

        QVERIFY(_best->calls.isEmpty());
        QCOMPARE(_other->calls, QStringList{u"register show"_s});
    }

    void aBetterOneTakesOver()
    {
        make(Presence::absent, Presence::present);
        take(show);
        take(load);

        _best->setPresence(Presence::unknown);  // it is being asked: nothing changes yet
        QCOMPARE(_other->registered.size(), std::size_t(2));
        _best->setPresence(Presence::present);

        QVERIFY(_other->registered.empty());
        QCOMPARE(_best->registered.size(), std::size_t(2));
        QVERIFY(_other->press(u"load"_s).isEmpty());
        _best->press(u"load"_s);
        QCOMPARE(_handler.told, QStringList{u"pressed #2"_s});
    }

    void whereTheOneInUseGoesTheNextOneTakesOver()
    {
        make(Presence::present, Presence::present);
        take(show);
        QVERIFY(_other->calls.isEmpty());

        _best->setPresence(Presence::absent);

        QCOMPARE(_other->calls, QStringList{u"register show"_s});
        _other->press(u"show"_s);
        QCOMPARE(_handler.told, QStringList{u"pressed #1"_s});
    }

    void whereNoneIsThereRequestsAreKeptAndItIsSaidOnce()
    {
        make(Presence::unknown, Presence::absent);
        QTest::ignoreMessage(
            QtInfoMsg, "the desktop has no way to hot keys; they are kept for one that comes");
        _best->setPresence(Presence::absent);
        _best->setPresence(Presence::absent);

        QVERIFY(!_keys->isSupported());
        QVERIFY(take(show) != 0);
        QCOMPARE(_keys->report(u"show"_s), HotKeyReport());
        QVERIFY(_handler.told.isEmpty());

        _other->setPresence(Presence::present);
        QVERIFY(_keys->isSupported());
        QCOMPARE(_other->calls, QStringList{u"register show"_s});
    }

    void thatNoneIsThereIsAnnounced()
    {
        make(Presence::unknown, Presence::absent);
        bool isSupported = true;
        _keys->setReportObserver([&] { isSupported = _keys->isSupported(); });

        _best->setPresence(Presence::absent);

        QVERIFY(!isSupported);
    }

    void requestsSurviveThatNoneIsThereForAWhile()
    {
        make(Presence::present, Presence::absent);
        const auto first = take(show);
        take(load);
        QTest::ignoreMessage(
            QtInfoMsg, "the desktop has no way to hot keys; they are kept for one that comes");
        _best->setPresence(Presence::absent);
        _keys->unregisterHotKey(first);
        _best->calls.clear();

        _best->setPresence(Presence::present);

        QCOMPARE(_best->calls, QStringList{u"register load"_s});
        QCOMPARE(_best->registered.size(), std::size_t(1));
    }

    void aRefusalAtOnceIsTheAnswer()
    {
        make(Presence::present, Presence::absent);
        _best->refusals.insert(u"show"_s, 10);

        const auto registration = _keys->registerHotKey(show);

        QCOMPARE(registration.status, 10);
        QVERIFY(!registration.handle);
        QVERIFY(_handler.told.isEmpty());
        _best->setPresence(Presence::absent);
        _other->setPresence(Presence::present);
        QVERIFY(_other->calls.isEmpty());
    }

    void aLaterRefusalIsToldAndTheRequestForgotten()
    {
        make(Presence::present, Presence::absent);
        const auto handle = take(show);

        _best->refuse(u"show"_s, 10);

        QCOMPARE(_handler.told, QStringList{u"refused #1 10"_s});
        _keys->unregisterHotKey(handle);
        QCOMPARE(_best->calls, QStringList{u"register show"_s});
        _other->setPresence(Presence::present);
        _best->setPresence(Presence::absent);
        QVERIFY(_other->calls.isEmpty());
    }

    void whatTheNextOneRefusesIsTold()
    {
        make(Presence::present, Presence::present);
        take(show);
        take(load);
        _other->refusals.insert(u"show"_s, 11);

        _best->setPresence(Presence::absent);

        QCOMPARE(_handler.told, QStringList{u"refused #1 11"_s});
        QCOMPARE(_other->registered.size(), std::size_t(1));
    }

    void whatIsGivenBackIsGivenBackWhereItIs()
    {
        make(Presence::present, Presence::absent);
        const auto first = take(show);
        const auto second = take(load);
        QVERIFY(first != second);

        _keys->unregisterHotKey(first);
        _keys->unregisterHotKey(first);

        QCOMPARE(_best->calls,
            (QStringList{u"register show"_s, u"register load"_s, u"unregister show"_s}));
    }

    void reportsComeFromTheOneInUse()
    {
        make(Presence::absent, Presence::present);
        int announced = 0;
        _keys->setReportObserver([&] { ++announced; });
        take(show);
        announced = 0;
        const HotKeyReport active{
            HotKeyReport::State::active, HotKeyFacility::portal, u"Ctrl+Space"_s, {}, 0};

        _other->setReport(u"show"_s, active);
        QCOMPARE(announced, 1);
        QCOMPARE(_keys->report(u"show"_s), active);
        _best->setReport(u"show"_s, {});
        QCOMPARE(announced, 1);
        QCOMPARE(_keys->report(u"show"_s), active);
    }

    void onlyTheKindsThatAreWantedAreTold()
    {
        make(Presence::present, Presence::absent);
        take(show);
        _keys->removeEventTypes(std::array{int(HotKeyEvent::pressed)});

        QCOMPARE(_best->press(u"show"_s), QList<int>{Answer::notHandled});
        QVERIFY(_handler.told.isEmpty());

        _best->setPresence(Presence::absent);
        _other->setPresence(Presence::present);
        QCOMPARE(_other->press(u"show"_s), QList<int>{Answer::notHandled});
        _keys->addEventTypes(std::array{int(HotKeyEvent::pressed)});
        QCOMPARE(_other->press(u"show"_s), QList<int>{Answer::noError});
    }

    void thereIsOneHandler()
    {
        make(Presence::present, Presence::absent);
        take(show);
        Handler second;
        QVERIFY(!_keys->installEventHandler(second));

        _keys->removeEventHandler();

        QCOMPARE(_best->press(u"show"_s), QList<int>{Answer::notHandled});
        QVERIFY(_keys->installEventHandler(second));
        QCOMPARE(_best->press(u"show"_s), QList<int>{Answer::noError});
        QCOMPARE(second.told, QStringList{u"pressed #1"_s});
        QVERIFY(_handler.told.isEmpty());
    }

    void anotherKeyboardIsTold()
    {
        make(Presence::present, Presence::absent);

        _best->changeKeyboard();

        QCOMPARE(_handler.told, QStringList{u"keyboard"_s});
    }
};

QTEST_GUILESS_MAIN(tst_DesktopHotKeys)
#include "tst_DesktopHotKeys.moc"
