// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/MainQueue.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QList>
#include <QTest>

using namespace vellumhound::base;

class tst_MainQueue : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void blocksRunInTheOrderAskedInALaterTurn()
    {
        MainQueue queue;
        QList<int> order;

        for (int i = 0; i < 5; ++i)
            queue.post([&order, i] { order.append(i); });
        QVERIFY(order.isEmpty());
        QVERIFY(!queue.isEmpty());
        QCoreApplication::processEvents();

        QCOMPARE(order, (QList<int>{0, 1, 2, 3, 4}));
        QVERIFY(queue.isEmpty());
    }

    void drainRunsAllAtOnceAndTheLoopFindsNothing()
    {
        MainQueue queue;
        int count = 0;
        queue.post([&] { ++count; });

        queue.drain();
        QCOMPARE(count, 1);
        QCoreApplication::processEvents();
        queue.drain();

        QCOMPARE(count, 1);
    }

    void aBlockPostedByABlockRunsInTheSameDrain()
    {
        MainQueue queue;
        QList<int> order;
        queue.post([&] {
            order.append(1);
            queue.post([&] { order.append(3); });
        });
        queue.post([&] { order.append(2); });

        queue.drain();

        QCOMPARE(order, (QList<int>{1, 2, 3}));
    }

    void aDrainInsideABlockRunsWhatStandsBehind()
    {
        MainQueue queue;
        QList<int> order;
        queue.post([&] {
            order.append(1);
            queue.drain();
            order.append(3);
        });
        queue.post([&] { order.append(2); });

        queue.drain();

        QCOMPARE(order, (QList<int>{1, 2, 3}));
    }

    void aLoopInsideABlockRunsWhatIsPostedInIt()
    {
        MainQueue queue;
        bool isReached = false;
        queue.post([&] {
            QEventLoop loop;
            queue.post([&] {
                isReached = true;
                loop.quit();
            });
            loop.exec();
        });

        QCoreApplication::processEvents();

        QVERIFY(isReached);
    }

    void postingGoesOnAfterALoopHasRunTheQueue()
    {
        MainQueue queue;
        int count = 0;
        for (int round = 1; round <= 3; ++round) {
            queue.post([&] { ++count; });
            QCoreApplication::processEvents();
            QCOMPARE(count, round);
        }
    }

    void aQueueThatGoesFreesItsBlocks()
    {
        auto held = std::make_shared<int>(0);
        {
            MainQueue queue;
            queue.post([held] { ++*held; });
        }
        QCoreApplication::processEvents();

        QCOMPARE(held.use_count(), 1);
        QCOMPARE(*held, 0);
    }
};

QTEST_GUILESS_MAIN(tst_MainQueue)
#include "tst_MainQueue.moc"
