// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/FileFormat.h"
#include "extract/TextExtractor.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::extract;

class tst_FileFormat final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theExtensionTellsTheFormat_data();
    void theExtensionTellsTheFormat();
    void onlyFilesThatMayHoldTextAreWorthOpening();
};

void tst_FileFormat::theExtensionTellsTheFormat_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<FileFormat>("format");

    const std::vector<std::pair<const char *, FileFormat>> rows{
        {"notes.txt", FileFormat::plainText}, {"NOTES.TXT", FileFormat::plainText},
        {"main.cpp", FileFormat::plainText}, {"a.b.json", FileFormat::plainText},
        {"Makefile", FileFormat::plainText}, {"README", FileFormat::plainText},
        {"LICENSE", FileFormat::plainText}, {".bashrc", FileFormat::plainText},
        {"page.html", FileFormat::html}, {"page.XHTML", FileFormat::html},
        {"drawing.svg", FileFormat::xml}, {"paper.pdf", FileFormat::pdf},
        {"letter.odt", FileFormat::openDocument}, {"sheet.ots", FileFormat::openDocument},
        {"letter.docx", FileFormat::officeOpenXml}, {"sheet.xlsm", FileFormat::officeOpenXml},
        {"talk.ppsx", FileFormat::officeOpenXml}, {"book.epub", FileFormat::epub},
        {"old.rtf", FileFormat::rtf}, {"old.doc", FileFormat::rtf},
        {"message.eml", FileFormat::mail}, {"inbox.mbox", FileFormat::mailbox},
        {"film.srt", FileFormat::plainText}, {"photo.jpeg", FileFormat::none},
        {"film.mkv", FileFormat::none}, {"library.so", FileFormat::none},
        {"archive.tar.gz", FileFormat::none}, {"program", FileFormat::none}, {"", FileFormat::none},
        {".", FileFormat::none}, {"ends.", FileFormat::none},
        {"a.an-extension-longer-than-any-known", FileFormat::none},
        {"\xFF\xFE.txt", FileFormat::plainText}, {".pdf", FileFormat::none},
        {"credentials.txt", FileFormat::none}, {".env", FileFormat::none},
        {"my credentials.txt", FileFormat::plainText}};
    for (const auto &[name, format] : rows)
        QTest::addRow("%s", name) << QByteArray(name) << format;
}

void tst_FileFormat::theExtensionTellsTheFormat()
{
    QFETCH(QByteArray, name);
    QFETCH(FileFormat, format);

    QCOMPARE(formatOf({name.constData(), std::size_t(name.size())}), format);
}

void tst_FileFormat::onlyFilesThatMayHoldTextAreWorthOpening()
{
    QVERIFY(TextExtractor::mayHoldText("paper.pdf"));
    QVERIFY(!TextExtractor::mayHoldText("photo.png"));
}

QTEST_APPLESS_MAIN(tst_FileFormat)
#include "tst_FileFormat.moc"
