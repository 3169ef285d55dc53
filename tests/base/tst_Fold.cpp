// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Fold.h"

#include <QByteArray>
#include <QObject>
#include <QTest>

using vellumhound::base::fold;

class tst_Fold final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void bothWritingsFoldAlike_data();
    void bothWritingsFoldAlike();
    void otherLettersStayApart_data();
    void otherLettersStayApart();
    void foldingAgainChangesNothing_data() { bothWritingsFoldAlike_data(); }
    void foldingAgainChangesNothing();
    void asciiKeepsEverythingButItsCapitals();
    void bytesThatAreNoUtf8PassThrough();
    void theTextAroundABrokenByteIsStillFolded();
    void anEmptyNameStaysEmpty();
};

namespace {

std::string folded(const QByteArray &text)
{
    return fold(std::string_view(text.constData(), std::size_t(text.size())));
}

}  // namespace

void tst_Fold::bothWritingsFoldAlike_data()
{
    QTest::addColumn<QByteArray>("one");
    QTest::addColumn<QByteArray>("other");
    const auto row = [](const char *name, const char *one, const char *other) {
        QTest::newRow(name) << QByteArray(one) << QByteArray(other);
    };
    row("capitals", "Report", "rEPORT");
    row("sharp s", "Straße", "STRASSE");
    row("capital sharp s", "STRAẞE", "strasse");
    row("Turkish capital i", "İstanbul", "istanbul");
    row("Turkish small i", "ılık", "ilik");
    row("ring", "Ångström", "angstrom");
    row("angstrom sign", "Å", "å");
    row("acute", "Résumé", "resume");
    row("decomposed acute", "Re\u0301sume\u0301", "résumé");
    row("Vietnamese", "Việt Nam", "viet nam");
    row("ligature", "ﬁle", "file");
    row("stroke", "Øresund", "oresund");
    row("Polish l", "Łódź", "lodz");
    row("d with stroke", "Đà Nẵng", "da nang");
    row("ae", "Ærø", "aero");
    row("oe", "Œuvre", "oeuvre");
    row("Cyrillic case", "МОСКВА", "москва");
    row("short i", "Йод", "иод");
    row("yo", "Ёлка", "елка");
    row("Greek accent and final sigma", "ΑΘΉΝΑΣ", "Αθηνας");
    row("Hangul, decomposed", "\u1112\u1161\u11AB", "한");
    row("full width", "ＡＢＣ１２", "abc12");
    row("half-width kana", "ｶﾞ", "ガ");
    row("decomposed voicing", "か\u3099", "が");
    row("Hebrew points", "שָׁלוֹם", "שלום");
    row("Arabic vowel signs", "كِتَابٌ", "كتاب");
    row("superscript", "m²", "m2");
}

void tst_Fold::bothWritingsFoldAlike()
{
    QFETCH(QByteArray, one);
    QFETCH(QByteArray, other);

    QCOMPARE(folded(one), folded(other));
}

void tst_Fold::otherLettersStayApart_data()
{
    QTest::addColumn<QByteArray>("one");
    QTest::addColumn<QByteArray>("other");
    const auto row = [](const char *name, const char *one, const char *other) {
        QTest::newRow(name) << QByteArray(one) << QByteArray(other);
    };
    row("kana voicing", "が", "か");
    row("kana half voicing", "ぱ", "は");
    row("hiragana and katakana", "か", "カ");
    row("Thai vowel", "กิ", "ก");
    row("Thai tone", "ก่า", "กา");
    row("Devanagari vowel", "कि", "क");
    row("Devanagari virama", "क्", "क");
    row("Tamil vowel", "கீ", "க");
    row("hamza of alef", "أ", "ا");
    row("Hangul syllables", "한", "하");
    row("letters", "a", "b");
}

void tst_Fold::otherLettersStayApart()
{
    QFETCH(QByteArray, one);
    QFETCH(QByteArray, other);

    QVERIFY(folded(one) != folded(other));
}

void tst_Fold::foldingAgainChangesNothing()
{
    QFETCH(QByteArray, one);

    const auto once = folded(one);

    QCOMPARE(fold(once), once);
}

void tst_Fold::asciiKeepsEverythingButItsCapitals()
{
    QCOMPARE(fold("A[b]^C_@Z{z}\n\"'.TXT"), std::string("a[b]^c_@z{z}\n\"'.txt"));
}

void tst_Fold::bytesThatAreNoUtf8PassThrough()
{
    QCOMPARE(fold("\xFF\xC3"), std::string("\xFF\xC3"));
    QCOMPARE(fold("\xED\xA0\x80"), std::string("\xED\xA0\x80"));
}

void tst_Fold::theTextAroundABrokenByteIsStillFolded()
{
    QCOMPARE(fold("\xC3\x89T\xC3\x89\xE9.TXT"), std::string("ete\xE9.txt"));
}

void tst_Fold::anEmptyNameStaysEmpty()
{
    QCOMPARE(fold(""), std::string());
}

QTEST_APPLESS_MAIN(tst_Fold)
#include "tst_Fold.moc"
