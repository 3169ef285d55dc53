// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/InotifySource.h"
#include "index/disk/WatchBudget.h"
#include "index/disk/Watching.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace vellumhound::tests;

namespace {

/// A folder in the form of /proc with two programs, of which one watches.
class FakeProc {
public:
    FakeProc()
    {
        _tree.file("sys/fs/inotify/max_user_watches", "1000\n");
        _tree.file("sys/fs/fanotify/max_user_marks", "600\n");
        descriptor("4000001", "3", "/dev/null", "pos:\t0\ninotify wd:1 ino:1\n");
        descriptor("4000001", "4", "socket:[17]", "pos:\t0\n");
        descriptor("4000002", "5", "anon_inode:inotify",
            "pos:\t0\nflags:\t00\ninotify wd:2 ino:1f sdev:801 mask:fc6\n"
            "inotify wd:1 ino:2 sdev:801 mask:fc6\n");
        descriptor("4000002", "6", "anon_inode:[fanotify]",
            "fanotify flags:0 event-flags:0\nfanotify ino:5 sdev:801 mflags:0\n");
        _tree.folder("self/fd");
    }
    void descriptor(const std::string &process, const std::string &number,
        const std::string &target, const std::string &info) const
    {
        _tree.folder(process + "/fd");
        _tree.link(process + "/fd/" + number, target);
        _tree.file(process + "/fdinfo/" + number, info);
    }
    std::string path() const { return _tree.path(); }
    const TemporaryTree &tree() const { return _tree; }

private:
    TemporaryTree _tree;
};

}  // namespace

class tst_WatchBudget final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatOtherProgramsOfTheUserHoldIsCounted()
    {
        const FakeProc proc;

        QCOMPARE(readWatchLimit(WatchKind::inotify, proc.path()), (WatchLimit{1000, 2}));
        QCOMPARE(readWatchLimit(WatchKind::fanotify, proc.path()), (WatchLimit{600, 1}));
    }

    void whatThisProgramHoldsIsNotCounted()
    {
        const FakeProc proc;
        proc.descriptor(std::to_string(::getpid()), "9", "anon_inode:inotify",
            "inotify wd:1 ino:1\ninotify wd:2 ino:2\n");

        QCOMPARE(readWatchLimit(WatchKind::inotify, proc.path()).heldByOthers, 2);
    }

    void theProgramsOfOtherUsersAreNotCounted()
    {
        if (::geteuid() != 0)
            QSKIP("giving files away needs privileges");  // style: depends on the machine
        const FakeProc proc;

        QCOMPARE(::chown((proc.path() + "/4000002").c_str(), nobody, nobody), 0);

        QCOMPARE(readWatchLimit(WatchKind::inotify, proc.path()).heldByOthers, 0);
    }

    void withoutALimitASmallOneIsTaken()
    {
        const FakeProc proc;
        proc.tree().removeAll("sys");
        QCOMPARE(readWatchLimit(WatchKind::inotify, proc.path()).most, 8192);

        proc.tree().file("sys/fs/inotify/max_user_watches", "many\n");

        QCOMPARE(readWatchLimit(WatchKind::inotify, proc.path()).most, 8192);
    }

    void theBudgetIsHalfOfWhatTheOthersLeave()
    {
        QCOMPARE(budgetWithin({1000, 0}), 500);
        QCOMPARE(budgetWithin({1000, 400}), 300);
        QCOMPARE(budgetWithin({1000, 1000}), 0);
        QCOMPARE(budgetWithin({1000, 1200}), 0);
    }

    void theKernelsOwnCountIsRead()
    {
        const TemporaryTree tree;
        tree.folder("a");
        tree.folder("b");
        InotifySource source([] { return 10; });

        watchPath(source, tree.path("a"));
        watchPath(source, tree.path("b"));

        QCOMPARE(countWatchesOf(source.descriptor()), 2U);
        QCOMPARE(inodesWatchedBy(source.descriptor()).size(), 2U);
    }

    void watchesOfAnotherProcessAreSeen()
    {
        const TemporaryTree tree;
        InotifySource source([] { return 10; });
        watchPath(source, tree.path());

        // The child counts what its parent holds.
        QVERIFY(holdsInChild([] { return readWatchLimit(WatchKind::inotify).heldByOthers >= 1; }));
    }

    void aSpentBudgetIsAskedAnewMoreAndMoreSeldom()
    {
        int budget = 5;
        int asked = 0;
        WatchAllowance allowance([&] {
            ++asked;
            return budget;
        });
        QVERIFY(allowance.coversOneMoreThan(4));
        QCOMPARE(asked, 1);

        for (int i = 0; i < 10'000; ++i)
            QVERIFY(!allowance.coversOneMoreThan(5));
        const int askedInVain = asked;
        budget = 6;
        int refused = 0;
        while (!allowance.coversOneMoreThan(5))
            ++refused;

        QVERIFY2(askedInVain > 2 && askedInVain < 8, qPrintable(QString::number(askedInVain)));
        QVERIFY(refused < 10'000);
    }

    void aFolderThatIsWatchedKeepsItsWatchWhenTheBudgetIsSpent()
    {
        const TemporaryTree tree;
        for (const auto *name : {"a", "b", "c"})
            tree.folder(name);
        InotifySource source([] { return 2; });
        const int a = watchPath(source, tree.path("a"));
        const int b = watchPath(source, tree.path("b"));

        QCOMPARE(watchPath(source, tree.path("c")), ChangeSource::noWatch);
        QCOMPARE(watchPath(source, tree.path("a")), a);
        QCOMPARE(watchPath(source, tree.path("b")), b);

        source.unwatch(a);
        readAll(source);
        const int c = watchPath(source, tree.path("c"));
        QVERIFY(c > b);
        QCOMPARE(watchPath(source, tree.path("c")), c);
        QCOMPARE(watchPath(source, tree.path("a")), ChangeSource::noWatch);
    }
};

QTEST_GUILESS_MAIN(tst_WatchBudget)
#include "tst_WatchBudget.moc"
