// SPDX-License-Identifier: GPL-3.0-or-later
// long: one bench for all that can happen to a tree
#include "index/disk/InotifySource.h"
#include "index/disk/Paths.h"
#include "index/live/LiveIndex.h"
#include "index/names/NameSearch.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>
#include <sys/mount.h>

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
    void aMovedFolderIsFoundAtOnceWithoutBeingReadAgain();
    void aChainOfRenamesCopiesOnce();
    void aFolderMovedWhileItIsReadIsFoundWhole();
    void changeTimesAreReadAfterTheCrawl();
    void whatIsWrittenOverAndOverIsLookedAtOnceInAPause();
    void changesAreToldToWhoWantsThem();
    void aStormIsReadNowAndThen();
    void aRealOverflowIsMadeUpForWithoutACrawl();
    void watchesThatBecomeFreeAreGivenOut();
    void aFolderThatCouldNotBeReadIsTriedAgain();
    void crawlEventsAndSweepsTakeTheSameNames();
    void nothingIsDueWhileEverythingIsWatched();
    void aDiskThatIsUnmountedAndMountedAgainIsFollowed();
    void aFileSystemThatTellsNoKindsIsCrawled();
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
        const auto count = changes.size();
        for (int again = 1; again < repeats; ++again)
            changes.insert(changes.end(), changes.begin(), changes.begin() + std::ptrdiff_t(count));
        if (!losesChanges)
            return changes;
        losesChanges = false;
        Change change;
        change.kind = Change::Kind::lost;
        return {change};
    }

    explicit LossySource(int mostWatches = 100'000)
        : _real([mostWatches] { return mostWatches; })
    {
    }

    bool losesChanges = false;
    int repeats = 1;  // how often each change is told

private:
    InotifySource _real;
};

/// Somebody who may not read everything, for as long as this lives; owns the tree's top folders.
class OrdinaryUser {
public:
    explicit OrdinaryUser(const TemporaryTree &tree)
        : _former(::geteuid())
    {
        constexpr uid_t nobody = 65534;
        if (_former != 0)
            return;
        for (const auto &entry : std::filesystem::directory_iterator(tree.path()))
            [[maybe_unused]] const int failed = ::chown(entry.path().c_str(), nobody, gid_t(-1));
        [[maybe_unused]] const int refused =
            ::chown(tree.path().c_str(), nobody, gid_t(-1)) + ::seteuid(nobody);
    }
    ~OrdinaryUser() { [[maybe_unused]] const int refused = ::seteuid(_former); }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    const uid_t _former;
};

/// A disk image, mounted for as long as this lives.
class LoopDisk {
public:
    LoopDisk(std::string image, std::string point, const std::string &options)
        : _image(std::move(image))
        , _point(std::move(point))
    {
        constexpr off_t bytes = 8 << 20;
        const auto command = "mke2fs -q -F " + options + " '" + _image + "' >/dev/null 2>&1";
        _isMade = ::truncate(_image.c_str(), bytes) == 0 && std::system(command.c_str()) == 0;
    }
    ~LoopDisk() { unmount(); }
    LoopDisk(const LoopDisk &) = delete;
    LoopDisk &operator=(const LoopDisk &) = delete;

    bool mount()
    {
        const auto command = "mount -o loop '" + _image + "' '" + _point + "' >/dev/null 2>&1";
        _isMounted = _isMade && std::system(command.c_str()) == 0;
        return _isMounted;
    }
    void unmount()
    {
        if (std::exchange(_isMounted, false))
            ::umount2(_point.c_str(), MNT_DETACH);
    }

private:
    const std::string _image;
    const std::string _point;
    bool _isMade = false;
    bool _isMounted = false;
};

/// In what two sets of paths differ, for a message.
QString difference(const std::set<std::string> &found, const std::set<std::string> &real)
{
    std::string text;
    for (const auto &path : found)
        text += real.contains(path) ? "" : " +" + path;
    for (const auto &path : real)
        text += found.contains(path) ? "" : " -" + path;
    return QString::fromStdString(text);
}

/// Changes of all kinds below a tree, many of them moves of folders with something in them.
class Disorder {
public:
    Disorder(const TemporaryTree &tree, std::mt19937 &random)
        : _tree(tree)
        , _random(random)
    {
    }
    void changeSomething() const
    {
        switch (_random() % 12) {
        case 0:
        case 1:
            _tree.folder(somewhere());
            break;
        case 2:
        case 3:
        case 4:
            touch(somewhere());
            break;
        case 5:
        case 6:
            _tree.move(somewhere(), somewhere());
            break;
        case 7: {
            // A chain, with a newcomer at the first place.
            const auto first = somewhere();
            const auto second = somewhere();
            _tree.move(first, second);
            _tree.folder(first);
            _tree.move(second, somewhere());
            break;
        }
        case 8: {
            const auto place = somewhere();
            _tree.move(place, ".aside");
            _tree.move(somewhere(), place);
            _tree.move(".aside", somewhere());
            break;
        }
        case 9:
            _tree.removeAll(somewhere());
            break;
        case 10:
            exchange(somewhere(), somewhere());
            break;
        default:
            _tree.folder(somewhere() + "/in/ner");
            touch(somewhere() + "/in/ner/file");
        }
    }

private:
    /// Up to three folders deep; now and then at a place that is not looked at.
    std::string somewhere() const
    {
        std::string path = _random() % 12 == 0 ? ".out/" : "";
        for (auto depth = _random() % 3; depth > 0; --depth)
            path += std::string(1, char('a' + _random() % 3)) + '/';
        return path + std::string(1, char('a' + _random() % 4));
    }
    void touch(const std::string &relative) const
    {
        ::close(::open(_tree.path(relative).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
    }
    void exchange(const std::string &one, const std::string &other) const
    {
        ::renameat2(AT_FDCWD, _tree.path(one).c_str(), AT_FDCWD, _tree.path(other).c_str(),
            RENAME_EXCHANGE);
    }

    const TemporaryTree &_tree;
    std::mt19937 &_random;
};

/// The index on one thread, each part stepped by hand.
template <class Source> class Bench {
public:
    template <class... Args>
    explicit Bench(LiveIndexOptions options, Args &&...args)
        : source(std::forward<Args>(args)...)
        , live(worker, source, published, DesktopEntries({}, {}, {}), withClock(std::move(options)))
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
    /// Until nothing is left to do, nor will be in the next moment.
    void settle()
    {
        for (bool isBusy = true; isBusy;) {
            isBusy = worker.step();
            isBusy = live.step() || isBusy;
            const auto due = live.nextDue();
            if (!isBusy && due && *due - clock <= std::chrono::milliseconds(200)) {
                clock = std::max(clock, *due);
                isBusy = true;
            }
        }
    }
    /// Looks at the unwatched folders, and at those that turn up by that.
    void sweepAll()
    {
        for (std::size_t names = 0, before = 1; names != before;) {
            before = live.nameCount();
            live.sweep();
            settle();
            names = live.nameCount();
        }
    }
    /// Lets time pass, and everything be done that is due by then.
    void pass(std::chrono::milliseconds time)
    {
        clock += time;
        settle();
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
    std::chrono::steady_clock::time_point clock{std::chrono::hours(1)};
    LiveIndex live;

private:
    LiveIndexOptions withClock(LiveIndexOptions options)
    {
        options.now = [this] { return clock; };
        return options;
    }

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
    QVERIFY(bench.live.nextDue().has_value());

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
    bool isNumber = false;
    const auto wanted = qEnvironmentVariableIntValue("VELLUMHOUND_TEST_SEEDS", &isNumber);
    const unsigned last = isNumber ? unsigned(wanted) : 60;
    for (unsigned seed = 1; seed <= last; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

void tst_LiveIndex::anyMixtureOfChangesEndsInWhatIsOnTheDisk()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const TemporaryTree tree;
    const Disorder disorder(tree, random);
    auto options = seed % 2 == 0 ? alwaysCompacting() : neverCompacting();
    const bool isShortOfWatches = seed % 5 == 0;
    Bench<LossySource> bench(options, isShortOfWatches ? 12 : 100'000);
    std::size_t told = 0;
    if (seed % 3 == 0)
        bench.live.onFileChanged = [&told](const FileChange &) { ++told; };
    bench.include(tree);

    for (int round = 0; round < 400; ++round) {
        disorder.changeSomething();
        if (random() % 240 == 0)
            bench.source.losesChanges = true;
        // Changes come in the middle of whatever the index is doing.
        for (auto steps = random() % 3; steps > 0; --steps)
            random() % 2 == 0 ? bench.worker.step() : bench.live.step();
    }
    bench.settle();
    bench.sweepAll();

    QCOMPARE(difference(bench.paths(tree), onDisk(tree)), QString());
    QCOMPARE(bench.live.nameCount(), std::uint64_t(onDisk(tree).size()));

    // Every folder must be known under its own watch, too.
    for (const auto &path : onDisk(tree)) {
        if (std::filesystem::is_directory(tree.path(path)))
            tree.file(path + "/last");
    }
    bench.settle();
    bench.sweepAll();
    QCOMPARE(difference(bench.paths(tree), onDisk(tree)), QString());
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

void tst_LiveIndex::aMovedFolderIsFoundAtOnceWithoutBeingReadAgain()
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

void tst_LiveIndex::aChainOfRenamesCopiesOnce()
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

void tst_LiveIndex::aFolderMovedWhileItIsReadIsFoundWhole()
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

void tst_LiveIndex::changeTimesAreReadAfterTheCrawl()
{
    for (const auto &options : {neverCompacting(), alwaysCompacting()}) {
        const TemporaryTree tree;
        tree.file("a/file");
        tree.setTime("a/file", 1'500'000'000);
        RealBench bench(options, manyWatches);
        const auto timeOf = [&](const std::string &name) {
            const auto view = bench.published.current();
            return view->changeTimeOf(view->find(view->findFolder(tree.path("a")), name));
        };

        bench.include(tree);
        QCOMPARE(timeOf("file"), 1'500'000'000U);

        tree.file("a/fresh");
        bench.live.step();
        QVERIFY(timeOf("fresh") > 1'500'000'000U);

        tree.setTime("a/file", 1'400'000'000);
        bench.live.refreshTimes();
        bench.settle();
        QCOMPARE(timeOf("file"), 1'400'000'000U);
    }
}

void tst_LiveIndex::whatIsWrittenOverAndOverIsLookedAtOnceInAPause()
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

void tst_LiveIndex::changesAreToldToWhoWantsThem()
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

void tst_LiveIndex::aStormIsReadNowAndThen()
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

void tst_LiveIndex::aRealOverflowIsMadeUpForWithoutACrawl()
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

void tst_LiveIndex::watchesThatBecomeFreeAreGivenOut()
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

void tst_LiveIndex::aFolderThatCouldNotBeReadIsTriedAgain()
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

void tst_LiveIndex::crawlEventsAndSweepsTakeTheSameNames()
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

void tst_LiveIndex::nothingIsDueWhileEverythingIsWatched()
{
    const TemporaryTree tree;
    tree.file("a/b/c");
    RealBench bench(neverCompacting(), manyWatches);

    bench.include(tree);

    QVERIFY(!bench.live.nextDue());
    QVERIFY(!bench.live.step());
}

void tst_LiveIndex::aDiskThatIsUnmountedAndMountedAgainIsFollowed()
{
    const TemporaryTree tree;
    tree.folder("disk");
    tree.file("image");
    LoopDisk disk(tree.path("image"), tree.path("disk"), {});
    if (!disk.mount())
        QSKIP("this test mounts a disk image, which is not allowed here");  // style: needs a right
    tree.file("disk/on/file");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree);
    QVERIFY(bench.paths(tree).contains("disk/on/file"));

    disk.unmount();
    bench.live.mountsChanged();
    bench.settle();
    QCOMPARE(bench.paths(tree), (Paths{"disk", "image"}));

    QVERIFY(disk.mount());
    bench.live.mountsChanged();
    bench.settle();
    tree.file("disk/on/later");
    bench.settle();
    QVERIFY(bench.paths(tree).contains("disk/on/file"));
    QVERIFY(bench.paths(tree).contains("disk/on/later"));
}

void tst_LiveIndex::aFileSystemThatTellsNoKindsIsCrawled()
{
    const TemporaryTree tree;
    tree.folder("disk");
    tree.file("image");
    LoopDisk disk(tree.path("image"), tree.path("disk"), "-O ^filetype");
    if (!disk.mount())
        QSKIP("this test mounts a disk image, which is not allowed here");  // style: needs a right
    tree.file("disk/a/b/file");
    tree.link("disk/link", "a");
    RealBench bench(neverCompacting(), manyWatches);

    bench.include(tree, "disk");
    tree.file("disk/a/new/deep");
    bench.settle();

    auto expected = Paths{"disk/a", "disk/a/b", "disk/a/b/file", "disk/link", "disk/a/new",
        "disk/a/new/deep", "disk/lost+found"};
    QCOMPARE(bench.paths(tree), expected);
}

QTEST_GUILESS_MAIN(tst_LiveIndex)
#include "tst_LiveIndex.moc"
