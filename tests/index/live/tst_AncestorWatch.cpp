// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/InotifySource.h"
#include "index/live/AncestorWatch.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::index;
using vellumhound::tests::TemporaryTree;

class tst_AncestorWatch final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aRenamedAncestorIsNoticed();
    void aRenameAboveTheTargetOfALinkIsNoticed();
    void whatComesAboveARootWakesNobody();
    void theSameRootsAreNothingNew();
    void rootsThatGoFreeTheirWatches();
    void aRootThatDoesNotExistIsAwaited();
    void aRootThatComesWhileItsParentIsBeingWatchedIsMet();
    void aMountThatMayHangIsNotTouched();
};

namespace {

/// A watch above roots in a tree, its worker stepped by hand.
struct Bench {
    Bench()
    {
        ancestors.onWatched = [this](const std::vector<int> &unused) {
            ++callCount;
            freed = unused;
        };
    }
    void follow(const std::string &root)
    {
        ancestors.follow({tree.path(root)}, slowMounts);
        settle();
    }
    void settle()
    {
        do {
            for (const auto &change : source.read())
                ancestors.noteChange(change);
            for (const auto &completion : worker.takeDone())
                completion();
        } while (worker.step());
    }

    TemporaryTree tree;
    Worker worker{{}};
    InotifySource source{[] { return 100; }};
    AncestorWatch ancestors{worker, source};
    std::vector<Mount> slowMounts;
    int callCount = 0;
    std::vector<int> freed;
};

}  // namespace

void tst_AncestorWatch::aRenamedAncestorIsNoticed()
{
    Bench bench;
    bench.tree.folder("a/b/root");
    bench.follow("a/b/root");
    QCOMPARE(bench.callCount, 1);
    QVERIFY(bench.freed.empty());

    bench.tree.move("a", "z");
    bench.settle();

    QCOMPARE(bench.callCount, 2);
    QCOMPARE(bench.freed.size(), std::size_t(2));  // a and b, which stand above nothing now
    QVERIFY(bench.ancestors.awaits(bench.tree.path("a/b/root")));
}

void tst_AncestorWatch::aRenameAboveTheTargetOfALinkIsNoticed()
{
    Bench bench;
    bench.tree.folder("real/deep/root");
    bench.tree.link("link", "real/deep");
    bench.follow("link/root");
    QCOMPARE(bench.callCount, 1);

    bench.tree.move("real", "other");
    bench.settle();

    QCOMPARE(bench.callCount, 2);
}

void tst_AncestorWatch::whatComesAboveARootWakesNobody()
{
    Bench bench;
    bench.tree.folder("a/b/root");
    bench.follow("a/b/root");

    bench.tree.file("a/b/file");
    bench.tree.file("a/b/root/file");
    bench.tree.move("a/b/file", "a/file");

    QVERIFY(bench.source.read().empty());
}

void tst_AncestorWatch::theSameRootsAreNothingNew()
{
    Bench bench;
    bench.tree.folder("a/b/root");
    bench.follow("a/b/root");

    bench.follow("a/b/root");

    QCOMPARE(bench.callCount, 1);
}

void tst_AncestorWatch::rootsThatGoFreeTheirWatches()
{
    Bench bench;
    bench.tree.folder("a/root");
    bench.tree.folder("b/root");
    bench.follow("a/root");

    bench.follow("b/root");

    QCOMPARE(bench.callCount, 2);
    QCOMPARE(bench.freed.size(), std::size_t(1));
    QVERIFY(!bench.ancestors.holds(bench.freed.front()));
}

void tst_AncestorWatch::aRootThatDoesNotExistIsAwaited()
{
    Bench bench;
    const auto root = bench.tree.path("a/b/root");
    bench.follow("a/b/root");
    QCOMPARE(bench.callCount, 1);
    QVERIFY(bench.ancestors.awaits(root));
    QVERIFY(!bench.ancestors.awaits(bench.tree.path("a")));

    bench.tree.folder("other");
    bench.settle();
    QCOMPARE(bench.callCount, 1);

    for (const auto *folder : {"a", "a/b"}) {
        const auto before = bench.callCount;
        bench.tree.folder(folder);
        bench.settle();
        QCOMPARE(bench.callCount, before + 1);
        QVERIFY(bench.ancestors.awaits(root));
    }
    bench.tree.folder("a/b/root");
    bench.settle();
    QVERIFY(!bench.ancestors.awaits(root));
}

void tst_AncestorWatch::aRootThatComesWhileItsParentIsBeingWatchedIsMet()
{
    Bench bench;
    bench.ancestors.follow({bench.tree.path("root")}, {});
    QVERIFY(bench.worker.step());  // watched, but the watch is not known yet
    bench.tree.folder("root");
    for (const auto &change : bench.source.read())
        bench.ancestors.noteChange(change);

    bench.settle();

    QVERIFY(!bench.ancestors.awaits(bench.tree.path("root")));
    QCOMPARE(bench.callCount, 2);
}

void tst_AncestorWatch::aMountThatMayHangIsNotTouched()
{
    Bench bench;
    bench.tree.folder("a/net/b/root");
    bench.slowMounts = {{bench.tree.path("a/net"), "/", "0:50", "nfs4"}};
    bench.follow("a/net/b/root");

    bench.tree.move("a/net/b", "a/net/c");
    QVERIFY(bench.source.read().empty());
    bench.tree.move("a", "z");
    QVERIFY(!bench.source.read().empty());
}

QTEST_APPLESS_MAIN(tst_AncestorWatch)
#include "tst_AncestorWatch.moc"
