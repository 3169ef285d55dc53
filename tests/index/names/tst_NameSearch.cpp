// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Fold.h"
#include "index/disk/Paths.h"
#include "index/names/IndexWriter.h"
#include "index/names/NameSearch.h"
#include "index/names/Noise.h"

#include <QObject>
#include <QTest>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

using namespace vellumhound;
using namespace vellumhound::index;

class tst_NameSearch final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anySearchGivesWhatTheDefinitionSays_data();
    void anySearchGivesWhatTheDefinitionSays();
    void blocksOfResultsAddUpToTheWholeRanking_data();
    void blocksOfResultsAddUpToTheWholeRanking();
    void theLastUseComesBeforeTheChangeAndTheChangeBeforeTheDepth();
    void aUseOrChangeToComeCountsAsNow();
    void whatIsUsedIsNoisyAllTheSame();
    void recencyGrowsWithTheMomentAndItsStepsAreFound();
};

namespace {

constexpr std::int64_t now = 1'700'000'000;
constexpr std::int64_t day = 86'400;

using Random = std::mt19937;

/// An index that changes at random, and beside it a plain list of what must be in it.
class Tree {
public:
    explicit Tree(unsigned seed)
        : _random(seed)
        , _writer(_published)
    {
        const auto root = _writer.addRoot("/home/me");
        _folders.push_back("/home/me");
        _folderIds["/home/me"] = _writer.view().roots[root].folder;
        _writer.setWatch(_folderIds["/home/me"], ++_watch);
    }

    struct Entry {
        RecordId record = nothing;
        std::uint32_t changed = 0;
        unsigned depth = 0;
        bool isNoise = false;
        bool isFolder = false;
    };
    std::map<std::string, Entry> entries;  // by path
    std::shared_ptr<UseTable> uses = std::make_shared<UseTable>();

    std::size_t pick(std::size_t count) { return std::size_t(_random()) % count; }
    const std::string &someFolder() { return _folders[pick(_folders.size())]; }
    std::shared_ptr<const IndexView> view() const { return _published.current(); }

    void change(int steps)
    {
        for (int i = 0; i < steps; ++i) {
            const auto kind = pick(100);
            if (kind < 70)
                add();
            else if (kind < 80)
                remove();
            else if (kind < 90)
                setTime();
            else
                use();
        }
        _writer.publish();
        findRecords();
    }
    void compact()
    {
        auto compacted = _writer.beginCompaction(1)();
        change(20);
        _writer.finishCompaction(std::move(compacted), [](FolderId, FolderId) {});
        findRecords();
        for (const auto &folder : _folders)
            _folderIds[folder] = _writer.view().findFolder(folder);
    }
    std::string someText()
    {
        static const std::vector<std::string> texts{"a", "E", "re", "ort", "repo", "report", "é",
            "Ж", "отч", "отчёт", "한글", "한", "会議", "会", ".j", ".jpg", "_1", " ", "\xFF",
            "b\xFF", "port re", "zzzz", "straße", "STRASSE", "[", "ab.a", "reportreport"};
        return texts[pick(texts.size())];
    }

private:
    std::string someName()
    {
        static const std::vector<std::string> pieces{"a", "B", "re", "Re", "port", "Port", "report",
            "_1", " ", ".", ".jpg", "é", "É", "Ä", "отчёт", "Ж", "한글", "한", "会議", "写真",
            "\xFF", "straße", "~", "[", "e\u0301", "\x01"};
        if (pick(30) == 0)
            return pick(2) == 0 ? "node_modules" : "build";
        std::string name;
        for (auto left = 1 + pick(pick(25) == 0 ? 60 : 5); left > 0; --left)
            name += pieces[pick(pieces.size())];
        return name == "." || name == ".." ? "dot" : name;
    }
    void add()
    {
        const auto folder = someFolder();
        const auto name = someName();
        const auto path = joinedPath(folder, name);
        if (entries.contains(path))
            return;
        Entry entry;
        const auto above = entries.find(folder);
        if (above != entries.end()) {
            entry.depth = above->second.depth + 1;
            entry.isNoise =
                above->second.isNoise || isNoiseFolder(folder.substr(folder.rfind('/') + 1));
        }
        entry.isFolder = pick(8) == 0;
        const auto record = _writer.add(
            _folderIds[folder], name, entry.isFolder ? EntryKind::folder : EntryKind::file);
        if (entry.isFolder) {
            _folderIds[path] = _writer.addFolder(record);
            _writer.setWatch(_folderIds[path], ++_watch);
            _folders.push_back(path);
        }
        entries[path] = entry;
    }
    std::string somePath()
    {
        auto entry = entries.begin();
        std::advance(entry, std::ptrdiff_t(pick(entries.size())));
        return entry->first;
    }
    void remove()
    {
        if (entries.empty())
            return;
        const auto path = somePath();
        _writer.remove(_writer.findPath(path), [](int) {});
        std::erase_if(
            entries, [&](const auto &entry) { return pathBelow(entry.first, path).has_value(); });
        std::erase_if(
            _folders, [&](const auto &folder) { return pathBelow(folder, path).has_value(); });
    }
    std::uint32_t someTime()
    {
        return std::uint32_t(now + 50 - (std::int64_t(1) << pick(30)) - std::int64_t(pick(100)));
    }
    void setTime()
    {
        if (entries.empty())
            return;
        const auto path = somePath();
        entries[path].changed = someTime();
        _writer.setChangeTime(_writer.findPath(path), entries[path].changed);
    }
    void use()
    {
        auto changed = std::make_shared<UseTable>(*uses);
        changed->lastUses[entries.empty() ? "/home/me/gone" : somePath()] = someTime();
        uses = changed;
    }
    void findRecords()
    {
        for (auto &[path, entry] : entries)
            entry.record = _writer.findPath(path);
    }

    Random _random;
    PublishedView _published;
    IndexWriter _writer;
    std::vector<std::string> _folders;
    std::map<std::string, FolderId> _folderIds;
    int _watch = 0;
};

// The definition of match and order, in the plainest words.

bool isSmall(char c)
{
    return c >= 'a' && c <= 'z';
}
bool isCapital(char c)
{
    return c >= 'A' && c <= 'Z';
}
bool isPartOfAWord(char c)
{
    return isSmall(c) || isCapital(c) || (c >= '0' && c <= '9') || (c & 0x80) != 0;
}

std::string storedForm(const std::string &name)
{
    const bool isAscii = std::none_of(name.begin(), name.end(), [](char c) { return c & 0x80; });
    return isAscii ? name : base::fold(name);
}

int kindOfMatchAt(const std::string &name, std::size_t at, std::size_t length)
{
    if (at == 0) {
        const auto rest = name.substr(length);
        const bool isExtension = rest.rfind('.') == 0;
        return rest.empty() || isExtension ? 4 : 3;
    }
    const bool beginsAWord =
        !isPartOfAWord(name[at - 1]) || (isCapital(name[at]) && !isCapital(name[at - 1]));
    return beginsAWord ? 2 : 1;
}

int kindOfMatch(const std::string &name, const std::string &text)
{
    std::string small = name;
    for (char &c : small)
        c = isCapital(c) ? char(c + ('a' - 'A')) : c;
    int best = 0;
    for (auto at = small.find(text); at != std::string::npos; at = small.find(text, at + 1))
        best = std::max(best, kindOfMatchAt(name, at, text.size()));
    return best;
}

/// How long ago, in minutes within a week, days within a year, then twelfths of a year.
std::int64_t ageStep(std::uint32_t seconds)
{
    if (seconds == 0)
        return 1'000'000;
    const auto age = std::max<std::int64_t>(now - std::int64_t(seconds), 0);
    if (age < 7 * day)
        return age / 60;
    if (age < 365 * day)
        return 20'000 + age / day - 7;
    return 30'000 + (age - 365 * day) / (365 * day / 12);
}

std::vector<RecordId> workedOut(
    const Tree &tree, const std::vector<std::string> &texts, const std::string &scope)
{
    using Order =
        std::tuple<bool, int, std::int64_t, std::int64_t, unsigned, std::size_t, RecordId>;
    std::vector<Order> hits;
    for (const auto &[path, entry] : tree.entries) {
        const auto below = pathBelow(path, scope);
        const auto name = storedForm(path.substr(path.rfind('/') + 1));
        int match = 0;
        for (const auto &text : texts)
            match = std::max(match, kindOfMatch(name, base::fold(text)));
        if (!below || below->empty() || match == 0)
            continue;
        hits.emplace_back(entry.isNoise || isNoiseName(name), -match,
            ageStep(tree.uses->lastUseOf(path)), ageStep(entry.changed), std::min(entry.depth, 15U),
            std::min<std::size_t>(name.size(), 255), entry.record);
    }
    std::sort(hits.begin(), hits.end());
    std::vector<RecordId> records;
    for (const auto &hit : hits)
        records.push_back(std::get<6>(hit));
    return records;
}

struct Found {
    std::uint64_t count = 0;
    std::vector<RankKey> keys;

    std::vector<RecordId> records() const
    {
        std::vector<RecordId> result;
        for (const auto key : keys)
            result.push_back(key.record());
        return result;
    }
};

enum class BlockFilterUse { asItIs, none };

/// A search by one form of the scan, in blocks of `limit`, until nothing more comes.
Found search(const Tree &tree, const std::vector<std::string> &texts, const std::string &scope,
    ScanFunction scan, std::size_t limit, BlockFilterUse use = BlockFilterUse::asItIs)
{
    const auto view = std::make_shared<IndexView>(*tree.view());
    if (use == BlockFilterUse::none)
        view->filter = nullptr;
    ResolvedScopes scopes(*view, {{scope}, false, false});
    UsedRecords used(tree.uses);
    used.follow(*view, view->tail->mark());
    std::vector<Needle> needles;
    for (const auto &text : texts)
        needles.emplace_back(text);
    SearchRequest request;
    request.limit = limit;
    request.recency = Recency(now);
    request.scan = scan;
    request.used = &used;
    Found found;
    for (;;) {
        const auto answer =
            searchNames(*view, scopes, needles, {true, {}, view->tail->mark()}, request);
        found.count = answer.count;
        found.keys.insert(found.keys.end(), answer.best.begin(), answer.best.end());
        if (answer.best.size() < limit)
            return found;
        request.below = answer.best.back();
    }
}

void addSeeds(unsigned count)
{
    QTest::addColumn<unsigned>("seed");
    for (unsigned seed = 1; seed <= count; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

std::vector<std::string> someTexts(Tree &tree)
{
    std::vector<std::string> texts{tree.someText()};
    while (tree.pick(4) == 0)
        texts.push_back(tree.someText());
    return texts;
}

}  // namespace

void tst_NameSearch::anySearchGivesWhatTheDefinitionSays_data()
{
    addSeeds(40);
}

void tst_NameSearch::anySearchGivesWhatTheDefinitionSays()
{
    QFETCH(unsigned, seed);
    Tree tree(seed);

    for (int round = 0; round < 6; ++round) {
        tree.change(int(60 + tree.pick(300)));
        if (tree.pick(2) == 0)
            tree.compact();
        for (int query = 0; query < 12; ++query) {
            const auto texts = someTexts(tree);
            const auto scope = tree.pick(3) == 0 ? tree.someFolder() : std::string("/home/me");
            const auto expected = workedOut(tree, texts, scope);
            for (const auto &form : availableScans()) {
                const auto found = search(tree, texts, scope, form.scan, 100'000);
                QVERIFY2(found.count == expected.size(), form.name);
                QVERIFY2(found.records() == expected, form.name);
                const auto unfiltered =
                    search(tree, texts, scope, form.scan, 100'000, BlockFilterUse::none);
                QVERIFY2(unfiltered.count == expected.size(), form.name);
                QVERIFY2(unfiltered.keys == found.keys, form.name);
            }
        }
    }
}

void tst_NameSearch::blocksOfResultsAddUpToTheWholeRanking_data()
{
    addSeeds(20);
}

void tst_NameSearch::blocksOfResultsAddUpToTheWholeRanking()
{
    QFETCH(unsigned, seed);
    Tree tree(seed);
    tree.change(1500);
    tree.compact();
    tree.change(200);

    for (int query = 0; query < 12; ++query) {
        const auto texts = someTexts(tree);
        const auto expected = workedOut(tree, texts, "/home/me");
        for (const auto &form : availableScans()) {
            for (const std::size_t limit : {1 + tree.pick(5), 10 + tree.pick(50)}) {
                const auto found = search(tree, texts, "/home/me", form.scan, limit);
                QVERIFY2(found.count == expected.size(), form.name);
                QVERIFY2(found.records() == expected, form.name);
            }
        }
    }
}

namespace {

/// The best of four entries of which each has one merit, best first.
std::vector<std::string> rankedNames(PublishedView &published, std::shared_ptr<UseTable> uses)
{
    const auto view = published.current();
    QueryScopes whole;
    whole.isWholeComputer = true;
    ResolvedScopes scopes(*view, whole);
    UsedRecords used(std::move(uses));
    used.follow(*view, view->tail->mark());
    SearchRequest request;
    request.recency = Recency(now);
    request.used = &used;
    std::vector<std::string> names;
    for (const auto key : searchNames(
             *view, scopes, std::vector{Needle("plan")}, {true, {}, view->tail->mark()}, request)
                              .best)
        names.emplace_back(view->nameOf(key.record()));
    return names;
}

struct SmallTree {
    PublishedView published;
    IndexWriter writer{published};
    std::uint32_t root = writer.addRoot("/t");
    FolderId top = writer.view().roots[root].folder;
    std::shared_ptr<UseTable> uses = std::make_shared<UseTable>();

    RecordId add(const char *name, std::int64_t changed, std::int64_t used)
    {
        const auto record = writer.add(top, name, EntryKind::file);
        writer.setChangeTime(record, std::uint32_t(changed));
        if (used > 0)
            uses->lastUses[std::string("/t/") + name] = std::uint32_t(used);
        writer.publish();
        return record;
    }
    std::vector<std::string> ranked() { return rankedNames(published, uses); }
};

}  // namespace

void tst_NameSearch::theLastUseComesBeforeTheChangeAndTheChangeBeforeTheDepth()
{
    SmallTree tree;
    tree.add("plan c", now - 40 * day, 0);
    tree.add("plan changed today", now - 60, 0);
    tree.add("plan used", now - 900 * day, now - 800 * day);
    tree.add("plan used today", 0, now - 3600);
    tree.add("plan", 0, 0);
    tree.add("my plan", now, now);

    const std::vector<std::string> best{
        "plan", "plan used today", "plan used", "plan changed today", "plan c", "my plan"};
    QVERIFY(tree.ranked() == best);
}

void tst_NameSearch::aUseOrChangeToComeCountsAsNow()
{
    SmallTree tree;
    tree.add("plan 1 long", now + 900 * day, 0);
    tree.add("plan 2", now, 0);
    tree.add("plan 3 long", 0, now + 900 * day);
    tree.add("plan 4", 0, now);

    const std::vector<std::string> best{"plan 4", "plan 3 long", "plan 2", "plan 1 long"};
    QVERIFY(tree.ranked() == best);
}

void tst_NameSearch::whatIsUsedIsNoisyAllTheSame()
{
    SmallTree tree;
    tree.add("plan.bak", now, now);
    tree.add("airplane", 0, 0);

    const std::vector<std::string> best{"airplane", "plan.bak"};
    QVERIFY(tree.ranked() == best);
}

void tst_NameSearch::recencyGrowsWithTheMomentAndItsStepsAreFound()
{
    const Recency recency(now);
    Random random(7);

    QCOMPARE(recency.of(0), 0U);
    QCOMPARE(recency.of(~std::uint32_t(0)), Recency::newest);
    for (int i = 0; i < 100'000; ++i) {
        const auto moment = std::uint32_t(now - std::int64_t(random() % (1U << random() % 31)));
        const auto value = recency.of(moment);
        QVERIFY(value >= recency.of(moment - 1));
        QVERIFY(value > 0 && value <= Recency::newest);
        QVERIFY(recency.earliest(value) <= std::int64_t(moment));
        QVERIFY(recency.earliest(value + 1) > std::int64_t(moment));
    }
}

QTEST_APPLESS_MAIN(tst_NameSearch)
#include "tst_NameSearch.moc"
