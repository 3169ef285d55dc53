// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Stream.h"

#include <QList>
#include <QTest>

using namespace vellumhound::base;

namespace {

using Numbers = Stream<int>;

struct Seen {
    QList<int> values;
    bool isEndSeen = false;
    bool isCancelSeen = false;
};

Task consumes(MainQueue &, Numbers numbers, Seen *seen)
{
    while (const auto number = co_await numbers.next())
        seen->values.append(*number);
    seen->isCancelSeen = co_await isTaskCancelled();
    seen->isEndSeen = true;
}

Task takesOne(MainQueue &, Numbers numbers, Seen *seen)
{
    if (const auto number = co_await numbers.next())
        seen->values.append(*number);
    seen->isEndSeen = true;
}

Task asksOnceMore(MainQueue &, Numbers numbers, Seen *seen)
{
    const auto first = co_await numbers.next();
    const auto second = co_await numbers.next();
    seen->isEndSeen = !first && !second;
}

Task startsASuccessor(MainQueue &queue, Numbers numbers, Seen *seen, QList<int> *order, int number)
{
    order->append(number);
    while (const auto value = co_await numbers.next())
        seen->values.append(*value);
    order->append(-number);
    queue.post([] {});
}

}  // namespace

class tst_Stream : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<MainQueue> _queue;
    std::optional<Numbers::Continuation> _writer;
    int _terminations = 0;

    Numbers makeStream()
    {
        return Numbers(*_queue, [this](Numbers::Continuation writer) {
            writer.setOnTermination([this] { ++_terminations; });
            _writer = std::move(writer);
        });
    }

private Q_SLOTS:
    void init()
    {
        _queue = std::make_unique<MainQueue>();
        _terminations = 0;
    }
    void cleanup()
    {
        _writer.reset();
        _queue.reset();
    }

    void valuesArriveInOrderAndTheEndAfterThem()
    {
        Seen seen;
        const auto task = consumes(*_queue, makeStream(), &seen);
        _queue->drain();

        _writer->yield(1);
        _queue->drain();
        QCOMPARE(seen.values, (QList<int>{1}));
        _writer->yield(2);
        _writer->yield(3);
        _queue->drain();
        QCOMPARE(seen.values, (QList<int>{1, 2, 3}));
        QVERIFY(!seen.isEndSeen);
        _writer->finish();
        _queue->drain();

        QVERIFY(seen.isEndSeen && !seen.isCancelSeen);
        QVERIFY(task.isFinished());
        QCOMPARE(_terminations, 1);
    }

    void manyValuesOfOneTurnDoNotEndTheStream()
    {
        Seen seen;
        const auto task = consumes(*_queue, makeStream(), &seen);
        _queue->drain();

        for (int i = 0; i < 1000; ++i)
            _writer->yield(i);
        _queue->drain();
        QVERIFY(!seen.isEndSeen);
        QCOMPARE(seen.values.size(), 1000);
        QCOMPARE(_terminations, 0);

        _writer->yield(1000);
        _queue->drain();
        QCOMPARE(seen.values.last(), 1000);
        _writer->finish();
        _queue->drain();
        QVERIFY(seen.isEndSeen);
    }

    void aValueReachesTheConsumerInALaterTurn()
    {
        Seen seen;
        const auto task = consumes(*_queue, makeStream(), &seen);
        _queue->drain();

        _writer->yield(1);

        QVERIFY(seen.values.isEmpty());
        _writer->finish();
        QTRY_VERIFY(task.isFinished());
        QCOMPARE(seen.values, (QList<int>{1}));
    }

    void theBufferIsKeptAfterTheFinish()
    {
        Seen seen;
        auto stream = makeStream();
        _writer->yield(1);
        _writer->yield(2);
        _writer->finish();
        _writer->yield(3);
        QCOMPARE(_terminations, 1);

        consumes(*_queue, std::move(stream), &seen);
        _queue->drain();

        QCOMPARE(seen.values, (QList<int>{1, 2}));
        QVERIFY(seen.isEndSeen);
        QCOMPARE(_terminations, 1);
    }

    void theEndStaysTheEnd()
    {
        Seen seen;
        auto stream = makeStream();
        _writer->finish();

        asksOnceMore(*_queue, std::move(stream), &seen);
        _queue->drain();

        QVERIFY(seen.isEndSeen);
    }

    void cancellingTheWaitingTaskTerminatesAtOnce()
    {
        Seen seen;
        auto task = consumes(*_queue, makeStream(), &seen);
        _queue->drain();

        task.cancel();
        QCOMPARE(_terminations, 1);
        QVERIFY(!seen.isEndSeen);
        _queue->drain();

        QVERIFY(seen.isEndSeen && seen.isCancelSeen);
        QCOMPARE(_terminations, 1);
    }

    void aCancelledTaskGetsNoMoreValues()
    {
        Seen seen;
        auto task = consumes(*_queue, makeStream(), &seen);
        _queue->drain();

        _writer->yield(1);
        task.cancel();
        _writer->yield(2);
        _queue->drain();

        QVERIFY(seen.values.isEmpty());
        QVERIFY(seen.isEndSeen && seen.isCancelSeen);
    }

    void aTaskCancelledBeforeItBeginsTerminatesWhenItAsks()
    {
        Seen seen;
        auto stream = makeStream();
        _writer->yield(1);
        auto task = consumes(*_queue, std::move(stream), &seen);

        task.cancel();
        QCOMPARE(_terminations, 0);
        _queue->drain();

        QCOMPARE(_terminations, 1);
        QVERIFY(seen.values.isEmpty());
        QVERIFY(seen.isCancelSeen);
    }

    void cancellingAfterTheFinishGivesNoValueEither()
    {
        Seen seen;
        auto task = consumes(*_queue, makeStream(), &seen);
        _queue->drain();

        _writer->yield(1);
        _writer->finish();
        task.cancel();
        _queue->drain();

        QVERIFY(seen.values.isEmpty());
        QVERIFY(seen.isEndSeen);
        QCOMPARE(_terminations, 1);
    }

    void aConsumerThatGoesTerminates()
    {
        Seen seen;
        takesOne(*_queue, makeStream(), &seen);
        _queue->drain();

        _writer->yield(1);
        _writer->yield(2);
        _queue->drain();

        QVERIFY(seen.isEndSeen);
        QCOMPARE(_terminations, 1);
        _writer->yield(3);
        _writer->finish();
        _queue->drain();
        QCOMPARE(seen.values, (QList<int>{1}));
        QCOMPARE(_terminations, 1);
    }

    void aStreamThatNobodyReadsTerminatesWhenItGoes()
    {
        {
            const auto stream = makeStream();
            QCOMPARE(_terminations, 0);
        }
        QCOMPARE(_terminations, 1);
    }

    void aMovedStreamTerminatesOnce()
    {
        {
            auto stream = makeStream();
            const auto moved = std::move(stream);
        }
        QCOMPARE(_terminations, 1);
    }

    void aHandlerSetAfterTheEndRunsAtOnce()
    {
        {
            const auto stream = makeStream();
        }
        int late = 0;
        _writer->setOnTermination([&] { ++late; });

        QCOMPARE(late, 1);
        QCOMPARE(_terminations, 1);
    }

    void finishingTwiceTerminatesOnce()
    {
        const auto stream = makeStream();
        _writer->finish();
        _writer->finish();

        QCOMPARE(_terminations, 1);
    }

    void theHandlerMayWriteAndFinishAgain()
    {
        Seen seen;
        const auto task = consumes(*_queue, makeStream(), &seen);
        _writer->setOnTermination([this] {
            ++_terminations;
            _writer->yield(9);
            _writer->finish();
        });
        _queue->drain();

        _writer->finish();
        _queue->drain();

        QCOMPARE(_terminations, 1);
        QVERIFY(seen.values.isEmpty());
        QVERIFY(seen.isEndSeen);
    }

    void aSuccessorBeginsAfterTheCancelledOneHasEnded()
    {
        Seen seen;
        QList<int> order;
        auto task = startsASuccessor(*_queue, makeStream(), &seen, &order, 1);
        _queue->drain();
        const auto oldWriter = *_writer;

        task.cancel();
        task = startsASuccessor(*_queue, makeStream(), &seen, &order, 2);
        oldWriter.yield(1);
        _writer->yield(2);
        _queue->drain();

        QCOMPARE(order, (QList<int>{1, -1, 2}));
        QCOMPARE(seen.values, (QList<int>{2}));
        _writer->finish();
        _queue->drain();
        QCOMPARE(order, (QList<int>{1, -1, 2, -2}));
    }

    void aWriterMayOutliveAll()
    {
        Seen seen;
        auto task = consumes(*_queue, makeStream(), &seen);
        _queue->drain();
        _writer->finish();
        _queue->drain();
        QVERIFY(task.isFinished());

        const auto writer = *_writer;
        _writer.reset();
        writer.yield(1);
        writer.finish();

        QCOMPARE(_terminations, 1);
    }
};

QTEST_GUILESS_MAIN(tst_Stream)
#include "tst_Stream.moc"
