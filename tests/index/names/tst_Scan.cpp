// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Fold.h"
#include "index/names/Noise.h"
#include "index/names/Scan.h"

#include <QObject>
#include <QTest>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using namespace vellumhound;
using namespace vellumhound::index;

class tst_Scan final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyFormFindsCountsAndRanksAlike_data();
    void everyFormFindsCountsAndRanksAlike();
    void everyFormKeepsToItsRange_data();
    void everyFormKeepsToItsRange();
    void laterBlocksGoOnWhereTheFirstOnesEnd();
    void aFilterKeepsRecordsOutOfTheList();
    void aFullWordComesBeforeAPrefixBeforeAWordStartBeforeTheInside();
    void noiseComesLast();
    void shallowComesBeforeDeepAndShortBeforeLong();
    void nothingMatchesAnEmptyNeedle();
    void theClassOfAMatch_data();
    void theClassOfAMatch();
};

namespace {

struct Entry {
    std::string name;
    Traits traits;
    std::uint32_t changed = 0;
};

/// When the searches here take place.
constexpr std::int64_t now = 1'700'000'000;
const Recency recency(now);

/// Few letters, so that short needles hit often and in all positions.
std::vector<Entry> someNames(unsigned seed, int count)
{
    std::mt19937 random(seed);
    static const std::vector<std::string> pieces{"a", "b", "ab", "Re", "re", "port", "_", " ", ".",
        "é", "Й", "и", "москва", "X", "1", "~", "\n", "ß", "\xFF", "[", "{", "@", "`"};
    std::vector<Entry> entries;
    for (int i = 0; i < count; ++i) {
        std::string name;
        const auto length = 1 + random() % (random() % 20 == 0 ? 60 : 6);
        for (unsigned j = 0; j < length; ++j)
            name += pieces[random() % pieces.size()];
        entries.push_back({name, Traits::of(EntryKind::file, random() % 16, random() % 4 == 0)});
        if (random() % 3 != 0)
            entries.back().changed =
                std::uint32_t(now + 100 - (1 << random() % 30) - random() % 99);
    }
    return entries;
}

std::unique_ptr<NameBlock> blockOf(const std::vector<Entry> &entries)
{
    NameBlock::Capacity capacity;
    for (const auto &entry : entries) {
        capacity.bytes += base::fold(entry.name).size() + entry.name.size() + 1;
        capacity.originalBytes += entry.name.size();
    }
    capacity.records = capacity.originals = std::uint32_t(entries.size());
    auto block = std::make_unique<NameBlock>(capacity);
    for (const auto &entry : entries) {
        const bool isAscii = std::all_of(entry.name.begin(), entry.name.end(),
            [](char c) { return static_cast<unsigned char>(c) < 0x80; });
        const auto record =
            block->append(entry.name, isAscii ? entry.name : base::fold(entry.name), entry.traits);
        block->setChangeTime(record, entry.changed);
    }
    block->publish();
    return block;
}

/// What a search over these names must give, worked out name by name.
struct Expected {
    std::uint64_t count = 0;
    std::vector<RankKey> keys;
};

Expected workedOut(const NameBlock &block, const Needle &needle, std::uint32_t first,
    std::uint32_t end, std::size_t limit)
{
    Expected expected;
    for (auto record = first; record < end; ++record) {
        const auto name = block.stored(record);
        const auto match = needle.match(name);
        if (match == MatchClass::none)
            continue;
        ++expected.count;
        const auto traits = block.traits(record);
        expected.keys.push_back(
            RankKey::of({traits.isNoise() || isNoiseName(name), match, 0, block.changeTime(record),
                            traits.depth(), name.size()},
                recency, record));
    }
    std::sort(expected.keys.begin(), expected.keys.end(), std::greater<>());
    expected.keys.resize(std::min(limit, expected.keys.size()));
    return expected;
}

const std::vector<std::string> &someQueries()
{
    static const std::vector<std::string> queries{"a", "b", "r", "1", "_", "~", "[", "\n", "ab",
        "re", "é", "и", "\xFF", "rep", "a.b", "repo", "report", "москва", "мос", "ß", "abab",
        "port_re", "zzz", "q", "e r", "{a", "`@", "reportreportreport"};
    return queries;
}

void addSeeds(unsigned count)
{
    QTest::addColumn<unsigned>("seed");
    for (unsigned seed = 1; seed <= count; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

}  // namespace

void tst_Scan::everyFormFindsCountsAndRanksAlike_data()
{
    addSeeds(40);
}

void tst_Scan::everyFormFindsCountsAndRanksAlike()
{
    QFETCH(unsigned, seed);
    const auto block = blockOf(someNames(seed, int(seed * 53)));
    if (seed % 2 == 0)
        block->summarize();
    const auto extent = block->published();

    for (const auto &query : someQueries()) {
        const Needle needle(query);
        for (const std::size_t limit : {1U, 7U, 60U, 5000U}) {
            const auto expected = workedOut(*block, needle, 0, extent.count, limit);
            for (const auto &form : availableScans()) {
                for (const bool visitsAll : {false, true}) {
                    TopHits top(limit, recency);
                    HitSink sink(top, *block, 0, visitsAll);
                    form.scan(NameBlock::firstByte, extent.end, needle, sink);
                    QVERIFY2(sink.count == expected.count, form.name);
                    QVERIFY2(top.take() == expected.keys, form.name);
                }
            }
        }
    }
}

void tst_Scan::everyFormKeepsToItsRange_data()
{
    addSeeds(40);
}

void tst_Scan::everyFormKeepsToItsRange()
{
    QFETCH(unsigned, seed);
    const auto block = blockOf(someNames(seed, 400));
    if (seed % 2 == 0)
        block->summarize();
    std::mt19937 random(seed);

    for (const auto &query : someQueries()) {
        const Needle needle(query);
        auto first = std::uint32_t(random() % 400);
        auto end = std::uint32_t(random() % 400);
        if (first > end)
            std::swap(first, end);
        const auto expected = workedOut(*block, needle, first, end, 5);
        for (const auto &form : availableScans()) {
            TopHits top(5, recency);
            HitSink sink(top, *block, 0, false);
            form.scan(block->startOf(first), block->startOf(end), needle, sink);
            QVERIFY2(sink.count == expected.count, form.name);
            QVERIFY2(top.take() == expected.keys, form.name);
        }
    }
}

void tst_Scan::laterBlocksGoOnWhereTheFirstOnesEnd()
{
    const auto block = blockOf(someNames(3, 2000));
    const Needle needle("a");
    const auto expected = workedOut(*block, needle, 0, 2000, 2000);

    std::vector<RankKey> found;
    auto below = RankKey::aboveAll();
    for (;;) {
        TopHits top(64, recency, below);
        HitSink sink(top, *block, 0, false);
        bestScan()(NameBlock::firstByte, block->published().end, needle, sink);
        QCOMPARE(sink.count, expected.count);
        const auto keys = top.take();
        if (keys.empty())
            break;
        found.insert(found.end(), keys.begin(), keys.end());
        below = keys.back();
    }

    QVERIFY(found == expected.keys);
}

void tst_Scan::aFilterKeepsRecordsOutOfTheList()
{
    const auto block = blockOf(someNames(5, 500));
    const Needle needle("re");
    const auto isEven = [](std::uint32_t record, MatchClass &) { return record % 2 == 0; };

    for (const auto &form : availableScans()) {
        TopHits top(1000, recency);
        HitSink sink(top, *block, 0, true, isEven);
        form.scan(NameBlock::firstByte, block->published().end, needle, sink);
        const auto keys = top.take();
        QVERIFY(!keys.empty());
        QCOMPARE(sink.count, keys.size());
        for (const auto key : keys)
            QCOMPARE(key.record() % 2, 0U);
    }
}

namespace {

std::vector<std::string> ranked(const std::vector<Entry> &entries, std::string_view query)
{
    const auto block = blockOf(entries);
    TopHits top(100, recency);
    HitSink sink(top, *block, 0, false);
    bestScan()(NameBlock::firstByte, block->published().end, Needle(query), sink);
    std::vector<std::string> names;
    for (const auto key : top.take())
        names.emplace_back(block->original(key.record()));
    return names;
}

Entry at(unsigned depth, const char *name, bool isNoise = false)
{
    return {name, Traits::of(EntryKind::file, depth, isNoise)};
}

}  // namespace

void tst_Scan::aFullWordComesBeforeAPrefixBeforeAWordStartBeforeTheInside()
{
    const std::vector<std::string> best{"Report.pdf", "Reports", "Report 2024.odt",
        "report-final (2).txt", "bug-reports", "unreported"};

    const auto found =
        ranked({at(2, "unreported"), at(2, "bug-reports"), at(2, "Report 2024.odt"),
                   at(2, "report-final (2).txt"), at(2, "Reports"), at(2, "Report.pdf")},
            "report");

    QCOMPARE(found, best);
}

void tst_Scan::noiseComesLast()
{
    const std::vector<std::string> best{"a report", "report", "report.bak"};

    const auto found =
        ranked({at(1, "report", true), at(1, "report.bak"), at(9, "a report")}, "report");

    QCOMPARE(found, best);
}

void tst_Scan::shallowComesBeforeDeepAndShortBeforeLong()
{
    const std::vector<std::string> best{"reports of all", "reports", "reports 2"};

    const auto found =
        ranked({at(3, "reports 2"), at(3, "reports"), at(1, "reports of all")}, "report");

    QCOMPARE(found, best);
}

void tst_Scan::nothingMatchesAnEmptyNeedle()
{
    const std::vector<Entry> entries{at(1, "a"), at(1, "b")};

    QVERIFY(ranked(entries, "").empty());
    QVERIFY(ranked(entries, "\u0301").empty());
    QVERIFY(ranked(entries, std::string_view("\0", 1)).empty());
    QVERIFY(ranked(entries, std::string(5000, 'a')).empty());
}

void tst_Scan::theClassOfAMatch_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("match");
    const auto row = [](const char *name, MatchClass match) {
        QTest::newRow(name) << QByteArray(name) << int(match);
    };
    row("plan", MatchClass::whole);
    row("Plan.ods", MatchClass::whole);
    row("plan.tar.gz", MatchClass::prefix);
    row("planning", MatchClass::prefix);
    row("my plan", MatchClass::wordStart);
    row("my_plan", MatchClass::wordStart);
    row("myPlan", MatchClass::wordStart);
    row("floorplan my-plan", MatchClass::wordStart);
    row("airplane", MatchClass::inside);
    row("MYPLAN", MatchClass::inside);
    row("pl an", MatchClass::none);
}

void tst_Scan::theClassOfAMatch()
{
    QFETCH(QByteArray, name);
    QFETCH(int, match);

    QCOMPARE(int(Needle("plan").match(name.toStdString())), match);
}

QTEST_APPLESS_MAIN(tst_Scan)
#include "tst_Scan.moc"
