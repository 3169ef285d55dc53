// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Fold.h"
#include "content/TextFolding.h"
#include "RandomText.h"

#include <QObject>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::content;
using tests::RandomText;

class tst_TextFolding final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aTextFoldsAsANameDoes_data();
    void aTextFoldsAsANameDoes();
    void everyLetterFoldsAsInAName();
    void blanksAndLineBreaksAreOneBlank();
    void aLongTextIsCutBetweenCharacters();
    void oneLetterIsNothingToSearchFor();
};

namespace {

constexpr auto unlimited = std::size_t(1) << 30;

void appendUtf8(std::string &out, std::uint32_t c)
{
    const auto byte = [&](std::uint32_t value) { out += static_cast<char>(value); };
    if (c < 0x80)
        return byte(c);
    if (c < 0x800)
        byte(0xC0 | c >> 6);
    else if (c < 0x10000)
        byte(0xE0 | c >> 12);
    else
        byte(0xF0 | c >> 18);
    if (c >= 0x10000)
        byte(0x80 | (c >> 12 & 0x3F));
    if (c >= 0x800)
        byte(0x80 | (c >> 6 & 0x3F));
    byte(0x80 | (c & 0x3F));
}

}  // namespace

void tst_TextFolding::aTextFoldsAsANameDoes_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 0; seed < 200; ++seed)
        QTest::addRow("%u", seed) << seed;
}

void tst_TextFolding::aTextFoldsAsANameDoes()
{
    QFETCH(quint32, seed);
    RandomText random(seed);
    auto text = random.text(1 + random.pick(300));
    for (int i = 0; i < 40; ++i) {
        const auto c = std::uint32_t(0x80 + random.pick(0x3200));
        std::string letter;
        appendUtf8(letter, c);
        text.insert(random.pick(text.size()), letter);
    }

    const auto folded = foldText(text, unlimited);

    QCOMPARE(folded.text, foldNeedle(text));
    QVERIFY(!folded.isCut);
}

void tst_TextFolding::everyLetterFoldsAsInAName()
{
    for (std::uint32_t c = 0x80; c < 0x30000; ++c) {
        if (c >= 0xD800 && c < 0xE000)
            continue;
        std::string text = "a";
        appendUtf8(text, c);
        text += "b";
        appendUtf8(text, 0xE9);
        appendUtf8(text, c);
        appendUtf8(text, 0x3042);

        const auto folded = foldText(text, unlimited).text;

        if (folded != foldNeedle(text))
            QFAIL(qPrintable(QStringLiteral("U+%1").arg(c, 4, 16)));
    }
}

void tst_TextFolding::blanksAndLineBreaksAreOneBlank()
{
    using namespace std::string_literals;

    QCOMPARE(foldText("One\r\n\t two\0\0three \u00A0\u3000 four\n"s, unlimited).text,
        "one two three four "s);
    QCOMPARE(foldNeedle("Two \n  Three"), "two three"s);
}

void tst_TextFolding::aLongTextIsCutBetweenCharacters()
{
    std::string text;
    while (text.size() < 1000)
        text += "日本語, ";

    for (std::size_t most = 1; most < 200; ++most) {
        const auto folded = foldText(text, most);

        QVERIFY(folded.isCut);
        QVERIFY(folded.text.size() <= most);
        QVERIFY(folded.text.size() + 3 > most);
        QCOMPARE(folded.text, text.substr(0, folded.text.size()));
        QVERIFY((static_cast<unsigned char>(text[folded.text.size()]) & 0xC0) != 0x80);
    }
}

void tst_TextFolding::oneLetterIsNothingToSearchFor()
{
    QVERIFY(!isSearchable(""));
    QVERIFY(!isSearchable("a"));
    QVERIFY(!isSearchable("я"));
    QVERIFY(!isSearchable("中"));
    QVERIFY(isSearchable("ab"));
    QVERIFY(isSearchable("да"));
    QVERIFY(isSearchable("漢字"));
}

QTEST_APPLESS_MAIN(tst_TextFolding)
#include "tst_TextFolding.moc"
