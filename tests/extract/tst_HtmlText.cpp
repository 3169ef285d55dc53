// SPDX-License-Identifier: GPL-3.0-or-later
#include "Reading.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::extract;
using namespace vellumhound::extract::tests;

class tst_HtmlText final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void titleAndBodyAreRead();
    void scriptsAndStylesAreNot();
    void referencesAreResolved();
    void markupInsideAWordDoesNotPartIt();
    void theDeclaredCharacterSetCounts_data();
    void theDeclaredCharacterSetCounts();
    void brokenMarkupIsReadAsFarAsItGoes();
    void nestingWithoutEndEndsTheReading();
};

namespace {

std::string textOf(std::string_view html)
{
    return readAs(FileFormat::html, html).text;
}

}  // namespace

void tst_HtmlText::titleAndBodyAreRead()
{
    QCOMPARE(textOf("<!DOCTYPE html><html><head><title>A title</title><meta name=d content=hidden>"
                    "</head><body><h1>Head</h1><p>One\n  two<p>three<table><tr><td>a<td>b</table>"
                    "</body></html>"),
        "A title\nHead\nOne two\nthree\na b\n");
}

void tst_HtmlText::scriptsAndStylesAreNot()
{
    QCOMPARE(textOf("<body>seen<script>if (a < b) document.write('<p>hidden</p>')</script>"
                    "<style>p { color: hidden }</style><!-- hidden --><template>hidden</template>"
                    "</body>"),
        "seen\n");
}

void tst_HtmlText::referencesAreResolved()
{
    QCOMPARE(textOf("<p>R&amp;D&nbsp;caf&eacute; &#8364;&#x20AC; inter&shy;national"),
        "R&D café €€ international\n");
}

void tst_HtmlText::markupInsideAWordDoesNotPartIt()
{
    QCOMPARE(textOf("<p><b>W</b>ord<i>s</i> <a href=x>link</a>ed"), "Words linked\n");
}

void tst_HtmlText::theDeclaredCharacterSetCounts_data()
{
    QTest::addColumn<QByteArray>("html");
    QTest::newRow("html 5") << QByteArray(
        "<meta charset=\"windows-1251\"><p>\xEF\xF0\xE8\xE2\xE5\xF2");
    QTest::newRow("html 4") << QByteArray(
        "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=koi8-r\"><p>"
        "\xD0\xD2\xC9\xD7\xC5\xD4");
    QTest::newRow("xhtml") << QByteArray(
        "<?xml version=\"1.0\" "
        "encoding=\"windows-1251\"?><html><p>\xEF\xF0\xE8\xE2\xE5\xF2</p></html>");
    QTest::newRow("none, utf-8") << QByteArray("<p>привет");
    QTest::newRow("mark, utf-16") << QByteArray(
        "\xFF\xFE<\0p\0>\0\x3F\x04\x40\x04\x38\x04\x32\x04\x35\x04\x42\x04", 20);
}

void tst_HtmlText::theDeclaredCharacterSetCounts()
{
    QFETCH(QByteArray, html);

    QCOMPARE(textOf(html.toStdString()), "привет\n");
}

void tst_HtmlText::brokenMarkupIsReadAsFarAsItGoes()
{
    QCOMPARE(textOf("<p>one <b>two</p></i></table>three<"), "one two\nthree\n");
    QCOMPARE(textOf("no markup at all"), "no markup at all\n");
    QCOMPARE(readAs(FileFormat::html, "<p></p>").status, wire::Status::noText);
}

void tst_HtmlText::nestingWithoutEndEndsTheReading()
{
    const auto reading =
        readAs(FileFormat::html, "<body>first" + repeated("<div>", 100'000) + "deepest");

    QVERIFY(reading.says("first"));
    QVERIFY(!reading.says("deepest"));
    QVERIFY(reading.isCut);
}

QTEST_APPLESS_MAIN(tst_HtmlText)
#include "tst_HtmlText.moc"
