// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/LiveBench.h"
#include "index/live/LossySource.h"

#include <QObject>
#include <QTest>

#include <array>
#include <filesystem>
#include <set>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace vellumhound::tests;

class tst_LiveChanges final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void createdDeletedAndRenamedFilesAreSeen();
    void aFileThatBecomesAFolderIsSeenAsOne();
    void aFolderMovedInsideTakesItsContentsAlong();
    void aFolderMovedInIsReadAndOneMovedOutIsForgotten();
    void aFolderReplacedByAnotherIsReadAnew();
    void filesInAFolderMadeJustNowAreSeen();
    void aMovedFolderIsFoundAtOnceWithoutBeingReadAgain();
    void aChainOfRenamesCopiesOnce();
    void aTreeMovedRoundManyFoldersIsNotCopiedEachTime();
    void aRenamedAncestorOfARootLeavesNoGhostNames();
    void aFolderMovedWhileItIsReadIsFoundWhole();
    void whatIsWrittenOverAndOverIsLookedAtOnceInAPause();
    void changesAreToldToWhoWantsThem();
    void aFileThatAnotherReplacesIsToldAsWritten();
    void aStormIsReadNowAndThen();
};

void tst_LiveChanges::createdDeletedAndRenamedFilesAreSeen()
{
    for (const auto &options : {neverCompacting(), alwaysCompacting()}) {
        const TemporaryTree tree;
        tree.file("old");
        tree.file("Été");
        RealBench bench(options, manyWatches);
        bench.include(tree);

        tree.file("new");
        tree.file(".hidden");
        bench.settle();
        QCOMPARE(bench.paths(tree), (Paths{"old", "new", "Été"}));

        tree.move("new", "newer");
        tree.move("Été", "ete");
        bench.settle();
        QCOMPARE(bench.paths(tree), (Paths{"old", "newer", "ete"}));

        tree.remove("old");
        tree.move("newer", ".newer");
        bench.settle();
        QCOMPARE(bench.paths(tree), (Paths{"ete"}));
        QCOMPARE(bench.search(tree, "e"), (Names{"ete"}));
    }
}

void tst_LiveChanges::aFileThatBecomesAFolderIsSeenAsOne()
{
    const TemporaryTree tree;
    tree.file("thing");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);

    tree.remove("thing");
    tree.file("thing/inside");
    bench.settle();

    QCOMPARE(bench.paths(tree), (Paths{"thing", "thing/inside"}));
}

void tst_LiveChanges::aFolderMovedInsideTakesItsContentsAlong()
{
    for (const auto &options : {neverCompacting(), alwaysCompacting()}) {
        const TemporaryTree tree;
        tree.file("a/deep/er/file");
        tree.folder("b");
        RealBench bench(options, manyWatches);
        bench.include(tree);

        tree.move("a/deep", "b/moved");
        bench.settle();
        QCOMPARE(bench.paths(tree), onDisk(tree));

        tree.file("b/moved/er/later");
        bench.settle();
        QCOMPARE(bench.paths(tree), onDisk(tree));
        QCOMPARE(bench.search(tree, "later", "b/moved"), (Names{"later"}));
        QCOMPARE(bench.live.watchedFolderCount(), std::size_t(5));
    }
}

void tst_LiveChanges::aFolderMovedInIsReadAndOneMovedOutIsForgotten()
{
    const TemporaryTree tree;
    tree.folder("inside");
    tree.file("outside/in/file");
    tree.file("inside/out/file");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree, "inside");

    tree.move("outside/in", "inside/in");
    tree.move("inside/out", "outside/out");
    bench.settle();
    tree.file("outside/out/unseen");
    tree.file("inside/in/seen");
    bench.settle();

    QCOMPARE(bench.paths(tree), (Paths{"inside/in", "inside/in/file", "inside/in/seen"}));
    QCOMPARE(bench.live.watchedFolderCount(), std::size_t(2));
}

void tst_LiveChanges::aFolderReplacedByAnotherIsReadAnew()
{
    const TemporaryTree tree;
    tree.file("place/first");
    tree.file("spare/second");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);

    tree.move("place", "away");
    tree.move("spare", "place");
    bench.settle();
    tree.file("place/third");
    tree.file("away/fourth");
    bench.settle();

    QCOMPARE(bench.paths(tree), onDisk(tree));
}

void tst_LiveChanges::filesInAFolderMadeJustNowAreSeen()
{
    const TemporaryTree tree;
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);

    tree.folder("new");
    bench.live.step();  // the folder is known, but not read
    tree.file("new/a");
    bench.worker.step();  // read
    tree.file("new/b");
    tree.remove("new/a");
    bench.settle();

    QCOMPARE(bench.paths(tree), (Paths{"new", "new/b"}));
}

void tst_LiveChanges::aMovedFolderIsFoundAtOnceWithoutBeingReadAgain()
{
    for (const auto &options : {neverCompacting(), alwaysCompacting()}) {
        const TemporaryTree tree;
        tree.file("a/deep/er/file");
        tree.file("a/deep/other");
        tree.folder("b");
        RealBench bench(options, manyWatches);
        bench.include(tree);
        const auto view = bench.published.current();

        tree.move("a/deep", "b/moved");
        bench.live.step();

        // The worker has done nothing yet.
        QCOMPARE(bench.search(tree, "file", "b/moved"), (Names{"file"}));
        QCOMPARE(bench.paths(tree), onDisk(tree));
        const auto moved = bench.published.current();
        const auto traits =
            moved->traitsOf(moved->find(moved->findFolder(tree.path("b/moved/er")), "file"));
        QCOMPARE(traits.depth(), 3U);
        QCOMPARE(bench.live.counters().namesMoved, std::uint64_t(4));
        bench.settle();
        QCOMPARE(bench.live.watchedFolderCount(), std::size_t(5));
    }
}

void tst_LiveChanges::aChainOfRenamesCopiesOnce()
{
    const TemporaryTree tree;
    tree.file("start/in/file");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);

    std::string place = "start";
    for (int i = 0; i < 200; ++i) {
        auto next = "place" + std::to_string(i);
        tree.move(place, next);
        place = std::move(next);
    }
    bench.live.step();

    QCOMPARE(bench.paths(tree), onDisk(tree));
    QCOMPARE(bench.live.counters().namesMoved, std::uint64_t(3));
    bench.settle();
    QCOMPARE(bench.paths(tree), onDisk(tree));
}

void tst_LiveChanges::aTreeMovedRoundManyFoldersIsNotCopiedEachTime()
{
    constexpr int parents = 100;
    constexpr int folders = 120;
    constexpr int filesEach = 500;
    constexpr std::size_t mostBytes = std::size_t(200) << 20;
    constexpr double copiedNames = StormGuard::burst * StormGuard::namesPerChange;
    const TemporaryTree tree;
    for (int i = 0; i < parents; ++i)
        tree.folder("parent" + std::to_string(i));
    for (int i = 0; i < folders; ++i) {
        const auto folder = "parent0/tree/folder" + std::to_string(i);
        tree.folder(folder);
        for (int file = 0; file < filesEach; ++file)
            tree.file(folder + "/file" + std::to_string(file));
    }
    tree.file("small/inside");
    RealBench bench(LiveIndexOptions{}, manyWatches);
    bench.include(tree);
    const auto names = bench.live.nameCount();
    QVERIFY(names > std::uint64_t(folders * filesEach));

    // The worker, and with it all compacting, never gets its turn.
    for (int i = 1; i < parents; ++i) {
        tree.move(
            "parent" + std::to_string(i - 1) + "/tree", "parent" + std::to_string(i) + "/tree");
        bench.live.step();
    }
    QVERIFY(double(bench.live.counters().namesMoved) <= copiedNames + double(names) + parents);
    QVERIFY2(bench.live.memoryBytes() < mostBytes,
        std::to_string(bench.live.memoryBytes() >> 20).c_str());
    QCOMPARE(bench.paths(tree).count("parent99/tree"), std::size_t(1));

    // What is small is found throughout.
    tree.move("small", "parent0/small");
    bench.live.step();
    QCOMPARE(bench.search(tree, "inside", "parent0/small"), (Names{"inside"}));

    // When the moves have ended it is read where it is.
    bench.pass(StormGuard::longest);
    QCOMPARE(bench.live.nameCount(), names);
    QCOMPARE(bench.search(tree, "file499", "parent99/tree/folder7"), (Names{"file499"}));
    QCOMPARE(bench.live.counters().stormFolders, std::size_t(0));
    tree.file("parent99/tree/folder7/later");
    bench.settle();
    QCOMPARE(bench.search(tree, "later"), (Names{"later"}));
}

void tst_LiveChanges::aRenamedAncestorOfARootLeavesNoGhostNames()
{
    const TemporaryTree tree;
    tree.file("a/b/root/in/file");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree, "a/b/root");
    QCOMPARE(bench.paths(tree), (Paths{"a/b/root/in", "a/b/root/in/file"}));

    tree.move("a", "z");
    bench.settle();
    QCOMPARE(bench.paths(tree), Paths{});
    QCOMPARE(bench.live.watchedFolderCount(), std::size_t(0));

    // Back again, it is met by the next look at the root, and its ancestors are watched as before.
    for (int round = 0; round < 2; ++round) {
        tree.move("z", "a");
        bench.pass(std::chrono::minutes(5));
        QCOMPARE(bench.paths(tree), (Paths{"a/b/root/in", "a/b/root/in/file"}));
        QVERIFY(!bench.live.nextDue());
        tree.move("a/b", "a/c");
        tree.move("a", "z");
        bench.settle();
        QCOMPARE(bench.paths(tree), Paths{});
        tree.move("z/c", "z/b");
    }
}

void tst_LiveChanges::aFolderMovedWhileItIsReadIsFoundWhole()
{
    const TemporaryTree tree;
    tree.folder("place");
    tree.file("outside/new/in/file");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree, "place");

    tree.move("outside/new", "place/new");
    bench.live.step();    // asks for it to be read
    bench.worker.step();  // read, but not taken
    tree.move("place/new", "place/newer");
    tree.file("place/newer/later");
    bench.settle();

    QCOMPARE(bench.paths(tree),
        (Paths{"place/newer", "place/newer/in", "place/newer/in/file", "place/newer/later"}));
}

void tst_LiveChanges::whatIsWrittenOverAndOverIsLookedAtOnceInAPause()
{
    const TemporaryTree tree;
    tree.file("log");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);
    int written = 0;
    bench.live.onFileChanged = [&](const FileChange &change) {
        written += change.kind == FileChange::Kind::written ? 1 : 0;
    };

    for (int i = 0; i < 50; ++i) {
        tree.file("log", std::to_string(i));
        bench.live.step();
    }
    QCOMPARE(written, 0);
    bench.pass(std::chrono::milliseconds(100));

    QCOMPARE(written, 1);
    QVERIFY(!bench.live.nextDue());
}

void tst_LiveChanges::changesAreToldToWhoWantsThem()
{
    const TemporaryTree tree;
    tree.file("a/one");
    tree.file("a/two");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);
    std::vector<std::string> told;
    bench.live.onFileChanged = [&](const FileChange &change) {
        const auto relative = [&](const std::string &path) {
            return path.empty() ? path : path.substr(tree.path().size() + 1);
        };
        static const std::array kinds{"created ", "written ", "removed ", "moved "};
        told.push_back(kinds[std::size_t(change.kind)] + relative(change.path) +
                       (change.oldPath.empty() ? "" : " from " + relative(change.oldPath)) +
                       (change.isFolder ? "/" : ""));
    };

    tree.folder("b");
    bench.settle();
    tree.move("a/one", "b/eins");
    tree.remove("a/two");
    bench.settle();
    tree.move("b", "c");
    tree.file("c/eins", "more");
    bench.settle();
    tree.move("c", ".c");
    bench.settle();

    QCOMPARE(told, (std::vector<std::string>{"created b/", "moved b/eins from a/one",
                       "removed a/two", "moved c from b/", "written c/eins", "removed c/"}));
}

void tst_LiveChanges::aFileThatAnotherReplacesIsToldAsWritten()
{
    const TemporaryTree tree;
    for (const auto *name : {"hidden", "beside", "linked", "removed and linked"})
        tree.file(name);
    tree.file(".other", "more");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);
    std::set<std::string> told;
    bench.live.onFileChanged = [&](const FileChange &change) {
        QCOMPARE(change.kind, FileChange::Kind::written);
        told.insert(change.path.substr(tree.path().size() + 1));
    };

    // All of it before anybody looks.
    tree.file(".t", "more");
    tree.move(".t", "hidden");
    tree.file("beside.tmp", "more");
    tree.move("beside.tmp", "beside");
    tree.remove("removed and linked");
    std::filesystem::create_hard_link(tree.path(".other"), tree.path("removed and linked"));
    bench.settle();

    QCOMPARE(told, (std::set<std::string>{"hidden", "beside", "removed and linked"}));
    QCOMPARE(bench.paths(tree), (Paths{"hidden", "beside", "linked", "removed and linked"}));
}

void tst_LiveChanges::aStormIsReadNowAndThen()
{
    const TemporaryTree tree;
    tree.file("build/one");
    tree.file("calm/one");
    Bench<LossySource> bench(neverCompacting());
    bench.include(tree);
    const auto watched = bench.live.watchedFolderCount();

    bench.source.repeats = 70'000;  // each change, so many times
    tree.file("build/two");
    while (bench.live.step()) {
    }
    bench.source.repeats = 1;
    QCOMPARE(bench.live.counters().stormFolders, std::size_t(1));
    QCOMPARE(bench.live.watchedFolderCount(), watched - 1);
    tree.file("build/three");
    bench.live.step();
    QVERIFY(!bench.paths(tree).contains("build/three"));

    bench.pass(std::chrono::milliseconds(100));
    QCOMPARE(bench.paths(tree), onDisk(tree));
    QCOMPARE(bench.live.counters().stormFolders, std::size_t(0));
    QCOMPARE(bench.live.watchedFolderCount(), watched);
}

QTEST_GUILESS_MAIN(tst_LiveChanges)
#include "tst_LiveChanges.moc"
