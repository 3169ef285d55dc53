// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/IconInfo.h"

#include <QTest>

using namespace Qt::StringLiterals;
using vellumhound::base::Color;
using vellumhound::base::UTType;
using vellumhound::ui::FileKind;
using vellumhound::ui::IconInfo;
using vellumhound::ui::iconInfo;
using vellumhound::ui::iconInfoForFile;

namespace {

IconInfo ofExtension(const QString &extension)
{
    return iconInfo(UTType::fromFilenameExtension(extension, UTType::data()));
}

}  // namespace

class tst_IconInfo : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachKindHasItsSymbolAndColor_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("symbolName");
        QTest::addColumn<double>("red");
        QTest::addColumn<double>("green");
        QTest::addColumn<double>("blue");
        int kind = 0;
        const auto row = [&kind](const char *use, const char *symbolName, double red, double green,
                             double blue) {
            QTest::newRow(use) << kind++ << QString::fromLatin1(symbolName) << red << green << blue;
        };
        row("folder", "folder.fill", 0.4, 0.7, 1.0);
        row("text", "doc.text.fill", 0.0, 0.478, 1.0);
        row("image", "photo.fill", 0.3, 0.6, 1.0);
        row("audio", "music.note", 1.0, 0.4, 0.4);
        row("movie", "film.fill", 0.6, 0.4, 0.8);
        row("application", "app.square.fill", 0.4, 0.8, 0.4);
        row("plain data", "doc", 0.5, 0.5, 0.5);
        row("PDF", "doc.fill.badge.plus", 1.0, 0.4, 0.4);
        row("archive", "doc.zipper", 0.8, 0.4, 0.0);
        row("spreadsheet", "chart.bar.doc.horizontal", 0.0, 0.6, 0.0);
        row("presentation", "chart.bar.doc.horizontal.fill", 1.0, 0.4, 0.2);
        row("rich document", "doc.richtext", 0.0, 0.6, 0.8);
        row("source code", "chevron.left.forwardslash.chevron.right", 0.4, 0.4, 0.4);
        row("JSON", "curlybraces", 0.4, 0.4, 0.8);
        row("HTML", "globe", 0.8, 0.4, 0.0);
        row("XML", "chevron.left.forwardslash.chevron.right", 0.6, 0.2, 0.8);
        row("font", "textformat", 0.8, 0.2, 0.4);
        row("3D", "cube.fill", 0.2, 0.6, 0.8);
        row("database", "cylinder.split.1x2", 0.4, 0.2, 0.8);
        row("Excel", "chart.bar.doc.horizontal.fill", 0.0, 0.6, 0.0);
        row("PowerPoint", "chart.bar.doc.horizontal", 1.0, 0.4, 0.2);
        row("e-mail", "envelope", 0.0, 0.478, 1.0);
        row("book", "book.fill", 1.0, 0.7, 0.2);
        row("anything else", "doc.fill", 0.6, 0.6, 0.6);
    }
    void eachKindHasItsSymbolAndColor()
    {
        QFETCH(int, kind);
        QFETCH(QString, symbolName);
        QFETCH(double, red);
        QFETCH(double, green);
        QFETCH(double, blue);

        const auto &info = iconInfo(FileKind(kind));

        QCOMPARE(info.symbolName, symbolName);
        QVERIFY(info.color == (Color{red, green, blue, 1.0}));
    }

    void aTypeIsMatchedExactlyFirst_data()
    {
        QTest::addColumn<QString>("identifier");
        QTest::addColumn<FileKind>("kind");
        const auto row = [](const char *identifier, FileKind kind) {
            QTest::newRow(identifier) << QString::fromLatin1(identifier) << kind;
        };
        row("public.plain-text", FileKind::text);
        row("public.text", FileKind::text);
        row("public.image", FileKind::image);
        row("public.audio", FileKind::audio);
        row("public.movie", FileKind::movie);
        row("com.apple.application", FileKind::application);
        row("public.data", FileKind::plainData);
        row("com.adobe.pdf", FileKind::pdf);
        row("public.archive", FileKind::archive);
        row("public.spreadsheet", FileKind::spreadsheet);
        row("public.presentation", FileKind::presentation);
        row("public.content", FileKind::richDocument);
        row("public.source-code", FileKind::sourceCode);
        row("public.json", FileKind::json);
        row("public.html", FileKind::html);
        row("public.xml", FileKind::xml);
        row("public.font", FileKind::font);
        row("public.3d-content", FileKind::threeD);
        row("public.database", FileKind::database);
        row("com.microsoft.word.doc", FileKind::richDocument);
        row("org.openxmlformats.wordprocessingml.document", FileKind::richDocument);
        row("com.microsoft.excel.xls", FileKind::excel);
        row("org.openxmlformats.spreadsheetml.sheet", FileKind::excel);
        row("com.microsoft.powerpoint.ppt", FileKind::powerPoint);
        row("org.openxmlformats.presentationml.presentation", FileKind::powerPoint);
        row("org.matroska.mkv", FileKind::movie);
        row("org.idpf.epub-container", FileKind::book);
    }
    void aTypeIsMatchedExactlyFirst()
    {
        QFETCH(QString, identifier);
        QFETCH(FileKind, kind);

        QCOMPARE(
            iconInfo(UTType::fromIdentifier(identifier)).symbolName, iconInfo(kind).symbolName);
        QVERIFY(iconInfo(UTType::fromIdentifier(identifier)) == iconInfo(kind));
    }

    void anExtensionIsMatchedByItsClass_data()
    {
        QTest::addColumn<QString>("extension");
        QTest::addColumn<FileKind>("kind");
        const auto row = [](const char *extension, FileKind kind) {
            QTest::newRow(extension) << QString::fromLatin1(extension) << kind;
        };
        row("svg", FileKind::image);
        row("mkv", FileKind::movie);
        row("epub", FileKind::book);
        row("jpg", FileKind::image);
        row("flac", FileKind::audio);
        row("mp4", FileKind::movie);
        row("md", FileKind::text);
        row("csv", FileKind::text);
        row("yaml", FileKind::text);
        row("ods", FileKind::spreadsheet);
        row("odp", FileKind::presentation);
        row("odt", FileKind::richDocument);
        row("ps", FileKind::richDocument);
        row("stl", FileKind::richDocument);
        row("eml", FileKind::email);
        row("msg", FileKind::email);
        row("qqqzzz", FileKind::other);
    }
    void anExtensionIsMatchedByItsClass()
    {
        QFETCH(QString, extension);
        QFETCH(FileKind, kind);

        QVERIFY(ofExtension(extension) == iconInfo(kind));
    }

    void theSpecificKindsAreLostForTheirSubtypes()
    {
        QVERIFY(ofExtension(u"cpp"_s) == iconInfo(FileKind::text));
        QVERIFY(ofExtension(u"geojson"_s) == iconInfo(FileKind::json));
        QVERIFY(ofExtension(u"xhtml"_s) == iconInfo(FileKind::text));
        QVERIFY(ofExtension(u"zip"_s) == iconInfo(FileKind::other));
        QVERIFY(ofExtension(u"ttf"_s) == iconInfo(FileKind::other));
        QVERIFY(ofExtension(u"sqlite"_s) == iconInfo(FileKind::other));
    }

    void theOfficeProgramsWearTheChartSymbolsCrosswise()
    {
        QCOMPARE(iconInfo(FileKind::excel).symbolName, iconInfo(FileKind::presentation).symbolName);
        QCOMPARE(
            iconInfo(FileKind::powerPoint).symbolName, iconInfo(FileKind::spreadsheet).symbolName);
        QVERIFY(iconInfo(FileKind::excel).color == iconInfo(FileKind::spreadsheet).color);
        QVERIFY(iconInfo(FileKind::powerPoint).color == iconInfo(FileKind::presentation).color);
    }

    void aFileWithoutATypeIsAGreyPage()
    {
        const auto info = iconInfoForFile(false, std::nullopt);

        QCOMPARE(info.symbolName, u"doc.fill"_s);
        QVERIFY(info.color == (Color{0.6, 0.6, 0.6, 1.0}));
    }

    void aFolderIsAFolderWhateverItsType()
    {
        QVERIFY(iconInfoForFile(true, UTType::plainText()) == iconInfo(FileKind::folder));
        QVERIFY(iconInfoForFile(true, std::nullopt) == iconInfo(FileKind::folder));
        QVERIFY(iconInfoForFile(false, UTType::plainText()) == iconInfo(FileKind::text));
    }

    void dataItselfIsAnOutlineAndItsPlainSubtypesAreNot()
    {
        const auto subtype = UTType::fromIdentifier(u"org.bittorrent.torrent"_s);

        QCOMPARE(iconInfo(UTType::data()).symbolName, u"doc"_s);
        QVERIFY(iconInfo(UTType::data()).color == (Color{0.5, 0.5, 0.5, 1.0}));
        QVERIFY(iconInfo(subtype) == iconInfo(FileKind::other));
    }

    void theTypeOfAFolderAloneIsNoFolder()
    {
        QVERIFY(iconInfo(UTType::folder()) == iconInfo(FileKind::other));
    }

    void whatTheMimeDatabaseAddsFallsIntoItsFamily()
    {
        const auto type = UTType::fromMimeType(u"image/x-made-up"_s, UTType::data());

        QVERIFY(iconInfo(type) == iconInfo(FileKind::image));
    }
};

QTEST_GUILESS_MAIN(tst_IconInfo)
#include "tst_IconInfo.moc"
