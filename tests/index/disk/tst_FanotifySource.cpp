// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/FanotifySource.h"
#include "index/disk/Watching.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

#include <algorithm>
#include <fstream>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace vellumhound::tests;

namespace {

int plenty()
{
    return 100'000;
}

bool isFanotifyThere()
{
    const TemporaryTree tree;
    FanotifySource source(plenty);
    return watchPath(source, tree.path()) >= 0;
}

Change entryChange(int watch, const std::string &name, bool isNewFolder = false)
{
    Change change;
    change.watch = watch;
    change.name = name;
    change.isNewFolder = isNewFolder;
    return change;
}

Change gone(int watch)
{
    Change change;
    change.kind = Change::Kind::folderGone;
    change.watch = watch;
    return change;
}

bool hasChange(const std::vector<Change> &changes, const Change &wanted)
{
    return std::find(changes.begin(), changes.end(), wanted) != changes.end();
}

bool isReadable(const ChangeSource &source)
{
    pollfd polled{source.descriptor(), POLLIN, 0};
    return ::poll(&polled, 1, 0) == 1;
}

int queueLimit()
{
    std::ifstream file("/proc/sys/fs/fanotify/max_queued_events");
    int limit = 0;
    return file >> limit ? limit : 0;
}

}  // namespace

class tst_FanotifySource final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (!isFanotifyThere())
            QSKIP("no fanotify without privileges here");  // style: depends on the machine
    }

    void whatComesAndGoesIsToldWithItsFolderAndName()
    {
        const TemporaryTree tree;
        tree.folder("other");
        FanotifySource source(plenty);
        const int watch = watchPath(source, tree.path());
        const int other = watchPath(source, tree.path("other"));
        QVERIFY(watch > 0);
        QVERIFY(other > 0 && other != watch);

        tree.file("letter");
        tree.folder("albums");
        tree.file("other/song");

        const auto changes = readAll(source);
        QVERIFY(hasChange(changes, entryChange(watch, "letter")));
        QVERIFY(hasChange(changes, entryChange(watch, "albums", true)));
        QVERIFY(hasChange(changes, entryChange(other, "song")));
        QVERIFY(!hasChange(changes, entryChange(watch, "song")));
    }

    void deletingIsTold()
    {
        const TemporaryTree tree;
        tree.file("letter");
        FanotifySource source(plenty);
        const int watch = watchPath(source, tree.path());

        tree.remove("letter");

        QCOMPARE(readAll(source), std::vector{entryChange(watch, "letter")});
    }

    void renamingTellsBothNames()
    {
        const TemporaryTree tree;
        tree.file("draft");
        FanotifySource source(plenty);
        const int watch = watchPath(source, tree.path());

        tree.move("draft", "letter");

        QCOMPARE(readAll(source),
            (std::vector{entryChange(watch, "draft"), entryChange(watch, "letter")}));
    }

    void aMoveBetweenFoldersIsToldByBoth()
    {
        const TemporaryTree tree;
        tree.file("from/letter");
        tree.folder("to");
        FanotifySource source(plenty);
        const int from = watchPath(source, tree.path("from"));
        const int to = watchPath(source, tree.path("to"));

        tree.move("from/letter", "to/letter");

        QCOMPARE(
            readAll(source), (std::vector{entryChange(from, "letter"), entryChange(to, "letter")}));
    }

    void writingIntoAFileIsToldOnceItIsClosed()
    {
        const TemporaryTree tree;
        tree.file("letter");
        FanotifySource source(plenty);
        const int watch = watchPath(source, tree.path());

        tree.file("letter", "Dear all");

        auto written = entryChange(watch, "letter");
        written.kind = Change::Kind::written;
        QCOMPARE(readAll(source), std::vector{written});
    }

    void aFolderThatIsRemovedOrMovedIsGone()
    {
        const TemporaryTree tree;
        tree.folder("removed");
        tree.folder("moved");
        FanotifySource source(plenty);
        const int removed = watchPath(source, tree.path("removed"));
        const int moved = watchPath(source, tree.path("moved"));

        tree.remove("removed");
        tree.move("moved", "elsewhere");

        const auto changes = readAll(source);
        QVERIFY(hasChange(changes, gone(removed)));
        auto away = gone(moved);
        away.kind = Change::Kind::folderMoved;
        QVERIFY(hasChange(changes, away));
    }

    void namesThatAreNoTextAndLongOnesAreToldByTheirBytes()
    {
        const TemporaryTree tree;
        FanotifySource source(plenty);
        const int watch = watchPath(source, tree.path());
        const std::string broken = "caf\xE9";
        const std::string longest(255, 'x');

        tree.file(broken);
        tree.file(longest);

        const auto changes = readAll(source);
        QVERIFY(hasChange(changes, entryChange(watch, broken)));
        QVERIFY(hasChange(changes, entryChange(watch, longest)));
    }

    void aFolderKeepsItsNumberUntilItIsGivenBack()
    {
        const TemporaryTree tree;
        FanotifySource source(plenty);
        const int watch = watchPath(source, tree.path());
        QCOMPARE(watchPath(source, tree.path()), watch);

        source.unwatch(watch);
        tree.file("letter");
        const bool isQuiet = !isReadable(source);
        const int again = watchPath(source, tree.path());
        tree.file("answer");

        QVERIFY(isQuiet);
        QVERIFY(again > 0 && again != watch);
        QVERIFY(hasChange(readAll(source), entryChange(again, "answer")));
    }

    void aFolderThatMovedAwayBeforeItIsGivenBackTellsNothing()
    {
        const TemporaryTree tree;
        tree.folder("here");
        FanotifySource source(plenty);
        const int watch = watchPath(source, tree.path("here"));
        tree.move("here", "there");
        tree.folder("here");
        readAll(source);

        source.unwatch(watch);
        tree.file("there/letter");
        tree.file("here/letter");

        QVERIFY(readAll(source).empty());
    }

    void manyChangesAreAllTold()
    {
        const TemporaryTree tree;
        FanotifySource source(plenty);
        const int watch = watchPath(source, tree.path());
        constexpr int count = 5000;

        for (int i = 0; i < count; ++i)
            tree.link("link" + std::to_string(i), "nowhere");

        std::vector<Change> expected;
        for (int i = 0; i < count; ++i)
            expected.push_back(entryChange(watch, "link" + std::to_string(i)));
        QCOMPARE(readAll(source), expected);
        QVERIFY(!isReadable(source));
    }

    void moreChangesThanTheQueueHoldsAreToldAsLost()
    {
        const int limit = queueLimit();
        if (limit <= 0 || limit > 200'000)
            QSKIP("the queue is too long to be filled");  // style: depends on the machine
        const TemporaryTree tree;
        FanotifySource source(plenty);
        watchPath(source, tree.path());

        for (int i = 0; i <= limit; ++i)
            tree.link("link" + std::to_string(i), "nowhere");

        const auto changes = readAll(source);
        QCOMPARE(std::count_if(changes.begin(), changes.end(),
                     [](const auto &change) { return change.kind == Change::Kind::lost; }),
            1);
    }

    void aSpentBudgetRefusesUntilAFolderIsGivenBack()
    {
        const TemporaryTree tree;
        for (const auto *name : {"a", "b", "c", "d"})
            tree.folder(name);
        FanotifySource source([] { return 2; });
        const int a = watchPath(source, tree.path("a"));
        const int b = watchPath(source, tree.path("b"));
        QCOMPARE(watchPath(source, tree.path("c")), ChangeSource::noWatch);
        QCOMPARE(watchPath(source, tree.path("a")), a);

        source.unwatch(a);
        QVERIFY(watchPath(source, tree.path("c")) > 0);
        QCOMPARE(watchPath(source, tree.path("d")), ChangeSource::noWatch);
        tree.remove("b");
        QVERIFY(hasChange(readAll(source), gone(b)));

        QVERIFY(watchPath(source, tree.path("d")) > 0);
    }

    void aMarkThatWentUnheardOfIsNotCountedForEver()
    {
        const TemporaryTree tree;
        tree.folder("a");
        tree.folder("b");
        FanotifySource source([] { return 1; });
        const int a = watchPath(source, tree.path("a"));

        tree.remove("a");
        source.unwatch(a);

        QVERIFY(watchPath(source, tree.path("b")) > 0);
    }

    void itWorksWithoutPrivileges()
    {
        const TemporaryTree tree;
        tree.folder("own");
        if (::geteuid() == 0) {
            QCOMPARE(::chown(tree.path().c_str(), nobody, nobody), 0);
            QCOMPARE(::chown(tree.path("own").c_str(), nobody, nobody), 0);
        }

        QVERIFY(holdsWithoutPrivileges([&] {
            FanotifySource source;
            const int watch = watchPath(source, tree.path("own"));
            tree.file("own/letter");
            return watch > 0 && hasChange(readAll(source), entryChange(watch, "letter"));
        }));
    }

    void whatIsNoFolderIsRefusedAndCostsNothing()
    {
        const TemporaryTree tree;
        tree.file("letter");
        FanotifySource source([] { return 1; });

        const int letter = ::open(tree.path("letter").c_str(), O_RDONLY | O_CLOEXEC);
        QCOMPARE(source.watch(letter, ChangeSource::Interest::names), ChangeSource::noWatch);
        ::close(letter);
        QCOMPARE(source.watch(-1, ChangeSource::Interest::names), ChangeSource::noWatch);

        QVERIFY(watchPath(source, tree.path()) > 0);
    }

    void afterAnUnmountItsMarksAreFree()
    {
        const TemporaryTree tree;
        tree.folder("disk");
        tree.folder("other");
        const auto hasMountsOfItsOwn = [] {
            return ::unshare(CLONE_NEWNS) == 0 &&
                   ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
        };
        if (!holdsInChild(hasMountsOfItsOwn))
            QSKIP("mounting needs privileges");  // style: depends on the machine

        QVERIFY(holdsInChild([&] {
            const auto disk = tree.path("disk");
            const bool isMounted =
                hasMountsOfItsOwn() && ::mount("test", disk.c_str(), "tmpfs", 0, nullptr) == 0;
            FanotifySource source([] { return 1; });
            const int watch = isMounted ? watchPath(source, disk) : ChangeSource::noWatch;
            const bool isUnmounted = watch > 0 && ::umount(disk.c_str()) == 0;
            source.unwatch(watch);
            return isUnmounted && watchPath(source, tree.path("other")) > 0;
        }));
    }
};

QTEST_GUILESS_MAIN(tst_FanotifySource)
#include "tst_FanotifySource.moc"
