// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/OtherFileSystem.h"
#include "index/SlowBench.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace std::chrono_literals;
using tests::gate;
using tests::SlowBench;
using tests::TemporaryTree;

class tst_SlowShares final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { gate.setClosed(false); }
    void aCrawlThatTakesLongHoldsUpNothingElse();
    void aSlowShareIsSweptForATwentiethOfTheTime();
    void everyFolderOfASlowShareHasItsTurn();
};

namespace {

/// A share whose calls take as long as the gate is closed, and never so long that it seems hung.
SlowBench shareBelow(const TemporaryTree &tree)
{
    LiveIndexOptions options;
    options.hangLimit = 24h;
    options.compactAbove = 0;
    const auto point = tree.path("net");
    return SlowBench(
        [point] { return tests::withSlowMount(point); }, {{}, {}, {}}, tree.path("cache"), options);
}

constexpr int folderCount = 100;

void makeFiles(const TemporaryTree &tree, const std::string &name)
{
    for (int i = 0; i < folderCount; ++i)
        tree.file("net/" + std::to_string(i) + '/' + name);
}

std::uint64_t lookedAt(const SlowBench &bench)
{
    const auto counters = bench.live->counters();
    return counters.foldersRead + counters.foldersUnchanged;
}

}  // namespace

void tst_SlowShares::aCrawlThatTakesLongHoldsUpNothingElse()
{
    const TemporaryTree tree;
    tree.file("net/deep/file");
    tree.file("local/file");
    tree.setTime("local/file", 1'000'000);
    auto bench = shareBelow(tree);
    gate.setClosed(true);

    bench.include({tree.text("net"), tree.text("local")});
    bench.settle();
    QVERIFY(bench.isCrawled(tree.path("local")));
    QVERIFY(!bench.isCrawled(tree.path("net")));
    // Tables are compacted, change times read, texts may begin, and all of it is kept.
    const auto view = bench.published.current();
    QVERIFY(view->base->recordCount() > 0);
    QCOMPARE(view->changeTimeOf(bench.find(tree.path("local/file"))), 1'000'000U);
    QVERIFY(bench.live->isSettled());
    bench.live->save();
    bench.settle();
    QVERIFY(!bench.live->nextSave());
    QCOMPARE(::access(tree.path("cache/names.index").c_str(), F_OK), 0);

    // What is read at last finds its folder, whatever number it has got meanwhile.
    gate.setClosed(false);
    QVERIFY(bench.await([&] { return bench.isCrawled(tree.path("net")); }));
    QVERIFY(bench.find(tree.path("net/deep/file")) != nothing);
    QVERIFY(bench.find(tree.path("local/file")) != nothing);
}

void tst_SlowShares::aSlowShareIsSweptForATwentiethOfTheTime()
{
    const TemporaryTree tree;
    makeFiles(tree, "one");
    auto bench = shareBelow(tree);
    bench.include({tree.text("net")});
    QVERIFY(bench.await([&] { return bench.isCrawled(tree.path("net")); }));
    const auto before = lookedAt(bench);

    gate.setClosed(true);
    bench.clock += 1h;
    bench.settle();
    // All of it is due over and over while the first turn goes on.
    bench.clock += 90s;
    bench.settle();
    gate.setClosed(false);
    const auto end = bench.clock + 19 * 90s;
    QVERIFY(bench.await([&] { return bench.live->nextDue() == end; }));

    QCOMPARE(lookedAt(bench) - before, Sweeps::foldersOfReader);
}

void tst_SlowShares::everyFolderOfASlowShareHasItsTurn()
{
    const TemporaryTree tree;
    makeFiles(tree, "one");
    auto bench = shareBelow(tree);
    bench.include({tree.text("net")});
    QVERIFY(bench.await([&] { return bench.isCrawled(tree.path("net")); }));
    makeFiles(tree, "two");

    // One more than a hundred, for the top.
    for (auto left = folderCount + 1; left > 0; left -= int(Sweeps::foldersOfReader)) {
        const auto before = lookedAt(bench);
        bench.clock += 1h;
        QVERIFY(bench.await([&] { return lookedAt(bench) - before == Sweeps::foldersOfReader; }));
        // The turn has ended when the next one is due.
        QVERIFY(bench.await([&] { return bench.live->nextDue() == bench.clock + 1s; }));
    }

    for (int i = 0; i < folderCount; ++i) {
        const auto path = tree.path("net/" + std::to_string(i) + "/two");
        QVERIFY2(bench.find(path) != nothing, path.c_str());
    }
}

QTEST_GUILESS_MAIN(tst_SlowShares)
#include "tst_SlowShares.moc"
