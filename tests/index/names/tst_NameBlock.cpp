// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Fold.h"
#include "index/names/NameBlock.h"

#include <QObject>
#include <QTest>

#include <random>
#include <string>
#include <vector>

using namespace vellumhound;
using index::EntryKind;
using index::NameBlock;
using index::Traits;

class tst_NameBlock final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyNameComesBackByItsNumberAndByItsBytes();
    void nothingIsSeenBeforeItIsPublished();
    void aNameThatIsNotAsciiKeepsItsOwnBytes();
    void aRecordDiesOnce();
    void aFullBlockSaysSo();
    void traitsFitInOneByte();
    void aChangeTimeIsUnknownUntilItIsSet();
};

void tst_NameBlock::everyNameComesBackByItsNumberAndByItsBytes()
{
    std::mt19937 random(7);
    std::vector<std::string> names;
    for (int i = 0; i < 3000; ++i)
        names.push_back(std::string(1 + random() % 255, char('a' + random() % 26)));
    NameBlock block({.bytes = 800'000, .records = 3000});
    for (const auto &name : names)
        block.append(name, name, Traits::of(EntryKind::file, 3, false));
    block.publish();

    QCOMPARE(block.published().count, 3000U);
    for (std::uint32_t record = 0; record < 3000; ++record) {
        const auto start = block.startOf(record);
        QCOMPARE(block.stored(record), std::string_view(names[record]));
        QCOMPARE(block.original(record), std::string_view(names[record]));
        QCOMPARE(block.recordAt(start), record);
        QCOMPARE(block.recordAt(start + names[record].size()), record);
    }
}

void tst_NameBlock::nothingIsSeenBeforeItIsPublished()
{
    NameBlock block({.bytes = 100, .records = 10});
    block.append("one", "one", {});

    QCOMPARE(block.published(), NameBlock::Extent{});

    block.publish();
    QCOMPARE(block.published(), (NameBlock::Extent{1, NameBlock::firstByte + 4}));
}

void tst_NameBlock::aNameThatIsNotAsciiKeepsItsOwnBytes()
{
    NameBlock block({.bytes = 100, .records = 10, .originals = 2, .originalBytes = 40});
    block.append("plain", "plain", {});
    block.append("Été.TXT", base::fold("Été.TXT"), {});
    block.append("b\xFF", base::fold("b\xFF"), {});
    block.append("ЙОД", base::fold("ЙОД"), {});
    block.publish();

    QCOMPARE(block.original(0), std::string_view("plain"));
    QCOMPARE(block.stored(1), std::string_view("ete.txt"));
    QCOMPARE(block.original(1), std::string_view("Été.TXT"));
    QCOMPARE(block.original(2), std::string_view("b\xFF"));
    QCOMPARE(block.original(3), std::string_view("ЙОД"));
    QVERIFY(!block.hasRoomFor("é", "e"));
    QVERIFY(block.hasRoomFor("e", "e"));
}

void tst_NameBlock::aRecordDiesOnce()
{
    NameBlock block({.bytes = 1000, .records = 100});
    for (int i = 0; i < 70; ++i)
        block.append("n", "n", {});
    block.publish();

    QVERIFY(block.kill(65));
    QVERIFY(!block.kill(65));

    QVERIFY(block.isDead(65));
    QVERIFY(!block.isDead(64));
    QCOMPARE(block.deadCount(), 1U);
}

void tst_NameBlock::aFullBlockSaysSo()
{
    NameBlock block({.bytes = 8, .records = 2});

    QVERIFY(block.hasRoomFor("1234567", "1234567"));
    QVERIFY(!block.hasRoomFor("12345678", "12345678"));
    block.append("a", "a", {});
    block.append("b", "b", {});
    QVERIFY(!block.hasRoomFor("c", "c"));
}

void tst_NameBlock::traitsFitInOneByte()
{
    const auto traits = Traits::of(EntryKind::link, 99, true);

    QCOMPARE(sizeof traits, std::size_t(1));
    QVERIFY(traits.kind() == EntryKind::link);
    QCOMPARE(traits.depth(), 15U);
    QVERIFY(traits.isNoise());
    QVERIFY(!Traits::of(EntryKind::folder, 0, false).isNoise());
}

void tst_NameBlock::aChangeTimeIsUnknownUntilItIsSet()
{
    NameBlock block({.bytes = 100, .records = 10});
    const auto first = block.append("one", "one", {});
    const auto second = block.append("two", "two", {});
    block.publish();
    QCOMPARE(block.changeTime(second), 0U);

    block.setChangeTime(second, 4'000'000'000U);

    QCOMPARE(block.changeTime(first), 0U);
    QCOMPARE(block.changeTime(second), 4'000'000'000U);
}

QTEST_APPLESS_MAIN(tst_NameBlock)
#include "tst_NameBlock.moc"
