// SPDX-License-Identifier: GPL-3.0-or-later
#include "Reading.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::extract;
using namespace vellumhound::extract::tests;
using namespace std::string_literals;

class tst_DocumentReaders final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void openDocumentTextIsRead();
    void whatWasDeletedFromAnOpenDocumentIsNotRead();
    void aWordDocumentIsReadWithItsHeadersAndNotes();
    void fieldCodesDeletionsAndFallbacksAreNotRead();
    void textsOfAWorkbookAreReadItsNumbersAreNot();
    void slidesComeByNumberEachWithItsNotes();
    void chaptersComeInTheOrderOfTheBook();
    void drawingsAndFlatDocumentsAreRead();
    void documentsWithAPasswordAreEncrypted();
    void obfuscatedFontsDoNotMakeABookEncrypted();
    void whatIsNoArchiveIsRefused();
    void ofACutArchiveTheRestIsRead();
    void archivesInsideAreNotOpened();
    void theTextIsCutAtTheLimit();
    void entitiesDoNotExpand();
    void nestingWithoutEndEndsTheReading();
    void aBombIsLeftAlone();
};

void tst_DocumentReaders::openDocumentTextIsRead()
{
    const auto reading = readAs(FileFormat::openDocument,
        odt("<text:h>Head</text:h><text:p>One<text:s/>two<text:tab/>th<text:span>ree</text:span>"
            "<text:line-break/>four</text:p><table:table-cell><text:p>a &amp; b</text:p>"
            "</table:table-cell>"));

    QCOMPARE(reading.status, wire::Status::text);
    QCOMPARE(reading.text, "The title\nHead\nOne two three\nfour\na & b\n");
}

void tst_DocumentReaders::whatWasDeletedFromAnOpenDocumentIsNotRead()
{
    const auto reading = readAs(FileFormat::openDocument,
        odt("<text:tracked-changes><text:p>hidden</text:p></text:tracked-changes><text:p>seen"
            "</text:p>"));

    QCOMPARE(reading.text, "The title\nseen\n");
}

void tst_DocumentReaders::aWordDocumentIsReadWithItsHeadersAndNotes()
{
    const auto part = [](const std::string &text) {
        return "<w:x xmlns:w=\"urn:w\"><w:p><w:r><w:t>" + text + "</w:t></w:r></w:p></w:x>";
    };

    const auto reading = readAs(FileFormat::officeOpenXml,
        zip({{"word/footnotes.xml", part("a note")}, {"word/header1.xml", part("a header")},
            {"word/document.xml", part("the bo</w:t></w:r><w:r><w:t>dy")},
            {"word/styles.xml", part("hidden")}, {"word/comments.xml", part("a comment")},
            {"docProps/core.xml",
                "<cp:c xmlns:cp=\"urn:c\" xmlns:dc=\"urn:d\"><dc:title>A title</dc:title>"
                "<cp:revision>hidden</cp:revision></cp:c>"}}));

    QCOMPARE(reading.text, "A title\nthe body\na header\na note\na comment\n");
}

void tst_DocumentReaders::fieldCodesDeletionsAndFallbacksAreNotRead()
{
    const auto reading = readAs(FileFormat::officeOpenXml,
        docx("<w:p><w:instrText>hidden</w:instrText><w:del><w:delText>hidden</w:delText></w:del>"
             "<w:r><w:t xml:space=\"preserve\">one </w:t></w:r><w:r><w:t>two</w:t></w:r><w:r>"
             "<w:tab/><w:t>three</w:t></w:r></w:p><mc:AlternateContent><mc:Choice><w:t>box</w:t>"
             "</mc:Choice><mc:Fallback><w:t>hidden</w:t></mc:Fallback></mc:AlternateContent>"));

    QCOMPARE(reading.text, "one two three\nbox\n");
}

void tst_DocumentReaders::textsOfAWorkbookAreReadItsNumbersAreNot()
{
    QCOMPARE(readAs(FileFormat::officeOpenXml, xlsx({"Income", "Rent &amp; heating"})).text,
        "Income\nRent & heating\ninline text\n");
}

void tst_DocumentReaders::slidesComeByNumberEachWithItsNotes()
{
    const auto reading = readAs(FileFormat::officeOpenXml,
        pptx({"s1", "s2", "s3", "s4", "s5", "s6", "s7", "s8", "s9", "s10"}));

    QVERIFY(reading.text.starts_with("s1\nnote on s1\ns2\nnote on s2\n"));
    QVERIFY(reading.text.ends_with("s9\nnote on s9\ns10\nnote on s10\n"));
}

void tst_DocumentReaders::chaptersComeInTheOrderOfTheBook()
{
    QCOMPARE(readAs(FileFormat::epub, epub({"first &mdash; <b>one</b>", "second"})).text,
        "The book\nChapter\nfirst — one\nChapter\nsecond\n");
}

void tst_DocumentReaders::drawingsAndFlatDocumentsAreRead()
{
    QCOMPARE(
        readAs(FileFormat::xml,
            "<svg xmlns=\"urn:svg\"><title>Plan</title><style>.a{}</style><path d=\"M0\"/><text>"
            "<tspan>two</tspan><tspan>lines</tspan></text></svg>")
            .text,
        "Plan\ntwo lines\n");
    QCOMPARE(readAs(FileFormat::xml,
                 "<office:document xmlns:office=\"o\" xmlns:text=\"t\"><office:settings>hidden"
                 "</office:settings><office:body><text:p>seen</text:p><office:binary-data>aGlk"
                 "</office:binary-data></office:body></office:document>")
                 .text,
        "seen\n");
    QCOMPARE(readAs(FileFormat::xml,
                 "<FictionBook><description><title-info><book-title>Name</book-title></title-info>"
                 "</description><body><p>A <emphasis>wo</emphasis>rd</p></body><binary>aGlk"
                 "</binary></FictionBook>")
                 .text,
        "Name\nA word\n");
}

void tst_DocumentReaders::documentsWithAPasswordAreEncrypted()
{
    const auto locked = zip({{"content.xml", "\x8F\x12 noise"},
        {"META-INF/manifest.xml",
            "<m:manifest xmlns:m=\"m\"><m:file-entry><m:encryption-data/></m:file-entry>"
            "</m:manifest>"}});
    const auto wrapped = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"s + std::string(600, '\0') +
                         "E\0n\0c\0r\0y\0p\0t\0e\0d\0P\0a\0c\0k\0a\0g\0e\0"s +
                         std::string(600, '\0');
    const auto book =
        zip({{"META-INF/encryption.xml",
                 "<e><CipherData><CipherReference URI=\"OEBPS/a.xhtml\"/></CipherData></e>"},
            {"OEBPS/a.xhtml", "noise"}});

    QCOMPARE(readAs(FileFormat::openDocument, locked).status, wire::Status::encrypted);
    QCOMPARE(readAs(FileFormat::officeOpenXml, wrapped).status, wire::Status::encrypted);
    QCOMPARE(readAs(FileFormat::epub, book).status, wire::Status::encrypted);
}

void tst_DocumentReaders::obfuscatedFontsDoNotMakeABookEncrypted()
{
    const auto book =
        zip({{"META-INF/encryption.xml", "<e><CipherReference URI=\"OEBPS/font.otf\"/></e>"},
            {"OEBPS/a.xhtml", "<p>seen</p>"}});

    QCOMPARE(readAs(FileFormat::epub, book).text, "seen\n");
}

void tst_DocumentReaders::whatIsNoArchiveIsRefused()
{
    for (const auto format :
        {FileFormat::openDocument, FileFormat::officeOpenXml, FileFormat::epub}) {
        QCOMPARE(readAs(format, "no archive").status, wire::Status::refused);
        QCOMPARE(readAs(format, zip({{"other", "x"}})).status, wire::Status::noText);
    }
}

void tst_DocumentReaders::ofACutArchiveTheRestIsRead()
{
    auto bytes = docx("<w:p><w:t>" + prose(20'000) + "</w:t></w:p>");
    bytes.resize(bytes.size() / 2);

    const auto reading = readAs(FileFormat::officeOpenXml, bytes);

    QCOMPARE(reading.status, wire::Status::text);
    QVERIFY(reading.text.size() > 10'000);
}

void tst_DocumentReaders::archivesInsideAreNotOpened()
{
    const auto inner = docx("<w:p><w:t>inner</w:t></w:p>");

    const auto reading = readAs(FileFormat::officeOpenXml,
        zip({{"word/embeddings/inner.docx", inner}, {"word/document.xml", inner},
            {"word/header1.xml", "<w:t>outer</w:t>"}}));

    QVERIFY(!reading.says("inner"));
    QVERIFY(reading.says("outer"));
}

void tst_DocumentReaders::theTextIsCutAtTheLimit()
{
    const auto document = docx("<w:p><w:t>" + prose(50'000) + "</w:t></w:p>");

    const auto reading = readAs(FileFormat::officeOpenXml, document, 10'000);

    QVERIFY(reading.text.size() <= 10'000);
    QVERIFY(reading.text.size() > 9'900);
    QVERIFY(reading.isCut);
}

void tst_DocumentReaders::entitiesDoNotExpand()
{
    std::string declarations = "<!ENTITY l0 \"ha\">";
    for (int i = 1; i < 30; ++i) {
        const auto before = std::to_string(i - 1);
        declarations +=
            "<!ENTITY l" + std::to_string(i) + " \"" + repeated("&l" + before + ";", 10) + "\">";
    }
    const auto xml =
        "<!DOCTYPE x [" + declarations +
        "<!ENTITY file SYSTEM \"file:///etc/hostname\">]><x xmlns:w=\"w\"><w:t>a &l29; &file; z"
        "</w:t></x>";

    const auto reading = readAs(FileFormat::officeOpenXml, zip({{"word/document.xml", xml}}));

    QCOMPARE(reading.text, "a z\n");
}

void tst_DocumentReaders::nestingWithoutEndEndsTheReading()
{
    const auto reading = readAs(FileFormat::officeOpenXml,
        docx("<w:p><w:t>first</w:t></w:p>" + repeated("<w:p>", 100'000) + "<w:t>deepest</w:t>"));

    QVERIFY(reading.says("first"));
    QVERIFY(!reading.says("deepest"));
}

void tst_DocumentReaders::aBombIsLeftAlone()
{
    const auto reading = readAs(FileFormat::officeOpenXml, zipBomb("word/document.xml", 1));

    QCOMPARE(reading.status, wire::Status::noText);
}

QTEST_APPLESS_MAIN(tst_DocumentReaders)
#include "tst_DocumentReaders.moc"
