// SPDX-License-Identifier: GPL-3.0-or-later
#include "Reading.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::extract;
using namespace vellumhound::extract::tests;

class tst_PdfText final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pagesAreReadInOrder();
    void aWordBrokenAtTheEndOfALineIsJoined();
    void aPageWithoutTextHasNone();
    void aDocumentWithAPasswordIsEncrypted();
    void aDamagedDocumentIsRefusedOrReadInPart();
    void pagesThatContainThemselvesAreNoTrap();
    void theTextIsCutAtTheLimit();
};

void tst_PdfText::pagesAreReadInOrder()
{
    const auto reading = readAs(FileFormat::pdf, pdf({"The first page", "Second: caf\xE9"}));

    QCOMPARE(reading.status, wire::Status::text);
    QVERIFY(reading.says("The first page\n"));
    QVERIFY(reading.says("Second: café"));
    QVERIFY(reading.text.find("first") < reading.text.find("Second"));
}

void tst_PdfText::aWordBrokenAtTheEndOfALineIsJoined()
{
    const auto firstLine = prose(40).substr(0, 114);

    const auto reading = readAs(FileFormat::pdf, pdf({firstLine + "inter-national affairs"}));

    QVERIFY2(reading.says("international affairs"), reading.text.c_str());
}

void tst_PdfText::aPageWithoutTextHasNone()
{
    QCOMPARE(readAs(FileFormat::pdf, pdf({""})).status, wire::Status::noText);
}

void tst_PdfText::aDocumentWithAPasswordIsEncrypted()
{
    // The keys belong to no password that anybody would try.
    const auto document =
        pdfOfObjects({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [] /Count 0 >>",
                         "<< /Filter /Standard /V 1 /R 2 /P -4 /O <" + repeated("41", 32) +
                             "> /U <" + repeated("42", 32) + "> >>"},
            "/Encrypt 3 0 R /ID [<30> <30>]");

    QCOMPARE(readAs(FileFormat::pdf, document).status, wire::Status::encrypted);
}

void tst_PdfText::aDamagedDocumentIsRefusedOrReadInPart()
{
    QCOMPARE(readAs(FileFormat::pdf, "%PDF-1.4 and nothing else").status, wire::Status::refused);
    QCOMPARE(readAs(FileFormat::pdf, "").status, wire::Status::refused);

    auto bytes = pdf({"The first page", "Second"});
    const auto table = bytes.find("xref");
    bytes.erase(table, bytes.find("trailer") - table);  // the places of the objects are lost
    QVERIFY(readAs(FileFormat::pdf, bytes).says("The first page"));
}

void tst_PdfText::pagesThatContainThemselvesAreNoTrap()
{
    const auto document = pdfOfObjects({"<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [2 0 R 3 0 R 2 0 R] /Count 1000000 >>",
        "<< /Type /Pages /Kids [2 0 R] /Parent 2 0 R /Count 1000000 >>"});

    QVERIFY(readAs(FileFormat::pdf, document).status != wire::Status::text);
}

void tst_PdfText::theTextIsCutAtTheLimit()
{
    const auto reading =
        readAs(FileFormat::pdf, pdf(std::vector<std::string>(50, prose(200))), 3'000);

    QVERIFY(reading.text.size() <= 3'000);
    QVERIFY(reading.isCut);
}

QTEST_APPLESS_MAIN(tst_PdfText)
#include "tst_PdfText.moc"
