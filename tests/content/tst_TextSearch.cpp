// SPDX-License-Identifier: GPL-3.0-or-later
#include "ContentBench.h"
#include "RandomText.h"

#include <QObject>
#include <QRegularExpression>
#include <QTest>

#include <filesystem>
#include <fstream>

using namespace vellumhound;
using namespace vellumhound::content;
using tests::allHits;
using tests::pathsOf;
using tests::RandomText;
using tests::TemporaryTree;

using Paths = std::vector<std::string>;

class tst_TextSearch final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hitsComeInTheOrderOfTheirRelevance_data();
    void hitsComeInTheOrderOfTheirRelevance();
    void aPhraseIsFoundOverTheEndOfALine();
    void caseAndDiacriticsDoNotMatter();
    void lettersOfAllScriptsAreFoundByTwo();
    void oneLetterFindsNothing();
    void filesOutsideOfTheScopeAreNeitherFoundNorRead();
    void pagesAddUpToTheWholeWithoutRepetition();
    void aCancelledSearchGoesOnWhereItStopped();
    void aCallReadsNoMoreThanItMay();
    void aFileDeletedDuringTheSearchIsLeftOut();
    void aSearchKeepsItsMomentWhenTheIndexIsCleared();
    void aDamagedTextIsNoHitAndItsSegmentIsDropped();
};

namespace {

/// An index in a folder of its own.
struct Fixture {
    explicit Fixture(TextIndexOptions options = {})
        : index(published, withFolder(std::move(options)))
    {
        isOpen = bool(index.open());
    }

    TextIndexOptions withFolder(TextIndexOptions options)
    {
        options.folder = tree.path("text");
        return options;
    }
    Paths paths(const std::string &needle) { return pathsOf(allHits(published, {needle, {}, {}})); }

    TemporaryTree tree;
    PublishedText published;
    TextIndex index;
    bool isOpen = false;
    std::atomic<bool> isCancelled = false;
};

}  // namespace

void tst_TextSearch::hitsComeInTheOrderOfTheirRelevance_data()
{
    QTest::addColumn<int>("flushed");
    QTest::newRow("in memory") << 0;
    QTest::newRow("in segments") << 1;
    QTest::newRow("in both") << 2;
}

void tst_TextSearch::hitsComeInTheOrderOfTheirRelevance()
{
    QFETCH(int, flushed);
    Fixture fixture;
    QVERIFY(fixture.isOpen);
    int count = 0;
    const auto add = [&](const Document &document) {
        fixture.index.add(document, "some words");
        if (flushed == 1 || (flushed == 2 && ++count % 2 == 0))
            fixture.index.flush();
    };
    add({"/cache/used", {900, 1}, {true}});
    add({"/cache/new", {901, 1}, {true}});
    add({"/b", {50, 1}, {}});
    add({"/newest", {100, 1}, {}});
    add({"/deep/er/x", {50, 1}, {}});
    add({"/a", {50, 1}, {}});
    add({"/longer", {50, 1}, {}});
    add({"/old/used", {1, 1}, {}});
    add({"/old/used-earlier", {2, 1}, {}});
    add({"/elsewhere", {999, 1}, {}});
    fixture.index.movedBelow(
        "/elsewhere", "/cache/moved", [](const auto &) { return RankFacts{true}; });

    const auto hits = allHits(fixture.published,
        {"words", {},
            {{"/old/used-earlier", 5}, {"/old/used", 7}, {"/cache/used", 9}, {"/unknown", 11}}});

    QCOMPARE(
        pathsOf(hits), (Paths{"/old/used", "/old/used-earlier", "/newest", "/a", "/b", "/longer",
                           "/deep/er/x", "/cache/used", "/cache/moved", "/cache/new"}));
    QCOMPARE(hits[2].stamp, (Stamp{100, 1}));
}

void tst_TextSearch::aPhraseIsFoundOverTheEndOfALine()
{
    Fixture fixture;
    fixture.index.add({"/one", {}, {}}, "the end of a \r\n\t  line is no end");
    fixture.index.flush();

    QCOMPARE(fixture.paths("a line"), Paths{"/one"});
    QCOMPARE(fixture.paths("A   LINE\n"), Paths{"/one"});
    QVERIFY(fixture.paths("aline").empty());
}

void tst_TextSearch::caseAndDiacriticsDoNotMatter()
{
    Fixture fixture;
    fixture.index.add({"/one", {}, {}}, "Die GROẞE Straße nach Åre, naïve ﬁn, Ёлка");
    fixture.index.flush();

    for (const auto *needle : {"grosse", "STRASSE", "are", "naive", "fin", "ёЛК", "елк"})
        QCOMPARE(fixture.paths(needle), Paths{"/one"});
}

void tst_TextSearch::lettersOfAllScriptsAreFoundByTwo()
{
    Fixture fixture;
    fixture.index.add({"/one", {}, {}}, "日本語の文書。Привет. 한국어");
    fixture.index.add({"/two", {}, {}}, "he");
    fixture.index.flush();

    for (const auto *needle : {"本語", "文書", "ет", "한국"})
        QCOMPARE(fixture.paths(needle), Paths{"/one"});
    QCOMPARE(fixture.paths("he"), Paths{"/two"});  // the very last letters
}

void tst_TextSearch::oneLetterFindsNothing()
{
    Fixture fixture;
    fixture.index.add({"/one", {}, {}}, "a я 中");
    fixture.index.flush();

    for (const auto *needle : {"", "a", "я", "中", " "})
        QVERIFY(fixture.paths(needle).empty());
}

void tst_TextSearch::filesOutsideOfTheScopeAreNeitherFoundNorRead()
{
    Fixture fixture;
    for (int i = 0; i < 50; ++i)
        fixture.index.add(
            {"/out/" + std::to_string(i), {i, 1}, {}}, "wanted words" + std::string(5000, 'x'));
    fixture.index.add({"/in/1", {0, 1}, {}}, "wanted words");
    fixture.index.flush();
    TextSearch search(fixture.published,
        {"wanted words", [](std::string_view path) { return path.starts_with("/in/"); }, {}});

    const auto page = search.next(100, fixture.isCancelled);

    QCOMPARE(pathsOf(page.hits), Paths{"/in/1"});
    QVERIFY(!page.mayHaveMore);
    QVERIFY(search.bytesRead() < 100);
}

void tst_TextSearch::pagesAddUpToTheWholeWithoutRepetition()
{
    Fixture fixture;
    for (int i = 0; i < 100; ++i) {
        fixture.index.add(
            {"/" + std::to_string(i), {i, 1}, {}}, i % 3 == 0 ? "word inside" : "inside word");
        if (i == 60)
            fixture.index.flush();
    }
    TextSearch search(fixture.published, {"word inside", {}, {}});
    QCOMPARE(search.candidateCount() >= 34, true);

    Paths paths;
    for (bool mayHaveMore = true; mayHaveMore;) {
        const auto page = search.next(9, fixture.isCancelled);
        QVERIFY(page.hits.size() == 9 || !page.mayHaveMore);
        for (const auto &hit : page.hits)
            paths.push_back(hit.path);
        mayHaveMore = page.mayHaveMore;
    }

    Paths expected;
    for (int i = 99; i >= 0; i -= 3)
        expected.push_back("/" + std::to_string(i));
    QCOMPARE(paths, expected);
    QCOMPARE(search.next(9, fixture.isCancelled), TextSearch::Page{});
}

void tst_TextSearch::aCancelledSearchGoesOnWhereItStopped()
{
    Fixture fixture;
    fixture.index.add({"/one", {}, {}}, "some words");
    fixture.index.flush();
    TextSearch search(fixture.published, {"words", {}, {}});

    fixture.isCancelled = true;
    const auto cancelled = search.next(10, fixture.isCancelled);
    fixture.isCancelled = false;
    const auto further = search.next(10, fixture.isCancelled);

    QVERIFY(cancelled.hits.empty());
    QVERIFY(cancelled.mayHaveMore);
    QCOMPARE(pathsOf(further.hits), Paths{"/one"});
    QVERIFY(!further.mayHaveMore);
}

void tst_TextSearch::aCallReadsNoMoreThanItMay()
{
    Fixture fixture;
    constexpr std::uint64_t size = 10'000;
    // Both have the same trigrams.
    const auto text = "abcd bcde " + std::string(size - 10, 'x');
    for (int i = 0; i < 30; ++i)
        fixture.index.add({"/" + std::to_string(i), {i, 1}, {}}, text);
    fixture.index.flush();
    TextSearch search(fixture.published, {"abcde", {}, {}});
    QCOMPARE(search.candidateCount(), 30U);

    for (std::uint64_t call = 1; call <= 5; ++call) {
        const auto page = search.next(10, fixture.isCancelled, 2 * size);
        QVERIFY(page.hits.empty());
        QVERIFY(page.mayHaveMore);
        QVERIFY(search.bytesRead() <= call * 3 * size);
        QVERIFY(search.bytesRead() >= call * 2 * size);
    }
}

void tst_TextSearch::aFileDeletedDuringTheSearchIsLeftOut()
{
    Fixture fixture;
    for (const auto *path : {"/1", "/2", "/3"})
        fixture.index.add({path, {}, {}}, "some words");
    fixture.index.flush();
    for (const auto *path : {"/4", "/5"})
        fixture.index.add({path, {}, {}}, "some words");
    TextSearch search(fixture.published, {"words", {}, {}});
    const auto first = search.next(1, fixture.isCancelled);

    fixture.index.remove("/3");
    fixture.index.remove("/4");
    const auto others = search.next(10, fixture.isCancelled);

    QCOMPARE(pathsOf(first.hits), Paths{"/1"});
    QCOMPARE(pathsOf(others.hits), (Paths{"/2", "/5"}));
}

void tst_TextSearch::aSearchKeepsItsMomentWhenTheIndexIsCleared()
{
    Fixture fixture;
    for (const auto *path : {"/1", "/2"})
        fixture.index.add({path, {}, {}}, "some words");
    fixture.index.flush();
    TextSearch search(fixture.published, {"words", {}, {}});

    fixture.index.clear();

    QCOMPARE(search.next(10, fixture.isCancelled).hits.size(), 2U);
    QVERIFY(fixture.paths("words").empty());
}

void tst_TextSearch::aDamagedTextIsNoHitAndItsSegmentIsDropped()
{
    Fixture fixture;
    RandomText random(1);
    fixture.index.add({"/one", {}, {}}, "certain words " + random.text(500));
    QVERIFY(fixture.index.flush());
    for (const auto &entry : std::filesystem::directory_iterator(fixture.tree.path("text"))) {
        if (!entry.path().string().ends_with(".segment"))
            continue;
        std::fstream file(entry.path(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(sizeof(SegmentHeader) + 200);
        file.write("damage", 6);
    }

    QVERIFY(fixture.paths("certain words").empty());

    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("^A text segment is dropped")));
    QVERIFY(fixture.index.tidy());
    QVERIFY(!fixture.index.isCurrent("/one", {}));
    QCOMPARE(fixture.index.figures().lost, 1U);
    QCOMPARE(fixture.index.figures().segments, 0U);
}

QTEST_APPLESS_MAIN(tst_TextSearch)
#include "tst_TextSearch.moc"
