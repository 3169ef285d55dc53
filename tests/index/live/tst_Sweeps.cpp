// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Sweeps.h"

#include <QObject>
#include <QTest>

#include <algorithm>

using namespace vellumhound::index;
using namespace std::chrono_literals;

class tst_Sweeps final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aMountRestsNineteenTimesAsLongAsItsTurnTook();
    void aTurnThatTookNoTimeIsFollowedByAShortRest();
    void aTurnTakesSomeOfTheFoldersThatAreDue();
    void aSlowMountHoldsUpNoOther();
    void aFolderGoesOverToAnotherMount();
    void watchesToBeHadHastenTheWorkersFoldersAlone();
    void hasteningAllForgetsRests();
    void foldersKeepTheirMountsUnderNewNumbers();
};

namespace {

constexpr Sweeps::Clock::time_point start{1h};
constexpr Sweeper::Outcome young{true, 0s, 1};

struct Bench {
    Sweeps sweeps{{}};
    MountReader slow{"/slow", [] {}, 10s};
    MountReader slower{"/slower", [] {}, 10s};

    void add(FolderId first, FolderId count, const MountReader *reader)
    {
        for (auto folder = first; folder < first + count; ++folder)
            sweeps.add(folder, reader, young, start);
    }
};

}  // namespace

void tst_Sweeps::aMountRestsNineteenTimesAsLongAsItsTurnTook()
{
    Bench bench;
    bench.add(1, 40, &bench.slow);
    QVERIFY(bench.sweeps.due() == start + 30s);
    QVERIFY(bench.sweeps.takeDue(start + 29s).empty());

    QCOMPARE(bench.sweeps.takeDue(start + 30s).size(), std::size_t(1));
    // Not again while it goes on, though it takes longer than a pause.
    QVERIFY(bench.sweeps.isUnderWay(&bench.slow));
    QVERIFY(!bench.sweeps.due());
    QVERIFY(bench.sweeps.takeDue(start + 90s).empty());

    bench.sweeps.end(&bench.slow, start + 40s);
    QVERIFY(!bench.sweeps.isUnderWay(&bench.slow));
    QVERIFY(bench.sweeps.due() == start + 40s + 190s);
    QVERIFY(bench.sweeps.takeDue(start + 229s).empty());
    QCOMPARE(bench.sweeps.takeDue(start + 230s).size(), std::size_t(1));
}

void tst_Sweeps::aTurnThatTookNoTimeIsFollowedByAShortRest()
{
    Bench bench;
    bench.add(1, 600, nullptr);
    bench.sweeps.takeDue(start + 30s);

    bench.sweeps.end(nullptr, start + 30s);
    bench.sweeps.end(nullptr, start + 35s);  // there is none by then

    QVERIFY(bench.sweeps.due() == start + 31s);
}

void tst_Sweeps::aTurnTakesSomeOfTheFoldersThatAreDue()
{
    Bench bench;
    bench.add(1, 600, nullptr);
    bench.add(1001, 50, &bench.slow);

    for (const auto &turn : bench.sweeps.takeDue(start + 30s)) {
        const auto most = turn.reader ? Sweeps::foldersOfReader : Sweeps::foldersOfWorker;
        QCOMPARE(turn.folders.size(), most);
        QVERIFY(std::all_of(turn.folders.begin(), turn.folders.end(),
            [&](FolderId folder) { return (folder > 1000) == (turn.reader != nullptr); }));
    }
    QCOMPARE(bench.sweeps.size(), std::size_t(650));
}

void tst_Sweeps::aSlowMountHoldsUpNoOther()
{
    Bench bench;
    bench.add(1, 1, nullptr);
    bench.add(2, 1, &bench.slow);
    bench.add(3, 1, &bench.slower);
    QCOMPARE(bench.sweeps.takeDue(start + 30s).size(), std::size_t(3));

    bench.sweeps.end(nullptr, start + 30s);
    bench.sweeps.end(&bench.slow, start + 50s);

    QVERIFY(bench.sweeps.isUnderWay(&bench.slower));
    QVERIFY(bench.sweeps.due() == start + 60s);
    const auto turns = bench.sweeps.takeDue(start + 60s);
    QCOMPARE(turns.size(), std::size_t(1));
    QVERIFY(!turns.front().reader);
    QCOMPARE(turns.front().folders, std::vector<FolderId>{1});
}

void tst_Sweeps::aFolderGoesOverToAnotherMount()
{
    Bench bench;
    bench.add(1, 1, &bench.slow);

    bench.add(1, 1, nullptr);

    QCOMPARE(bench.sweeps.size(), std::size_t(1));
    const auto turns = bench.sweeps.takeDue(start + 30s);
    QCOMPARE(turns.size(), std::size_t(1));
    QVERIFY(!turns.front().reader);
    bench.sweeps.remove(1);
    bench.sweeps.remove(2);
    QVERIFY(!bench.sweeps.contains(1));
    bench.sweeps.end(nullptr, start + 30s);
    QVERIFY(!bench.sweeps.due());
}

void tst_Sweeps::watchesToBeHadHastenTheWorkersFoldersAlone()
{
    Bench bench;
    bench.sweeps.hasten(start);
    bench.add(1, 1, nullptr);
    bench.add(2, 1, &bench.slow);

    bench.sweeps.hasten(start + 1s);

    const auto turns = bench.sweeps.takeDue(start + 1s);
    QCOMPARE(turns.size(), std::size_t(1));
    QVERIFY(!turns.front().reader);
}

void tst_Sweeps::hasteningAllForgetsRests()
{
    Bench bench;
    bench.add(1, 1, nullptr);
    bench.add(2, 1, &bench.slow);
    bench.sweeps.takeDue(start + 30s);
    bench.sweeps.end(&bench.slow, start + 60s);
    bench.sweeps.end(nullptr, start + 60s);

    bench.sweeps.hastenAll(start + 61s);

    QCOMPARE(bench.sweeps.takeDue(start + 61s).size(), std::size_t(2));
}

void tst_Sweeps::foldersKeepTheirMountsUnderNewNumbers()
{
    Bench bench;
    bench.add(1, 1, nullptr);
    bench.add(2, 1, &bench.slow);
    bench.add(3, 1, &bench.slow);

    bench.sweeps.renumber([](FolderId old) { return old == 3 ? nothing : 3 - old; });

    QCOMPARE(bench.sweeps.size(), std::size_t(2));
    QVERIFY(!bench.sweeps.contains(3));
    for (const auto &turn : bench.sweeps.takeDue(start + 30s))
        QCOMPARE(turn.folders, std::vector<FolderId>{turn.reader ? 1U : 2U});
}

QTEST_APPLESS_MAIN(tst_Sweeps)
#include "tst_Sweeps.moc"
