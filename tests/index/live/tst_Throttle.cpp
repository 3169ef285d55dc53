// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Throttle.h"

#include <QObject>
#include <QTest>

#include <algorithm>
#include <vector>

using namespace vellumhound::index;
using namespace std::chrono_literals;
using Rest = IndexStatus::Rest;
using Work = Throttle::Work;

namespace {

/// A machine that others keep busy or not, and a worker that does what it is told.
struct Machine {
    Pressure::Time now{1h};
    bool isBusy = false;
    std::chrono::microseconds waited{0};

    Pressure pressure()
    {
        return Pressure(
            [this] {
                const double percent = isBusy ? 90 : 0;
                return PressureReading{{0, 0us}, {percent, waited}};
            },
            [this] { return now; });
    }
    Throttle throttle{pressure(), [this] { return now; }};

    void pass(std::chrono::microseconds time)
    {
        now += time;
        if (isBusy)
            waited += time;
    }
    /// The rests that work of so long takes, and in `worked` how long it came to work.
    std::vector<std::chrono::milliseconds> restsIn(std::chrono::seconds time, Work work)
    {
        std::vector<std::chrono::milliseconds> rests;
        for (const auto end = now + time; now < end;) {
            const auto rest = throttle.restBefore(work);
            if (rest > 0ms)
                rests.push_back(rest);
            else
                worked += 50ms;
            pass(rest > 0ms ? rest : 50ms);
        }
        return rests;
    }
    std::chrono::milliseconds worked{0};
};

}  // namespace

class tst_Throttle final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onACalmMachineNothingRests()
    {
        Machine machine;

        QVERIFY(machine.restsIn(60s, Work::upkeep).empty());
        QVERIFY(machine.restsIn(60s, Work::firstCrawl).empty());
        QCOMPARE(machine.throttle.state(), Rest::none);
    }

    void onABusyMachineUpkeepRestsLongerAndLonger()
    {
        Machine machine;
        machine.isBusy = true;

        const auto rests = machine.restsIn(20s, Work::upkeep);

        QCOMPARE(
            rests, (std::vector<std::chrono::milliseconds>{250ms, 500ms, 1s, 2s, 4s, 5s, 5s, 5s}));
        QCOMPARE(machine.worked, 0ms);
        QCOMPARE(machine.throttle.state(), Rest::machineIsBusy);
    }

    void onceTheMachineIsCalmUpkeepGoesOn()
    {
        Machine machine;
        machine.isBusy = true;
        machine.restsIn(20s, Work::upkeep);

        machine.isBusy = false;
        QCOMPARE(machine.throttle.restBefore(Work::upkeep), 5000ms);
        machine.pass(5s);

        QCOMPARE(machine.throttle.restBefore(Work::upkeep), 0ms);
        QCOMPARE(machine.throttle.state(), Rest::none);

        // The next rest is a short one again.
        machine.isBusy = true;
        machine.pass(20s);
        QCOMPARE(machine.throttle.restBefore(Work::upkeep), 250ms);
    }

    void aFirstCrawlIsSlowedButNeverStopped()
    {
        Machine machine;
        machine.isBusy = true;

        const auto rests = machine.restsIn(60s, Work::firstCrawl);

        QCOMPARE(*std::max_element(rests.begin(), rests.end()), 2000ms);
        QVERIFY(machine.worked >= 60s / 6);
        QVERIFY(machine.worked <= 60s / 2);
    }

    void itsOwnWorkDoesNotMakeItRest()
    {
        Machine machine;
        int rests = 0;
        for (int i = 0; i < 1000; ++i) {
            // As busy as can be while it works, calm while it rests.
            machine.isBusy = true;
            machine.pass(50ms);
            const auto rest = machine.throttle.restBefore(Work::upkeep);
            machine.isBusy = false;
            machine.pass(rest);
            rests += rest > 0ms ? 1 : 0;
        }

        QVERIFY2(rests <= 6, qPrintable(QString::number(rests)));
    }

    void onSavedPowerOnlyTheFirstCrawlGoesOn()
    {
        Machine machine;
        machine.throttle.setSavesPower(true);

        QCOMPARE(machine.throttle.restBefore(Work::firstCrawl), 0ms);
        QCOMPARE(machine.throttle.restBefore(Work::upkeep), 30'000ms);
        QCOMPARE(machine.throttle.state(), Rest::powerIsSaved);
        machine.throttle.setSavesPower(false);

        // The rest was cut short.
        machine.pass(1ms);
        QCOMPARE(machine.throttle.restBefore(Work::upkeep), 0ms);
        QCOMPARE(machine.throttle.state(), Rest::none);
    }
};

QTEST_GUILESS_MAIN(tst_Throttle)
#include "tst_Throttle.moc"
