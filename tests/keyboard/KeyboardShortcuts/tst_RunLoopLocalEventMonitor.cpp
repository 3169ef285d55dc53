// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/RunLoopLocalEventMonitor.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;
using platform::HotKeyEvent;
using platform::RawKeyFeed;

namespace {

constexpr std::uint64_t keyMask = 3072;  // types 10 and 11
const QString tracking = u"tracking"_s;

HotKeyEvent raw(int kind, std::uint32_t keyCode)
{
    HotKeyEvent event;
    event.kind = kind;
    event.keyCode = keyCode;
    return event;
}

}  // namespace

class tst_RunLoopLocalEventMonitor : public QObject {
    Q_OBJECT

private:
    RawKeyFeed _feed;
    QList<HotKeyEvent> _seen;

    RunLoopLocalEventMonitor::Callback takingKey(std::uint32_t keyCode)
    {
        return [this, keyCode](const HotKeyEvent &event) {
            _seen.append(event);
            return event.keyCode == keyCode ? std::nullopt : std::optional(event);
        };
    }

private Q_SLOTS:
    void init() { _seen.clear(); }

    void whatTheCallbackTakesGoesNoFurther()
    {
        RunLoopLocalEventMonitor monitor(_feed, keyMask, tracking, takingKey(3));
        monitor.start();

        QVERIFY(!_feed.offer(raw(HotKeyEvent::rawKeyDown, 1)));
        QVERIFY(_feed.offer(raw(HotKeyEvent::rawKeyDown, 3)));
        QVERIFY(_feed.offer(raw(HotKeyEvent::rawKeyUp, 3)));
        QVERIFY(!_feed.offer(raw(HotKeyEvent::rawKeyDown, 4)));

        QCOMPARE(_seen, (QList{raw(HotKeyEvent::rawKeyDown, 1), raw(HotKeyEvent::rawKeyDown, 3),
                            raw(HotKeyEvent::rawKeyUp, 3), raw(HotKeyEvent::rawKeyDown, 4)}));
    }

    void onlyTheTypesOfItsMaskAreSeen_data()
    {
        QTest::addColumn<quint64>("mask");
        QTest::addColumn<bool>("seesDown");
        QTest::addColumn<bool>("seesUp");
        QTest::newRow("down alone") << quint64(1) << true << false;
        QTest::newRow("up alone") << quint64(2) << false << true;
        QTest::newRow("neither") << quint64(0) << false << false;
    }
    void onlyTheTypesOfItsMaskAreSeen()
    {
        QFETCH(quint64, mask);
        QFETCH(bool, seesDown);
        QFETCH(bool, seesUp);
        RunLoopLocalEventMonitor monitor(_feed, mask << 10, tracking, takingKey(3));
        monitor.start();

        QCOMPARE(_feed.offer(raw(HotKeyEvent::rawKeyDown, 3)), seesDown);
        QCOMPARE(_feed.offer(raw(HotKeyEvent::rawKeyRepeat, 3)), seesDown);
        QCOMPARE(_feed.offer(raw(HotKeyEvent::rawKeyUp, 3)), seesUp);

        QCOMPARE(_seen.size(), (seesDown ? 2 : 0) + (seesUp ? 1 : 0));
    }

    void itSeesKeysWhileItRunsAlone()
    {
        RunLoopLocalEventMonitor monitor(_feed, keyMask, tracking, takingKey(3));
        QCOMPARE(monitor.runLoopMode(), tracking);
        QVERIFY(!_feed.offer(raw(HotKeyEvent::rawKeyDown, 3)));

        monitor.start();
        monitor.start();
        QVERIFY(monitor.isRunning());
        QVERIFY(_feed.offer(raw(HotKeyEvent::rawKeyDown, 3)));

        monitor.stop();
        monitor.stop();
        QVERIFY(!monitor.isRunning());
        QVERIFY(!_feed.offer(raw(HotKeyEvent::rawKeyDown, 3)));
        QVERIFY(!_feed.isRunning());
    }

    void itsEndStopsTheFeed()
    {
        {
            RunLoopLocalEventMonitor monitor(_feed, keyMask, tracking, takingKey(3));
            monitor.start();
            QVERIFY(_feed.isRunning());
        }

        QVERIFY(!_feed.isRunning());
    }

    void aMonitorThatNeverRanLeavesTheFeedToTheOther()
    {
        RunLoopLocalEventMonitor monitor(_feed, keyMask, tracking, takingKey(3));
        monitor.start();

        {
            RunLoopLocalEventMonitor idle(_feed, keyMask, tracking, takingKey(4));
        }

        QVERIFY(_feed.isRunning());
    }

    void theCallbackMayEndTheMonitor()
    {
        std::optional<RunLoopLocalEventMonitor> monitor;
        monitor.emplace(_feed, keyMask, tracking, [&](const HotKeyEvent &) {
            monitor.reset();
            return std::nullopt;
        });
        monitor->start();

        QVERIFY(_feed.offer(raw(HotKeyEvent::rawKeyDown, 1)));
        QVERIFY(!_feed.offer(raw(HotKeyEvent::rawKeyUp, 1)));
    }
};

QTEST_GUILESS_MAIN(tst_RunLoopLocalEventMonitor)
#include "tst_RunLoopLocalEventMonitor.moc"
