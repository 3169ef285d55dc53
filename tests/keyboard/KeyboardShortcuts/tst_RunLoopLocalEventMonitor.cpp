// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakeEventQueue.h"
#include "keyboard/KeyboardShortcuts/RunLoopLocalEventMonitor.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;
using platform::QueuedEvent;

namespace {

constexpr std::uint64_t keyMask = 3072;  // types 10 and 11
const QString tracking = u"tracking"_s;

QueuedEvent queued(int type, std::uint64_t ticket)
{
    return {type, std::nullopt, ticket};
}

}  // namespace

class tst_RunLoopLocalEventMonitor : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<fakes::FakeEventQueue> _queue;
    QList<std::uint64_t> _seen;

private Q_SLOTS:
    void init()
    {
        _queue = std::make_unique<fakes::FakeEventQueue>();
        _seen.clear();
    }

    void whatTheCallbackTakesIsGoneAndTheRestKeepsItsOrder()
    {
        RunLoopLocalEventMonitor monitor(
            *_queue, keyMask, tracking, [&](const QueuedEvent &seen) -> std::optional<QueuedEvent> {
                _seen.append(seen.ticket);
                return seen.ticket == 3 ? std::nullopt : std::optional(seen);
            });
        monitor.start();
        _queue->waiting = {queued(10, 1), queued(5, 2), queued(11, 3), queued(10, 4), queued(9, 5),
            queued(12, 6), queued(200, 7), queued(-1, 8)};

        _queue->turn(tracking);

        QCOMPARE(_seen, (QList<std::uint64_t>{1, 3, 4}));
        QCOMPARE(_queue->waiting, (QList{queued(10, 1), queued(5, 2), queued(10, 4), queued(9, 5),
                                      queued(12, 6), queued(200, 7), queued(-1, 8)}));
    }

    void theCallbackMayGiveAnotherEvent()
    {
        RunLoopLocalEventMonitor monitor(*_queue, keyMask, tracking,
            [](const QueuedEvent &seen) { return std::optional(queued(11, seen.ticket + 100)); });
        monitor.start();
        _queue->waiting = {queued(10, 1)};

        _queue->turn(tracking);

        QCOMPARE(_queue->waiting, QList{queued(11, 101)});
    }

    void itWorksInItsModeAndWhileItRunsAlone()
    {
        RunLoopLocalEventMonitor monitor(
            *_queue, keyMask, tracking, [](const QueuedEvent &) { return std::nullopt; });
        _queue->waiting = {queued(10, 1)};

        _queue->turn(tracking);
        QCOMPARE(_queue->waiting.size(), 1);

        monitor.start();
        monitor.start();
        _queue->turn(u"another mode"_s);
        QCOMPARE(_queue->waiting.size(), 1);

        _queue->turn(tracking);
        QCOMPARE(_queue->waiting.size(), 0);

        monitor.stop();
        monitor.stop();
        QVERIFY(!_queue->isObserved());
    }

    void itsEndEndsTheObservation()
    {
        {
            RunLoopLocalEventMonitor monitor(
                *_queue, keyMask, tracking, [](const QueuedEvent &) { return std::nullopt; });
            monitor.start();
            QVERIFY(_queue->isObserved());
        }

        QVERIFY(!_queue->isObserved());
    }

    void theCallbackMayEndTheMonitor()
    {
        std::optional<RunLoopLocalEventMonitor> monitor;
        monitor.emplace(*_queue, keyMask, tracking, [&](const QueuedEvent &) {
            monitor.reset();
            return std::nullopt;
        });
        monitor->start();
        _queue->waiting = {queued(5, 1), queued(10, 2), queued(11, 3), queued(5, 4)};

        _queue->turn(tracking);

        QCOMPARE(_queue->waiting, (QList{queued(5, 1), queued(11, 3), queued(5, 4)}));
    }
};

QTEST_GUILESS_MAIN(tst_RunLoopLocalEventMonitor)
#include "tst_RunLoopLocalEventMonitor.moc"
