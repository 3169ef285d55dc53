// SPDX-License-Identifier: GPL-3.0-or-later
#include "Reading.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::extract;
using namespace vellumhound::extract::tests;

class tst_RtfText final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textIsReadAndTablesOfFontsAreNot();
    void bytesAreInTheCodePageOfDocumentOrFont();
    void unicodeIsReadAndItsReplacementIsNot();
    void picturesAndFieldCodesAreNotRead();
    void textBoxesAreRead();
    void whatIsNoRtfIsRefused();
    void aDocumentThatEndsAnywhereIsReadSoFar();
    void groupsWithoutEndEndTheReading();
};

namespace {

std::string textOf(const std::string &body)
{
    return readAs(FileFormat::rtf, rtf(body)).text;
}

}  // namespace

void tst_RtfText::textIsReadAndTablesOfFontsAreNot()
{
    QCOMPARE(textOf("\\pard\\f0\\fs24 One {\\b two}\\par th\\-ree\\~four\\tab \\{five\\}\\par\n"),
        "One two\nthree four\t{five}\n");
}

void tst_RtfText::bytesAreInTheCodePageOfDocumentOrFont()
{
    QCOMPARE(textOf("caf\\'e9 {\\f1 \\'ef\\'f0\\'e8\\'e2\\'e5\\'f2} \\'e9"), "café привет é");
    QCOMPARE(
        readAs(FileFormat::rtf, "{\\rtf1\\ansi\\ansicpg932 \\'8e\\'9f\\'8e\\'9f}").text, "次次");
}

void tst_RtfText::unicodeIsReadAndItsReplacementIsNot()
{
    QCOMPARE(textOf("a\\u8364?b\\uc0\\u8364 c{\\uc2\\u8364 xy}d"), "a€b€c€d");
    QCOMPARE(textOf("\\u-10179?\\u-8704?"), "\U0001F600");
    QCOMPARE(textOf("\\u8364\\'3fz"), "€z");
}

void tst_RtfText::picturesAndFieldCodesAreNotRead()
{
    QCOMPARE(textOf("a{\\pict\\pngblip 89504e47}b{\\field{\\*\\fldinst HYPERLINK hidden}{\\fldrslt "
                    "link}}c{\\bin5 {}}\\\\d}{\\*\\unknown hidden}e"),
        "ablinkcde");
}

void tst_RtfText::textBoxesAreRead()
{
    QCOMPARE(
        textOf("{\\shp{\\*\\shpinst{\\sp{\\sn hidden}{\\sv hidden}}{\\shptxt boxed}}}"), "boxed");
}

void tst_RtfText::whatIsNoRtfIsRefused()
{
    QCOMPARE(readAs(FileFormat::rtf, "Dear Sir").status, wire::Status::refused);
    QCOMPARE(readAs(FileFormat::rtf, "").status, wire::Status::refused);
}

void tst_RtfText::aDocumentThatEndsAnywhereIsReadSoFar()
{
    const auto whole = rtf("Text\\par \\'e9\\u8364?{\\f1 \\'ef}\\bin3 abc");

    for (std::size_t size = 5; size <= whole.size(); ++size)
        QVERIFY(readAs(FileFormat::rtf, whole.substr(0, size)).status != wire::Status::refused);
}

void tst_RtfText::groupsWithoutEndEndTheReading()
{
    const auto reading =
        readAs(FileFormat::rtf, rtf("first" + repeated("{", 1'000'000) + "deepest"));

    QCOMPARE(reading.text, "first");
    QVERIFY(reading.isCut);
}

QTEST_APPLESS_MAIN(tst_RtfText)
#include "tst_RtfText.moc"
