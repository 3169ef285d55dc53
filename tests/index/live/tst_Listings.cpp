// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Listings.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QSemaphore>
#include <QTest>

#include <cerrno>
#include <future>
#include <map>

using namespace vellumhound::index;
using namespace std::chrono_literals;
using vellumhound::tests::TemporaryTree;

class tst_Listings final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFolderIsReadAndHandedOver();
    void whatSomebodyMayLookForIsReadBeforeACrawl();
    void aFolderRequestedWhileItIsReadIsWantedAgain();
    void foldersAreReadTogetherAndTheEndIsAnnounced();
    void changesWhileAFolderIsReadComeWithItsListing();
    void aMovedFolderComesUnderItsNewNumberAndIsStale();
    void changesOfUnknownWatchesWaitWhileSomethingIsRead();
    void aFirstCrawlEndsWithItsLastFolder();
    void whatNobodyWantsAnyMoreIsNotRead();
    void whatAMountIsToReadCanBeAbandoned();
    void listingsComeUnderTheNumbersThatTheirFoldersHaveByThen();
    void aFolderThatGoesWhileItIsReadEndsItsCrawl();
    void foldersOfAReaderAreReadInTurnAndTheEndIsAnnounced();
    void whatAReaderReadsKeepsNoWatchesInMind();
};

namespace {

/// Listings by a worker that is stepped by hand, and what they hand over.
struct Bench {
    Bench()
    {
        listings.onRead = [this](FolderId folder, const FolderListing &listing, auto &pending) {
            order.push_back(folder);
            read[folder] = listing;
            pendingOf[folder] = pending;
            if (whileTaking)
                whileTaking();
        };
        listings.onFirstCrawlEnded = [this](std::uint32_t root) { crawled.push_back(root); };
    }
    Listings::Request request(
        FolderId folder, const std::string &name, std::uint32_t root = 0) const
    {
        Listings::Request request;
        request.folder = folder;
        request.path = tree.path(name);
        request.root = root;
        return request;
    }
    void work()
    {
        while (worker.step()) {
        }
    }
    void take()
    {
        for (const auto &completion : worker.takeDone())
            completion();
    }
    Listings::Request requestOfReader(FolderId folder, const std::string &name)
    {
        auto made = request(folder, name);
        made.reader = &reader;
        return made;
    }
    /// Waits until the reader has nothing left to do.
    void awaitReader()
    {
        while (reader.outstandingCount() > 0) {
            readerDone.acquire();
            for (const auto &completion : reader.takeDone(now))
                completion();
        }
    }

    TemporaryTree tree;
    QSemaphore readerDone;
    MountReader reader{"/mount", [this] { readerDone.release(); }, 10s};
    Worker worker{{}};
    Listings listings{worker};
    std::vector<FolderId> order;
    std::map<FolderId, FolderListing> read;
    std::map<FolderId, Listings::Pending> pendingOf;
    std::vector<std::uint32_t> crawled;
    std::function<void()> whileTaking;
    const Listings::Clock::time_point now{1h};
};

Change changeBy(int watch, const std::string &name)
{
    Change change;
    change.watch = watch;
    change.name = name;
    return change;
}

}  // namespace

void tst_Listings::aFolderIsReadAndHandedOver()
{
    Bench bench;
    bench.tree.file("a/one");

    bench.listings.read(bench.request(5, "a"), bench.now);
    QVERIFY(bench.listings.isReading(5));
    bench.work();
    QVERIFY(!bench.listings.isEmpty());
    bench.whileTaking = [&] { QVERIFY(!bench.listings.isReading(5)); };
    bench.take();

    QVERIFY(bench.listings.isEmpty());
    QCOMPARE(bench.order, std::vector<FolderId>{5});
    QCOMPARE(bench.read[5].entries.size(), std::size_t(1));
    QVERIFY(!bench.pendingOf[5].isWantedAgain);
    QVERIFY(!bench.pendingOf[5].isStale);
    QVERIFY(bench.crawled.empty());
}

void tst_Listings::whatSomebodyMayLookForIsReadBeforeACrawl()
{
    Bench bench;

    bench.listings.readFirst(bench.request(1, ""), bench.now);
    bench.listings.readFirst(bench.request(2, ""), bench.now);
    bench.listings.read(bench.request(3, ""), bench.now);
    bench.work();
    bench.take();

    QCOMPARE(bench.order, (std::vector<FolderId>{3, 1, 2}));
}

void tst_Listings::aFolderRequestedWhileItIsReadIsWantedAgain()
{
    Bench bench;
    bench.listings.read(bench.request(5, ""), bench.now);

    bench.listings.read(bench.request(5, ""), bench.now);
    bench.work();
    bench.take();

    QCOMPARE(bench.order, std::vector<FolderId>{5});
    QVERIFY(bench.pendingOf[5].isWantedAgain);
}

void tst_Listings::foldersAreReadTogetherAndTheEndIsAnnounced()
{
    Bench bench;
    int ended = 0;
    bench.listings.readTogether(
        {bench.request(1, ""), bench.request(2, "")}, [&] { ++ended; }, bench.now);
    QVERIFY(bench.worker.step());
    QVERIFY(!bench.worker.step());  // one job for both
    QCOMPARE(ended, 0);
    bench.take();
    QCOMPARE(bench.order, (std::vector<FolderId>{1, 2}));
    QCOMPARE(ended, 1);

    bench.listings.readTogether(
        {}, [&] { ++ended; }, bench.now);
    bench.work();
    bench.take();
    QCOMPARE(ended, 2);
}

void tst_Listings::changesWhileAFolderIsReadComeWithItsListing()
{
    Bench bench;
    bench.listings.noteChange(5, changeBy(1, "before"));

    bench.listings.read(bench.request(5, ""), bench.now);
    bench.listings.noteChange(5, changeBy(1, "while"));
    bench.listings.noteChange(6, changeBy(1, "elsewhere"));
    bench.work();
    bench.take();

    QCOMPARE(bench.pendingOf[5].touched, std::vector<Change>{changeBy(1, "while")});
}

void tst_Listings::aMovedFolderComesUnderItsNewNumberAndIsStale()
{
    Bench bench;
    bench.listings.readFirst(bench.request(5, ""), bench.now);

    bench.listings.noteMoved({{5, 9}, {6, 10}});
    QVERIFY(!bench.listings.isReading(5));
    QVERIFY(bench.listings.isReading(9));
    bench.listings.noteMoved({{9, 12}});
    bench.work();
    bench.take();

    QCOMPARE(bench.order, std::vector<FolderId>{12});
    QVERIFY(bench.pendingOf[12].isStale);
    QCOMPARE(bench.crawled, std::vector<std::uint32_t>{0});
    QVERIFY(bench.listings.isEmpty());
}

void tst_Listings::changesOfUnknownWatchesWaitWhileSomethingIsRead()
{
    Bench bench;
    bench.listings.noteEarly(changeBy(7, "nobody reads"));
    bench.listings.noteRetired(7);
    QVERIFY(bench.listings.takeEarly(7).empty());
    QVERIFY(!bench.listings.isRetired(7));

    bench.listings.read(bench.request(5, ""), bench.now);
    bench.listings.noteEarly(changeBy(7, "one"));
    bench.listings.noteEarly(changeBy(7, "two"));
    bench.listings.noteEarly(changeBy(8, "three"));
    bench.listings.noteRetired(9);
    QCOMPARE(
        bench.listings.takeEarly(7), (std::vector<Change>{changeBy(7, "one"), changeBy(7, "two")}));
    QVERIFY(bench.listings.takeEarly(7).empty());
    QVERIFY(bench.listings.isRetired(9));

    // Their numbers may come again once nothing is being read.
    bench.work();
    bench.take();
    QVERIFY(bench.listings.takeEarly(8).empty());
    QVERIFY(!bench.listings.isRetired(9));
}

void tst_Listings::aFirstCrawlEndsWithItsLastFolder()
{
    Bench bench;
    bench.listings.readFirst(bench.request(1, "", 3), bench.now);
    bench.listings.readFirst(bench.request(5, "", 4), bench.now);
    bool isFirst = true;
    bench.whileTaking = [&] {
        if (std::exchange(isFirst, false))
            bench.listings.readFirst(bench.request(2, "", 3), bench.now);
    };

    bench.work();
    bench.take();
    QCOMPARE(bench.crawled, std::vector<std::uint32_t>{4});
    bench.work();
    bench.take();
    QCOMPARE(bench.crawled, (std::vector<std::uint32_t>{4, 3}));
}

void tst_Listings::whatNobodyWantsAnyMoreIsNotRead()
{
    Bench bench;
    for (const FolderId folder : {1U, 2U})
        bench.listings.readFirst(bench.request(folder, ""), bench.now);
    bench.listings.readTogether({bench.request(3, ""), bench.request(4, "")}, {}, bench.now);

    bench.listings.cancel([](FolderId folder) { return folder % 2 == 1; });
    bench.work();
    bench.take();

    for (const FolderId folder : {1U, 3U})
        QCOMPARE(bench.read[folder].error, ECANCELED);
    for (const FolderId folder : {2U, 4U})
        QVERIFY(bench.read[folder].isRead());
    QCOMPARE(bench.crawled, std::vector<std::uint32_t>{0});
    QVERIFY(bench.listings.isEmpty());
}

void tst_Listings::whatAMountIsToReadCanBeAbandoned()
{
    Bench bench;
    std::promise<void> answered;
    MountReader reader(
        "/mount", [] {}, 10s);
    reader.post(
        [answer = answered.get_future().share()]() -> Worker::Completion {
            answer.wait();
            return [] {};
        },
        bench.now);
    auto onMount = bench.request(5, "", 3);
    onMount.reader = &reader;
    bench.listings.readFirst(onMount, bench.now);
    bench.listings.readFirst(bench.request(6, "", 4), bench.now);

    QCOMPARE(bench.listings.abandon(reader), std::vector<FolderId>{5});
    QVERIFY(!bench.listings.isReading(5));
    QVERIFY(bench.listings.isReading(6));
    QCOMPARE(bench.crawled, std::vector<std::uint32_t>{3});
    QVERIFY(bench.listings.abandon(reader).empty());
    answered.set_value();
}

void tst_Listings::listingsComeUnderTheNumbersThatTheirFoldersHaveByThen()
{
    Bench bench;
    bench.tree.file("a/one");
    bench.tree.file("b/one");
    bench.tree.file("b/two");
    bench.listings.read(bench.request(5, "a"), bench.now);
    bench.listings.read(bench.request(9, "b"), bench.now);

    bench.listings.renumber([](FolderId old) { return old == 5 ? 9U : 5U; });
    QVERIFY(bench.listings.isReading(5) && bench.listings.isReading(9));
    bench.work();
    bench.take();

    QCOMPARE(bench.read[9].entries.size(), std::size_t(1));
    QCOMPARE(bench.read[5].entries.size(), std::size_t(2));
    QVERIFY(!bench.pendingOf[5].isStale);
    QVERIFY(bench.listings.isEmpty());
}

void tst_Listings::aFolderThatGoesWhileItIsReadEndsItsCrawl()
{
    Bench bench;
    bench.listings.readFirst(bench.request(5, "", 3), bench.now);
    bench.listings.noteRetired(7);

    bench.listings.renumber([](FolderId) { return nothing; });

    QCOMPARE(bench.crawled, std::vector<std::uint32_t>{3});
    QVERIFY(bench.listings.isEmpty());
    QVERIFY(!bench.listings.isWorkerReading());
    QVERIFY(!bench.listings.isRetired(7));
    bench.work();
    bench.take();
    QVERIFY(bench.order.empty());
}

void tst_Listings::foldersOfAReaderAreReadInTurnAndTheEndIsAnnounced()
{
    Bench bench;
    bench.tree.file("a/one");
    std::size_t readAtEnd = 0;

    bench.listings.readInTurn(
        bench.reader, {bench.requestOfReader(1, "a"), bench.requestOfReader(2, "")},
        [&] { readAtEnd = bench.order.size(); }, bench.now);
    QVERIFY(!bench.listings.isEmpty());
    QVERIFY(!bench.listings.isWorkerReading());
    QVERIFY(!bench.worker.step());
    bench.awaitReader();

    QCOMPARE(bench.order, (std::vector<FolderId>{1, 2}));
    QCOMPARE(readAtEnd, std::size_t(2));
    QVERIFY(bench.listings.isEmpty());
}

void tst_Listings::whatAReaderReadsKeepsNoWatchesInMind()
{
    Bench bench;
    bench.listings.read(bench.requestOfReader(1, ""), bench.now);
    bench.listings.noteEarly(changeBy(7, "nobody's"));
    bench.listings.noteRetired(8);
    QVERIFY(bench.listings.takeEarly(7).empty());
    QVERIFY(!bench.listings.isRetired(8));

    // Those of the worker's folders are forgotten when it has read them.
    bench.listings.read(bench.request(2, ""), bench.now);
    bench.listings.noteRetired(8);
    QVERIFY(bench.listings.isRetired(8));
    bench.work();
    bench.take();
    QVERIFY(!bench.listings.isRetired(8));
    bench.awaitReader();
    QCOMPARE(bench.order, (std::vector<FolderId>{2, 1}));
}

QTEST_APPLESS_MAIN(tst_Listings)
#include "tst_Listings.moc"
