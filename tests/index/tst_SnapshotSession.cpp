// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/InotifySource.h"
#include "index/disk/Paths.h"
#include "index/FileIndex.h"
#include "index/live/LiveIndex.h"
#include "index/snapshot/SnapshotFixture.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>

using namespace vellumhound;
using namespace vellumhound::index;
using tests::TemporaryTree;

class tst_SnapshotSession final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNextSessionFindsEverythingAtOnce();
    void tablesFromTheFileGetTheirFilter();
    void changesMadeMeanwhileAreFound();
    void changesAfterTheStartAreFoundBeforeTheCheckHasEnded();
    void anyMixtureOfChangesAndSessionsEndsInWhatIsOnTheDisk_data();
    void anyMixtureOfChangesAndSessionsEndsInWhatIsOnTheDisk();
    void otherRulesDropAndReadWhatDiffers();
    void aDamagedFileIsReadAnew_data();
    void aDamagedFileIsReadAnew();
    void aQueryOnDamagedNamesDoesNoHarm();
    void anotherFolderAtTheRootIsReadAnew();
    void aRootThatIsGoneIsEmptied();
    void nothingIsWrittenWhileNothingChanges();
    void changesWhileTheFileIsWrittenAreWrittenNext();
    void aFailureIsToldOnceAndTriedAgain();
    void theFilesOwnFolderIsNotWatchedForIt();
    void whatOneProgramKeepsTheNextOneFinds();
};

namespace {

/// The index of one session on one thread, each part stepped by hand. The file is kept in the
/// tree, in "cache".
class Session {
public:
    explicit Session(const TemporaryTree &tree, const std::vector<Rule> &rules = {})
        : _tree(tree)
        , live(worker, source, published, DesktopEntries({}, {}, {}), options(tree))
    {
        live.startFromSnapshot();
        live.setRules(rules.empty() ? std::vector<Rule>{{tree.text("home"), true}} : rules);
    }
    static LiveIndexOptions options(const TemporaryTree &tree)
    {
        LiveIndexOptions options;
        options.compactAbove = 1'000'000;
        options.filterFrom = 1;
        options.snapshot.folder = tree.path("cache");
        return options;
    }
    /// Until nothing is left to do.
    void settle()
    {
        for (bool isBusy = true; isBusy;) {
            isBusy = worker.step();
            isBusy = live.step() || isBusy;
        }
    }
    void save()
    {
        settle();
        live.save();
        settle();
    }
    /// Every live path below the searched folder, relative to it.
    std::set<std::string> paths(const std::string &top = "home") const
    {
        const auto view = published.current();
        std::set<std::string> found;
        const auto visit = [&](RecordId record) {
            const auto path = view->isDead(record) ? std::string() : view->pathOf(record);
            if (const auto below = pathBelow(path, _tree.path(top)))
                found.insert(std::string(*below));
        };
        for (RecordId record = 0; record < view->base->recordCount(); ++record)
            visit(record);
        forEachRecord(*view->tail, {}, view->tail->mark(), visit);
        return found;
    }
    std::vector<std::string> search(const std::string &text) const
    {
        auto paths = tests::found(*published.current(), text, _tree.path("home"));
        for (auto &path : paths)
            path = path.substr(path.rfind('/') + 1);
        return paths;
    }
    bool areRootsCrawled() const
    {
        const auto view = published.current();
        return std::all_of(view->roots.begin(), view->roots.end(),
            [](const IndexRoot &root) { return root.folder == nothing || root.isCrawled; });
    }

private:
    const TemporaryTree &_tree;

public:
    Worker worker{[] {}};
    InotifySource source{[] { return 100'000; }};
    PublishedView published;
    LiveIndex live;
};

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

std::set<std::string> onDisk(const TemporaryTree &tree, const std::string &top = "home")
{
    std::set<std::string> paths;
    collect(tree.path(top), {}, paths);
    return paths;
}

std::string fileIn(const TemporaryTree &tree)
{
    return tree.path(std::string("cache/") + snapshotFileName);
}

void flip(const TemporaryTree &tree, SnapshotSection section, std::size_t at)
{
    tests::SnapshotBytes file(tests::SnapshotBytes::read(fileIn(tree)));
    file.bytes[SnapshotLayout(file.header()).offsetOf(section) + at] ^= 0x55;
    file.write(fileIn(tree));
}

void makeHome(const TemporaryTree &tree)
{
    tree.file("home/a/one");
    tree.file("home/a/b/two");
    tree.file("home/a/b/c/three");
    tree.file("home/gone/deep/four");
    tree.file("home/Été/five");
    tree.file("home/plain");
    tree.file("home/turned/six");
    tree.file("home/swapped/seven");
    tree.folder("home/empty");
}

using Paths = std::set<std::string>;
using Names = std::vector<std::string>;

}  // namespace

void tst_SnapshotSession::theNextSessionFindsEverythingAtOnce()
{
    const TemporaryTree tree;
    makeHome(tree);
    const auto disk = onDisk(tree);
    Session(tree).save();

    Session session(tree);

    // No step has been made: nothing has been looked at on the disk.
    QVERIFY(session.areRootsCrawled());
    QCOMPARE(session.paths(), disk);
    QCOMPARE(session.search("ete"), (Names{"1", "Été"}));
    session.settle();
    QCOMPARE(session.paths(), disk);
    QCOMPARE(session.live.watchedFolderCount(), std::size_t(10));
    QVERIFY(!session.live.nextSave());
}

void tst_SnapshotSession::tablesFromTheFileGetTheirFilter()
{
    const TemporaryTree tree;
    makeHome(tree);
    Session(tree).save();

    Session session(tree);
    const auto loaded = session.published.current();
    const auto before = session.search("e");
    session.settle();

    const auto view = session.published.current();
    QCOMPARE(view->base, loaded->base);
    QVERIFY(view->filter);
    QVERIFY(view->filter->memoryBytes() > 0);
    QCOMPARE(session.search("e"), before);
}

void tst_SnapshotSession::changesMadeMeanwhileAreFound()
{
    const TemporaryTree tree;
    makeHome(tree);
    Session(tree).save();
    tree.file("home/new");
    tree.file("home/a/b/c/new");
    tree.file("home/fresh/deep/new");
    tree.remove("home/a/one");
    tree.removeAll("home/gone");
    tree.move("home/Été", "home/été");
    tree.remove("home/plain");
    tree.file("home/plain/is a folder now");
    tree.removeAll("home/turned");
    tree.file("home/turned");
    tree.move("home/swapped", "home/a/swapped");
    tree.move("home/a/b", "home/swapped");
    tree.file("home/empty/no more");

    Session session(tree);
    session.settle();

    QCOMPARE(session.paths(), onDisk(tree));
    QCOMPARE(session.live.nameCount(), std::uint64_t(onDisk(tree).size()));
    tree.file("home/swapped/c/later");
    tree.file("home/fresh/deep/later");
    session.settle();
    QCOMPARE(session.paths(), onDisk(tree));
    QCOMPARE(session.search("later"), (Names{"2", "later", "later"}));
}

void tst_SnapshotSession::changesAfterTheStartAreFoundBeforeTheCheckHasEnded()
{
    const TemporaryTree tree;
    makeHome(tree);
    Session(tree).save();

    for (int steps = 0; steps < 40; ++steps) {
        Session session(tree);
        for (int i = 0; i < steps; ++i)
            i % 2 == 0 ? session.worker.step() : session.live.step();
        tree.file("home/a/b/new" + std::to_string(steps));
        tree.remove("home/a/b/new" + std::to_string(steps - 1));
        session.settle();
        QCOMPARE(session.paths(), onDisk(tree));
    }
}

void tst_SnapshotSession::anyMixtureOfChangesAndSessionsEndsInWhatIsOnTheDisk_data()
{
    QTest::addColumn<int>("seed");
    for (int seed = 0; seed < 8; ++seed)
        QTest::addRow("%d", seed) << seed;
}

void tst_SnapshotSession::anyMixtureOfChangesAndSessionsEndsInWhatIsOnTheDisk()
{
    QFETCH(int, seed);
    std::mt19937 random{std::uint32_t(seed)};
    const TemporaryTree tree;
    tree.folder("home");
    const auto somewhere = [&] {
        std::string path = "home/";
        for (auto depth = random() % 3; depth > 0; --depth)
            path += std::string(1, char('a' + random() % 3)) + '/';
        return path + std::string(1, char('a' + random() % 4));
    };
    const auto change = [&] {
        switch (random() % 5) {
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
        default:
            tree.removeAll(somewhere());
        }
    };

    for (int session = 0; session < 12; ++session) {
        for (auto changes = random() % 20; changes > 0; --changes)
            change();
        Session index(tree);
        for (int round = 0; round < 60; ++round) {
            change();
            if (random() % 15 == 0)
                index.live.save();
            for (auto steps = random() % 4; steps > 0; --steps)
                random() % 2 == 0 ? index.worker.step() : index.live.step();
        }
        if (random() % 3 == 0)
            continue;  // it ends here, with whatever is on the disk
        index.settle();
        QCOMPARE(index.paths(), onDisk(tree));
        if (random() % 2 == 0)
            index.live.saveAtEnd();
    }
}

void tst_SnapshotSession::otherRulesDropAndReadWhatDiffers()
{
    const TemporaryTree tree;
    tree.file("home/kept/one");
    tree.file("home/left/two");
    tree.file("home/later/three");
    tree.file("other/four");
    tree.file("third/five");
    const Rule home{tree.text("home"), true};
    Session(tree, {home, {tree.text("other"), true}, {tree.text("home/later"), false}}).save();

    Session session(tree, {home, {tree.text("third"), true}, {tree.text("home/left"), false}});
    session.settle();

    QCOMPARE(session.paths(), (Paths{"kept", "kept/one", "left", "later", "later/three"}));
    QCOMPARE(session.paths("other"), Paths{});
    QCOMPARE(session.paths("third"), (Paths{"five"}));
    tree.file("home/later/seen");
    tree.file("home/left/unseen");
    session.settle();
    QCOMPARE(
        session.paths(), (Paths{"kept", "kept/one", "left", "later", "later/three", "later/seen"}));
}

void tst_SnapshotSession::aDamagedFileIsReadAnew_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<bool>("isBulk");
    for (std::size_t i = 0; i < snapshotSections; ++i)
        QTest::addRow("section %d", int(i)) << int(i) << (i >= firstBulkSection);
}

void tst_SnapshotSession::aDamagedFileIsReadAnew()
{
    QFETCH(int, section);
    QFETCH(bool, isBulk);
    const TemporaryTree tree;
    makeHome(tree);
    Session(tree).save();
    flip(tree, SnapshotSection(section), isBulk && section == int(firstBulkSection) ? 70 : 1);
    tree.file("home/new");

    const auto *message = isBulk
                              ? "the index on disk is damaged, it is built again"
                              : "the index on disk is not used, it is built again: it is damaged";
    QTest::ignoreMessage(QtWarningMsg, message);
    Session session(tree);
    QCOMPARE(session.areRootsCrawled(), isBulk);
    session.settle();

    QVERIFY(session.areRootsCrawled());
    QCOMPARE(session.paths(), onDisk(tree));
    QCOMPARE(session.live.nameCount(), std::uint64_t(onDisk(tree).size()));
    session.save();
    const auto loaded = loadSnapshot(fileIn(tree), snapshotOwner());
    QVERIFY(loaded && tests::isSound(*loaded.value()));
    tree.file("home/a/later");
    session.settle();
    QCOMPARE(session.paths(), onDisk(tree));
}

void tst_SnapshotSession::aQueryOnDamagedNamesDoesNoHarm()
{
    std::mt19937 random(3);
    for (int round = 0; round < 40; ++round) {
        const TemporaryTree tree;
        makeHome(tree);
        Session(tree).save();
        flip(tree, SnapshotSection::names, NameBlock::firstByte + random() % 30);
        QTest::ignoreMessage(QtWarningMsg, "the index on disk is damaged, it is built again");
        Session session(tree);
        const auto view = session.published.current();

        for (int steps = 0; steps < 12; ++steps) {
            session.search("e");
            tests::found(*view, "e");
            steps % 2 == 0 ? session.worker.step() : session.live.step();
        }
        session.settle();

        QCOMPARE(session.paths(), onDisk(tree));
        tests::found(*view, "e");  // by a query that still holds the old tables
    }
}

void tst_SnapshotSession::anotherFolderAtTheRootIsReadAnew()
{
    const TemporaryTree tree;
    makeHome(tree);
    Session(tree).save();
    tree.move("home", "elsewhere");
    tree.file("home/a/new");

    QTest::ignoreMessage(
        QtWarningMsg, "another folder stands where a searched one was, it is read anew");
    Session session(tree);
    session.settle();

    QCOMPARE(session.paths(), onDisk(tree));
    QCOMPARE(session.live.watchedFolderCount(), std::size_t(2));
}

void tst_SnapshotSession::aRootThatIsGoneIsEmptied()
{
    const TemporaryTree tree;
    makeHome(tree);
    Session(tree).save();
    tree.move("home", "elsewhere");

    Session session(tree);
    session.settle();

    QCOMPARE(session.paths(), Paths{});
    QVERIFY(session.areRootsCrawled());
    tree.file("home/back");
    session.live.sweep();
    session.settle();
    QCOMPARE(session.paths(), (Paths{"back"}));
}

void tst_SnapshotSession::nothingIsWrittenWhileNothingChanges()
{
    const TemporaryTree tree;
    makeHome(tree);
    Session session(tree);
    session.settle();
    QVERIFY(session.live.nextSave());

    session.live.save();
    session.settle();
    QVERIFY(!session.live.nextSave());
    const auto first = tests::SnapshotBytes::read(fileIn(tree));
    QVERIFY(!first.empty());

    tree.file("home/.hidden");
    session.settle();
    QVERIFY(!session.live.nextSave());

    tree.file("home/new");
    session.settle();
    QVERIFY(session.live.nextSave());
    QCOMPARE(tests::SnapshotBytes::read(fileIn(tree)), first);
    session.live.save();
    session.settle();
    QVERIFY(!session.live.nextSave());
    QVERIFY(tests::SnapshotBytes::read(fileIn(tree)) != first);
}

void tst_SnapshotSession::changesWhileTheFileIsWrittenAreWrittenNext()
{
    const TemporaryTree tree;
    makeHome(tree);
    Session session(tree);
    session.settle();
    session.live.save();
    int number = 0;
    for (bool isBusy = true; isBusy && number < 12; ++number) {
        tree.file("home/during" + std::to_string(number));
        isBusy = session.worker.step();
        isBusy = session.live.step() || isBusy;
    }
    session.settle();

    QVERIFY(session.live.nextSave());
    QCOMPARE(session.paths(), onDisk(tree));
    session.save();
    QCOMPARE(Session(tree).paths(), onDisk(tree));
}

void tst_SnapshotSession::aFailureIsToldOnceAndTriedAgain()
{
    const TemporaryTree tree;
    makeHome(tree);
    tree.file("cache");  // where the folder should be
    Session session(tree);
    QTest::ignoreMessage(QtWarningMsg,
        QRegularExpression(
            QStringLiteral("the index is not kept on disk: no file can be made: .*")));
    session.save();
    QVERIFY(!session.live.nextSave());

    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    tree.file("home/new");
    session.save();
    QCOMPARE(session.paths(), onDisk(tree));

    tree.remove("cache");
    tree.file("home/newer");
    session.save();
    QCOMPARE(Session(tree).paths(), onDisk(tree));

    tree.removeAll("cache");  // somebody cleans up
    tree.file("home/newest");
    session.save();
    QCOMPARE(Session(tree).paths(), onDisk(tree));
}

void tst_SnapshotSession::theFilesOwnFolderIsNotWatchedForIt()
{
    const TemporaryTree tree;
    tree.file("some/file");
    Session session(tree, {{tree.text(), true}});
    session.save();

    QVERIFY(QFile::exists(tree.text("cache")));
    QCOMPARE(session.paths("cache"), Paths{{}});  // but nothing in it
    // The folder itself has come: that is one more to write, and the last.
    session.save();
    QVERIFY(!session.live.nextSave());
}

void tst_SnapshotSession::whatOneProgramKeepsTheNextOneFinds()
{
    const TemporaryTree tree;
    makeHome(tree);
    FileIndexOptions options;
    options.readPressure = [] { return PressureReading(); };  // a busy machine takes its time
    options.inotifyBudget = [] { return 10'000; };
    options.cacheFolder = tree.text("cache");
    {
        FileIndex index(options);
        index.setPathRules({{tree.text("home"), true}});
        QTRY_COMPARE(index.status().names, std::uint64_t(onDisk(tree).size()));
        QTRY_VERIFY(index.status().activities.empty());
    }
    QVERIFY(QFile::exists(tree.text(std::string("cache/") + snapshotFileName)));
    tree.file("home/new");

    FileIndex index(options);
    index.setPathRules({{tree.text("home"), true}});
    index.prepare();

    QTRY_COMPARE(index.status().names, std::uint64_t(onDisk(tree).size()));
}

QTEST_GUILESS_MAIN(tst_SnapshotSession)
#include "tst_SnapshotSession.moc"
