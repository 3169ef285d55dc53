// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/InotifySource.h"
#include "index/LiveIndex.h"
#include "index/NameSearch.h"
#include "TemporaryTree.h"

#include <QObject>
#include <QTest>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <random>
#include <set>

using namespace vellumhound;
using namespace vellumhound::index;
using tests::TemporaryTree;

class tst_LiveIndex final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theCrawlFindsEverythingButHiddenNames();
    void aHiddenFolderIsCrawledWhereARuleNamesIt();
    void anExcludedFolderIsNotCrawledUnlessARuleBelowIncludesAgain();
    void excludingLaterDropsAndIncludingLaterBringsBack();
    void linksAreNotFollowed();
    void hostileNamesAreFound();
    void aPathLongerThanTheKernelTakesIsCrawledAndWatched();
    void aFolderOfManyEntriesIsFoundWhole();
    void createdDeletedAndRenamedFilesAreSeen();
    void aFileThatBecomesAFolderIsSeenAsOne();
    void aFolderMovedInsideTakesItsContentsAlong();
    void aFolderMovedInIsReadAndOneMovedOutIsForgotten();
    void aFolderReplacedByAnotherIsReadAnew();
    void filesInAFolderMadeJustNowAreSeen();
    void aRootThatVanishesAndComesBackIsReadAgain();
    void lostChangesAreMadeUpForByChecking();
    void foldersBeyondTheLimitOfWatchesAreSwept();
    void compactionKeepsEverythingFindable();
    void changesDuringACompactionSurviveIt();
    void anyMixtureOfChangesEndsInWhatIsOnTheDisk_data();
    void anyMixtureOfChangesEndsInWhatIsOnTheDisk();
    void aMountThatIsNoLocalDiskIsNotEntered();
};

namespace {

/// Real watches, but what they tell can be held back and lost.
class LossySource final : public ChangeSource {
public:
    int watch(int descriptor, Interest interest) override
    {
        return _real.watch(descriptor, interest);
    }
    void unwatch(int watch) override { _real.unwatch(watch); }
    int descriptor() const override { return _real.descriptor(); }
    std::vector<Change> read() override
    {
        auto changes = _real.read();
        if (!losesChanges)
            return changes;
        losesChanges = false;
        return {Change{Change::Kind::lost, -1, {}, false}};
    }

    bool losesChanges = false;

private:
    InotifySource _real{[] { return 100'000; }};
};

/// The index on one thread, each part stepped by hand.
template <class Source> class Bench {
public:
    template <class... Args>
    explicit Bench(LiveIndexOptions options, Args &&...args)
        : source(std::forward<Args>(args)...)
        , live(worker, source, published, DesktopEntries({}, {}, {}), std::move(options))
    {
    }
    void include(const TemporaryTree &tree, const std::string &relative = {})
    {
        _rules.push_back({tree.text(relative), true});
        live.setRules(_rules);
        settle();
    }
    void exclude(const TemporaryTree &tree, const std::string &relative)
    {
        _rules.push_back({tree.text(relative), false});
        live.setRules(_rules);
        settle();
    }
    void forgetRule(std::size_t number)
    {
        _rules.erase(_rules.begin() + std::ptrdiff_t(number));
        live.setRules(_rules);
        settle();
    }
    /// Until nothing is left to do.
    void settle()
    {
        for (bool isBusy = true; isBusy;) {
            isBusy = worker.step();
            isBusy = live.step() || isBusy;
        }
    }
    /// Every live path below `top`, relative to it.
    std::set<std::string> paths(const TemporaryTree &tree) const
    {
        const auto view = published.current();
        std::set<std::string> found;
        const auto visit = [&](RecordId record) {
            const auto path = view->isDead(record) ? std::string() : view->pathOf(record);
            const auto below = pathBelow(path, tree.path());
            if (below)
                found.insert(std::string(*below));
        };
        for (RecordId record = 0; record < view->base->recordCount(); ++record)
            visit(record);
        forEachRecord(*view->tail, {}, view->tail->mark(), visit);
        return found;
    }
    std::vector<std::string> search(
        const TemporaryTree &tree, const std::string &text, const std::string &scope = {}) const
    {
        const auto view = published.current();
        QueryScopes scopes;
        scopes.folders = {tree.path(scope)};
        ResolvedScopes resolved(*view, scopes);
        const auto answer =
            searchNames(*view, resolved, Needle(text), {true, {}, view->tail->mark()}, 1'000'000);
        std::vector<std::string> names;
        for (const auto key : answer.best)
            names.emplace_back(view->nameOf(key.record()));
        if (names.size() != answer.count)
            names.push_back("wrong count");
        return names;
    }

    Worker worker{[] {}};
    Source source;
    PublishedView published;
    LiveIndex live;

private:
    std::vector<Rule> _rules;
};

using RealBench = Bench<InotifySource>;

LiveIndexOptions neverCompacting()
{
    LiveIndexOptions options;
    options.compactAbove = 1'000'000;
    return options;
}

LiveIndexOptions alwaysCompacting()
{
    LiveIndexOptions options;
    options.compactAbove = 0;
    return options;
}

const auto manyWatches = [] { return 100'000; };

/// What is really below a folder, hidden names left out.
void collect(const std::string &folder, const std::string &prefix, std::set<std::string> &out)
{
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        const auto name = entry.path().filename().string();
        if (name.front() == '.')
            continue;
        out.insert(prefix + name);
        if (entry.is_directory() && !entry.is_symlink())
            collect(folder + '/' + name, prefix + name + '/', out);
    }
}

std::set<std::string> onDisk(const TemporaryTree &tree)
{
    std::set<std::string> paths;
    collect(tree.path(), {}, paths);
    return paths;
}

using Paths = std::set<std::string>;
using Names = std::vector<std::string>;

}  // namespace

void tst_LiveIndex::theCrawlFindsEverythingButHiddenNames()
{
    const TemporaryTree tree;
    tree.file("a/b/c.txt");
    tree.file("a/.hidden");
    tree.file(".config/deep/file");
    tree.folder("empty");
    RealBench bench(neverCompacting(), manyWatches);

    bench.include(tree);

    QCOMPARE(bench.paths(tree), (Paths{"a", "a/b", "a/b/c.txt", "empty"}));
    QVERIFY(bench.published.current()->roots.front().isCrawled);
    QCOMPARE(bench.live.nameCount(), std::uint64_t(4));
}

void tst_LiveIndex::aHiddenFolderIsCrawledWhereARuleNamesIt()
{
    const TemporaryTree tree;
    tree.file(".config/app/settings.json");
    tree.file(".other/file");
    RealBench bench(neverCompacting(), manyWatches);

    bench.include(tree);
    bench.include(tree, ".config");

    QCOMPARE(bench.paths(tree), (Paths{".config/app", ".config/app/settings.json"}));
    QCOMPARE(bench.search(tree, "settings"), (Names{"settings.json"}));
}

void tst_LiveIndex::anExcludedFolderIsNotCrawledUnlessARuleBelowIncludesAgain()
{
    const TemporaryTree tree;
    tree.file("lib/x/one");
    tree.file("lib/cloud/two");
    RealBench bench(neverCompacting(), manyWatches);

    bench.include(tree);
    bench.exclude(tree, "lib");
    bench.include(tree, "lib/cloud");

    QCOMPARE(bench.paths(tree), (Paths{"lib", "lib/cloud/two"}));
}

void tst_LiveIndex::excludingLaterDropsAndIncludingLaterBringsBack()
{
    for (const auto &options : {neverCompacting(), alwaysCompacting()}) {
        const TemporaryTree tree;
        tree.file("lib/x/one");
        tree.file("two");
        RealBench bench(options, manyWatches);
        bench.include(tree);

        bench.exclude(tree, "lib");
        QCOMPARE(bench.paths(tree), (Paths{"lib", "two"}));

        bench.forgetRule(1);
        QCOMPARE(bench.paths(tree), (Paths{"lib", "lib/x", "lib/x/one", "two"}));
        tree.file("lib/x/three");
        bench.settle();
        QCOMPARE(bench.search(tree, "three", "lib/x"), (Names{"three"}));

        bench.forgetRule(0);
        QCOMPARE(bench.paths(tree), Paths{});
        QCOMPARE(bench.live.watchedFolderCount(), std::size_t(0));
    }
}

void tst_LiveIndex::linksAreNotFollowed()
{
    const TemporaryTree tree;
    tree.file("real/file");
    tree.link("loop", ".");
    tree.link("other", "real");
    RealBench bench(neverCompacting(), manyWatches);

    bench.include(tree);

    QCOMPARE(bench.paths(tree), (Paths{"loop", "other", "real", "real/file"}));
}

void tst_LiveIndex::hostileNamesAreFound()
{
    const TemporaryTree tree;
    const Paths names{"new\nline", "quote\"'", "back\\slash", "not\xFFutf8\xC3", " blank ",
        std::string(255, 'x'), std::string(85, '\xEF'), "-rf", "~", "*?["};
    for (const auto &name : names)
        tree.file(name);
    RealBench bench(neverCompacting(), manyWatches);

    bench.include(tree);

    QCOMPARE(bench.paths(tree), names);
    QCOMPARE(bench.search(tree, "T\xFFU"), (Names{"not\xFFutf8\xC3"}));
    QCOMPARE(bench.search(tree, "w\nL"), (Names{"new\nline"}));
}

void tst_LiveIndex::aPathLongerThanTheKernelTakesIsCrawledAndWatched()
{
    const TemporaryTree tree;
    const std::string name(200, 'd');
    int folder = ::open(tree.path().c_str(), O_DIRECTORY | O_RDONLY);
    constexpr int levels = 30;
    static_assert(levels * 200 > PATH_MAX);
    for (int i = 0; i < levels; ++i) {
        ::mkdirat(folder, name.c_str(), 0755);
        const int next = ::openat(folder, name.c_str(), O_DIRECTORY | O_RDONLY);
        ::close(folder);
        folder = next;
    }
    ::close(::openat(folder, "bottom", O_CREAT | O_WRONLY, 0644));
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);

    QCOMPARE(bench.search(tree, "bottom"), (Names{"bottom"}));

    ::close(::openat(folder, "later", O_CREAT | O_WRONLY, 0644));
    bench.settle();
    QCOMPARE(bench.search(tree, "later"), (Names{"later"}));
    ::close(folder);
}

void tst_LiveIndex::aFolderOfManyEntriesIsFoundWhole()
{
    const TemporaryTree tree;
    tree.folder("many");
    const int folder = ::open(tree.path("many").c_str(), O_DIRECTORY | O_RDONLY);
    constexpr int count = 100'000;
    for (int i = 0; i < count; ++i)
        ::close(::openat(folder, ("entry" + std::to_string(i)).c_str(), O_CREAT | O_WRONLY, 0644));
    ::close(folder);
    RealBench bench(LiveIndexOptions{}, manyWatches);

    bench.include(tree);

    QCOMPARE(bench.live.nameCount(), std::uint64_t(count + 1));
    QCOMPARE(bench.search(tree, "entry99999"), (Names{"entry99999"}));
    QCOMPARE(bench.search(tree, "entry", "many").size(), std::size_t(count));
}

void tst_LiveIndex::createdDeletedAndRenamedFilesAreSeen()
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

void tst_LiveIndex::aFileThatBecomesAFolderIsSeenAsOne()
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

void tst_LiveIndex::aFolderMovedInsideTakesItsContentsAlong()
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

void tst_LiveIndex::aFolderMovedInIsReadAndOneMovedOutIsForgotten()
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

void tst_LiveIndex::aFolderReplacedByAnotherIsReadAnew()
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

void tst_LiveIndex::filesInAFolderMadeJustNowAreSeen()
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

void tst_LiveIndex::aRootThatVanishesAndComesBackIsReadAgain()
{
    const TemporaryTree tree;
    tree.file("root/one");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree, "root");

    tree.move("root", "elsewhere");
    bench.settle();
    QCOMPARE(bench.paths(tree), Paths{});
    QVERIFY(bench.live.nextSweep().has_value());

    tree.file("root/two");
    bench.live.sweep();
    bench.settle();
    tree.file("root/three");
    bench.settle();
    QCOMPARE(bench.paths(tree), (Paths{"root/two", "root/three"}));
}

void tst_LiveIndex::lostChangesAreMadeUpForByChecking()
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

void tst_LiveIndex::foldersBeyondTheLimitOfWatchesAreSwept()
{
    const TemporaryTree tree;
    for (const auto *name : {"a", "b", "c", "d", "e"})
        tree.file(std::string(name) + "/file");
    QTest::ignoreMessage(QtWarningMsg,
        "the limit of watched folders is reached (fs.inotify.max_user_watches); further folders "
        "are checked every 60 s");
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
    QVERIFY(bench.live.nextSweep().has_value());
}

void tst_LiveIndex::compactionKeepsEverythingFindable()
{
    const TemporaryTree tree;
    for (int i = 0; i < 300; ++i)
        tree.file("f" + std::to_string(i % 17) + "/g" + std::to_string(i % 5) + "/Été" +
                  std::to_string(i));
    RealBench bench(alwaysCompacting(), manyWatches);

    bench.include(tree);

    QVERIFY(bench.published.current()->base->recordCount() > 300);
    QCOMPARE(bench.paths(tree), onDisk(tree));
    QCOMPARE(bench.search(tree, "ETE77"), (Names{"Été77"}));
    QCOMPARE(bench.search(tree, "ete", "f3").size(), std::size_t(18));
    QCOMPARE(bench.search(tree, "ete", "f3/g3").size(), std::size_t(4));
    tree.remove("f9/g2/Été77");
    bench.settle();
    QCOMPARE(bench.search(tree, "ete77"), Names{});
}

void tst_LiveIndex::changesDuringACompactionSurviveIt()
{
    const TemporaryTree tree;
    tree.file("a/one");
    tree.file("b/two");
    tree.file("c/three");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);
    PublishedView published;
    IndexWriter writer(published);
    const auto root = writer.addRoot("/r");
    const auto top = writer.view().roots[root].folder;
    const auto folderA = writer.addFolder(writer.add(top, "a", EntryKind::folder));
    const auto folderB = writer.addFolder(writer.add(top, "b", EntryKind::folder));
    writer.setWatch(folderA, 7);
    writer.setWatch(folderB, 8);
    writer.add(folderA, "one", EntryKind::file);
    writer.add(folderB, "two", EntryKind::file);
    const auto build = writer.beginCompaction();

    writer.add(folderA, "later", EntryKind::file);
    const auto folderC = writer.addFolder(writer.add(folderA, "c", EntryKind::folder));
    writer.setWatch(folderC, 9);
    writer.add(folderC, "below", EntryKind::file);
    auto compacted = build();
    writer.remove(writer.find(folderA, "one"), [](int) {});
    std::vector<int> freed;
    writer.remove(writer.findPath("/r/b"), [&](int watch) { freed.push_back(watch); });
    writer.finishCompaction(std::move(compacted), [](FolderId, FolderId) {});

    QCOMPARE(freed, std::vector<int>{8});
    QCOMPARE(writer.nameCount(), std::uint64_t(4));
    for (const auto *path : {"/r/a", "/r/a/later", "/r/a/c", "/r/a/c/below"}) {
        const auto record = writer.findPath(path);
        QVERIFY2(record != nothing, path);
        QCOMPARE(writer.view().pathOf(record), std::string(path));
    }
    QCOMPARE(writer.findPath("/r/b"), nothing);
    QCOMPARE(writer.findPath("/r/a/one"), nothing);
    QCOMPARE(writer.view().pathOfFolder(writer.folderOfWatch(9)), std::string("/r/a/c"));
    QCOMPARE(writer.folderOfWatch(8), nothing);
}

void tst_LiveIndex::anyMixtureOfChangesEndsInWhatIsOnTheDisk_data()
{
    QTest::addColumn<unsigned>("seed");
    for (unsigned seed = 1; seed <= 12; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

void tst_LiveIndex::anyMixtureOfChangesEndsInWhatIsOnTheDisk()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const TemporaryTree tree;
    auto options = seed % 2 == 0 ? alwaysCompacting() : neverCompacting();
    Bench<LossySource> bench(options);
    bench.include(tree);
    const auto somewhere = [&] {
        std::string path;
        for (auto depth = random() % 3; depth > 0; --depth)
            path += std::string(1, char('a' + random() % 3)) + '/';
        return path + std::string(1, char('a' + random() % 4));
    };

    for (int round = 0; round < 400; ++round) {
        switch (random() % 6) {
        case 0:
            tree.folder(somewhere());
            break;
        case 1:
        case 2:
            ::close(::open(tree.path(somewhere()).c_str(), O_CREAT | O_WRONLY, 0644));
            break;
        case 3:
            tree.move(somewhere(), somewhere());
            break;
        case 4:
            tree.removeAll(somewhere());
            break;
        default:
            if (random() % 40 == 0)
                bench.source.losesChanges = true;
        }
        // Changes come in the middle of whatever the index is doing.
        for (auto steps = random() % 3; steps > 0; --steps)
            random() % 2 == 0 ? bench.worker.step() : bench.live.step();
    }
    bench.settle();

    QCOMPARE(bench.paths(tree), onDisk(tree));
    QCOMPARE(bench.live.nameCount(), std::uint64_t(onDisk(tree).size()));
}

void tst_LiveIndex::aMountThatIsNoLocalDiskIsNotEntered()
{
    const TemporaryTree tree;
    tree.file("net/file");
    tree.file("disk/file");
    auto options = neverCompacting();
    std::vector<Mount> mounts{{"/", "/", "8:1", "ext4"}, {tree.path("net"), "/", "0:50", "nfs4"},
        {tree.path("disk"), "/", "8:2", "xfs"}};
    options.readMounts = [&mounts] { return mounts; };
    RealBench bench(options, manyWatches);
    bench.include(tree);
    QCOMPARE(bench.paths(tree), (Paths{"disk", "disk/file", "net"}));

    mounts.erase(mounts.begin() + 1);
    bench.live.mountsChanged();
    bench.settle();
    QCOMPARE(bench.paths(tree), (Paths{"disk", "disk/file", "net", "net/file"}));
}

QTEST_GUILESS_MAIN(tst_LiveIndex)
#include "tst_LiveIndex.moc"
