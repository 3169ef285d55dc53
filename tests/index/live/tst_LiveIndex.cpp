// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/LiveBench.h"
#include "index/live/LossySource.h"

#include <QObject>
#include <QTest>

#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace vellumhound::tests;

class tst_LiveIndex final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theCrawlFindsEverythingButHiddenNames();
    void aHiddenFolderIsCrawledWhereARuleNamesIt();
    void anExcludedFolderIsNotCrawledUnlessARuleBelowIncludesAgain();
    void excludingLaterDropsAndIncludingLaterBringsBack();
    void aDeletedRuleThatWasSearchedEndsAtOnce();
    void aDeletedRuleIsNotCrawledToItsEnd();
    void linksAreNotFollowed();
    void hostileNamesAreFound();
    void aPathLongerThanTheKernelTakesIsCrawledAndWatched();
    void aFolderOfManyEntriesIsFoundWhole();
    void compactionKeepsEverythingFindable();
    void aMountThatIsNoLocalDiskIsNotEntered();
    void changeTimesAreReadAfterTheCrawl();
    void aDiskThatIsUnmountedAndMountedAgainIsFollowed();
    void aFileSystemThatTellsNoKindsIsCrawled();
};

namespace {

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

void tst_LiveIndex::aDeletedRuleThatWasSearchedEndsAtOnce()
{
    const TemporaryTree tree;
    tree.file("kept/one");
    tree.file("kept/part/two");
    tree.file("deleted/three");
    RealBench bench(neverCompacting(), manyWatches);
    bench.include(tree, "kept");
    bench.include(tree, "deleted");
    bench.include(tree, "kept/part");
    bench.live.addScopes({tree.path("kept"), tree.path("deleted"), tree.path("kept/part")});
    QCOMPARE(bench.live.watchedFolderCount(), std::size_t(3));

    bench.forgetRule(2);
    bench.forgetRule(1);

    // What another rule covers stays.
    QCOMPARE(bench.paths(tree), (Paths{"kept/one", "kept/part", "kept/part/two"}));
    QCOMPARE(bench.live.watchedFolderCount(), std::size_t(2));
    QCOMPARE(bench.live.nameCount(), std::uint64_t(3));
    QVERIFY(!bench.live.nextDue());
}

void tst_LiveIndex::aDeletedRuleIsNotCrawledToItsEnd()
{
    const TemporaryTree tree;
    for (int i = 0; i < 100; ++i)
        tree.file("folder" + std::to_string(i) + "/file");
    Bench<LossySource> bench(neverCompacting());
    bench.settle();
    bench.live.setRules({{tree.text(), true}});
    bench.worker.step();
    bench.live.step();  // a hundred folders are to be read
    const auto before = bench.source.watchCount;

    bench.live.setRules({});
    QCOMPARE(bench.paths(tree), Paths{});
    bench.settle();

    QCOMPARE(bench.source.watchCount, before);
    QVERIFY(!bench.live.isBusy());
    QCOMPARE(bench.live.watchedFolderCount(), std::size_t(0));
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
