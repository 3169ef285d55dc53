// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Handover.h"

#include <QCoreApplication>
#include <QList>
#include <QTest>

#include <optional>
#include <thread>

using namespace vellumhound::base;

namespace {
struct Numbered {
    int sender = 0;
    int number = 0;
};
}  // namespace

class tst_Handover : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void valuesArriveInTheirOrderOnTheOwnersThread()
    {
        constexpr int count = 20'000;
        int next = 0;
        bool isInOrder = true;
        bool isOnOwnersThread = true;
        const auto owner = std::this_thread::get_id();
        Handover<int> handover([&](int value) {
            isInOrder = isInOrder && value == next;
            isOnOwnersThread = isOnOwnersThread && std::this_thread::get_id() == owner;
            ++next;
        });

        std::thread worker([sender = handover.sender()] {
            for (int i = 0; i < count; ++i)
                sender.send(i);
        });
        QTRY_COMPARE(next, count);
        worker.join();

        QVERIFY(isInOrder);
        QVERIFY(isOnOwnersThread);
    }

    void everySenderKeepsItsOwnOrder()
    {
        constexpr int count = 5'000;
        constexpr int senders = 4;
        std::array<int, senders> next{};
        bool isInOrder = true;
        int all = 0;
        Handover<Numbered> handover([&](Numbered value) {
            auto &expected = next[std::size_t(value.sender)];
            isInOrder = isInOrder && value.number == expected;
            ++expected;
            ++all;
        });

        std::vector<std::thread> workers;
        for (int who = 0; who < senders; ++who) {
            workers.emplace_back([sender = handover.sender(), who] {
                for (int i = 0; i < count; ++i)
                    sender.send({who, i});
            });
        }
        QTRY_COMPARE(all, senders * count);
        for (auto &worker : workers)
            worker.join();

        QVERIFY(isInOrder);
    }

    void deliverHandsOutNow()
    {
        QList<int> values;
        Handover<int> handover([&](int value) { values.append(value); });

        handover.sender().send(1);
        handover.sender().send(2);
        QVERIFY(values.isEmpty());
        handover.deliver();
        QCOMPARE(values, (QList<int>{1, 2}));

        QCoreApplication::processEvents();
        QCOMPARE(values.size(), 2);
        handover.sender().send(3);
        QTRY_COMPARE(values.size(), 3);
    }

    void aValueSentByTheReceiverComesInALaterTurn()
    {
        QList<int> values;
        std::optional<Handover<int>> handover;
        handover.emplace([&](int value) {
            values.append(value);
            if (value < 3)
                handover->sender().send(value + 1);
        });

        handover->sender().send(1);
        handover->deliver();
        QCOMPARE(values, (QList<int>{1}));

        QTRY_COMPARE(values, (QList<int>{1, 2, 3}));
    }

    void whatIsSentToAReceiverThatHasGoneIsDropped()
    {
        const auto held = std::make_shared<int>(0);
        int count = 0;
        auto handover = std::make_unique<Handover<std::shared_ptr<int>>>(
            [&](const std::shared_ptr<int> &) { ++count; });
        const auto sender = handover->sender();

        sender.send(held);
        handover.reset();
        sender.send(held);
        QCoreApplication::processEvents();

        QCOMPARE(count, 0);
    }

    void aReceiverMayGoWhileOthersSend()
    {
        std::atomic<bool> isToEnd = false;
        auto handover = std::make_unique<Handover<int>>([](int) {});
        std::vector<std::thread> workers;
        for (int i = 0; i < 3; ++i) {
            workers.emplace_back([sender = handover->sender(), &isToEnd] {
                while (!isToEnd)
                    sender.send(1);
            });
        }

        handover->deliver();
        handover.reset();
        isToEnd = true;
        for (auto &worker : workers)
            worker.join();

        QVERIFY(!handover);
    }

    void theReceiverMayDestroyTheHandover()
    {
        QList<int> values;
        std::unique_ptr<Handover<int>> handover;
        handover = std::make_unique<Handover<int>>([&](int value) {
            values.append(value);
            handover.reset();
        });
        handover->sender().send(1);
        handover->sender().send(2);

        QTRY_VERIFY(!handover);

        QCOMPARE(values, (QList<int>{1}));
    }

    void manyWakesAreOneCall()
    {
        int calls = 0;
        WakeUp wakeUp([&] { ++calls; });

        for (int i = 0; i < 100; ++i)
            wakeUp.wake();
        QTRY_COMPARE(calls, 1);
        QCoreApplication::processEvents();
        QCOMPARE(calls, 1);

        wakeUp.wake();
        QTRY_COMPARE(calls, 2);
    }
};

QTEST_GUILESS_MAIN(tst_Handover)
#include "tst_Handover.moc"
