// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Pressure.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace std::chrono_literals;
using tests::TemporaryTree;

namespace {

/// A machine whose pressure and clock a test sets.
struct Machine {
    Pressure pressure{[this] {
                          ++looks;
                          return reading;
                      },
        [this] { return now; }};
    PressureReading reading;
    Pressure::Time now{};
    int looks = 0;

    Machine() { now += 1h; }
};

}  // namespace

class tst_Pressure final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theKernelsFilesAreRead()
    {
        const TemporaryTree tree;
        tree.file("memory", "some avg10=1.25 avg60=0.00 avg300=0.00 total=17\nfull avg10=9.00\n");
        tree.file("io", "some avg10=30.00 avg60=2.07 avg300=1.18 total=20209331\n");

        const auto reading = readPressure(tree.path());

        QCOMPARE(reading.memory, (Stall{1.25, 17us}));
        QCOMPARE(reading.io, (Stall{30, 20'209'331us}));
    }

    void withoutFilesNothingPresses_data()
    {
        QTest::addColumn<std::string>("content");
        QTest::newRow("none") << std::string();
        QTest::newRow("another order") << std::string("full avg10=90.00 total=1\n");
        QTest::newRow("no number") << std::string("some avg10=much avg60=0 total=1\n");
        QTest::newRow("cut") << std::string("some avg10=90.00");
    }
    void withoutFilesNothingPresses()
    {
        QFETCH(std::string, content);
        const TemporaryTree tree;
        if (!content.empty())
            tree.file("io", content);

        QCOMPARE(readPressure(tree.path()), PressureReading{});
    }

    void aBusyDiskOrLittleMemoryPauses()
    {
        Machine machine;
        machine.reading = {{4.9, 0us}, {19.9, 0us}};
        QVERIFY(!machine.pressure.shouldPause());

        machine.now += 1s;
        machine.reading = {{0, 0us}, {20, 0us}};
        QVERIFY(machine.pressure.shouldPause());
        machine.now += 1s;
        machine.reading = {{5, 0us}, {0, 0us}};

        QVERIFY(machine.pressure.shouldPause());
    }

    void theFilesAreLookedAtOnceASecond()
    {
        Machine machine;
        for (int i = 0; i < 100; ++i)
            machine.pressure.shouldPause();
        QCOMPARE(machine.looks, 1);

        machine.now += 1s;
        machine.pressure.shouldPause();

        QCOMPARE(machine.looks, 2);
    }

    void whatThisProgramItselfWaitsForDoesNotPause()
    {
        Machine machine;
        machine.reading = {{0, 0us}, {90, 5s}};
        QVERIFY(machine.pressure.shouldPause());

        // Nobody waits while it rests, though the average is still high.
        machine.pressure.beginRest();
        machine.now += 250ms;
        machine.pressure.endRest();

        QVERIFY(!machine.pressure.shouldPause());
        machine.now += 9s;
        QVERIFY(!machine.pressure.shouldPause());
        machine.now += 1s;
        QVERIFY(machine.pressure.shouldPause());
    }

    void whatOthersWaitForDuringARestPauses()
    {
        Machine machine;
        machine.pressure.beginRest();
        machine.now += 250ms;
        machine.reading.io.total += 50ms;

        machine.pressure.endRest();

        QVERIFY(machine.pressure.shouldPause());
    }

    void aRestTooShortTellsNothing()
    {
        Machine machine;
        machine.reading = {{0, 0us}, {90, 5s}};
        QVERIFY(machine.pressure.shouldPause());

        machine.pressure.beginRest();
        machine.now += 1ms;
        machine.pressure.endRest();

        QVERIFY(machine.pressure.shouldPause());
    }
};

QTEST_GUILESS_MAIN(tst_Pressure)
#include "tst_Pressure.moc"
