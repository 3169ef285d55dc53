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
    void fontsOfEachLanguageHaveTheirCodePage_data();
    void fontsOfEachLanguageHaveTheirCodePage();
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

void tst_RtfText::fontsOfEachLanguageHaveTheirCodePage_data()
{
    QTest::addColumn<int>("charset");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("text");
    const auto row = [](const char *name, int charset, const char *bytes, const char *text) {
        QTest::addRow("%s", name) << charset << QByteArray(bytes) << QByteArray(text);
    };

    row("Western", 0, "\\'e9", "é");
    row("Macintosh", 77, "\\'8e", "é");
    row("Japanese", 128, "\\'93\\'fa", "日");
    row("Korean", 129, "\\'c7\\'d1", "한");
    row("Chinese, simplified", 134, "\\'d6\\'d0", "中");
    row("Chinese, traditional", 136, "\\'a4\\'a4", "中");
    row("Greek", 161, "\\'e3\\'e5\\'e9\\'dc", "γειά");
    row("Turkish", 162, "\\'fe", "ş");
    row("Vietnamese", 163, "\\'f5", "ơ");
    row("Hebrew", 177, "\\'f9", "ש");
    row("Arabic", 178, "\\'c7", "ا");
    row("Baltic", 186, "\\'e0", "ą");
    row("Russian", 204, "\\'e6", "ж");
    row("Thai", 222, "\\'a1", "ก");
    row("Eastern European", 238, "\\'b9", "ą");
    row("OEM", 255, "\\'82", "é");
}

void tst_RtfText::fontsOfEachLanguageHaveTheirCodePage()
{
    QFETCH(int, charset);
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, text);
    const auto document = "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f0\\fcharset" +
                          std::to_string(charset) + " Font;}}\\f0 " + bytes.toStdString() + "}";

    QCOMPARE(readAs(FileFormat::rtf, document).text, text.toStdString());
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
