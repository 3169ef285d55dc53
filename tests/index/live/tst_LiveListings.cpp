// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/LiveBench.h"
#include "index/live/LossySource.h"
#include "index/OrdinaryUser.h"

#include <QObject>
#include <QTest>

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace vellumhound::tests;

class tst_LiveListings final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void lostChangesAreMadeUpForByChecking();
    void aRealOverflowIsMadeUpForWithoutACrawl();
    void foldersBeyondTheLimitOfWatchesAreSwept();
    void filesThatAreReplacedWhereNothingIsWatchedAreTold();
    void whatIsWrittenInPlaceWhenChangesAreLostIsTold();
    void watchesThatBecomeFreeAreGivenOut();
    void aFolderReachedByTwoRootsKeepsItsWatch();
    void aFolderThatCouldNotBeReadIsTriedAgain();
    void aRootThatVanishesAndComesBackIsReadAgain();
    void aRootThatDoesNotExistWakesNobodyAndIsMetWhenItComes();
    void aRootIsMetThoughTheComingOfAFolderAboveItWasLost();
    void aRootBehindABrokenLinkIsSwept();
    void crawlEventsAndSweepsTakeTheSameNames();
    void nothingIsDueWhileEverythingIsWatched();
};

namespace {

/// The files that are told as written from now on, relative to the tree.
std::shared_ptr<std::set<std::string>> writtenFiles(LiveIndex &live, const TemporaryTree &tree)
{
    auto files = std::make_shared<std::set<std::string>>();
    live.onFileChanged = [files, &tree](const FileChange &change) {
        QCOMPARE(change.kind, FileChange::Kind::written);
        files->insert(change.path.substr(tree.path().size() + 1));
    };
    return files;
}

}  // namespace

void tst_LiveListings::lostChangesAreMadeUpForByChecking()
{
    const TemporaryTree tree;
    tree.file("a/one");
    tree.file("b/two");
    tree.file("gone/deep/three");
    Bench<LossySource> bench(neverCompacting());
    bench.include(tree);

    tree.file("a/new");
    tree.remove("b/two");
    tree.file("fresh/deep/four");
    tree.move("gone", ".gone");
    bench.source.losesChanges = true;
    bench.settle();

    QCOMPARE(bench.paths(tree), onDisk(tree));
    tree.file("fresh/deep/five");
    bench.settle();
    QCOMPARE(bench.paths(tree), onDisk(tree));
}

void tst_LiveListings::aRealOverflowIsMadeUpForWithoutACrawl()
{
    const TemporaryTree tree;
    for (int i = 0; i < 200; ++i)
        tree.file("still" + std::to_string(i) + "/file");
    tree.folder("busy");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);
    const auto overflow = [&] {
        for (int i = 0; i < 10'000; ++i) {
            const auto name = "busy/" + std::to_string(i);
            tree.file(name);
            if (i % 2 == 0)
                tree.remove(name);
        }
        bench.settle();
    };
    // What changed just before the crawl read it is read again, since it may have changed after.
    overflow();
    QCOMPARE(bench.paths(tree), onDisk(tree));
    const auto before = bench.live.counters();

    tree.file("still7/late");
    overflow();

    QCOMPARE(bench.paths(tree), onDisk(tree));
    QVERIFY(bench.live.counters().foldersRead - before.foldersRead < 20);
    QVERIFY(bench.live.counters().foldersUnchanged - before.foldersUnchanged >= 190);
}

void tst_LiveListings::foldersBeyondTheLimitOfWatchesAreSwept()
{
    const TemporaryTree tree;
    for (const auto *name : {"a", "b", "c", "d", "e"})
        tree.file(std::string(name) + "/file");
    QTest::ignoreMessage(QtWarningMsg,
        "the limit of watched folders is reached (fs.inotify.max_user_watches); further folders "
        "are compared by their times now and then");
    RealBench bench(neverCompacting(), [] { return 3; });
    bench.include(tree);
    QCOMPARE(bench.paths(tree), onDisk(tree));
    // The application folders of the machine have taken some of the three.
    QVERIFY(bench.live.watchedFolderCount() <= 3);
    QCOMPARE(bench.live.watchedFolderCount() + bench.live.sweptFolderCount(), std::size_t(6));

    for (const auto *name : {"a", "b", "c", "d", "e"}) {
        tree.file(std::string(name) + "/later");
        tree.remove(std::string(name) + "/file");
        tree.file(std::string(name) + "/new/deep");
    }
    bench.live.sweep();
    bench.settle();

    QCOMPARE(bench.paths(tree), onDisk(tree));
    QVERIFY(bench.live.nextDue().has_value());
}

void tst_LiveListings::filesThatAreReplacedWhereNothingIsWatchedAreTold()
{
    const TemporaryTree tree;
    for (const auto *name : {"a/same", "a/replaced"}) {
        tree.file(name);
        tree.setTime(name, 1'500'000'000);
    }
    QTest::ignoreMessage(QtWarningMsg,
        "the limit of watched folders is reached (fs.inotify.max_user_watches); further folders "
        "are compared by their times now and then");
    RealBench bench(neverCompacting(), [] { return 0; });
    bench.include(tree);
    const auto told = writtenFiles(bench.live, tree);

    tree.file("a/.new", "more");
    tree.move("a/.new", "a/replaced");
    bench.sweepAll();

    QCOMPARE(*told, (std::set<std::string>{"a/replaced"}));
}

void tst_LiveListings::whatIsWrittenInPlaceWhenChangesAreLostIsTold()
{
    const TemporaryTree tree;
    for (const auto *name : {"a/same", "a/in place"}) {
        tree.file(name);
        tree.setTime(name, 1'500'000'000);
    }
    tree.setTime("a", 1'500'000'000);  // a folder that changed just now would be read again
    Bench<LossySource> bench(neverCompacting());
    bench.include(tree);
    const auto told = writtenFiles(bench.live, tree);

    tree.file("a/in place", "more");
    bench.source.losesChanges = true;
    bench.settle();

    QCOMPARE(*told, (std::set<std::string>{"a/in place"}));
}

void tst_LiveListings::watchesThatBecomeFreeAreGivenOut()
{
    const TemporaryTree tree;
    for (int i = 0; i < 20; ++i)
        tree.file("folder" + std::to_string(i) + "/file");
    QTest::ignoreMessage(QtWarningMsg,
        "the limit of watched folders is reached (fs.inotify.max_user_watches); further folders "
        "are compared by their times now and then");
    int budget = 5;
    RealBench bench(neverCompacting(), [&budget] { return budget; });
    bench.include(tree);
    QVERIFY(bench.live.sweptFolderCount() >= 16);

    budget = 100;
    for (int i = 0; i < 1100; ++i) {  // the source asks for its limit now and then only
        bench.live.sweep();
        bench.settle();
        if (bench.live.sweptFolderCount() == 0)
            break;
    }

    QCOMPARE(bench.live.watchedFolderCount(), std::size_t(21));
    QVERIFY(!bench.live.nextDue());
}

void tst_LiveListings::aFolderReachedByTwoRootsKeepsItsWatch()
{
    const TemporaryTree tree;
    tree.file("data/x/y/file");
    tree.link("link", "data/x");
    Bench<LossySource> bench(neverCompacting());
    bench.include(tree, "data");
    bench.include(tree, "link");
    const auto inBoth = [&](const std::string &name) {
        const auto paths = bench.paths(tree);
        return paths.contains("data/x/" + name) && paths.contains("link/" + name);
    };
    QVERIFY(inBoth("y/file"));

    // What is swept at one of its places is looked at as often as any swept folder, not each
    // second.
    bench.pass(std::chrono::seconds(31));
    const auto before = bench.source.watchCount;
    bench.pass(std::chrono::seconds(29));
    QCOMPARE(bench.source.watchCount, before);
    QCOMPARE(bench.live.watchedFolderCount(), std::size_t(3));
    QCOMPARE(bench.live.sweptFolderCount(), std::size_t(2));

    tree.file("data/x/y/later");
    bench.settle();
    bench.pass(std::chrono::seconds(31));
    QVERIFY(inBoth("y/later"));

    // One place gone, the other is live again.
    bench.forgetRule(1);
    bench.pass(std::chrono::seconds(1));
    QCOMPARE(bench.live.watchedFolderCount(), std::size_t(3));
    QCOMPARE(bench.live.sweptFolderCount(), std::size_t(0));
    tree.file("data/x/y/last");
    bench.settle();
    QVERIFY(bench.paths(tree).contains("data/x/y/last"));
}

void tst_LiveListings::aFolderThatCouldNotBeReadIsTriedAgain()
{
    const TemporaryTree tree;
    tree.file("closed/file");
    const OrdinaryUser user(tree);
    ::chmod(tree.path("closed").c_str(), 0);
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);
    QCOMPARE(bench.paths(tree), Paths{"closed"});

    ::chmod(tree.path("closed").c_str(), 0755);
    bench.pass(std::chrono::seconds(30));

    QCOMPARE(bench.paths(tree), onDisk(tree));
    QVERIFY(!bench.live.nextDue());
}

void tst_LiveListings::aRootThatVanishesAndComesBackIsReadAgain()
{
    const TemporaryTree tree;
    tree.file("root/one");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree, "root");

    tree.move("root", "elsewhere");
    bench.settle();
    QCOMPARE(bench.paths(tree), Paths{});

    tree.file("root/two");
    bench.settle();
    tree.file("root/three");
    bench.settle();
    QCOMPARE(bench.paths(tree), (Paths{"root/two", "root/three"}));
}

void tst_LiveListings::aRootThatDoesNotExistWakesNobodyAndIsMetWhenItComes()
{
    const TemporaryTree tree;
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree, "a/b/root");
    QVERIFY(!bench.live.nextDue());
    QVERIFY(bench.published.current()->roots.front().isCrawled);

    for (int round = 0; round < 2; ++round) {
        tree.folder("a");
        bench.settle();
        tree.file("other");
        tree.file("a/other");
        QVERIFY(!bench.live.nextDue());
        tree.file("a/b/root/file");
        bench.settle();
        QCOMPARE(bench.paths(tree), Paths{"a/b/root/file"});
        tree.file("a/b/root/later");
        bench.settle();
        QCOMPARE(bench.paths(tree), (Paths{"a/b/root/file", "a/b/root/later"}));

        tree.removeAll("a");
        bench.settle();
        QCOMPARE(bench.paths(tree), Paths{});
        QVERIFY(!bench.live.nextDue());
    }
}

void tst_LiveListings::aRootIsMetThoughTheComingOfAFolderAboveItWasLost()
{
    const TemporaryTree tree;
    Bench<LossySource> bench(neverCompacting());
    bench.include(tree, "a/root");

    bench.source.losesChanges = true;
    tree.folder("a");
    bench.settle();
    tree.file("a/root/file");
    bench.settle();

    QCOMPARE(bench.paths(tree), Paths{"a/root/file"});
}

void tst_LiveListings::aRootBehindABrokenLinkIsSwept()
{
    const TemporaryTree tree;
    tree.link("link", "target");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree, "link");
    QVERIFY(bench.live.nextDue());

    tree.file("target/file");
    bench.pass(std::chrono::minutes(2));

    QCOMPARE(bench.paths(tree), Paths{"link/file"});
}

void tst_LiveListings::crawlEventsAndSweepsTakeTheSameNames()
{
    const std::vector<std::string> names{
        "plain", ".hidden", "..two", "...", "a.b", " .x", "~", "#"};
    const Paths taken{"plain", "a.b", " .x", "~", "#"};
    for (const auto &name : names)
        QCOMPARE(isIndexedName(name), taken.contains(name));
    const auto make = [&](const TemporaryTree &tree) {
        for (const auto &name : names)
            tree.file(name);
    };

    const TemporaryTree crawled;
    make(crawled);
    RealBench crawl(neverCompacting(), manyWatches);
    crawl.include(crawled);
    QCOMPARE(crawl.paths(crawled), taken);

    const TemporaryTree told;
    RealBench events(neverCompacting(), manyWatches);
    events.include(told);
    make(told);
    events.settle();
    QCOMPARE(events.paths(told), taken);

    const TemporaryTree swept;
    QTest::ignoreMessage(QtWarningMsg,
        "the limit of watched folders is reached (fs.inotify.max_user_watches); further folders "
        "are compared by their times now and then");
    RealBench sweeps(neverCompacting(), [] { return 0; });
    sweeps.include(swept);
    make(swept);
    sweeps.live.sweep();
    sweeps.settle();
    QCOMPARE(sweeps.paths(swept), taken);
}

void tst_LiveListings::nothingIsDueWhileEverythingIsWatched()
{
    const TemporaryTree tree;
    tree.file("a/b/c");
    RealBench bench(neverCompacting(), manyWatches);

    bench.include(tree);

    QVERIFY(!bench.live.nextDue());
    QVERIFY(!bench.live.step());
}

QTEST_GUILESS_MAIN(tst_LiveListings)
#include "tst_LiveListings.moc"
