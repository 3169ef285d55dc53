// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/LiveBench.h"
#include "index/OtherFileSystem.h"

#include <QObject>
#include <QTest>

#include <cstdio>
#include <functional>
#include <map>
#include <utility>

using namespace vellumhound::tests;

class tst_OtherFileSystems final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { otherFileSystem = {}; }
    void cleanup() { otherFileSystem = {}; }
    void aNameThatChangesOnlyItsCaseIsOneRow();
    void aFolderThatChangesOnlyItsCaseKeepsItsTreeOnce();
    void aNameMadeAgainInAnotherCaseIsOneRow();
    void aWriteByAnotherCaseIsTheOneNamesOwn();
    void aNameThatComesWhileOthersAreAppliedIsFound();
    void aSecondChangeWithinACoarseTickIsSwept();
};

namespace {

/// Real watches that give names in another case than the folder keeps them, as those do which go
/// by what a program has asked for.
class CaseChangingSource final : public ChangeSource {
public:
    int watch(int descriptor, Interest interest) override
    {
        return _real.watch(descriptor, interest);
    }
    void unwatch(int watch) override { _real.unwatch(watch); }
    int descriptor() const override { return _real.descriptor(); }
    std::vector<Change> read() override
    {
        if (_hasGiven && betweenReads)
            std::exchange(betweenReads, nullptr)();
        auto changes = _real.read();
        _hasGiven = !changes.empty();
        for (auto &change : changes) {
            if (const auto other = toldAs.find(change.name); other != toldAs.end())
                change.name = other->second;
        }
        return changes;
    }

    std::map<std::string, std::string> toldAs;
    std::function<void()> betweenReads;  ///< called once, behind changes that were just given

private:
    bool _hasGiven = false;
    InotifySource _real{manyWatches};
};

}  // namespace

void tst_OtherFileSystems::aNameThatChangesOnlyItsCaseIsOneRow()
{
    otherFileSystem.ignoresCase = true;
    const TemporaryTree tree;
    tree.file("a/readme");
    tree.file("a/other");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);

    tree.move("a/readme", "a/README");
    bench.settle();
    QCOMPARE(bench.paths(tree), (Paths{"a", "a/README", "a/other"}));

    tree.move("a/README", "a/b");
    tree.move("a/b", "a/ReadMe");
    tree.move("a/other", "a/OTHER");
    bench.settle();
    QCOMPARE(bench.paths(tree), (Paths{"a", "a/ReadMe", "a/OTHER"}));
}

void tst_OtherFileSystems::aFolderThatChangesOnlyItsCaseKeepsItsTreeOnce()
{
    otherFileSystem.ignoresCase = true;
    const TemporaryTree tree;
    tree.file("photos/2019/one");
    tree.file("photos/2020/two");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);

    tree.move("photos", "Photos");
    bench.settle();

    QCOMPARE(bench.paths(tree), onDisk(tree));
    QCOMPARE(bench.live.nameCount(), std::uint64_t(onDisk(tree).size()));
    QCOMPARE(bench.live.watchedFolderCount(), std::size_t(4));
    QCOMPARE(bench.live.counters().namesMoved, std::uint64_t(5));
    tree.file("Photos/2019/later");
    bench.settle();
    QCOMPARE(bench.paths(tree), onDisk(tree));
}

void tst_OtherFileSystems::aNameMadeAgainInAnotherCaseIsOneRow()
{
    otherFileSystem.ignoresCase = true;
    const TemporaryTree tree;
    tree.file("a/readme");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);

    tree.remove("a/readme");
    tree.file("a/README");
    bench.settle();

    QCOMPARE(bench.paths(tree), (Paths{"a", "a/README"}));
}

void tst_OtherFileSystems::aWriteByAnotherCaseIsTheOneNamesOwn()
{
    otherFileSystem.ignoresCase = true;
    const TemporaryTree tree;
    tree.file("a/readme", "old");
    Bench<CaseChangingSource> bench(neverCompacting());
    bench.include(tree);
    std::vector<FileChange> seen;
    bench.live.onFileChanged = [&](const FileChange &change) { seen.push_back(change); };
    bench.source.toldAs = {{"readme", "README"}};

    tree.file("a/readme", "new");
    bench.settle();

    QCOMPARE(bench.paths(tree), (Paths{"a", "a/readme"}));
    QCOMPARE(seen,
        (std::vector<FileChange>{{FileChange::Kind::written, tree.path("a/readme"), {}, false}}));
}

void tst_OtherFileSystems::aNameThatComesWhileOthersAreAppliedIsFound()
{
    otherFileSystem.ignoresCase = true;
    const TemporaryTree tree;
    const TemporaryTree elsewhere;
    tree.file("a/readme");
    tree.file("a/leaves");
    Bench<CaseChangingSource> bench(neverCompacting());
    bench.include(tree);
    bench.source.betweenReads = [&] { tree.move("a/readme", "a/README"); };

    tree.file("a/new");  // makes the folder be listed
    QCOMPARE(std::rename(tree.path("a/leaves").c_str(), elsewhere.path("left").c_str()), 0);
    bench.settle();

    QVERIFY(!bench.source.betweenReads);
    QCOMPARE(bench.paths(tree), (Paths{"a", "a/README", "a/new"}));
}

void tst_OtherFileSystems::aSecondChangeWithinACoarseTickIsSwept()
{
    otherFileSystem.hasCoarseTimes = true;
    const TemporaryTree tree;
    tree.file("a/one");
    QTest::ignoreMessage(QtWarningMsg,
        "the limit of watched folders is reached (fs.inotify.max_user_watches); further folders "
        "are compared by their times now and then");
    RealBench bench(neverCompacting(), [] { return 0; });
    bench.include(tree);
    QCOMPARE(bench.live.watchedFolderCount(), std::size_t(0));

    tree.file("a/two");
    bench.live.sweep();
    bench.settle();

    QCOMPARE(bench.paths(tree), (Paths{"a", "a/one", "a/two"}));
}

QTEST_GUILESS_MAIN(tst_OtherFileSystems)
#include "tst_OtherFileSystems.moc"
