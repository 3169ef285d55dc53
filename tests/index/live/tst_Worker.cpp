// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Throttle.h"
#include "index/live/Worker.h"

#include <QObject>
#include <QTest>

#include <chrono>
#include <future>
#include <thread>

using namespace vellumhound::index;

namespace {

/// Much less than a rest while power is saved.
constexpr std::chrono::seconds patience{15};

/// A worker on a thread of its own, by a throttle that rests while power is saved.
class Running {
public:
    Running()
    {
        _throttle.setSavesPower(true);
        worker.setThrottle(&_throttle);
        _thread = std::thread([this] { worker.run(); });
    }
    ~Running()
    {
        worker.stop();
        _thread.join();
    }
    /// A job that says when it is done.
    static Worker::Job telling(std::promise<void> &done)
    {
        return [&done]() -> Worker::Completion {
            done.set_value();
            return [] {};
        };
    }

    Worker worker{{}};

private:
    Throttle _throttle{Pressure([] { return PressureReading{}; })};
    std::thread _thread;
};

bool isDone(std::promise<void> &promise)
{
    return promise.get_future().wait_for(patience) == std::future_status::ready;
}

}  // namespace

class tst_Worker final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void urgentJobsComeFirstAndIdleOnesLast();
    void whatMayNotWaitIsNotHeldUpByAnIdleJobThatRests();
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

void tst_Worker::whatMayNotWaitIsNotHeldUpByAnIdleJobThatRests()
{
    std::promise<void> idle;
    std::promise<void> urgent;
    std::promise<void> ordinary;
    {
        Running running;
        running.worker.postIdle(Running::telling(idle));
        running.worker.postUrgent(Running::telling(urgent));
        QVERIFY(isDone(urgent));

        running.worker.post(Running::telling(ordinary));

        QVERIFY(isDone(ordinary));
    }
    // The power saver holds the idle one back.
    QCOMPARE(idle.get_future().wait_for(std::chrono::seconds(0)), std::future_status::timeout);
}

QTEST_APPLESS_MAIN(tst_Worker)
#include "tst_Worker.moc"
