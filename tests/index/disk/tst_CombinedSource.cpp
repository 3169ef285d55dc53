// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/CombinedSource.h"
#include "index/disk/Watching.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

#include <algorithm>
#include <poll.h>
#include <set>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace vellumhound::tests;

namespace {

int one()
{
    return 1;
}

bool isFanotifyThere()
{
    const TemporaryTree tree;
    FanotifySource source(one);
    return watchPath(source, tree.path()) >= 0;
}

std::set<std::pair<int, std::string>> namesIn(const std::vector<Change> &changes)
{
    std::set<std::pair<int, std::string>> names;
    for (const auto &change : changes)
        names.emplace(change.watch, change.name);
    return names;
}

bool isReadable(const ChangeSource &source)
{
    pollfd polled{source.descriptor(), POLLIN, 0};
    return ::poll(&polled, 1, 0) == 1;
}

}  // namespace

class tst_CombinedSource final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (!isFanotifyThere())
            QSKIP("no fanotify without privileges here");  // style: depends on the machine
    }

    void foldersBeyondTheFirstBudgetAreTakenByTheSecond()
    {
        const TemporaryTree tree;
        for (const auto *name : {"a", "b", "c"})
            tree.folder(name);
        CombinedSource source(one, one);

        const int a = watchPath(source, tree.path("a"));
        const int b = watchPath(source, tree.path("b"));
        const int c = watchPath(source, tree.path("c"));
        tree.link("a/x", "nowhere");
        tree.link("b/y", "nowhere");

        QVERIFY(a >= 0 && b >= 0 && a != b);
        QCOMPARE(c, ChangeSource::noWatch);
        QCOMPARE(
            namesIn(readAll(source)), (std::set<std::pair<int, std::string>>{{a, "x"}, {b, "y"}}));
    }

    void aPlaceIsNotWatchedWithAllItsNames()
    {
        const TemporaryTree tree;
        tree.folder("above");
        CombinedSource source([] { return 0; }, one);

        const auto place = ChangeSource::Interest::place;
        QCOMPARE(watchPath(source, tree.path("above"), place), ChangeSource::noWatch);
        QVERIFY(watchPath(source, tree.path("above")) >= 0);
    }

    void theDescriptorIsReadableForEither()
    {
        const TemporaryTree tree;
        tree.folder("a");
        tree.folder("b");
        CombinedSource source(one, one);
        watchPath(source, tree.path("a"));
        watchPath(source, tree.path("b"));
        QVERIFY(!isReadable(source));

        tree.link("a/x", "nowhere");
        QVERIFY(isReadable(source));
        readAll(source);
        QVERIFY(!isReadable(source));
        tree.link("b/y", "nowhere");

        QVERIFY(isReadable(source));
    }

    void aFolderKeepsItsNumberWhileItIsWatched()
    {
        const TemporaryTree tree;
        tree.folder("a");
        tree.folder("b");
        CombinedSource source(one, one);
        const int a = watchPath(source, tree.path("a"));
        const int b = watchPath(source, tree.path("b"));

        // Both budgets are spent.
        QCOMPARE(watchPath(source, tree.path("a")), a);
        QCOMPARE(watchPath(source, tree.path("b")), b);

        // The first has room again.
        source.unwatch(a);
        readAll(source);
        QCOMPARE(watchPath(source, tree.path("b")), b);
    }

    void aFolderGivenBackMakesRoomForAnother()
    {
        const TemporaryTree tree;
        for (const auto *name : {"a", "b", "c", "d"})
            tree.folder(name);
        CombinedSource source(one, one);
        const int a = watchPath(source, tree.path("a"));
        const int b = watchPath(source, tree.path("b"));

        source.unwatch(a);
        source.unwatch(b);
        readAll(source);

        QVERIFY(watchPath(source, tree.path("c")) >= 0);
        QVERIFY(watchPath(source, tree.path("d")) >= 0);
        QCOMPARE(watchPath(source, tree.path("a")), ChangeSource::noWatch);
    }

    void aNumberOfTheFirstIsNeverOneOfTheSecond()
    {
        const TemporaryTree tree;
        CombinedSource source([] { return 50; }, [] { return 50; });
        std::set<int> numbers;

        for (int i = 0; i < 100; ++i) {
            const auto name = "folder" + std::to_string(i);
            tree.folder(name);
            numbers.insert(watchPath(source, tree.path(name)));
        }

        QCOMPARE(numbers.size(), 100U);
        QVERIFY(!numbers.contains(ChangeSource::noWatch));
    }
};

QTEST_GUILESS_MAIN(tst_CombinedSource)
#include "tst_CombinedSource.moc"
