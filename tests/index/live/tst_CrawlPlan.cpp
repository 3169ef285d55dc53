// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"
#include "index/live/CrawlPlan.h"

#include <QObject>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace Qt::StringLiterals;

class tst_CrawlPlan final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFolderBelowAnotherIsNoRootOfItsOwn();
    void aFolderThatTheOtherDoesNotReachIsARoot();
    void aRootStaysOneWhenAnotherComesAbove();
    void aBindMountIsEnteredOnce();
    void subvolumesOfOneFileSystemAreEntered();
    void pseudoAndNetworkMountsAreEnteredOnlyByName();
    void aBlockDeviceThatFuseReadsIsEntered();
    void whatIsCoveredIsToldWithoutTheDisk();
    void mountsAreParsed();
    void pathsAreStandardized();
};

using Paths = std::vector<std::string>;

void tst_CrawlPlan::aFolderBelowAnotherIsNoRootOfItsOwn()
{
    const CrawlPlan plan({"/no/a/b", "/no/a", "/no/ab", "/no/a"}, {}, {});

    QCOMPARE(plan.roots(), (Paths{"/no/a", "/no/ab"}));
}

void tst_CrawlPlan::aFolderThatTheOtherDoesNotReachIsARoot()
{
    const CrawlPlan plan({"/no", "/no/.config", "/no/lib/cloud"}, {"/no/lib"}, {});

    QCOMPARE(plan.roots(), (Paths{"/no", "/no/.config", "/no/lib/cloud"}));
    QVERIFY(!plan.descendsInto("/no/lib"));
    QVERIFY(plan.descendsInto("/no/library"));
    QVERIFY(!plan.reaches("/no/lib/other"));
    QVERIFY(plan.reaches("/no/lib/cloud/x"));
}

void tst_CrawlPlan::aRootStaysOneWhenAnotherComesAbove()
{
    const CrawlPlan plan({"/", "/no/a"}, {}, {}, {"/no/a"});

    QCOMPARE(plan.roots(), (Paths{"/", "/no/a"}));
    QVERIFY(!plan.descendsInto("/no/a"));
}

void tst_CrawlPlan::aBindMountIsEnteredOnce()
{
    const std::vector<Mount> mounts{
        {"/", "/", "8:1", "ext4"}, {"/no/bound", "/no/original", "8:1", "ext4"}};

    QVERIFY(!CrawlPlan({"/"}, {}, mounts).descendsInto("/no/bound"));
    QVERIFY(CrawlPlan({"/no/bound"}, {}, mounts).reaches("/no/bound/x"));
    QCOMPARE(CrawlPlan({"/no/bound"}, {}, mounts).roots(), Paths{"/no/bound"});
}

void tst_CrawlPlan::subvolumesOfOneFileSystemAreEntered()
{
    const std::vector<Mount> mounts{
        {"/", "/@", "0:30", "btrfs"}, {"/home", "/@home", "0:30", "btrfs"}};

    QVERIFY(CrawlPlan({"/"}, {}, mounts).descendsInto("/home"));
}

void tst_CrawlPlan::pseudoAndNetworkMountsAreEnteredOnlyByName()
{
    const std::vector<Mount> mounts{{"/", "/", "8:1", "ext4"}, {"/proc", "/", "0:5", "proc"},
        {"/no/net", "/", "0:9", "nfs4"}, {"/no/disk", "/", "8:2", "xfs"},
        {"/no/fuse", "/", "0:8", "fuse.sshfs"}};

    const CrawlPlan plan({"/", "/no/net/share"}, {}, mounts);

    QCOMPARE(plan.roots(), (Paths{"/", "/no/net/share"}));
    QVERIFY(!plan.descendsInto("/proc"));
    QVERIFY(!plan.descendsInto("/no/net"));
    QVERIFY(!plan.descendsInto("/no/fuse"));
    QVERIFY(plan.descendsInto("/no/disk"));
}

void tst_CrawlPlan::aBlockDeviceThatFuseReadsIsEntered()
{
    const std::vector<Mount> mounts{
        {"/", "/", "8:1", "ext4"}, {"/no/ntfs", "/", "8:17", "fuseblk"}};

    const CrawlPlan plan({"/"}, {}, mounts);

    QVERIFY(plan.descendsInto("/no/ntfs"));
    QVERIFY(plan.reaches("/no/ntfs/deep"));
}

void tst_CrawlPlan::whatIsCoveredIsToldWithoutTheDisk()
{
    const CrawlPlan plan({"/no/a", "/no/a/out/in"}, {"/no/a/out"}, {});

    for (const auto *path : {"/no/a/file", "/no/a/b/c", "/no/a/outside", "/no/a/out/in/file"})
        QVERIFY2(plan.covers(path), path);
    for (const auto *path : {"/no/b", "/no/ab", "/no/a/out", "/no/a/out/file", "/no/a/.hidden",
             "/no/a/b/.hidden/file", ""})
        QVERIFY2(!plan.covers(path), path);
}

void tst_CrawlPlan::mountsAreParsed()
{
    const auto mounts =
        parseMounts("36 35 98:0 /mnt1 /mnt\\040two rw,noatime master:1 - ext3 /dev/root rw\n"
                    "37 35 0:4 / /proc rw shared:2 master:3 - proc proc rw\n"
                    "broken\n");

    QCOMPARE(mounts.size(), std::size_t(2));
    QVERIFY((mounts[0] == Mount{"/mnt two", "/mnt1", "98:0", "ext3"}));
    QVERIFY(mounts[0].isLocalDisk());
    QVERIFY(!mounts[1].isLocalDisk());
}

void tst_CrawlPlan::pathsAreStandardized()
{
    QCOMPARE(standardizedPath(u"/a/./b/../c/"_s), std::string("/a/c"));
    QCOMPARE(standardizedPath(u"/"_s), std::string("/"));
    QCOMPARE(standardizedPath(u"relative"_s), std::string());
    QCOMPARE(standardizedPath(u"~/x"_s),
        base::pathToBytes(base::homeDirectoryPath()).toStdString() + "/x");
}

QTEST_APPLESS_MAIN(tst_CrawlPlan)
#include "tst_CrawlPlan.moc"
