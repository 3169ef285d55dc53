// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Task.h"

#include <QStringList>
#include <QTest>

using namespace vellumhound::base;
using namespace Qt::StringLiterals;

namespace {

/// A wait that a test ends by hand. Cancellation ends it too.
struct Gate {
    explicit Gate(MainQueue &q)
        : queue(q)
    {
    }
    void open()
    {
        isOpen = true;
        wake();
    }
    void wake()
    {
        if (auto handle = std::exchange(waiting, {}))
            queue.post([handle] { handle.resume(); });
    }

    MainQueue &queue;
    bool isOpen = false;
    std::coroutine_handle<> waiting;
};

struct passing {
    explicit passing(Gate *g)
        : gate(g)
    {
    }
    void bind(const std::shared_ptr<TaskState> &state) { task = state; }
    bool await_ready() const { return gate->isOpen || task->isCancelled; }
    void await_suspend(std::coroutine_handle<> handle)
    {
        gate->waiting = handle;
        task->onCancel = [kept = gate] { kept->wake(); };
    }
    bool await_resume()
    {
        task->onCancel = {};
        return !task->isCancelled;
    }

    Gate *gate;
    std::shared_ptr<TaskState> task;
};

struct Log {
    QStringList lines;
    QString text() const { return lines.join(u' '); }
};

/// Tells when it goes, to see when a frame is freed.
struct Trace {
    Trace(Log *l, QString n)
        : log(l)
        , name(std::move(n))
    {
    }
    ~Trace() { log->lines.append(u'~' + name); }
    Q_DISABLE_COPY_MOVE(Trace)
    Log *log;
    QString name;
};

Task writesItsName(MainQueue &, Log *log, QString name)
{
    const bool isCancelled = co_await isTaskCancelled();
    log->lines.append(isCancelled ? name + u"-cancelled"_s : name);
}

Task passesAGate(MainQueue &, Gate *gate, Log *log, QString name)
{
    const Trace trace(log, name);
    log->lines.append(name + u"-begins"_s);
    const bool hasPassed = co_await passing(gate);
    log->lines.append(name + (hasPassed ? u"-passed"_s : u"-cancelled"_s));
}

Step<int> passedCount(Gate *first, Gate *second, Log *log)
{
    const Trace trace(log, u"step"_s);
    int count = 0;
    if (co_await passing(first))
        ++count;
    if (co_await passing(second))
        ++count;
    if (co_await isTaskCancelled())
        log->lines.append(u"step-cancelled"_s);
    co_return count;
}

Step<int> twice(Gate *first, Gate *second, Log *log)
{
    const int count = co_await passedCount(first, second, log);
    co_return 2 * count;
}

Task awaitsSteps(MainQueue &, Gate *first, Gate *second, Log *log)
{
    const int count = co_await twice(first, second, log);
    log->lines.append(QString::number(count));
}

Task awaitsManySteps(MainQueue &, Gate *open, Log *log)
{
    int sum = 0;
    for (int i = 0; i < 20'000; ++i)
        sum += co_await passedCount(open, open, log);
    log->lines = {QString::number(sum)};
}

class Model {
public:
    explicit Model(MainQueue &queue)
        : _queue(queue)
    {
    }
    MainQueue &mainQueue() { return _queue; }
    Task work(Log *log)
    {
        log->lines.append(u"member"_s);
        co_await isTaskCancelled();
    }

private:
    MainQueue &_queue;
};

}  // namespace

class tst_Task : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theBodyBeginsInTheNextTurn()
    {
        MainQueue queue;
        Log log;

        const auto task = writesItsName(queue, &log, u"a"_s);
        QVERIFY(log.lines.isEmpty());
        QVERIFY(!task.isFinished());

        queue.drain();
        QCOMPARE(log.text(), u"a"_s);
        QVERIFY(task.isFinished());
        QVERIFY(!task.isCancelled());
    }

    void theEventLoopRunsItToo()
    {
        MainQueue queue;
        Log log;

        const auto task = writesItsName(queue, &log, u"a"_s);

        QTRY_VERIFY(task.isFinished());
    }

    void tasksBeginInTheOrderAsked()
    {
        MainQueue queue;
        Log log;

        writesItsName(queue, &log, u"a"_s);
        queue.post([&] { log.lines.append(u"block"_s); });
        writesItsName(queue, &log, u"b"_s);
        queue.drain();

        QCOMPARE(log.text(), u"a block b"_s);
    }

    void aMemberFindsTheQueueOfItsObject()
    {
        MainQueue queue;
        Model model(queue);
        Log log;

        model.work(&log);
        queue.drain();

        QCOMPARE(log.text(), u"member"_s);
    }

    void aTaskCancelledBeforeItBeginsStillRunsItsWay()
    {
        MainQueue queue;
        Log log;
        Gate gate(queue);

        auto first = writesItsName(queue, &log, u"a"_s);
        auto second = passesAGate(queue, &gate, &log, u"b"_s);
        first.cancel();
        second.cancel();
        QVERIFY(log.lines.isEmpty());
        queue.drain();

        QCOMPARE(log.text(), u"a-cancelled b-begins b-cancelled ~b"_s);
        QVERIFY(first.isFinished() && second.isFinished());
    }

    void cancellingEndsTheWaitInALaterTurn()
    {
        MainQueue queue;
        Log log;
        Gate gate(queue);
        auto task = passesAGate(queue, &gate, &log, u"a"_s);
        queue.drain();
        QCOMPARE(log.text(), u"a-begins"_s);

        task.cancel();
        QCOMPARE(log.text(), u"a-begins"_s);
        QVERIFY(task.isCancelled() && !task.isFinished());
        queue.drain();

        QCOMPARE(log.text(), u"a-begins a-cancelled ~a"_s);
        QVERIFY(task.isFinished());
    }

    void cancellingTwiceIsOnce()
    {
        MainQueue queue;
        Log log;
        Gate gate(queue);
        auto task = passesAGate(queue, &gate, &log, u"a"_s);
        queue.drain();

        task.cancel();
        task.cancel();
        queue.drain();
        task.cancel();
        queue.drain();

        QCOMPARE(log.text(), u"a-begins a-cancelled ~a"_s);
    }

    void cancellingAFinishedTaskIsWithoutEffect()
    {
        MainQueue queue;
        Log log;
        auto task = writesItsName(queue, &log, u"a"_s);
        queue.drain();

        task.cancel();
        queue.drain();

        QVERIFY(!task.isCancelled());
        QCOMPARE(log.text(), u"a"_s);
    }

    void aCancelledTaskEndsBeforeItsSuccessorBegins()
    {
        MainQueue queue;
        Log log;
        Gate gate(queue);
        auto old = passesAGate(queue, &gate, &log, u"old"_s);
        queue.drain();

        old.cancel();
        old = writesItsName(queue, &log, u"new"_s);
        queue.drain();

        QCOMPARE(log.text(), u"old-begins old-cancelled ~old new"_s);
    }

    void theHandleMayGoBeforeTheBodyEnds()
    {
        MainQueue queue;
        Log log;
        Gate gate(queue);
        {
            const auto task = passesAGate(queue, &gate, &log, u"a"_s);
        }
        queue.drain();
        gate.open();
        queue.drain();

        QCOMPARE(log.text(), u"a-begins a-passed ~a"_s);
    }

    void copiesOfAHandleAreOneTask()
    {
        MainQueue queue;
        Log log;
        auto task = writesItsName(queue, &log, u"a"_s);
        auto copy = task;

        copy.cancel();
        queue.drain();

        QVERIFY(task.isCancelled() && task.isFinished());
    }

    void aQueueThatGoesFirstFreesWhatHasNotBegun()
    {
        Log log;
        std::optional<Task> task;
        {
            MainQueue queue;
            task = writesItsName(queue, &log, u"a"_s);
        }

        QVERIFY(log.lines.isEmpty());
        QVERIFY(!task->isFinished());
        task->cancel();
    }

    void stepsRunInTheTurnOfTheirTask()
    {
        MainQueue queue;
        Log log;
        Gate first(queue);
        Gate second(queue);
        first.isOpen = second.isOpen = true;

        awaitsSteps(queue, &first, &second, &log);
        queue.drain();

        QCOMPARE(log.text(), u"~step 4"_s);
    }

    void aStepWaitsAndGivesItsValue()
    {
        MainQueue queue;
        Log log;
        Gate first(queue);
        Gate second(queue);
        const auto task = awaitsSteps(queue, &first, &second, &log);
        queue.drain();

        first.open();
        queue.drain();
        QVERIFY(log.lines.isEmpty());
        second.open();
        queue.drain();

        QCOMPARE(log.text(), u"~step 4"_s);
        QVERIFY(task.isFinished());
    }

    void cancellingATaskReachesItsInnermostStep()
    {
        MainQueue queue;
        Log log;
        Gate first(queue);
        Gate second(queue);
        auto task = awaitsSteps(queue, &first, &second, &log);
        queue.drain();
        first.open();
        queue.drain();

        task.cancel();
        queue.drain();

        // The first gate was passed, the second ended by the cancellation.
        QCOMPARE(log.text(), u"step-cancelled ~step 2"_s);
        QVERIFY(task.isFinished());
    }

    void aStepThatIsNeverAwaitedIsFreed()
    {
        MainQueue queue;
        Log log;
        Gate gate(queue);
        {
            const auto step = passedCount(&gate, &gate, &log);
        }

        QVERIFY(log.lines.isEmpty());
    }

    void manyStepsInARowDoNotGrowTheStack()
    {
        MainQueue queue;
        Log log;
        Gate open(queue);
        open.isOpen = true;

        awaitsManySteps(queue, &open, &log);
        queue.drain();

        QCOMPARE(log.text(), u"40000"_s);
    }
};

QTEST_GUILESS_MAIN(tst_Task)
#include "tst_Task.moc"
