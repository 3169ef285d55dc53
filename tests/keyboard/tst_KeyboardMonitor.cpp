// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakeKeyEventSource.h"
#include "keyboard/KeyboardHandlingViewModifier.h"
#include "keyboard/KeyboardMonitor.h"

#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::keyboard;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;

namespace {

/// A screen that notes what it gets, and consumes or replaces what it is told to.
class NotingScreen final : public KeyboardHandling {
public:
    explicit NotingScreen(const QString &id)
        : _id(id)
    {
    }
    QString id() const override { return _id; }
    std::optional<base::KeyEvent> handleKeyEvent(const base::KeyEvent &event) override
    {
        seen.append(event.keyCode);
        if (event.keyCode == consumedKey && event.modifiers() == 0)
            return std::nullopt;
        auto result = event;
        if (replacement)
            result.keyCode = *replacement;
        return result;
    }

    QList<int> seen;
    int consumedKey = -2;
    std::optional<int> replacement;

private:
    QString _id;
};

}  // namespace

class TestKeyboardMonitor : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<base::MainQueue> _queue;
    fakes::FakeKeyEventSource _source;
    std::unique_ptr<KeyboardMonitor> _monitor;
    QList<int> _seenByApp;

    void letTheAppNote(std::optional<int> replacement = std::nullopt)
    {
        _monitor->setAppLevelHandler(
            [this, replacement](const base::KeyEvent &event) -> std::optional<base::KeyEvent> {
                _seenByApp.append(event.keyCode);
                if (!replacement)
                    return std::nullopt;
                auto other = event;
                other.keyCode = *replacement;
                return other;
            });
    }

private Q_SLOTS:
    void init()
    {
        _monitor.reset();
        _source = {};
        _seenByApp.clear();
        _queue = std::make_unique<base::MainQueue>();
        _monitor = std::make_unique<KeyboardMonitor>(_source, *_queue);
    }

    void makingItStartsTheMonitoring() { QCOMPARE(_source.monitorCount(), 1); }

    void startingAgainReplacesTheInstalledMonitor()
    {
        _monitor->startMonitoring();

        QCOMPARE(_source.monitorCount(), 1);
        QVERIFY(_monitor->isMonitoring());
    }

    void stoppingTwiceIsOnce()
    {
        _monitor->stopMonitoring();
        _monitor->stopMonitoring();

        QCOMPARE(_source.monitorCount(), 0);
        QVERIFY(!_monitor->isMonitoring());
    }

    void theMonitorGoesWithItsOwner()
    {
        _monitor.reset();

        QCOMPARE(_source.monitorCount(), 0);
        QVERIFY(_source.press(base::KeyCode::f).has_value());
    }

    void withoutAFocusedScreenAKeyReachesTheAppHandlerAndGoesOn()
    {
        letTheAppNote();

        const auto left = _source.press(base::KeyCode::f, Flags::command);

        QCOMPARE(_seenByApp, QList<int>{base::KeyCode::f});
        QVERIFY(left.has_value());
    }

    void withoutAnyHandlerAKeyGoesOn()
    {
        const auto left = _source.press(base::KeyCode::f);

        QCOMPARE(left->keyCode, base::KeyCode::f);
    }

    void theAppHandlerCannotConsumeOnlyReplace()
    {
        NotingScreen screen(u"A"_s);
        _monitor->setFocusedHandler(&screen);
        letTheAppNote(base::KeyCode::w);

        const auto replaced = _source.press(base::KeyCode::n, Flags::command);

        QCOMPARE(replaced->keyCode, base::KeyCode::w);
        QCOMPARE(screen.seen, QList<int>{base::KeyCode::n});
    }

    void nothingFromTheAppHandlerLetsTheKeyGoOnBehindAScreenThatPassesIt()
    {
        NotingScreen screen(u"A"_s);
        _monitor->setFocusedHandler(&screen);
        letTheAppNote();

        const auto left = _source.press(base::KeyCode::n, Flags::command);

        QCOMPARE(left->keyCode, base::KeyCode::n);
        QCOMPARE(_seenByApp, QList<int>{base::KeyCode::n});
    }

    void theAppHandlerGetsWhatTheScreenMadeOfTheKey()
    {
        NotingScreen screen(u"A"_s);
        screen.replacement = base::KeyCode::t;
        _monitor->setFocusedHandler(&screen);
        letTheAppNote();

        const auto left = _source.press(base::KeyCode::n);

        QCOMPARE(_seenByApp, QList<int>{base::KeyCode::t});
        QCOMPARE(left->keyCode, base::KeyCode::t);
    }

    void whatTheScreenConsumesTheAppHandlerNeverSees()
    {
        NotingScreen screen(u"A"_s);
        screen.consumedKey = base::KeyCode::up;
        _monitor->setFocusedHandler(&screen);
        letTheAppNote();

        QVERIFY(!_source.press(base::KeyCode::up));
        QVERIFY(_seenByApp.isEmpty());
    }

    void whilePausedNoHandlerSeesAKeyAndBothAreKept()
    {
        NotingScreen screen(u"A"_s);
        _monitor->setFocusedHandler(&screen);
        letTheAppNote();
        _monitor->setMonitoringPaused(true);

        QVERIFY(_source.press(base::KeyCode::f, Flags::command).has_value());

        QVERIFY(_seenByApp.isEmpty());
        QVERIFY(screen.seen.isEmpty());
        _monitor->setMonitoringPaused(false);
        _source.press(base::KeyCode::f, Flags::command);
        QCOMPARE(_seenByApp.size(), 1);
        QCOMPARE(screen.seen.size(), 1);
    }

    void theQueueIsDrainedBeforeAKeyIsRouted()
    {
        NotingScreen screen(u"A"_s);
        _queue->post([&] { _monitor->setFocusedHandler(&screen); });

        _source.press(base::KeyCode::f);

        QCOMPARE(screen.seen, QList<int>{base::KeyCode::f});
    }

    void capsLockAndTheKeypadFlagDoNotCountAsModifiers()
    {
        NotingScreen screen(u"A"_s);
        screen.consumedKey = base::KeyCode::up;
        _monitor->setFocusedHandler(&screen);

        QVERIFY(!_source.press(base::KeyCode::up, Flags::capsLock | Flags::numericPad));
    }

    void aScreenThatLosesFocusAfterItsSuccessorRegisteredDoesNotRemoveIt()
    {
        NotingScreen first(u"A"_s);
        NotingScreen second(u"B"_s);
        KeyboardHandlingViewModifier firstModifier(*_monitor, first);
        KeyboardHandlingViewModifier secondModifier(*_monitor, second);
        firstModifier.setFocused(true);

        secondModifier.setFocused(true);
        firstModifier.setFocused(false);

        QCOMPARE(_monitor->focusedHandler(), &second);
    }

    void aHandOverInTheOtherOrderEndsTheSame()
    {
        NotingScreen first(u"A"_s);
        NotingScreen second(u"B"_s);
        KeyboardHandlingViewModifier firstModifier(*_monitor, first);
        KeyboardHandlingViewModifier secondModifier(*_monitor, second);
        firstModifier.setFocused(true);

        firstModifier.setFocused(false);
        QVERIFY(!_monitor->focusedHandler());
        secondModifier.setFocused(true);

        QCOMPARE(_monitor->focusedHandler(), &second);
    }

    void aScreenThatDisappearsWhileItHoldsTheFocusLeavesNoHandler()
    {
        NotingScreen screen(u"A"_s);
        KeyboardHandlingViewModifier modifier(*_monitor, screen);
        modifier.setFocused(true);

        modifier.disappear();

        QVERIFY(!_monitor->focusedHandler());
    }

    void clearingWithAnotherIdChangesNothing()
    {
        NotingScreen screen(u"A"_s);
        _monitor->setFocusedHandler(&screen);

        _monitor->clearFocusedHandler(u"B"_s);
        QCOMPARE(_monitor->focusedHandler(), &screen);

        _monitor->clearFocusedHandler(u"A"_s);
        QVERIFY(!_monitor->focusedHandler());
    }
};

QTEST_GUILESS_MAIN(TestKeyboardMonitor)
#include "tst_KeyboardMonitor.moc"
