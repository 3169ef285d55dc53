// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Timer.h"
#include "fakes/ManualTimer.h"

#include <QCoreApplication>
#include <QList>
#include <QTest>

using namespace vellumhound;
using namespace std::chrono_literals;

class tst_Timer : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aWaitEndsOnceInTheEventLoop()
    {
        base::EventLoopTimer timer;
        QList<int> order;
        const auto later = timer.after(20ms, [&] { order.append(2); });
        const auto sooner = timer.after(0ms, [&] { order.append(1); });
        QVERIFY(order.isEmpty());

        QTRY_COMPARE(order, (QList<int>{1, 2}));
        QCoreApplication::processEvents();
        QCOMPARE(order.size(), 2);
    }

    void aDestroyedWaitIsCalledOff()
    {
        base::EventLoopTimer timer;
        bool isCalled = false;
        bool isMarkReached = false;
        auto wait = timer.after(0ms, [&] { isCalled = true; });

        wait.reset();
        const auto mark = timer.after(1ms, [&] { isMarkReached = true; });
        QTRY_VERIFY(isMarkReached);

        QVERIFY(!isCalled);
    }

    void aBlockMayDestroyItsWait()
    {
        base::EventLoopTimer timer;
        std::unique_ptr<base::Timer::Wait> wait;
        const auto held = std::make_shared<int>(7);
        int seen = 0;
        wait = timer.after(0ms, [&wait, &seen, held] {
            wait.reset();
            seen = *held;
        });

        QTRY_COMPARE(seen, 7);
        QVERIFY(!wait);
        QCOMPARE(held.use_count(), 1);
    }

    void aBlockMayAskForTheNextWait()
    {
        base::EventLoopTimer timer;
        std::unique_ptr<base::Timer::Wait> wait;
        int rounds = 0;
        std::function<void()> again = [&] {
            if (++rounds < 3)
                wait = timer.after(0ms, again);
        };
        wait = timer.after(0ms, again);

        QTRY_COMPARE(rounds, 3);
    }

    void theManualTimerRunsByItsOwnTime()
    {
        fakes::ManualTimer timer;
        QList<int> order;
        const auto b = timer.after(300ms, [&] { order.append(2); });
        const auto a = timer.after(100ms, [&] { order.append(1); });
        auto never = timer.after(200ms, [&] { order.append(9); });
        never.reset();
        QCOMPARE(timer.pendingCount(), 2);

        timer.advance(299ms);
        QCOMPARE(order, (QList<int>{1}));
        timer.advance(1ms);
        QCOMPARE(order, (QList<int>{1, 2}));
        QCOMPARE(timer.pendingCount(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_Timer)
#include "tst_Timer.moc"
