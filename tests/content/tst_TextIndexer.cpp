// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/TextIndexer.h"
#include "ContentBench.h"

#include <QObject>
#include <QRegularExpression>
#include <QTest>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

using namespace std::chrono_literals;
using namespace vellumhound;
using namespace vellumhound::content;
using tests::allHits;
using tests::pathsOf;
using tests::TemporaryTree;

using Paths = std::vector<std::string>;
using State = TextStatus::State;

class tst_TextIndexer final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFileThatIsOfferedIsFoundByItsText();
    void aFileOfferedAThousandTimesIsReadOnceItIsLeftAlone();
    void aFileThatDoesNotStopChangingIsReadAtGrowingIntervals();
    void filesChangedLastAreReadFirst();
    void aFileThatIsCurrentIsNotReadAgain();
    void aFileWithoutTextIsNotReadAgainUntilItChanges();
    void aFileThatChangesWhileItIsReadIsReadAgain();
    void aFileTooLargeOrEmptyIsNotRead();
    void aFileThatIsGoneIsForgotten();
    void aSourceThatCannotAnswerNowIsAskedLater();
    void aFileThatCannotBeReadIsTriedAtGrowingIntervals();
    void aFileThatBecomesReadableIsReadOnceItChanges();
    void aDiskThatDoesNotAnswerMakesNoFileGone();
    void nothingIsReadWhileTheMachineIsBusy();
    void forgettingTakesOutWhatWaitsAndWhatIsKept();
    void movingTakesAlongWhatWaitsAndWhatIsKept();
    void onlyWhatIsWantedIsKept();
    void offMeansNoFilesAndNoWork();
    void whatWaitsInMemoryGoesToTheDiskAfterAQuietTime();
    void nothingIsToDoWhenAllIsDone();
    void unwantedTextIsOffTheDiskWithinAMinute();
    void deletedTextIsOffTheDiskWithinADay();
    void textDeletedInTheLastSessionIsOffTheDiskAtTheStart();
    void aFullIndexReadsNoFurtherFiles();
    void aChangedFileIsReadAlthoughTheIndexIsFull();
    void filesThatWereLeftOutAreCalledForOnceThereIsRoom();
    void aFolderThatCannotBeWrittenIsTriedAgain();
    void theThreadStopsWithEverythingOnTheDisk();
    void aPlainFilesStampIsReadAndNothingElses();
};

namespace {

/// Texts of files that are not on a disk.
class FakeSource final : public TextSource {
public:
    Extracted read(const std::string &path, Stamp &stamp, const std::atomic<bool> &) override
    {
        reads.push_back(path);
        stamp = files[path].stamp;
        const auto answer = files[path].answer;
        if (onRead)
            onRead(path);
        return answer;
    }

    struct File {
        Stamp stamp;
        Extracted answer;
    };
    std::map<std::string, File> files;
    Paths reads;
    std::function<void(const std::string &path)> onRead;
};

struct Fixture {
    explicit Fixture(TextIndexOptions indexOptions = {}, std::int64_t mostFileBytes = 1000)
        : index(published, withFolder(std::move(indexOptions)))
        , indexer(index, source, options(mostFileBytes))
    {
        indexer.setEnabled(true);
    }

    TextIndexOptions withFolder(TextIndexOptions options)
    {
        options.folder = tree.path("text");
        return options;
    }
    TextIndexerOptions options(std::int64_t mostFileBytes)
    {
        TextIndexerOptions made;
        made.mostFileBytes = mostFileBytes;
        made.now = [this] { return now; };
        made.mayRun = [this] { return mayRun; };
        made.onRoomAgain = [this] { ++calledForRoom; };
        made.factsOf = [](const std::string &path) {
            return RankFacts{path.starts_with("/noise")};
        };
        made.stampOf = [this](const std::string &path) -> base::Result<std::optional<Stamp>> {
            if (isDiskSilent)
                return base::Error{QStringLiteral("Input/output error")};
            const auto found = source.files.find(path);
            return found != source.files.end() ? std::optional(found->second.stamp) : std::nullopt;
        };
        return made;
    }

    void file(const std::string &path, const std::string &text)
    {
        source.files[path] = {{++_changes, 10}, {Extracted::Outcome::text, text}};
    }
    /// As long as there is something to do without waiting.
    void settle()
    {
        while (indexer.step()) {
        }
    }
    void wait(std::chrono::milliseconds time)
    {
        now += time;
        settle();
    }
    Paths found(const std::string &needle)
    {
        auto paths = pathsOf(allHits(published, {needle, {}, {}}));
        std::sort(paths.begin(), paths.end());
        return paths;
    }
    /// Whether a file of the index names this one; texts are stored with their names.
    bool isOnDisk(const std::string &path, const std::string &folder = "text") const
    {
        for (const auto &entry : std::filesystem::directory_iterator(tree.path(folder))) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes(std::istreambuf_iterator<char>(file), {});
            if (bytes.find(path) != bytes.npos)
                return true;
        }
        return false;
    }
    bool hasFiles() const { return std::filesystem::exists(tree.path("text/manifest")); }

    TemporaryTree tree;
    PublishedText published;
    TextIndex index;
    FakeSource source;
    OfferQueue::Time now = OfferQueue::Time(1h);
    bool mayRun = true;
    bool isDiskSilent = false;
    int calledForRoom = 0;
    TextIndexer indexer;

private:
    std::int64_t _changes = 0;
};

}  // namespace

void tst_TextIndexer::aFileThatIsOfferedIsFoundByItsText()
{
    Fixture fixture;
    fixture.file("/one", "the words in it");
    fixture.file("/noise/two", "other words");

    fixture.indexer.offer("/one");
    fixture.indexer.offerFound("/noise/two", 5);
    fixture.settle();
    const auto before = fixture.found("words");
    fixture.wait(1s);

    QCOMPARE(before, Paths{"/noise/two"});
    QCOMPARE(fixture.found("words"), (Paths{"/noise/two", "/one"}));
    QVERIFY(allHits(fixture.published, {"other", {}, {}}).front().facts.isNoise);
    const auto status = fixture.indexer.status();
    QCOMPARE(status.state, State::idle);
    QCOMPARE(status.waiting, 0U);
    QCOMPARE(status.figures.documents, 2U);
}

void tst_TextIndexer::aFileOfferedAThousandTimesIsReadOnceItIsLeftAlone()
{
    Fixture fixture;
    fixture.file("/one", "words");

    for (int i = 0; i < 1000; ++i) {
        fixture.indexer.offer("/one");
        fixture.wait(1ms);
    }
    const auto early = fixture.source.reads;
    QCOMPARE(fixture.indexer.status().state, State::indexing);
    fixture.wait(1s);
    const auto afterCalm = fixture.source.reads;
    for (int i = 0; i < 90; ++i) {
        fixture.file("/two", "words");
        fixture.indexer.offer("/two");
        fixture.wait(100ms);
    }

    QVERIFY(early.empty());
    QCOMPARE(afterCalm, Paths{"/one"});
    QCOMPARE(fixture.source.reads, (Paths{"/one", "/two"}));  // after five of nine seconds
}

void tst_TextIndexer::aFileThatDoesNotStopChangingIsReadAtGrowingIntervals()
{
    Fixture fixture;

    for (int second = 0; second < 3600; ++second) {
        fixture.file("/log", "line " + std::to_string(second));
        fixture.indexer.offer("/log");
        fixture.wait(1s);
    }
    const auto reads = fixture.source.reads.size();
    fixture.wait(20min);

    QVERIFY(reads > 5);
    QVERIFY(reads < 30);
    QCOMPARE(fixture.found("3599"), Paths{"/log"});
}

void tst_TextIndexer::filesChangedLastAreReadFirst()
{
    Fixture fixture;
    for (const auto *path : {"/1", "/2", "/3", "/now"})
        fixture.file(path, "words");

    fixture.indexer.offerFound("/2", 200);
    fixture.indexer.offerFound("/1", 100);
    fixture.indexer.offerFound("/3", 300);
    fixture.indexer.offer("/now");
    fixture.indexer.offerFound("/now", 0);
    fixture.wait(1s);

    QCOMPARE(fixture.source.reads, (Paths{"/now", "/3", "/2", "/1"}));
}

void tst_TextIndexer::aFileThatIsCurrentIsNotReadAgain()
{
    Fixture fixture;
    fixture.file("/one", "words");
    fixture.indexer.offerFound("/one", 0);
    fixture.settle();

    fixture.indexer.offerFound("/one", 0);
    fixture.indexer.offer("/one");
    fixture.wait(1min);

    QCOMPARE(fixture.source.reads.size(), 1U);
}

void tst_TextIndexer::aFileWithoutTextIsNotReadAgainUntilItChanges()
{
    Fixture fixture;
    fixture.file("/one", "words");
    fixture.source.files["/one"].answer = {Extracted::Outcome::noText, {}};
    for (int i = 0; i < 3; ++i) {
        fixture.indexer.offerFound("/one", 0);
        fixture.settle();
    }
    const auto reads = fixture.source.reads.size();

    fixture.file("/one", "words");
    fixture.indexer.offer("/one");
    fixture.wait(1s);

    QCOMPARE(reads, 1U);
    QCOMPARE(fixture.source.reads.size(), 2U);
    QCOMPARE(fixture.found("words"), Paths{"/one"});
}

void tst_TextIndexer::aFileThatChangesWhileItIsReadIsReadAgain()
{
    Fixture fixture;
    fixture.file("/one", "half of the words");
    fixture.source.onRead = [&](const std::string &) {
        fixture.source.onRead = {};
        fixture.file("/one", "all of the words");
    };

    fixture.indexer.offerFound("/one", 0);
    fixture.settle();
    fixture.wait(2s);

    QCOMPARE(fixture.source.reads.size(), 2U);
    QCOMPARE(fixture.found("all of"), Paths{"/one"});
    QVERIFY(fixture.found("half").empty());
}

void tst_TextIndexer::aFileTooLargeOrEmptyIsNotRead()
{
    Fixture fixture;
    fixture.file("/large", "words");
    fixture.source.files["/large"].stamp.sizeBytes = 1001;
    fixture.file("/empty", "words");
    fixture.source.files["/empty"].stamp.sizeBytes = 0;

    fixture.indexer.offerFound("/large", 0);
    fixture.indexer.offerFound("/empty", 0);
    fixture.settle();

    QVERIFY(fixture.source.reads.empty());
    QCOMPARE(fixture.indexer.status().figures.withoutText, 2U);
}

void tst_TextIndexer::aFileThatIsGoneIsForgotten()
{
    Fixture fixture;
    for (const auto *path : {"/one", "/two"}) {
        fixture.file(path, "words");
        fixture.indexer.offerFound(path, 0);
    }
    fixture.settle();

    fixture.source.files.erase("/one");
    fixture.indexer.offer("/one");
    fixture.file("/two", "words");
    fixture.source.files["/two"].answer = {Extracted::Outcome::gone, {}};
    fixture.indexer.offer("/two");
    fixture.wait(1s);

    QVERIFY(fixture.found("words").empty());
    QCOMPARE(fixture.indexer.status().figures.documents, 0U);
}

void tst_TextIndexer::aSourceThatCannotAnswerNowIsAskedLater()
{
    Fixture fixture;
    fixture.file("/one", "words");
    fixture.source.files["/one"].answer.outcome = Extracted::Outcome::tryLater;
    fixture.indexer.offerFound("/one", 0);
    fixture.settle();
    const auto reads = fixture.source.reads.size();
    fixture.source.files["/one"].answer.outcome = Extracted::Outcome::text;

    fixture.wait(59s);
    const auto early = fixture.source.reads.size();
    fixture.wait(1s);

    QCOMPARE(reads, 1U);
    QCOMPARE(early, 1U);
    QCOMPARE(fixture.found("words"), Paths{"/one"});
}

void tst_TextIndexer::aFileThatCannotBeReadIsTriedAtGrowingIntervals()
{
    Fixture fixture;
    fixture.file("/one", "words");
    fixture.indexer.offerFound("/one", 0);
    fixture.settle();
    fixture.file("/one", "other words");
    fixture.source.files["/one"].answer = {Extracted::Outcome::unreadable, {}};
    fixture.indexer.offerFound("/one", 0);
    fixture.settle();
    const auto status = fixture.indexer.status();
    fixture.source.reads.clear();

    for (int second = 0; second < 4 * 3600; ++second)
        fixture.wait(1s);
    const auto reads = fixture.source.reads.size();
    const auto waiting = fixture.indexer.status().waiting;
    fixture.file("/one", "readable words");
    fixture.wait(1h);

    QVERIFY(fixture.found("other").empty());
    QCOMPARE(status.figures.documents, 0U);
    QCOMPARE(status.state, State::idle);
    QCOMPARE(status.waiting, 0U);
    QCOMPARE(waiting, 0U);
    QCOMPARE(reads, 12U);  // after 5 s, 10 s, ... 43 min, then once an hour
    QCOMPARE(fixture.found("readable"), Paths{"/one"});
}

void tst_TextIndexer::aFileThatBecomesReadableIsReadOnceItChanges()
{
    Fixture fixture;
    fixture.file("/one", "words");
    fixture.source.files["/one"].answer.outcome = Extracted::Outcome::unreadable;
    fixture.indexer.offerFound("/one", 0);
    fixture.settle();
    for (int i = 0; i < 10; ++i)
        fixture.wait(10min);
    fixture.source.files["/one"].answer.outcome = Extracted::Outcome::text;

    fixture.indexer.offer("/one");
    fixture.wait(1s);

    QCOMPARE(fixture.found("words"), Paths{"/one"});
}

void tst_TextIndexer::aDiskThatDoesNotAnswerMakesNoFileGone()
{
    Fixture fixture;
    fixture.file("/one", "words");
    fixture.isDiskSilent = true;
    fixture.indexer.offerFound("/one", 0);
    fixture.settle();
    fixture.isDiskSilent = false;

    fixture.wait(5s);

    QCOMPARE(fixture.found("words"), Paths{"/one"});
}

void tst_TextIndexer::nothingIsReadWhileTheMachineIsBusy()
{
    Fixture fixture;
    fixture.mayRun = false;
    fixture.file("/one", "words");
    fixture.indexer.offerFound("/one", 0);

    fixture.settle();
    const auto status = fixture.indexer.status();
    const auto due = fixture.indexer.nextDue();
    fixture.mayRun = true;
    fixture.indexer.wake();
    fixture.settle();

    QCOMPARE(status.state, State::paused);
    QCOMPARE(status.waiting, 1U);
    QCOMPARE(due, std::optional(fixture.now + 1min));
    QCOMPARE(fixture.found("words"), Paths{"/one"});
}

void tst_TextIndexer::forgettingTakesOutWhatWaitsAndWhatIsKept()
{
    Fixture fixture;
    for (const auto *path : {"/a/kept", "/a/waits", "/b", "/c"})
        fixture.file(path, "words");
    fixture.indexer.offerFound("/a/kept", 0);
    fixture.indexer.offerFound("/b", 0);
    fixture.indexer.offerFound("/c", 0);
    fixture.settle();
    fixture.indexer.offer("/a/waits");
    fixture.settle();

    fixture.indexer.forgetBelow("/a");
    fixture.indexer.forget("/b");
    fixture.wait(1min);

    QCOMPARE(fixture.found("words"), Paths{"/c"});
}

void tst_TextIndexer::movingTakesAlongWhatWaitsAndWhatIsKept()
{
    Fixture fixture;
    for (const auto *path : {"/a/kept", "/b/waits"})
        fixture.file(path, "words");
    fixture.indexer.offerFound("/a/kept", 0);
    fixture.settle();
    fixture.indexer.offer("/a/waits");
    fixture.settle();

    fixture.indexer.moved("/a", "/b");
    fixture.wait(1min);

    QCOMPARE(fixture.found("words"), (Paths{"/b/kept", "/b/waits"}));
    QCOMPARE(fixture.source.reads, (Paths{"/a/kept", "/b/waits"}));
}

void tst_TextIndexer::onlyWhatIsWantedIsKept()
{
    Fixture fixture;
    for (const auto *path : {"/one", "/two"}) {
        fixture.file(path, "words");
        fixture.indexer.offerFound(path, 0);
    }
    fixture.settle();

    fixture.indexer.keepOnly([](const std::string &path) { return path == "/two"; });
    fixture.settle();

    QCOMPARE(fixture.found("words"), Paths{"/two"});
}

void tst_TextIndexer::offMeansNoFilesAndNoWork()
{
    Fixture fixture;
    fixture.file("/one", "words");
    fixture.indexer.offerFound("/one", 0);
    fixture.settle();
    fixture.wait(1min);
    const bool hadFiles = fixture.hasFiles();
    const auto reads = fixture.source.reads.size();

    fixture.indexer.setEnabled(false);
    fixture.indexer.offerFound("/one", 0);
    fixture.wait(1h);

    QVERIFY(hadFiles);
    QVERIFY(!std::filesystem::exists(fixture.tree.path("text")));
    QCOMPARE(fixture.source.reads.size(), reads);
    QVERIFY(fixture.found("words").empty());
    QVERIFY(!fixture.indexer.nextDue());
    QCOMPARE(fixture.indexer.status(), TextStatus{});

    fixture.indexer.setEnabled(true);
    fixture.indexer.offerFound("/one", 0);
    fixture.settle();
    QCOMPARE(fixture.found("words"), Paths{"/one"});
}

void tst_TextIndexer::whatWaitsInMemoryGoesToTheDiskAfterAQuietTime()
{
    Fixture fixture;
    fixture.file("/one", "words");
    fixture.indexer.offerFound("/one", 0);
    fixture.settle();

    fixture.wait(19s);
    const bool isEarly = fixture.hasFiles();
    fixture.wait(1s);

    QVERIFY(!isEarly);
    QVERIFY(fixture.hasFiles());
    QVERIFY(!fixture.index.needsFlush());
}

void tst_TextIndexer::nothingIsToDoWhenAllIsDone()
{
    Fixture fixture;
    QVERIFY(!fixture.indexer.nextDue());
    fixture.file("/one", "words");
    fixture.indexer.offer("/one");
    fixture.settle();
    QCOMPARE(fixture.indexer.nextDue(), std::optional(fixture.now + 1s));

    fixture.wait(1s);
    QCOMPARE(fixture.indexer.nextDue(), std::optional(fixture.now + 20s));
    fixture.wait(20s);

    QVERIFY(!fixture.indexer.nextDue());
    QVERIFY(!fixture.indexer.step());
}

void tst_TextIndexer::unwantedTextIsOffTheDiskWithinAMinute()
{
    Fixture fixture;
    for (const auto *path : {"/kept", "/also kept", "/unwanted"}) {
        fixture.file(path, "words");
        fixture.indexer.offerFound(path, 0);
    }
    fixture.settle();
    fixture.wait(20s);
    QVERIFY(fixture.isOnDisk("/unwanted"));
    fixture.mayRun = false;  // somebody wants it gone: no machine is too busy for that
    fixture.file("/waits", "words");
    fixture.indexer.offerFound("/waits", 0);

    fixture.indexer.keepOnly([](const std::string &path) { return path != "/unwanted"; });
    fixture.settle();
    fixture.now = *fixture.indexer.nextDue();
    fixture.settle();

    QVERIFY(fixture.now < OfferQueue::Time(1h + 80s));
    QVERIFY(!fixture.isOnDisk("/unwanted"));
    QCOMPARE(fixture.found("words"), (Paths{"/also kept", "/kept"}));
}

void tst_TextIndexer::deletedTextIsOffTheDiskWithinADay()
{
    Fixture fixture;
    for (const auto *path : {"/kept", "/also kept", "/deleted"}) {
        fixture.file(path, "words");
        fixture.indexer.offerFound(path, 0);
    }
    fixture.settle();
    fixture.wait(20s);

    fixture.indexer.forget("/deleted");
    fixture.settle();
    fixture.wait(1h);
    const bool isThereAfterAnHour = fixture.isOnDisk("/deleted");
    fixture.mayRun = false;
    fixture.wait(12h);
    const bool isThereWhileBusy = fixture.isOnDisk("/deleted");
    fixture.wait(10h);

    QVERIFY(isThereAfterAnHour);  // writing all of it for each file would be too much
    QVERIFY(isThereWhileBusy);
    QVERIFY(!fixture.isOnDisk("/deleted"));
    QCOMPARE(fixture.found("words"), (Paths{"/also kept", "/kept"}));
    QVERIFY(!fixture.indexer.nextDue());
}

void tst_TextIndexer::textDeletedInTheLastSessionIsOffTheDiskAtTheStart()
{
    Fixture fixture;
    for (const auto *path : {"/kept", "/also kept", "/deleted"}) {
        fixture.file(path, "words");
        fixture.indexer.offerFound(path, 0);
    }
    fixture.settle();
    fixture.wait(20s);
    fixture.indexer.forget("/deleted");
    fixture.settle();
    fixture.wait(20s);
    std::filesystem::copy(fixture.tree.path("text"), fixture.tree.path("next"));
    QVERIFY(fixture.isOnDisk("/deleted", "next"));

    PublishedText published;
    TextIndex index(published, {.folder = fixture.tree.path("next")});
    TextIndexer indexer(index, fixture.source, fixture.options(1000));
    indexer.setEnabled(true);
    while (indexer.step()) {
    }

    QVERIFY(!fixture.isOnDisk("/deleted", "next"));
    QCOMPARE(allHits(published, {"words", {}, {}}).size(), 2U);
}

void tst_TextIndexer::aFullIndexReadsNoFurtherFiles()
{
    Fixture fixture({.folder = {}, .mostDiskBytes = 10'000});
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^The text index has reached its limit")));

    for (int i = 0; i < 20; ++i) {
        const auto path = "/" + std::to_string(i);
        fixture.file(path, "words " + std::string(3000, 'x'));
        fixture.indexer.offerFound(path, 100 - i);
        fixture.settle();
    }

    const auto status = fixture.indexer.status();
    QCOMPARE(status.state, State::full);
    QCOMPARE(status.waiting, 0U);
    QCOMPARE(status.leftOut + status.figures.documents, 20U);
    QVERIFY(fixture.source.reads.size() < 6);
    QVERIFY(!fixture.found("words").empty());
}

void tst_TextIndexer::aChangedFileIsReadAlthoughTheIndexIsFull()
{
    Fixture fixture({.folder = {}, .mostDiskBytes = 10'000});
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^The text index has reached its limit")));
    const auto offer = [&](const std::string &path, const std::string &text) {
        fixture.file(path, text + std::string(200, 'x'));
        fixture.indexer.offerFound(path, 0);
        fixture.settle();
    };
    int count = 0;
    while (fixture.indexer.status().state != State::full)
        offer("/" + std::to_string(++count), "first");

    const auto leftOut = fixture.indexer.status().leftOut;
    offer("/1", "second");
    offer("/new", "second");

    QCOMPARE(fixture.found("second"), Paths{"/1"});
    QCOMPARE(fixture.indexer.status().leftOut, leftOut + 1);
}

void tst_TextIndexer::filesThatWereLeftOutAreCalledForOnceThereIsRoom()
{
    Fixture fixture({.folder = {}, .mostDiskBytes = 10'000});
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^The text index has reached its limit")));
    for (int i = 0; i < 10; ++i) {
        fixture.file("/" + std::to_string(i), "words" + std::string(3000, 'x'));
        fixture.indexer.offerFound("/" + std::to_string(i), 0);
    }
    fixture.settle();
    QCOMPARE(fixture.indexer.status().state, State::full);
    QCOMPARE(fixture.calledForRoom, 0);

    fixture.wait(20s);  // on the disk it is much less
    fixture.wait(1h);

    QCOMPARE(fixture.calledForRoom, 1);
    QCOMPARE(fixture.indexer.status().leftOut, 0U);
    fixture.indexer.offerFound("/9", 0);
    fixture.settle();
    QCOMPARE(fixture.found("words").size(), fixture.index.figures().documents);
    QVERIFY(fixture.index.knows("/9"));
}

void tst_TextIndexer::aFolderThatCannotBeWrittenIsTriedAgain()
{
    Fixture fixture;
    fixture.tree.file("text", "a file in its place");
    fixture.file("/one", "words");
    fixture.indexer.offerFound("/one", 0);
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^The text index cannot be opened")));

    fixture.settle();
    const auto refused = fixture.indexer.status();
    fixture.wait(1min);
    fixture.tree.remove("text");
    fixture.wait(1min);

    QCOMPARE(refused.state, State::cannotWrite);
    QCOMPARE(fixture.found("words"), Paths{"/one"});
    QCOMPARE(fixture.indexer.status().state, State::idle);
}

void tst_TextIndexer::theThreadStopsWithEverythingOnTheDisk()
{
    const TemporaryTree tree;
    PublishedText published;
    TextIndex index(published, {.folder = tree.path("text")});
    FakeSource source;
    TextIndexerOptions options;
    options.stampOf = [](const std::string &) { return std::optional(Stamp{1, 5}); };
    for (int i = 0; i < 50; ++i)
        source.files["/" + std::to_string(i)] = {{1, 5}, {Extracted::Outcome::text, "words"}};
    TextIndexer indexer(index, source, options);
    std::thread thread([&] { indexer.run(); });
    indexer.setEnabled(true);

    for (int i = 0; i < 50; ++i)
        indexer.offerFound("/" + std::to_string(i), i);
    QTRY_COMPARE(allHits(published, {"words", {}, {}}).size(), 50U);
    QTRY_COMPARE(indexer.status().state, State::idle);
    indexer.stop();
    thread.join();

    PublishedText again;
    TextIndex reopened(again, {.folder = tree.path("text")});
    QVERIFY(!reopened.open());  // still held by the first
    index.clear();
    QVERIFY(reopened.open());
}

void tst_TextIndexer::aPlainFilesStampIsReadAndNothingElses()
{
    const TemporaryTree tree;
    tree.file("plain", "12345");
    tree.folder("folder");
    tree.link("link", "plain");

    const auto stamp = stampOfFile(tree.path("plain")).value();

    QVERIFY(stamp);
    QCOMPARE(stamp->sizeBytes, 5);
    QVERIFY(stamp->mtimeNs > 0);
    for (const auto *path : {"folder", "link", "missing", "plain/below"}) {
        const auto nothing = stampOfFile(tree.path(path));
        QVERIFY2(nothing && !nothing.value(), path);
    }
}

QTEST_GUILESS_MAIN(tst_TextIndexer)
#include "tst_TextIndexer.moc"
