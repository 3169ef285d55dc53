// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/InotifySource.h"
#include "index/live/ApplicationWatch.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::index;
using vellumhound::tests::TemporaryTree;

class tst_ApplicationWatch final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void applicationsAreReadAndReadAgainWhenOneComes();
    void aChangeWhileTheyAreReadIsNotMissed();
    void readsRequestedWhileReadingAreOne();
    void aFolderThatGoesFreesItsWatch();
};

namespace {

/// A watch over a tree of desktop entries, its worker stepped by hand.
struct Bench {
    Bench()
    {
        applications.onRead = [this](
                                  const ApplicationTable &table, const std::vector<int> &unused) {
            ++readCount;
            names.clear();
            for (const auto &application : table)
                names.push_back(application.name);
            freed.insert(freed.end(), unused.begin(), unused.end());
        };
    }
    void add(const std::string &name) const
    {
        tree.file("home/applications/" + name + ".desktop",
            "[Desktop Entry]\nType=Application\nName=" + name.substr(name.rfind('/') + 1) + "\n");
    }
    void takeChanges()
    {
        for (const auto &change : source.read())
            applications.noteChange(change.watch);
    }
    void take()
    {
        for (const auto &completion : worker.takeDone())
            completion();
    }
    /// Until nothing is left to do.
    void settle()
    {
        for (takeChanges(); worker.step(); takeChanges())
            take();
    }

    TemporaryTree tree;
    Worker worker{{}};
    InotifySource source{[] { return 100; }};
    ApplicationWatch applications{
        worker, source, DesktopEntries(tree.text("home"), {tree.text("system")}, {})};
    int readCount = 0;
    std::vector<std::string> names;
    std::vector<int> freed;
};

using Names = std::vector<std::string>;

}  // namespace

void tst_ApplicationWatch::applicationsAreReadAndReadAgainWhenOneComes()
{
    Bench bench;
    bench.add("One");
    bench.applications.read();
    QVERIFY(bench.worker.step());
    bench.take();
    QCOMPARE(bench.names, Names{"One"});

    bench.add("Two");
    bench.settle();

    QCOMPARE(bench.names, (Names{"One", "Two"}));
    QVERIFY(bench.freed.empty());
}

void tst_ApplicationWatch::aChangeWhileTheyAreReadIsNotMissed()
{
    Bench bench;
    bench.add("One");
    bench.applications.read();
    QVERIFY(bench.worker.step());  // read, but the watches are not known yet
    bench.add("Two");
    bench.takeChanges();
    bench.take();
    QCOMPARE(bench.names, Names{"One"});

    bench.settle();

    QCOMPARE(bench.names, (Names{"One", "Two"}));
}

void tst_ApplicationWatch::readsRequestedWhileReadingAreOne()
{
    Bench bench;
    bench.applications.read();
    bench.applications.read();
    bench.applications.read();

    bench.settle();

    QCOMPARE(bench.readCount, 2);
}

void tst_ApplicationWatch::aFolderThatGoesFreesItsWatch()
{
    Bench bench;
    bench.add("below/One");
    bench.applications.read();
    bench.settle();
    QCOMPARE(bench.names, Names{"One"});

    // Moved away, it goes on being watched until somebody gives the watch back.
    bench.tree.move("home/applications/below", "elsewhere");
    bench.settle();

    QCOMPARE(bench.names, Names{});
    QCOMPARE(bench.freed.size(), std::size_t(1));
    QVERIFY(!bench.applications.holds(bench.freed.front()));
}

QTEST_APPLESS_MAIN(tst_ApplicationWatch)
#include "tst_ApplicationWatch.moc"
