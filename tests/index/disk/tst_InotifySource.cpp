// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/InotifySource.h"
#include "index/disk/Watching.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

#include <algorithm>
#include <fstream>

using namespace vellumhound::index;
using namespace vellumhound::tests;

class tst_InotifySource final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void watchesWhoseEndWasLostAreNotCountedForEver();
    void aPlaceTellsOfItselfAlone();
    void aPlaceThatIsWatchedForItsNamesTellsOfThem();
};

namespace {

constexpr int budget = 10;

std::string numbered(const std::string &name, int number)
{
    return name + std::to_string(number);
}

/// Makes as many changes in a folder as the kernel keeps, and some more.
void overflow(const TemporaryTree &tree, const std::string &folder)
{
    int most = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> most;
    for (int i = 0; i <= most / 2; ++i) {
        tree.file(folder + "/busy");
        tree.remove(folder + "/busy");
    }
}

}  // namespace

void tst_InotifySource::watchesWhoseEndWasLostAreNotCountedForEver()
{
    const TemporaryTree tree;
    InotifySource source([] { return budget; });
    for (int i = 0; i < budget; ++i) {
        tree.folder(numbered("old", i));
        tree.folder(numbered("new", i));
        QVERIFY(watchPath(source, tree.path(numbered("old", i))) >= 0);
    }
    QVERIFY(watchPath(source, tree.path("new0")) < 0);

    overflow(tree, "old0");
    for (int i = 1; i < budget; ++i)
        tree.removeAll(numbered("old", i));
    const auto changes = readAll(source);
    QVERIFY(std::any_of(changes.begin(), changes.end(),
        [](const Change &change) { return change.kind == Change::Kind::lost; }));
    QVERIFY(std::none_of(changes.begin(), changes.end(),
        [](const Change &change) { return change.kind == Change::Kind::folderGone; }));

    // The first one that is refused has the watches counted.
    watchPath(source, tree.path("new0"));
    QVERIFY(source.read().empty());
    for (int i = 1; i < budget; ++i)
        QVERIFY2(watchPath(source, tree.path(numbered("new", i))) >= 0, numbered("", i).c_str());
    QVERIFY(watchPath(source, tree.path("new0")) < 0);
}

void tst_InotifySource::aPlaceTellsOfItselfAlone()
{
    const TemporaryTree tree;
    tree.folder("above");
    InotifySource source([] { return budget; });
    const int watch = watchPath(source, tree.path("above"), ChangeSource::Interest::place);
    QVERIFY(watch >= 0);

    tree.file("above/file");
    tree.folder("above/folder");
    QVERIFY(source.read().empty());
    tree.move("above", "elsewhere");

    const auto changes = source.read();
    QCOMPARE(changes.size(), std::size_t(1));
    QCOMPARE(changes.front().kind, Change::Kind::folderMoved);
    QCOMPARE(changes.front().watch, watch);
}

void tst_InotifySource::aPlaceThatIsWatchedForItsNamesTellsOfThem()
{
    const TemporaryTree tree;
    tree.folder("above");
    InotifySource source([] { return budget; });
    const int names = watchPath(source, tree.path("above"), ChangeSource::Interest::names);

    QCOMPARE(watchPath(source, tree.path("above"), ChangeSource::Interest::place), names);
    tree.folder("above/folder");

    QCOMPARE(source.read().size(), std::size_t(1));
}

QTEST_APPLESS_MAIN(tst_InotifySource)
#include "tst_InotifySource.moc"
