// SPDX-License-Identifier: GPL-3.0-or-later
#include "ContentBench.h"
#include "RandomText.h"

#include <QObject>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace vellumhound;
using namespace vellumhound::content;
using tests::allHits;
using tests::pathsOf;
using tests::RandomText;
using tests::SlowTexts;
using tests::TemporaryTree;

class tst_TextIndex final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anySequenceOfChangesAgreesWithASlowSearch_data();
    void anySequenceOfChangesAgreesWithASlowSearch();
    void whatWasFlushedIsThereAfterReopening();
    void aFileWithoutTextIsRememberedUntilItChanges();
    void aNameThatSortsBetweenAFolderAndItsContentsStays();
    void onlyItsOwnerMayReadTheFiles();
    void damagedSegmentsAreDroppedAndTheOthersStay();
    void aManifestCutOrDamagedAnywhereMakesItBeginAnew();
    void leftoversAreDeletedAndForeignFilesStay();
    void killedAtAnyMomentTheLastFlushCounts_data();
    void killedAtAnyMomentTheLastFlushCounts();
    void aFullDiskIsToldOnceAndOverLater();
    void aVanishedFolderIsMadeAgain();
    void theLimitOnTheDiskIsNeverExceeded();
    void aFullIndexThatOnlyChangesKeepsTakingChanges();
    void aChangedFileThatFindsNoRoomKeepsItsClaimToIt();
    void whatIsPurgedIsOffTheDiskAndTheRestIsFound();
    void aSegmentWithoutRoomToBePurgedIsDroppedAndItsFilesAreTold();
    void documentsOfALongTextAreCut();
    void aSecondProgramIsKeptOut();
    void clearingDeletesTheFiles();
    void readersAndTheWriterDoNotDisturbEachOther();
};

namespace {

RankFacts factsOf(const std::string &path)
{
    return {path.find("cache") != std::string::npos};
}

std::string contentsOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::uint64_t bytesBelow(const std::string &folder)
{
    std::uint64_t bytes = 0;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(folder, error)) {
        if (const auto size = entry.file_size(error); !error)
            bytes += size;
    }
    return bytes;
}

std::vector<std::string> filesIn(const std::string &folder, const std::string &suffix)
{
    std::vector<std::string> files;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.path().string().ends_with(suffix))
            files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// The same changes to an index and to the slow one, drawn by chance.
class Changes {
public:
    explicit Changes(std::uint32_t seed)
        : random(seed)
    {
    }

    void one(TextIndex &index, SlowTexts &slow)
    {
        const auto kind = random.pick(20);
        if (kind < 12)
            add(index, slow);
        else if (kind < 14)
            noteWithoutText(index, slow);
        else if (kind < 17)
            remove(index, slow);
        else if (kind < 18)
            removeBelow(index, slow);
        else
            move(index, slow);
    }

    RandomText random;

private:
    std::string folder()
    {
        static constexpr std::array names{"/home", "/home/a", "/home/a b", "/home/a/b",
            "/home/a/cache", "/home/ü", "/home/a/b/c/d"};
        return names[random.pick(names.size())];
    }
    std::string path() { return folder() + "/n" + std::to_string(random.pick(12)); }
    Document document()
    {
        auto one = path();
        const auto facts = factsOf(one);
        return {std::move(one), {std::int64_t(random.pick(6)), std::int64_t(++_changes)}, facts};
    }

    void add(TextIndex &index, SlowTexts &slow)
    {
        const auto one = document();
        const auto text = random.text(random.pick(40));
        QCOMPARE(index.add(one, text), Added::yes);
        slow.add(one, text);
    }
    void noteWithoutText(TextIndex &index, SlowTexts &slow)
    {
        const auto one = document();
        QCOMPARE(index.noteWithoutText(one), Added::yes);
        slow.noteWithoutText(one);
    }
    void remove(TextIndex &index, SlowTexts &slow)
    {
        const auto one = path();
        index.remove(one);
        slow.entries.erase(one);
    }
    void removeBelow(TextIndex &index, SlowTexts &slow)
    {
        const auto one = random.pick(2) == 0 ? path() : folder();
        index.removeBelow(one);
        slow.removeBelow(one);
    }
    void move(TextIndex &index, SlowTexts &slow)
    {
        const bool isFile = random.pick(2) == 0;
        const auto from = isFile ? path() : folder();
        const auto to = isFile ? path() : folder();
        if (isAtOrBelow(from, to) || isAtOrBelow(to, from))
            return;
        index.movedBelow(from, to, factsOf);
        slow.movedBelow(from, to, factsOf);
    }

    int _changes = 0;
};

/// Fails the test that calls it if the two disagree in anything.
void compare(const TextIndex &index, const PublishedText &published, const SlowTexts &slow,
    RandomText &random)
{
    std::size_t seen = 0;
    index.forEachPath([&](const Document &document, bool hasText) {
        ++seen;
        const auto found = slow.entries.find(document.path);
        QVERIFY(found != slow.entries.end());
        QCOMPARE(document.stamp, found->second.document.stamp);
        QCOMPARE(document.facts, found->second.document.facts);
        QCOMPARE(hasText, found->second.hasText);
        QVERIFY(index.isCurrent(document.path, document.stamp));
    });
    QCOMPARE(seen, slow.entries.size());
    std::uint64_t textBytes = 0;
    for (const auto &[path, entry] : slow.entries)
        textBytes += entry.text.size();
    QCOMPARE(index.figures().textBytes, textBytes);
    QCOMPARE(index.figures().documents + index.figures().withoutText, seen);
    if (slow.entries.empty())
        return;
    for (int i = 0; i < 6; ++i) {
        const auto from =
            std::next(slow.entries.begin(), std::ptrdiff_t(random.pick(slow.entries.size())));
        const auto needle = random.needleFrom(from->second.text);
        QCOMPARE(pathsOf(allHits(published, {needle, {}, {}})), pathsOf(slow.hits(needle)));
    }
}

constexpr int roundsOfChild = 400;

void childRound(std::uint32_t seed, int round, TextIndex &index, SlowTexts &slow)
{
    Changes changes(seed * 1000 + std::uint32_t(round));
    for (int i = 0; i < 6; ++i)
        changes.one(index, slow);
}

/// The process that is killed: tells of each round that is on the disk.
int runChild(const std::string &folder, std::uint32_t seed)
{
    PublishedText published;
    TextIndex index(published, {.folder = folder, .mergeAt = 2});
    SlowTexts slow;
    if (!index.open())
        return 1;
    for (int round = 0; round < roundsOfChild; ++round) {
        childRound(seed, round, index, slow);
        if (!index.flush() || ::write(STDOUT_FILENO, ".", 1) != 1)
            return 1;
        index.tidy();
    }
    return 0;
}

}  // namespace

void tst_TextIndex::anySequenceOfChangesAgreesWithASlowSearch_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 0; seed < 20; ++seed)
        QTest::addRow("%u", seed) << seed;
}

void tst_TextIndex::anySequenceOfChangesAgreesWithASlowSearch()
{
    QFETCH(quint32, seed);
    const TemporaryTree tree;
    const TextIndexOptions options{
        .folder = tree.path("text"), .spillAbove = 8000, .mergeAt = 2 + seed % 3};
    PublishedText published;
    auto index = std::make_unique<TextIndex>(published, options);
    QVERIFY(index->open());
    SlowTexts slow;
    Changes changes(seed);

    for (int step = 0; step < 150; ++step) {
        changes.one(*index, slow);
        const auto chance = changes.random.pick(20);
        if (chance == 0)
            QVERIFY(index->flush());
        if (chance <= 1)
            index->tidy();
        if (chance == 2) {
            QVERIFY(index->flush());
            index = std::make_unique<TextIndex>(published, options);
            QVERIFY(index->open());
        }

        if (step % 4 == 3)
            compare(*index, published, slow, changes.random);
        if (QTest::currentTestFailed())
            return;
    }
}

void tst_TextIndex::whatWasFlushedIsThereAfterReopening()
{
    const TemporaryTree tree;
    PublishedText published;
    {
        TextIndex index(published, {.folder = tree.path("a/b/text")});
        QVERIFY(index.open());
        index.add({"/one", {1, 2}, {}}, "Kept by flushing");
        QVERIFY(index.flush());
        QVERIFY(!index.needsFlush());
        index.add({"/two", {1, 2}, {}}, "Never flushed");
    }

    TextIndex again(published, {.folder = tree.path("a/b/text")});
    QVERIFY(again.open());

    QCOMPARE(pathsOf(allHits(published, {"flush", {}, {}})), std::vector<std::string>{"/one"});
    QVERIFY(again.isCurrent("/one", {1, 2}));
    QVERIFY(!again.isCurrent("/one", {1, 3}));
    QVERIFY(!again.isCurrent("/two", {1, 2}));
}

void tst_TextIndex::aFileWithoutTextIsRememberedUntilItChanges()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text")});
    QVERIFY(index.open());
    index.add({"/one", {1, 1}, {}}, "some text");

    index.noteWithoutText({"/one", {2, 1}, {}});

    QVERIFY(index.isCurrent("/one", {2, 1}));
    QVERIFY(!index.isCurrent("/one", {3, 1}));
    QVERIFY(allHits(published, {"some", {}, {}}).empty());
    QCOMPARE(index.figures().documents, 0U);
    QCOMPARE(index.figures().withoutText, 1U);
}

void tst_TextIndex::aNameThatSortsBetweenAFolderAndItsContentsStays()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text")});
    QVERIFY(index.open());
    for (const auto *path : {"/a", "/a b", "/a-b/c", "/a/b", "/a0", "/ab"})
        index.add({path, {}, {}}, "text");
    QVERIFY(index.flush());

    index.removeBelow("/a");

    auto paths = pathsOf(allHits(published, {"text", {}, {}}));
    std::sort(paths.begin(), paths.end());
    QCOMPARE(paths, (std::vector<std::string>{"/a b", "/a-b/c", "/a0", "/ab"}));
}

void tst_TextIndex::onlyItsOwnerMayReadTheFiles()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text")});
    QVERIFY(index.open());
    index.add({"/one", {}, {}}, "private");
    QVERIFY(index.flush());

    using std::filesystem::perms;
    const auto others = perms::group_all | perms::others_all;
    QVERIFY((std::filesystem::status(tree.path("text")).permissions() & others) == perms::none);
    for (const auto &file : filesIn(tree.path("text"), ""))
        QVERIFY((std::filesystem::status(file).permissions() & others) == perms::none);
}

void tst_TextIndex::damagedSegmentsAreDroppedAndTheOthersStay()
{
    const TemporaryTree tree;
    PublishedText published;
    {
        TextIndex index(published, {.folder = tree.path("text"), .mergeAt = 100});
        QVERIFY(index.open());
        for (const auto *path : {"/1", "/2", "/3", "/4"}) {
            index.add({path, {}, {}}, "text");
            QVERIFY(index.flush());
        }
    }
    const auto files = filesIn(tree.path("text"), ".segment");
    QCOMPARE(files.size(), 4U);
    std::filesystem::resize_file(files[0], 300);
    std::filesystem::remove(files[1]);
    std::filesystem::copy_file(
        files[3], files[2], std::filesystem::copy_options::overwrite_existing);
    const QRegularExpression line(QStringLiteral("^A text segment is dropped"));
    for (int i = 0; i < 3; ++i)
        QTest::ignoreMessage(QtWarningMsg, line);

    TextIndex again(published, {.folder = tree.path("text")});
    QVERIFY(again.open());

    QCOMPARE(pathsOf(allHits(published, {"text", {}, {}})), std::vector<std::string>{"/4"});
    QVERIFY(!again.isCurrent("/1", {}));
    QVERIFY(again.needsFlush());
    QVERIFY(again.flush());
    QCOMPARE(filesIn(tree.path("text"), ".segment").size(), 1U);
}

void tst_TextIndex::aManifestCutOrDamagedAnywhereMakesItBeginAnew()
{
    const TemporaryTree tree;
    const auto manifest = tree.path("text/manifest");
    PublishedText published;
    const auto fill = [&] {
        TextIndex index(published, {.folder = tree.path("text")});
        QVERIFY(index.open());
        index.clear();
        QVERIFY(index.open());
        index.add({"/one", {}, {}}, "text");
        index.add({"/two", {}, {}}, "text");
        QVERIFY(index.flush());
        index.remove("/two");
        index.movedBelow("/one", "/three", factsOf);
        QVERIFY(index.flush());
    };
    fill();
    const auto bytes = contentsOf(manifest);
    QVERIFY(!bytes.empty());

    for (std::size_t place = 0; place < 2 * bytes.size(); place += 1 + bytes.size() / 20) {
        auto damaged = bytes.substr(0, place);
        if (place >= bytes.size()) {
            damaged = bytes;
            damaged[place - bytes.size()] ^= 8;
        }
        fill();
        tree.file("text/manifest", damaged);
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("^The text index begins anew")));
        TextIndex again(published, {.folder = tree.path("text")});
        QVERIFY(again.open());
        QCOMPARE(again.figures(), TextFigures{});
        QVERIFY(filesIn(tree.path("text"), ".segment").empty());
    }
}

void tst_TextIndex::leftoversAreDeletedAndForeignFilesStay()
{
    const TemporaryTree tree;
    for (const auto *name : {"00000000000000ff.segment", "00000000000000fe.segment.new",
             "manifest.new", "notes.txt", "ff.segment"})
        tree.file(std::string("text/") + name, "left over");
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text")});

    QVERIFY(index.open());

    QCOMPARE(
        filesIn(tree.path("text"), ""), (std::vector{tree.path("text/ff.segment"),
                                            tree.path("text/lock"), tree.path("text/notes.txt")}));
}

void tst_TextIndex::killedAtAnyMomentTheLastFlushCounts_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 0; seed < 12; ++seed)
        QTest::addRow("%u", seed) << seed;
}

void tst_TextIndex::killedAtAnyMomentTheLastFlushCounts()
{
    QFETCH(quint32, seed);
    const TemporaryTree tree;
    RandomText random(seed);
    std::array<int, 2> pipe{};
    QCOMPARE(::pipe2(pipe.data(), O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
    auto folder = tree.path("text");
    auto number = std::to_string(seed);
    std::string program = "/proc/self/exe";
    std::string role = "--child";
    const std::array<char *, 5> arguments{
        program.data(), role.data(), folder.data(), number.data(), nullptr};
    pid_t child = 0;
    QCOMPARE(
        ::posix_spawn(&child, program.c_str(), &actions, nullptr, arguments.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(pipe[1]);
    const auto wanted = 1 + random.pick(40);
    std::size_t told = 0;
    for (char dot = 0; told < wanted && ::read(pipe[0], &dot, 1) == 1;)
        ++told;
    for (std::size_t i = random.pick(200'000); i > 0; --i)
        random.pick(2);  // so that it is not always hit at the same place

    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    for (char dot = 0; ::read(pipe[0], &dot, 1) == 1;)
        ++told;
    ::close(pipe[0]);

    PublishedText published;
    TextIndex index(published, {.folder = folder});
    QVERIFY(index.open());
    SlowTexts slow;
    {
        PublishedText unused;
        TextIndex replayed(unused, {.folder = tree.path("replayed")});
        QVERIFY(replayed.open());
        for (std::size_t round = 0; round < told; ++round)
            childRound(seed, int(round), replayed, slow);
        const auto stampsOf = [](const TextIndex &one) {
            std::map<std::string, std::int64_t> stamps;
            one.forEachPath([&](const Document &document, bool) {
                stamps[document.path] = document.stamp.sizeBytes * 10 + document.stamp.mtimeNs;
            });
            return stamps;
        };
        if (stampsOf(index) != stampsOf(replayed))
            childRound(seed, int(told), replayed, slow);  // was on the disk before it could say so
    }
    compare(index, published, slow, random);
}

void tst_TextIndex::aFullDiskIsToldOnceAndOverLater()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text"), .spillAbove = 100'000});
    QVERIFY(index.open());
    RandomText random(1);
    const auto text = random.text(9000);
    index.add({"/one", {}, {}}, text);
    struct rlimit before {};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handled = std::signal(SIGXFSZ, SIG_IGN);
    const struct rlimit tight {
        2000, before.rlim_max
    };
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^The text index cannot be written")));

    ::setrlimit(RLIMIT_FSIZE, &tight);
    const bool isFirstFlushed = index.flush();
    const bool isSecondFlushed = index.flush();
    auto added = Added::yes;
    int count = 0;
    for (; added == Added::yes && count < 100; ++count)
        added = index.add({"/" + std::to_string(count), {}, {}}, text);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handled);

    QVERIFY(!isFirstFlushed);
    QVERIFY(!isSecondFlushed);
    QCOMPARE(added, Added::cannotWrite);
    QVERIFY(count < 5);
    QVERIFY(index.figures().cannotWrite);
    QVERIFY(filesIn(tree.path("text"), "segment").empty());
    QVERIFY(filesIn(tree.path("text"), ".new").empty());
    const auto found = allHits(published, {"kubernetes", {}, {}}).size();
    QCOMPARE(found, std::size_t(count));  // with /one, without the refused one

    QVERIFY(index.flush());
    QVERIFY(!index.figures().cannotWrite);
    QCOMPARE(allHits(published, {"kubernetes", {}, {}}).size(), found);
}

void tst_TextIndex::aVanishedFolderIsMadeAgain()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("cache/text")});
    QVERIFY(index.open());
    index.add({"/one", {}, {}}, "first text");
    QVERIFY(index.flush());
    tree.removeAll("cache");

    index.add({"/two", {}, {}}, "second text");
    QVERIFY(index.flush());

    QCOMPARE(allHits(published, {"text", {}, {}}).size(), 2U);
    tree.removeAll("cache");
    tree.file("cache", "a file in its place");
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^The text index cannot be written")));
    index.add({"/three", {}, {}}, "third text");
    QVERIFY(!index.flush());
    QVERIFY(!index.flush());
    QCOMPARE(allHits(published, {"text", {}, {}}).size(), 3U);
    tree.remove("cache");
    QVERIFY(index.flush());
}

void tst_TextIndex::theLimitOnTheDiskIsNeverExceeded()
{
    const TemporaryTree tree;
    constexpr std::uint64_t limit = 400'000;
    PublishedText published;
    TextIndex index(published,
        {.folder = tree.path("text"), .mostDiskBytes = limit, .spillAbove = 20'000, .mergeAt = 3});
    QVERIFY(index.open());
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^The text index has reached its limit")));
    std::mt19937_64 random(1);
    const auto noise = [&] {
        std::string text;
        while (text.size() < 3000)
            text += static_cast<char>(' ' + 1 + random() % 90);
        return text;
    };

    int refused = 0;
    for (int i = 0; i < 600; ++i) {
        const auto added = index.add({"/" + std::to_string(i), {i, 1}, {}}, noise());
        refused += added == Added::full ? 1 : 0;
        index.tidy();
        QVERIFY(bytesBelow(tree.path("text")) <= limit);
    }

    QVERIFY(refused > 100);
    QVERIFY(index.figures().isFull);
    QVERIFY(index.isCurrent("/0", {0, 1}));
    index.add({"/0", {0, 2}, {}}, noise());
    QVERIFY(!index.isCurrent("/0", {0, 1}));  // what was known of it no longer holds
    for (int i = 0; i < 500; ++i)
        index.remove("/" + std::to_string(i));
    while (index.tidy()) {
    }
    QVERIFY(!index.figures().isFull);
    QCOMPARE(index.add({"/0", {0, 2}, {}}, noise()), Added::yes);
}

void tst_TextIndex::aFullIndexThatOnlyChangesKeepsTakingChanges()
{
    const TemporaryTree tree;
    constexpr std::uint64_t limit = 4'000'000;
    PublishedText published;
    TextIndex index(published,
        {.folder = tree.path("text"), .mostDiskBytes = limit, .spillAbove = 20'000, .mergeAt = 3});
    QVERIFY(index.open());
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^The text index has reached its limit")));
    std::mt19937_64 random(1);
    const auto noise = [&] {
        std::string text;
        while (text.size() < 500)
            text += static_cast<char>(' ' + 1 + random() % 90);
        return text;
    };
    int count = 0;
    while (!index.figures().isFull && count < 20'000) {
        const auto path = "/" + std::to_string(count);
        index.add({path, {++count, 1}, {}}, noise());
        index.tidy();
    }

    const auto documents = index.figures().documents;
    for (int i = 0; i < 1000; ++i) {
        const Document document{"/" + std::to_string(i % 200), {i, 2}, {}};
        QCOMPARE(index.add(document, noise()), Added::yes);
        index.tidy();
        while (index.isPurgeWorthIt() && index.purge()) {
        }
        QVERIFY(bytesBelow(tree.path("text")) <= limit);
    }

    QVERIFY(index.figures().isFull);
    QVERIFY(count > 1000 && count < 20'000);
    QCOMPARE(index.figures().documents, documents);
    QVERIFY(index.takeLost().empty());
}

void tst_TextIndex::aChangedFileThatFindsNoRoomKeepsItsClaimToIt()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text"), .mostDiskBytes = 10'000});
    QVERIFY(index.open());
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^The text index has reached its limit")));
    const std::string text(100, 'x');
    std::size_t count = 0;
    while (index.add({"/" + std::to_string(count), {1, 1}, {}}, text) == Added::yes)
        ++count;
    int changes = 0;
    while (index.add({"/0", {++changes, 2}, {}}, "changed" + text) == Added::yes) {
    }

    const bool isKnown = index.knows("/0");
    const auto texts = allHits(published, {"xxx", {}, {}}).size();
    const auto changed = allHits(published, {"changed", {}, {}}).size();
    QVERIFY(index.flush());  // packed it takes less

    QVERIFY(changes > 2);
    QVERIFY(isKnown);
    QCOMPARE(texts, count - 1);
    QCOMPARE(changed, 0U);
    QVERIFY(index.knows("/0"));
    QVERIFY(!index.isCurrent("/0", {changes - 1, 2}));
    QCOMPARE(index.add({"/0", {changes, 2}, {}}, "changed" + text), Added::yes);
}

void tst_TextIndex::whatIsPurgedIsOffTheDiskAndTheRestIsFound()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text")});
    QVERIFY(index.open());
    const auto isOnDisk = [&](const std::string &path) {
        const auto files = filesIn(tree.path("text"), "");
        return std::any_of(files.begin(), files.end(),
            [&](const auto &file) { return contentsOf(file).find(path) != std::string::npos; });
    };
    for (const auto *path : {"/a/one", "/a/two", "/b/one", "/b/two", "/c"}) {
        index.add({path, {1, 1}, {}}, "words");
        if (path == std::string("/a/two"))
            QVERIFY(index.flush());
    }
    QVERIFY(index.flush());
    index.remove("/a/two");
    index.movedBelow("/b", "/d", factsOf);
    index.remove("/d/one");
    QVERIFY(!index.tidy());  // not worth it by itself
    QVERIFY(isOnDisk("/a/two"));
    QCOMPARE(index.figures().deadDocuments, 2U);

    int purged = 0;
    while (index.purge())
        ++purged;

    QCOMPARE(purged, 2);
    QVERIFY(!isOnDisk("/a/two"));
    QVERIFY(!isOnDisk("/b/one"));
    QVERIFY(!isOnDisk("/d/one"));
    QCOMPARE(index.figures().deadDocuments, 0U);
    QCOMPARE(index.figures().deadBytes, 0U);
    auto found = pathsOf(allHits(published, {"words", {}, {}}));
    std::sort(found.begin(), found.end());
    QCOMPARE(found, (std::vector<std::string>{"/a/one", "/c", "/d/two"}));
}

void tst_TextIndex::aSegmentWithoutRoomToBePurgedIsDroppedAndItsFilesAreTold()
{
    const TemporaryTree tree;
    {
        PublishedText published;
        TextIndex index(published, {.folder = tree.path("text")});
        QVERIFY(index.open());
        for (const auto *path : {"/gone", "/a/one", "/two"})
            index.add({path, {1, 1}, {}}, "words");
        QVERIFY(index.flush());
        index.remove("/gone");
        index.movedBelow("/a", "/b", factsOf);
        QVERIFY(index.flush());
    }
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^The text index has reached its limit")));
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text"), .mostDiskBytes = 100});
    QVERIFY(index.open());

    QVERIFY(index.purge());

    auto lost = index.takeLost();
    std::sort(lost.begin(), lost.end());
    QCOMPARE(lost, (std::vector<std::string>{"/b/one", "/two"}));
    QVERIFY(index.takeLost().empty());
    QVERIFY(filesIn(tree.path("text"), ".segment").empty());
    QCOMPARE(index.figures().documents, 0U);
    QVERIFY(!index.purge());
}

void tst_TextIndex::documentsOfALongTextAreCut()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text"), .mostTextBytes = 1000});
    QVERIFY(index.open());

    index.add({"/long", {}, {}}, "beginning " + std::string(5000, 'x') + " end");

    QVERIFY(index.flush());
    QCOMPARE(allHits(published, {"beginning", {}, {}}).size(), 1U);
    QVERIFY(allHits(published, {"end", {}, {}}).empty());
    QCOMPARE(index.figures().textBytes, 1000U);
}

void tst_TextIndex::aSecondProgramIsKeptOut()
{
    const TemporaryTree tree;
    PublishedText published;
    PublishedText others;
    auto first =
        std::make_unique<TextIndex>(published, TextIndexOptions{.folder = tree.path("text")});
    QVERIFY(first->open());
    TextIndex second(others, {.folder = tree.path("text")});

    QVERIFY(!second.open());

    QCOMPARE(second.add({"/one", {}, {}}, "text"), Added::cannotWrite);
    QVERIFY(!second.flush());
    first.reset();
    QVERIFY(second.open());
    QCOMPARE(second.add({"/one", {}, {}}, "text"), Added::yes);
}

void tst_TextIndex::clearingDeletesTheFiles()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text")});
    QVERIFY(index.open());
    index.add({"/one", {}, {}}, "text");
    QVERIFY(index.flush());
    index.add({"/two", {}, {}}, "text");

    index.clear();

    QVERIFY(!std::filesystem::exists(tree.path("text")));
    QVERIFY(allHits(published, {"text", {}, {}}).empty());
    QCOMPARE(index.figures(), TextFigures{});
    QVERIFY(index.open());
    QCOMPARE(index.add({"/one", {}, {}}, "text"), Added::yes);
    QVERIFY(index.flush());
}

void tst_TextIndex::readersAndTheWriterDoNotDisturbEachOther()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text"), .spillAbove = 5000, .mergeAt = 2});
    QVERIFY(index.open());
    for (int i = 0; i < 20; ++i)
        index.add({"/stays/" + std::to_string(i), {i, 1}, {}}, "this text always stays here");
    std::atomic<bool> isDone = false;
    std::atomic<int> missing = 0;
    std::atomic<int> wrong = 0;
    const auto read = [&](const std::string &needle) {
        do {
            const auto hits = allHits(published, {needle, {}, {}});
            int stays = 0;
            for (const auto &hit : hits) {
                stays += hit.path.starts_with("/stays/") ? 1 : 0;
                wrong += hit.path.starts_with("/") ? 0 : 1;
            }
            missing += 20 - stays;
        } while (!isDone);
    };

    std::thread first(read, "always stays");
    std::thread second(read, "ay");
    Changes changes(42);
    SlowTexts slow;
    for (int i = 0; i < 800; ++i) {
        changes.one(index, slow);
        if (i % 40 == 0)
            index.flush();
        index.tidy();
    }
    isDone = true;
    first.join();
    second.join();

    QCOMPARE(missing.load(), 0);
    QCOMPARE(wrong.load(), 0);
}

int main(int argc, char *argv[])
{
    if (argc == 4 && std::string_view(argv[1]) == "--child")
        return runChild(argv[2], std::uint32_t(std::stoul(argv[3])));
    tst_TextIndex test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_TextIndex.moc"
