// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/OtherFileSystem.h"
#include "index/SilentFileSystem.h"
#include "index/SlowBench.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using tests::SilentFileSystem;
using tests::SlowBench;
using tests::TemporaryTree;
using tests::withSlowMount;

class tst_SlowMounts final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void typesThatMayHangAreKnown_data();
    void typesThatMayHangAreKnown();
    void linksAreFollowedUpToAMountThatMayHang();
    void aMountThatAnswersIsReadAndSwept();
    void aSecondChangeWithinATickOfAnotherClockIsSwept();
    void aMountThatDoesNotAnswerBlocksNothing();
    void aMountThatAnswersAgainIsSweptThoughNoMountChanged();
    void whatLeadsToADeadMountIsDescribedWithoutReadingIt();
    void aDesktopEntryThatLinksIntoADeadMountHangsNothing();
    void aShareIsKeptInTheSnapshotWithoutTouchingIt();
    void anotherShareAtTheSamePlaceIsReadAgain();
    void theIndexEndsWhileAMountHangs();
};

void tst_SlowMounts::typesThatMayHangAreKnown_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<bool>("mayHang");
    for (const auto *type : {"nfs", "nfs4", "cifs", "smb3", "fuse", "fuse.sshfs", "fuse.fuseblk",
             "9p", "ceph", "autofs", "somethingnew"})
        QTest::newRow(type) << QString::fromLatin1(type) << true;
    for (const auto *type :
        {"ext4", "btrfs", "xfs", "vfat", "overlay", "tmpfs", "proc", "fuseblk", "fuseblk.ntfs-3g"})
        QTest::newRow(type) << QString::fromLatin1(type) << false;
}

void tst_SlowMounts::typesThatMayHangAreKnown()
{
    QFETCH(QString, type);
    QFETCH(bool, mayHang);

    QCOMPARE((Mount{"/m", "/", "0:1", type.toStdString()}.mayHang()), mayHang);
}

void tst_SlowMounts::linksAreFollowedUpToAMountThatMayHang()
{
    const TemporaryTree tree;
    tree.folder("net");
    tree.folder("real/deep");
    tree.link("out", "net/share");
    tree.link("short", "real/../real/deep");
    tree.link("loop", "loop");
    const auto mounts = withSlowMount(tree.path("net"));

    const auto onto = resolvePath(mounts, tree.path("out/x"));
    QVERIFY(onto.hangs);
    QCOMPARE(onto.path, tree.path("net/share/x"));
    QVERIFY(resolvePath(mounts, tree.path("net")).hangs);
    QCOMPARE(resolvePath(mounts, tree.path("short/x")).path, tree.path("real/deep/x"));
    QVERIFY(!resolvePath(mounts, tree.path("loop/x")).hangs);
    QVERIFY(!resolvePath(mounts, tree.path("missing/x")).hangs);
}

void tst_SlowMounts::aMountThatAnswersIsReadAndSwept()
{
    const TemporaryTree tree;
    tree.file("net/deep/file");
    const auto point = tree.path("net");
    SlowBench bench([point] { return withSlowMount(point); });

    bench.include({tree.text("net")});
    QVERIFY(bench.await([&] { return bench.isCrawled(point); }));
    QVERIFY(bench.find(point + "/deep/file") != nothing);
    QCOMPARE(bench.live->watchedFolderCount(), std::size_t(0));
    QVERIFY(!bench.item(point + "/deep/file")->sizeBytes);

    tree.file("net/deep/later");
    bench.live->sweep();
    QVERIFY(bench.await([&] { return bench.find(point + "/deep/later") != nothing; }));
}

void tst_SlowMounts::aSecondChangeWithinATickOfAnotherClockIsSwept()
{
    const TemporaryTree tree;
    const tests::OtherFileSystemGuard guard;
    tests::otherFileSystem.fixedTime = 1'000'000'000;
    tree.file("net/one");
    const auto point = tree.path("net");
    SlowBench bench([point] { return withSlowMount(point); });
    bench.include({tree.text("net")});
    QVERIFY(bench.await([&] { return bench.isCrawled(point); }));

    tree.file("net/two");
    bench.live->sweep();
    QVERIFY(bench.await([&] { return bench.find(point + "/two") != nothing; }));

    // By now its time has been seen twice.
    const auto read = bench.live->counters().foldersRead;
    bench.live->sweep();
    QVERIFY(bench.await([&] { return bench.live->counters().foldersUnchanged > 0; }));
    QCOMPARE(bench.live->counters().foldersRead, read);
}

void tst_SlowMounts::aMountThatDoesNotAnswerBlocksNothing()
{
    const TemporaryTree tree;
    tree.file("local/file");
    tree.folder("dead");
    SilentFileSystem silent(tree.path("dead"));
    if (!silent.isMounted())
        QSKIP("this test mounts a file system, which is not allowed here");  // style: needs a right
    SlowBench bench;
    bench.include({tree.text(), tree.text("dead")});
    bench.settle();
    QVERIFY(bench.find(tree.path("local/file")) != nothing);
    QVERIFY(!bench.isCrawled(tree.path("dead")));

    QTest::ignoreMessage(QtWarningMsg,
        qPrintable(
            u"the file system at \"%1\" does not answer; what is known of it stays as it is"_s.arg(
                tree.text("dead"))));
    bench.clock += 11s;
    bench.settle();
    QVERIFY(bench.isCrawled(tree.path("dead")));
    QVERIFY(!bench.live->isBusy());
    QCOMPARE(bench.live->counters().hungMounts, std::size_t(1));

    // A scope on it neither; and it costs no second thread.
    bench.live->addScopes({tree.path("dead/deep")});
    bench.clock += 1h;
    tree.file("local/later");
    bench.settle();
    QVERIFY(bench.find(tree.path("local/later")) != nothing);

    silent.end();
    bench.live->mountsChanged();
    tree.file("dead/alive");
    QVERIFY(bench.await([&] { return bench.find(tree.path("dead/alive")) != nothing; }));
}

void tst_SlowMounts::aMountThatAnswersAgainIsSweptThoughNoMountChanged()
{
    const TemporaryTree tree;
    tree.file("dead/in/file");
    SilentFileSystem silent(tree.path("dead"));
    if (!silent.isMounted())
        QSKIP("this test mounts a file system, which is not allowed here");  // style: needs a right
    const auto point = tree.path("dead");
    SlowBench bench([point] { return withSlowMount(point); });
    bench.include({tree.text("dead")});
    bench.settle();
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable(
            u"the file system at \"%1\" does not answer; what is known of it stays as it is"_s.arg(
                tree.text("dead"))));
    bench.clock += 11s;
    bench.settle();
    QCOMPARE(bench.live->counters().hungMounts, std::size_t(1));
    QVERIFY(!bench.live->isBusy());
    QVERIFY(bench.live->nextDue());

    // The request that hung ends, and what is asked from now on is answered.
    silent.end();
    QVERIFY(bench.await([&] {
        if (!bench.live->isBusy())
            bench.clock += 31s;
        bench.settle();
        return bench.find(tree.path("dead/in/file")) != nothing;
    }));
    QCOMPARE(bench.live->counters().hungMounts, std::size_t(0));
}

void tst_SlowMounts::whatLeadsToADeadMountIsDescribedWithoutReadingIt()
{
    const TemporaryTree tree;
    tree.folder("dead");
    tree.link("link", "dead/paper.pdf");
    SilentFileSystem silent(tree.path("dead"));
    if (!silent.isMounted())
        QSKIP("this test mounts a file system, which is not allowed here");  // style: needs a right
    SlowBench bench;
    bench.include({tree.text()});
    bench.settle();

    const auto link = bench.item(tree.path("link"));
    const auto point = bench.item(tree.path("dead"));

    QVERIFY(link && point);
    QCOMPARE(*link->contentType, *base::UTType::forFileName(u"paper.pdf"_s));
    QCOMPARE(*point->contentType, base::UTType::folder());
}

void tst_SlowMounts::aDesktopEntryThatLinksIntoADeadMountHangsNothing()
{
    const TemporaryTree tree;
    tree.folder("dead");
    tree.file("data/applications/near.desktop", "[Desktop Entry]\nType=Application\nName=Near\n");
    tree.link("data/applications/far.desktop", tree.path("dead/far.desktop"));
    tree.link("data/applications/folder", tree.path("dead/deep"));
    SilentFileSystem silent(tree.path("dead"));
    if (!silent.isMounted())
        QSKIP("this test mounts a file system, which is not allowed here");  // style: needs a right
    SlowBench bench(readMounts, DesktopEntries({}, {tree.text("data")}, {}));

    bench.settle();

    const auto applications = bench.published.current()->applications;
    QCOMPARE(applications->size(), std::size_t(1));
    QCOMPARE(applications->front().name, std::string("Near"));
    QCOMPARE(bench.live->counters().hungMounts, std::size_t(0));
}

void tst_SlowMounts::aShareIsKeptInTheSnapshotWithoutTouchingIt()
{
    const TemporaryTree tree;
    const tests::OtherFileSystemGuard guard;
    tree.file("net/deep/file");
    tree.file("local/file");
    const auto point = tree.path("net");
    const auto mounts = [point] { return withSlowMount(point); };
    const auto makeBench = [&] {
        return std::make_unique<SlowBench>(mounts, DesktopEntries({}, {}, {}), tree.path("cache"));
    };
    auto bench = makeBench();
    bench->include({tree.text("net"), tree.text("local")});
    QVERIFY(bench->await([&] { return bench->isCrawled(point); }));
    tests::noticed.below = point;

    bench->live->save();
    bench->settle();
    tree.file("local/later");
    bench->settle();
    bench->live->saveAtEnd();
    QCOMPARE(tests::noticed.paths, std::vector<std::string>{});

    bench = makeBench();
    bench->live->startFromSnapshot();
    QVERIFY(bench->find(point + "/deep/file") != nothing);
    QVERIFY(bench->find(tree.path("local/later")) != nothing);
    bench->include({tree.text("net"), tree.text("local")});
    const auto looked = [&] {
        const auto counters = bench->live->counters();
        return counters.foldersRead + counters.foldersUnchanged;
    };
    QVERIFY(bench->await([&] { return looked() >= 3; }));
    QVERIFY(bench->find(point + "/deep/file") != nothing);
    QCOMPARE(tests::noticed.paths, std::vector<std::string>{});
}

void tst_SlowMounts::anotherShareAtTheSamePlaceIsReadAgain()
{
    const TemporaryTree tree;
    tree.file("net/old");
    const auto point = tree.path("net");
    const auto mounts = [point] { return withSlowMount(point); };
    {
        SlowBench bench(mounts, {{}, {}, {}}, tree.path("cache"));
        bench.include({tree.text("net")});
        QVERIFY(bench.await([&] { return bench.isCrawled(point); }));
        bench.live->save();
        bench.settle();
    }
    tree.move("net", "elsewhere");
    tree.file("net/new");

    QTest::ignoreMessage(
        QtWarningMsg, "another folder stands where a searched one was, it is read anew");
    SlowBench bench(mounts, {{}, {}, {}}, tree.path("cache"));
    bench.live->startFromSnapshot();
    bench.include({tree.text("net")});

    QVERIFY(bench.await([&] { return bench.find(point + "/new") != nothing; }));
    QCOMPARE(bench.find(point + "/old"), nothing);
}

void tst_SlowMounts::theIndexEndsWhileAMountHangs()
{
    const TemporaryTree tree;
    tree.folder("dead");
    tree.file("local/file");
    SilentFileSystem silent(tree.path("dead"));
    if (!silent.isMounted())
        QSKIP("this test mounts a file system, which is not allowed here");  // style: needs a right
    auto bench =
        std::make_unique<SlowBench>(readMounts, DesktopEntries({}, {}, {}), tree.path("cache"));
    bench->include({tree.text("local"), tree.text("dead")});
    bench->settle();
    QTest::ignoreMessage(QtWarningMsg,
        qPrintable(
            u"the file system at \"%1\" does not answer; what is known of it stays as it is"_s.arg(
                tree.text("dead"))));
    bench->clock += 11s;
    bench->settle();
    QVERIFY(bench->isCrawled(tree.path("dead")));

    bench->live->save();
    bench->settle();
    tree.file("local/later");
    bench->settle();
    bench->live->saveAtEnd();
    bench.reset();
    silent.end();
}

QTEST_GUILESS_MAIN(tst_SlowMounts)
#include "tst_SlowMounts.moc"
