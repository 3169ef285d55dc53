// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/RecentlyUsed.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QRegularExpression>
#include <QTest>

#include <fstream>
#include <sstream>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace Qt::StringLiterals;
using tests::TemporaryTree;

class tst_RecentlyUsed final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatWasNotedIsKnownAtOnceAndAfterARestart();
    void onlyTheLatestUsesAreKept();
    void nothingIsWrittenWithoutACacheFolder();
    void aDamagedFileIsToldOfAndLeftBehind_data();
    void aDamagedFileIsToldOfAndLeftBehind();
    void aFolderThatCannotBeMadeIsToldOf();
    void theDesktopsListIsReadAndReadAgainWhenItChanges();
    void ofAListEntryTheLatestTimeCounts();
    void whatIsNoLocalFileIsPassedOver();
    void aDamagedListCountsUpToTheDamage();
};

namespace {

using Clock = RecentlyUsed::Clock;

std::string contentOf(const std::string &path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

const std::string listBegin = "<?xml version=\"1.0\"?>\n<xbel version=\"1.0\">\n";

}  // namespace

void tst_RecentlyUsed::whatWasNotedIsKnownAtOnceAndAfterARestart()
{
    TemporaryTree tree;
    const RecentlyUsed::Places places{tree.path("cache/deep"), {}};
    const std::string hostile = "/tmp/line\nbreak\tand \xFF";
    {
        RecentlyUsed uses(places);
        uses.note("/home/a", 100);
        uses.note(hostile, 200);
        uses.note("/home/a", 300);
        uses.note("/home/a", 50);
        uses.note("relative", 50);
        QCOMPARE(uses.table(Clock::now())->lastUseOf("/home/a"), 300U);
        uses.save();
    }

    RecentlyUsed again(places);

    const auto table = again.table(Clock::now());
    QCOMPARE(table->lastUses.size(), std::size_t(2));
    QCOMPARE(table->lastUseOf("/home/a"), 300U);
    QCOMPARE(table->lastUseOf(hostile), 200U);
    QCOMPARE(table->lastUseOf("/home/b"), 0U);
}

void tst_RecentlyUsed::onlyTheLatestUsesAreKept()
{
    RecentlyUsed uses({});
    for (std::uint32_t i = 1; i <= RecentlyUsed::mostUses + 10; ++i)
        uses.note("/" + std::to_string(i), i);

    const auto table = uses.table(Clock::now());

    QCOMPARE(table->lastUses.size(), RecentlyUsed::mostUses);
    QCOMPARE(table->lastUseOf("/10"), 0U);
    QCOMPARE(table->lastUseOf("/11"), 11U);
}

void tst_RecentlyUsed::nothingIsWrittenWithoutACacheFolder()
{
    RecentlyUsed uses({});

    uses.note("/a", 1);
    uses.save();

    QCOMPARE(uses.table(Clock::now())->lastUseOf("/a"), 1U);
}

void tst_RecentlyUsed::aDamagedFileIsToldOfAndLeftBehind_data()
{
    QTest::addColumn<int>("damage");
    QTest::newRow("empty") << 0;
    QTest::newRow("cut") << 1;
    QTest::newRow("one byte") << 2;
    QTest::newRow("another version") << 3;
}

void tst_RecentlyUsed::aDamagedFileIsToldOfAndLeftBehind()
{
    QFETCH(int, damage);
    TemporaryTree tree;
    const RecentlyUsed::Places places{tree.path(), {}};
    RecentlyUsed first(places);
    first.note("/home/a", 100);
    first.save();
    auto content = contentOf(tree.path("uses"));
    if (damage == 0)
        content.clear();
    else if (damage == 1)
        content.resize(content.size() - 3);
    else if (damage == 2)
        content[content.size() - 2] = 'b';
    else
        content.replace(content.find(" 1\n"), 2, " 2");
    tree.file("uses", content);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"last uses is damaged"_s));
    RecentlyUsed uses(places);
    QVERIFY(uses.table(Clock::now())->lastUses.empty());
    uses.note("/home/b", 100);
    uses.save();

    RecentlyUsed again(places);
    QCOMPARE(again.table(Clock::now())->lastUseOf("/home/b"), 100U);
}

void tst_RecentlyUsed::aFolderThatCannotBeMadeIsToldOf()
{
    TemporaryTree tree;
    tree.file("in the way");
    RecentlyUsed uses({tree.path("in the way/cache"), {}});
    uses.note("/a", 1);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"last uses cannot be written"_s));
    uses.save();

    QCOMPARE(uses.table(Clock::now())->lastUseOf("/a"), 1U);
}

void tst_RecentlyUsed::theDesktopsListIsReadAndReadAgainWhenItChanges()
{
    TemporaryTree tree;
    RecentlyUsed uses({{}, tree.path("list.xbel")});
    const auto start = Clock::now();
    QVERIFY(uses.table(start)->lastUses.empty());
    tree.file("list.xbel", listBegin + "<bookmark href=\"file:///a%20b/%C3%A9%FF/\" "
                                       "visited=\"2023-11-14T22:13:20Z\"/></xbel>");

    QVERIFY(uses.table(start + RecentlyUsed::pause / 2)->lastUses.empty());
    const auto table = uses.table(start + RecentlyUsed::pause);
    QCOMPARE(table->lastUseOf("/a b/\u00E9\xFF"), 1'700'000'000U);
    QVERIFY(uses.table(start + 2 * RecentlyUsed::pause) == table);

    uses.note("/own", 5);
    tree.file("list.xbel", listBegin + "</xbel>");
    const auto later = uses.table(start + 3 * RecentlyUsed::pause);
    QCOMPARE(later->lastUses.size(), std::size_t(1));
    QCOMPARE(later->lastUseOf("/own"), 5U);
}

void tst_RecentlyUsed::ofAListEntryTheLatestTimeCounts()
{
    std::unordered_map<std::string, std::uint32_t> uses;

    const bool isWhole = parseRecentlyUsed(
        QByteArray::fromStdString(
            listBegin +
            "<bookmark href=\"file:///a\" added=\"2023-11-14T22:13:20.123456Z\" "
            "modified=\"2023-11-14T22:13:22Z\" "
            "visited=\"2023-11-14T22:13:21.5Z\"><info/></bookmark>"
            "<bookmark href=\"file://localhost/b\" added=\"2023-11-14T23:13:20+01:00\"/></xbel>"),
        uses);

    QVERIFY(isWhole);
    QCOMPARE(uses.size(), std::size_t(2));
    QCOMPARE(uses["/a"], 1'700'000'002U);
    QCOMPARE(uses["/b"], 1'700'000'000U);
}

void tst_RecentlyUsed::whatIsNoLocalFileIsPassedOver()
{
    std::unordered_map<std::string, std::uint32_t> uses;

    const bool isWhole = parseRecentlyUsed(
        QByteArray::fromStdString(
            listBegin + "<bookmark href=\"https://example.org/\" visited=\"2023-11-14T22:13:20Z\"/>"
                        "<bookmark href=\"file://server/share\" visited=\"2023-11-14T22:13:20Z\"/>"
                        "<bookmark href=\"file:///a%00b\" visited=\"2023-11-14T22:13:20Z\"/>"
                        "<bookmark href=\"file:///no-time\"/>"
                        "<bookmark href=\"file:///no-moment\" visited=\"yesterday\"/>"
                        "<bookmark visited=\"2023-11-14T22:13:20Z\"/></xbel>"),
        uses);

    QVERIFY(isWhole);
    QVERIFY(uses.empty());
}

void tst_RecentlyUsed::aDamagedListCountsUpToTheDamage()
{
    TemporaryTree tree;
    tree.file("list.xbel",
        listBegin + "<bookmark href=\"file:///a\" visited=\"2023-11-14T22:13:20Z\"/><bookm");
    RecentlyUsed uses({{}, tree.path("list.xbel")});

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"recent files is damaged"_s));
    const auto table = uses.table(Clock::now());

    QCOMPARE(table->lastUses.size(), std::size_t(1));
    QCOMPARE(table->lastUseOf("/a"), 1'700'000'000U);
}

QTEST_APPLESS_MAIN(tst_RecentlyUsed)
#include "tst_RecentlyUsed.moc"
