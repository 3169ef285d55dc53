// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Background.h"

#include <QCoreApplication>
#include <QTest>

#include <atomic>
#include <semaphore>
#include <thread>

using namespace vellumhound::base;
using namespace std::chrono_literals;

namespace {

/// Holds jobs until it is opened. Shared, as a job may outlive its test.
struct Barrier {
    void pass()
    {
        std::unique_lock lock(mutex);
        ++arrived;
        changed.notify_all();
        changed.wait(lock, [this] { return isOpen; });
        --arrived;
    }
    void waitForArrivals(int count)
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return arrived >= count; });
    }
    void open()
    {
        const std::lock_guard lock(mutex);
        isOpen = true;
        changed.notify_all();
    }
    std::mutex mutex;
    std::condition_variable changed;
    int arrived = 0;
    bool isOpen = false;
};

/// A value that knows the thread on which it went.
struct Witness {
    explicit Witness(std::thread::id *t)
        : thread(t)
    {
    }
    ~Witness() { *thread = std::this_thread::get_id(); }
    Q_DISABLE_COPY_MOVE(Witness)
    std::thread::id *thread;
};

struct Seen {
    std::optional<int> value;
    bool isDone = false;
    bool isCancelled = false;
};

std::function<int()> waitingJob(const std::shared_ptr<Barrier> &barrier, int value)
{
    return [barrier, value] {
        barrier->pass();
        return value;
    };
}

Task finishes(MainQueue &, Background *background, std::function<int()> work, Seen *seen)
{
    seen->value = co_await background->finish<int>(std::move(work));
    seen->isCancelled = co_await isTaskCancelled();
    seen->isDone = true;
}

}  // namespace

class tst_Background : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<MainQueue> _queue;
    std::unique_ptr<Background> _background;

private Q_SLOTS:
    void init()
    {
        _queue = std::make_unique<MainQueue>();
        _background = std::make_unique<Background>(*_queue);
    }
    void cleanup()
    {
        _background.reset();
        _queue.reset();
    }

    void workRunsElsewhereAndItsValueComesBack()
    {
        const auto main = std::this_thread::get_id();
        std::thread::id worker = main;
        std::thread::id receiver;
        int value = 0;

        _background->run<int>(
            [&worker] {
                worker = std::this_thread::get_id();
                return 42;
            },
            [&](int given) {
                receiver = std::this_thread::get_id();
                value = given;
            });
        QCOMPARE(value, 0);

        QTRY_COMPARE(value, 42);
        QVERIFY(worker != main);
        QVERIFY(receiver == main);
    }

    void aValueThatOnlyMovesComesBack()
    {
        std::unique_ptr<int> value;

        _background->run<std::unique_ptr<int>>([] { return std::make_unique<int>(5); },
            [&](std::unique_ptr<int> given) { value = std::move(given); });

        QTRY_VERIFY(value);
        QCOMPARE(*value, 5);
    }

    void manyJobsAllComeBack()
    {
        constexpr int count = 2'000;
        qint64 sum = 0;
        int arrived = 0;
        for (int i = 0; i < count; ++i)
            _background->run<int>([i] { return i; },
                [&](int value) {
                    sum += value;
                    ++arrived;
                });

        QTRY_COMPARE(arrived, count);
        QCOMPARE(sum, qint64(count) * (count - 1) / 2);
    }

    void aHangingJobHoldsUpNobody()
    {
        const auto barrier = std::make_shared<Barrier>();
        int hung = 0;
        for (int i = 0; i < 15; ++i)
            _background->run<int>(waitingJob(barrier, 1), [&](int value) { hung += value; });
        barrier->waitForArrivals(15);

        int value = 0;
        _background->run<int>([] { return 7; }, [&](int given) { value = given; });

        QTRY_COMPARE(value, 7);
        QCOMPARE(hung, 0);
        barrier->open();
        QTRY_COMPARE(hung, 15);
    }

    void beyondTheMostWorkersJobsWait()
    {
        const auto barrier = std::make_shared<Barrier>();
        int arrived = 0;
        for (int i = 0; i < 40; ++i)
            _background->run<int>(waitingJob(barrier, 1), [&](int value) { arrived += value; });
        barrier->waitForArrivals(16);
        {
            const std::lock_guard lock(barrier->mutex);
            QCOMPARE(barrier->arrived, 16);
        }

        barrier->open();

        QTRY_COMPARE(arrived, 40);
    }

    void waitingGivesAQuickValueBeforeItReturns()
    {
        int value = 0;

        const bool isInTime = _background->runWaiting<int>(
            60s, [] { return 3; }, [&](int given) { value = given; });

        QVERIFY(isInTime);
        QCOMPARE(value, 3);
        _queue->drain();
        QCOMPARE(value, 3);
    }

    void waitingGivesUpOnASlowJobAndDeliversLater()
    {
        const auto barrier = std::make_shared<Barrier>();
        int calls = 0;
        int value = 0;

        const bool isInTime =
            _background->runWaiting<int>(1ms, waitingJob(barrier, 3), [&](int given) {
                ++calls;
                value = given;
            });
        QVERIFY(!isInTime);
        QCOMPARE(calls, 0);
        barrier->open();

        QTRY_COMPARE(calls, 1);
        QCOMPARE(value, 3);
    }

    void theReceiverOfAWaitGoesOnTheMainThread()
    {
        const auto main = std::this_thread::get_id();
        for (int i = 0; i < 200; ++i) {
            std::thread::id last;
            bool isCalled = false;
            auto witness = std::make_shared<Witness>(&last);
            _background->runWaiting<int>(
                60s, [] { return 1; }, [witness, &isCalled](int) { isCalled = true; });
            QVERIFY(isCalled);
            QCOMPARE(witness.use_count(), 1);
            witness.reset();
            QVERIFY(last == main);
        }
    }

    void whatComesBackAfterTheOwnerHasGoneIsDropped()
    {
        const auto barrier = std::make_shared<Barrier>();
        bool isCalled = false;
        _background->run<int>(waitingJob(barrier, 1), [&](int) { isCalled = true; });
        _background->runWaiting<int>(1ms, waitingJob(barrier, 1), [&](int) { isCalled = true; });
        barrier->waitForArrivals(2);

        _background.reset();
        barrier->open();
        QCoreApplication::processEvents();
        _queue->drain();

        QVERIFY(!isCalled);
    }

    void aTaskGetsTheValue()
    {
        Seen seen;
        const auto task = finishes(
            *_queue, _background.get(), [] { return 9; }, &seen);

        QTRY_VERIFY(task.isFinished());

        QCOMPARE(seen.value, std::optional(9));
        QVERIFY(!seen.isCancelled);
    }

    void aCancelledTaskGoesOnWithoutTheValue()
    {
        const auto barrier = std::make_shared<Barrier>();
        Seen seen;
        auto task = finishes(*_queue, _background.get(), waitingJob(barrier, 9), &seen);
        _queue->drain();
        barrier->waitForArrivals(1);

        task.cancel();
        QVERIFY(!seen.isDone);
        _queue->drain();
        QVERIFY(seen.isDone && seen.isCancelled);
        QVERIFY(!seen.value);

        // What the worker still delivers finds nobody.
        barrier->open();
        bool isLater = false;
        _background->run<int>([] { return 0; }, [&](int) { isLater = true; });
        QTRY_VERIFY(isLater);
        QVERIFY(!seen.value);
    }

    void aTaskCancelledBeforeItBeginsStartsNoWork()
    {
        auto count = std::make_shared<std::atomic<int>>(0);
        Seen seen;
        auto task = finishes(
            *_queue, _background.get(), [count] { return ++*count; }, &seen);

        task.cancel();
        _queue->drain();

        QVERIFY(seen.isDone && seen.isCancelled);
        QVERIFY(!seen.value);
        QCOMPARE(count->load(), 0);
    }

    void aTaskWaitingWhenTheOwnerGoesCanStillBeCancelled()
    {
        const auto barrier = std::make_shared<Barrier>();
        Seen seen;
        auto task = finishes(*_queue, _background.get(), waitingJob(barrier, 9), &seen);
        _queue->drain();
        barrier->waitForArrivals(1);

        _background.reset();
        task.cancel();
        _queue->drain();
        barrier->open();

        QVERIFY(seen.isDone && seen.isCancelled);
    }
};

QTEST_GUILESS_MAIN(tst_Background)
#include "tst_Background.moc"
