// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Sweeper.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::index;
using namespace std::chrono_literals;

class tst_Sweeper final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatChangedLatelyIsLookedAtOften_data();
    void whatChangedLatelyIsLookedAtOften();
    void whatCannotBeReadIsTriedEverMoreSeldom();
    void ofThoseDueTheShallowAndYoungComeFirst();
    void whatNobodyReportsOnIsDueAgain();
    void hasteningMakesEverythingDue();
    void foldersKeepTheirTimesUnderNewNumbers();
};

namespace {

constexpr Sweeper::Clock::time_point start{1h};

}  // namespace

void tst_Sweeper::whatChangedLatelyIsLookedAtOften_data()
{
    QTest::addColumn<qint64>("ageSeconds");
    QTest::addColumn<qint64>("pauseSeconds");
    QTest::newRow("a minute ago") << qint64(60) << qint64(30);
    QTest::newRow("an hour ago") << qint64(3600) << qint64(180);
    QTest::newRow("a year ago") << qint64(365 * 24 * 3600) << qint64(1800);
}

void tst_Sweeper::whatChangedLatelyIsLookedAtOften()
{
    QFETCH(qint64, ageSeconds);
    QFETCH(qint64, pauseSeconds);
    Sweeper sweeper({});

    sweeper.add(7, {true, std::chrono::seconds(ageSeconds), 2}, start);

    QVERIFY(sweeper.due() == start + std::chrono::seconds(pauseSeconds));
}

void tst_Sweeper::whatCannotBeReadIsTriedEverMoreSeldom()
{
    Sweeper sweeper({});
    auto now = start;
    for (const auto pause : {30s, 60s, 120s, 240s, 480s, 960s, 1800s, 1800s}) {

        sweeper.add(7, {}, now);

        QVERIFY(sweeper.due() == now + pause);
        now = *sweeper.due();
    }
}

void tst_Sweeper::ofThoseDueTheShallowAndYoungComeFirst()
{
    Sweeper sweeper({});
    sweeper.add(1, {true, 20s, 3}, start);
    sweeper.add(2, {true, 20s, 1}, start);
    sweeper.add(3, {true, 10s, 1}, start);
    sweeper.add(4, {true, 1000h, 1}, start);

    QCOMPARE(sweeper.takeDue(start + 29s, 10), std::vector<FolderId>{});
    QCOMPARE(sweeper.takeDue(start + 30s, 2), (std::vector<FolderId>{3, 2}));
    QCOMPARE(sweeper.takeDue(start + 30s, 2), (std::vector<FolderId>{1}));
}

void tst_Sweeper::whatNobodyReportsOnIsDueAgain()
{
    Sweeper sweeper({});
    sweeper.add(1, {true, 0s, 0}, start);
    sweeper.takeDue(start + 30s, 10);

    QCOMPARE(sweeper.takeDue(start + 59s, 10), std::vector<FolderId>{});
    QCOMPARE(sweeper.takeDue(start + 60s, 10), std::vector<FolderId>{1});
    sweeper.remove(1);
    QVERIFY(!sweeper.due());
}

void tst_Sweeper::hasteningMakesEverythingDue()
{
    Sweeper sweeper({});
    sweeper.add(1, {true, 1000h, 0}, start);
    sweeper.add(2, {}, start);

    sweeper.hasten(start + 1s);

    QCOMPARE(sweeper.takeDue(start + 1s, 10).size(), std::size_t(2));
}

void tst_Sweeper::foldersKeepTheirTimesUnderNewNumbers()
{
    Sweeper sweeper({});
    sweeper.add(1, {true, 1h, 0}, start);
    sweeper.add(2, {true, 2h, 0}, start);

    sweeper.renumber([](FolderId folder) { return folder == 1 ? nothing : FolderId(20); });

    QCOMPARE(sweeper.size(), std::size_t(1));
    QVERIFY(sweeper.contains(20));
    QVERIFY(sweeper.due() == start + 6min);
}

QTEST_APPLESS_MAIN(tst_Sweeper)
#include "tst_Sweeper.moc"
