// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/IndexLimits.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::index;
using namespace Qt::StringLiterals;
using vellumhound::tests::TemporaryTree;

namespace {

constexpr std::uint64_t mebibyte = 1 << 20;
constexpr std::uint64_t gibibyte = 1 << 30;
constexpr IndexLimits limits{1000 * mebibyte, 2000 * mebibyte};

}  // namespace

class tst_IndexLimits final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theLimitsFollowTheMachine_data()
    {
        QTest::addColumn<MachineSize>("machine");
        QTest::addColumn<std::uint64_t>("inUse");
        QTest::addColumn<IndexLimits>("expected");
        QTest::newRow("usual") << MachineSize{16 * gibibyte, 50 * gibibyte} << std::uint64_t(0)
                               << IndexLimits{2 * gibibyte, 5 * gibibyte};
        QTest::newRow("small") << MachineSize{512 * mebibyte, 100 * mebibyte} << std::uint64_t(0)
                               << IndexLimits{128 * mebibyte, 10 * mebibyte};
        QTest::newRow("large") << MachineSize{256 * gibibyte, 9000 * gibibyte} << std::uint64_t(0)
                               << IndexLimits{4 * gibibyte, 8 * gibibyte};
        QTest::newRow("what is in use counts as free")
            << MachineSize{16 * gibibyte, 45 * gibibyte} << 5 * gibibyte
            << IndexLimits{2 * gibibyte, 5 * gibibyte};
        QTest::newRow("unknown") << MachineSize{} << std::uint64_t(0)
                                 << IndexLimits{128 * mebibyte, 0};
    }
    void theLimitsFollowTheMachine()
    {
        QFETCH(MachineSize, machine);
        QFETCH(std::uint64_t, inUse);
        QFETCH(IndexLimits, expected);

        QCOMPARE(limitsFor(machine, inUse), expected);
    }

    void thisMachineIsMeasured()
    {
        const TemporaryTree tree;

        QVERIFY(readMachineSize(tree.path()).memoryBytes > 0);
        QVERIFY(readMachineSize(tree.path()).freeDiskBytes > 0);
        QCOMPARE(readMachineSize(tree.path("nowhere")).freeDiskBytes, 0U);
    }

    void whatFilesTakeOfTheDiskIsMeasured()
    {
        const TemporaryTree tree;
        tree.file("text/one", std::string(100'000, 'x'));
        tree.file("text/two", std::string(50'000, 'x'));
        tree.file("text/below/three", std::string(100'000, 'x'));

        const auto bytes = bytesInFolder(tree.path("text"));

        QVERIFY(bytes >= 150'000 && bytes < 200'000);
        QCOMPARE(bytesInFolder(tree.path("nowhere")), 0U);
    }

    void eachLimitStopsItsOwnIntake()
    {
        QCOMPARE(intakeAfter({}, 1000 * mebibyte - 1, 0, limits), (Intake{true, true}));
        QCOMPARE(intakeAfter({}, 1000 * mebibyte, 0, limits), (Intake{false, true}));
        QCOMPARE(intakeAfter({}, 0, 2000 * mebibyte, limits), (Intake{true, false}));
        QCOMPARE(intakeAfter({}, 0, 0, IndexLimits{1, 0}), (Intake{true, false}));
    }

    void aReachedLimitCountsUntilATenthIsFree()
    {
        const Intake full{false, false};

        QCOMPARE(intakeAfter(full, 900 * mebibyte, 1800 * mebibyte, limits), full);
        QCOMPARE(intakeAfter(full, 900 * mebibyte - 1, 1800 * mebibyte - 1, limits), Intake{});
    }

    void eachStepIsLoggedOnce()
    {
        const Intake full{false, false};

        QCOMPARE(linesAbout({}, full, limits),
            (QStringList{u"the index has reached its limit of 1000 MiB of memory; no further "
                         "folders are taken in"_s,
                u"the index of texts has reached its limit of 2000 MiB; no further files are taken "
                "in"_s}));
        QVERIFY(linesAbout(full, full, limits).isEmpty());
        QCOMPARE(linesAbout(full, {}, limits),
            (QStringList{u"the index has room again and takes in further folders"_s,
                u"the index of texts has room again and takes in further files"_s}));
    }
};

QTEST_GUILESS_MAIN(tst_IndexLimits)
#include "tst_IndexLimits.moc"
