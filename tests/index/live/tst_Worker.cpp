// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Throttle.h"
#include "index/live/Worker.h"

#include <QObject>
#include <QSemaphore>
#include <QTest>

#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <utility>

using namespace vellumhound::index;

namespace {

/// Much less than a rest while power is saved.
constexpr std::chrono::seconds patience{15};
/// The thread may not be asleep yet when its rest has begun, so each is tried some times.
constexpr int rounds = 20;

/// A worker on a thread of its own, by a throttle that rests while power is saved.
class Running {
public:
    /// `onRest` is called by the thread when a rest begins.
    explicit Running(std::function<void()> onRest = {})
        : _onRest(std::move(onRest))
    {
        throttle.setSavesPower(true);
        worker.setThrottle(&throttle);
        _thread = std::thread([this] { worker.run(); });
    }
    ~Running() { end(); }
    void end()
    {
        worker.stop();
        if (_thread.joinable())
            _thread.join();
    }
    void waitForRest() { _rests.acquire(); }
    /// A job that says when it is done.
    static Worker::Job telling(std::promise<void> &done)
    {
        return [&done]() -> Worker::Completion {
            done.set_value();
            return [] {};
        };
    }

    Worker worker{{}};
    // Reads the machine's pressure when a rest begins.
    Throttle throttle{Pressure([this] {
        if (_onRest)
            _onRest();
        _rests.release();
        return PressureReading{};
    })};

private:
    const std::function<void()> _onRest;
    QSemaphore _rests;
    std::thread _thread;
};

template <class Future> bool isReady(const Future &future, std::chrono::seconds time = patience)
{
    return future.wait_for(time) == std::future_status::ready;
}

}  // namespace

class tst_Worker final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void urgentJobsComeFirstAndIdleOnesLast();
    void anUrgentJobEndsARest();
    void anOrdinaryJobEndsTheRestOfAnIdleOne();
    void powerThatIsNoLongerSavedEndsARest();
    void aWakeWhileTheThrottleIsAskedIsNotMissed();
    void theEndDoesNotWaitForARest();
};

void tst_Worker::urgentJobsComeFirstAndIdleOnesLast()
{
    Worker worker({});
    std::string order;
    const auto noting = [&](char letter) {
        return [&order, letter]() -> Worker::Completion {
            order += letter;
            return [] {};
        };
    };
    worker.postIdle(noting('i'));
    worker.post(noting('a'));
    worker.post(noting('b'));
    worker.postUrgent(noting('u'));

    while (worker.step()) {
    }

    QCOMPARE(order, std::string("uabi"));
    QCOMPARE(worker.takeDone().size(), std::size_t(4));
}

void tst_Worker::anUrgentJobEndsARest()
{
    for (int round = 0; round < rounds; ++round) {
        std::promise<void> idle;
        std::promise<void> urgent;
        const auto isIdleDone = idle.get_future();
        {
            Running running;
            running.worker.postIdle(Running::telling(idle));
            running.waitForRest();

            running.worker.postUrgent(Running::telling(urgent));

            QVERIFY(isReady(urgent.get_future()));
        }
        // The power saver holds the idle one back.
        QVERIFY(!isReady(isIdleDone, std::chrono::seconds(0)));
    }
}

void tst_Worker::anOrdinaryJobEndsTheRestOfAnIdleOne()
{
    for (int round = 0; round < rounds; ++round) {
        std::promise<void> idle;
        std::promise<void> ordinary;
        const auto isIdleDone = idle.get_future();
        {
            Running running;
            running.worker.postIdle(Running::telling(idle));
            running.waitForRest();

            running.worker.post(Running::telling(ordinary));

            QVERIFY(isReady(ordinary.get_future()));
        }
        QVERIFY(!isReady(isIdleDone, std::chrono::seconds(0)));
    }
}

void tst_Worker::powerThatIsNoLongerSavedEndsARest()
{
    for (int round = 0; round < rounds; ++round) {
        std::promise<void> idle;
        Running running;
        running.worker.postIdle(Running::telling(idle));
        running.waitForRest();

        running.throttle.setSavesPower(false);
        running.worker.wake();

        QVERIFY(isReady(idle.get_future()));
    }
}

void tst_Worker::aWakeWhileTheThrottleIsAskedIsNotMissed()
{
    std::promise<void> idle;
    Running *self = nullptr;
    bool isFirst = true;
    Running running([&] {
        if (!std::exchange(isFirst, false))
            return;
        self->throttle.setSavesPower(false);
        self->worker.wake();
    });
    self = &running;

    running.worker.postIdle(Running::telling(idle));

    QVERIFY(isReady(idle.get_future()));
}

void tst_Worker::theEndDoesNotWaitForARest()
{
    for (int round = 0; round < rounds; ++round) {
        std::promise<void> idle;
        Running running;
        running.worker.postIdle(Running::telling(idle));
        running.waitForRest();

        const auto end = std::async(std::launch::async, [&] { running.end(); });

        QVERIFY(isReady(end));
    }
}

QTEST_APPLESS_MAIN(tst_Worker)
#include "tst_Worker.moc"
