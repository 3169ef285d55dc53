// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/StormGuard.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::index;
using namespace std::chrono_literals;

class tst_StormGuard final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aBurstIsNoStorm();
    void aSteadyTrickleIsNoStorm();
    void aStormIsTakenOffForTwiceAsLongEachTime();
    void afterACalmTimeAStormBeginsSmallAgain();
    void aFolderKeepsItsStateUnderANewNumber();
    void movesAreCopiedUntilTheirStoreIsEmpty();
    void foldersOfFewNamesStillMoveAfterOneOfVeryMany();
    void whatMovesOnIsOffForTwiceAsLongEachTime();
};

namespace {

constexpr StormGuard::Clock::time_point start{1h};

}  // namespace

void tst_StormGuard::aBurstIsNoStorm()
{
    StormGuard guard;

    for (int i = 0; i < 60'000; ++i)
        QVERIFY(!guard.note(1, 1, start));

    QVERIFY(!guard.due());
}

void tst_StormGuard::aSteadyTrickleIsNoStorm()
{
    StormGuard guard;
    for (auto now = start; now < start + 1h; now += 1s)
        QVERIFY(!guard.note(1, StormGuard::changesPerSecond - 1, now));
}

void tst_StormGuard::aStormIsTakenOffForTwiceAsLongEachTime()
{
    StormGuard guard;
    auto now = start;
    for (const auto pause : {100ms, 200ms, 400ms, 800ms}) {
        while (!guard.note(1, 100, now))
            now += 1ms;

        QVERIFY(guard.isOff(1));
        QCOMPARE(guard.offCount(), std::size_t(1));
        QVERIFY(guard.due() == now + pause);
        QCOMPARE(guard.takeDue(now + pause - 1ms), std::vector<FolderId>{});
        now += pause;
        QCOMPARE(guard.takeDue(now), std::vector<FolderId>{1});
        QVERIFY(!guard.isOff(1));
    }
}

void tst_StormGuard::afterACalmTimeAStormBeginsSmallAgain()
{
    StormGuard guard;
    auto now = start;
    for (int i = 0; i < 20; ++i) {
        guard.note(1, StormGuard::burst + 1, now);
        now = *guard.due();
        guard.takeDue(now);
    }
    guard.note(1, StormGuard::burst, now);
    QVERIFY(guard.due() == now + StormGuard::longest);
    now = *guard.due();
    guard.takeDue(now);

    now += 1h;
    guard.note(1, StormGuard::burst + 1, now);

    QVERIFY(guard.due() == now + StormGuard::shortest);
}

void tst_StormGuard::aFolderKeepsItsStateUnderANewNumber()
{
    StormGuard guard;
    guard.note(1, StormGuard::burst + 1, start);
    guard.note(2, StormGuard::burst + 1, start);

    guard.renumber([](FolderId folder) { return folder == 1 ? FolderId(10) : nothing; });

    QVERIFY(guard.isOff(10));
    QCOMPARE(guard.offCount(), std::size_t(1));
}

void tst_StormGuard::movesAreCopiedUntilTheirStoreIsEmpty()
{
    StormGuard guard;
    constexpr auto store = std::size_t(StormGuard::burst * StormGuard::namesPerChange);
    guard.noteMove(store, start);
    QVERIFY(guard.copiesMove(false, start));

    guard.noteMove(std::size_t(StormGuard::namesPerChange), start);
    QVERIFY(!guard.copiesMove(false, start));

    QVERIFY(guard.copiesMove(false, start + 1s));
}

void tst_StormGuard::foldersOfFewNamesStillMoveAfterOneOfVeryMany()
{
    StormGuard guard;
    guard.noteMove(std::size_t(1) << 30, start);
    QVERIFY(!guard.copiesMove(false, start));

    std::size_t copied = 0;
    for (; guard.copiesMove(true, start); copied += StormGuard::fewNames)
        guard.noteMove(StormGuard::fewNames, start);

    const auto half = std::size_t(StormGuard::burst * StormGuard::namesPerChange / 2);
    QVERIFY(copied > half);
    QVERIFY(copied <= half + StormGuard::fewNames);
}

void tst_StormGuard::whatMovesOnIsOffForTwiceAsLongEachTime()
{
    StormGuard guard;
    auto now = start;
    guard.noteMove(std::size_t(2 * StormGuard::burst * StormGuard::namesPerChange), now);
    // Another folder each time: it is the moves that storm.
    FolderId folder = 1;
    for (const auto pause : {100ms, 200ms, 400ms, 800ms}) {
        guard.takeOffMoved(folder, now);

        QVERIFY(guard.isOff(folder));
        QCOMPARE(guard.offCount(), std::size_t(1));
        QVERIFY(guard.due() == now + pause);
        now += pause;
        QCOMPARE(guard.takeDue(now), std::vector<FolderId>{folder});
        ++folder;
    }
    QCOMPARE(guard.offCount(), std::size_t(0));
}

QTEST_APPLESS_MAIN(tst_StormGuard)
#include "tst_StormGuard.moc"
