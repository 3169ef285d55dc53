// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/UTType.h"

#include <QSet>
#include <QTest>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using vellumhound::base::UTType;

namespace {

QString typeOfName(const QString &fileName)
{
    const auto type = UTType::forFileName(fileName);
    return type ? type->identifier() : u"-"_s;
}

UTType known(const QString &identifier)
{
    const auto type = UTType::fromIdentifier(identifier);
    Q_ASSERT(type);
    return *type;
}

}  // namespace

class tst_UTType : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFileNameTellsItsType_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("identifier");
        const auto row = [](const char *fileName, const char *identifier) {
            QTest::newRow(fileName)
                << QString::fromUtf8(fileName) << QString::fromLatin1(identifier);
        };
        row("notes.txt", "public.plain-text");
        row("NOTES.TXT", "public.plain-text");
        row("photo.JPG", "public.jpeg");
        row("scan.jfif", "public.jpeg");
        row("logo.svg", "public.svg-image");
        row("raw.CR2", "public.camera-raw-image");
        row("raw.pef", "public.camera-raw-image");
        row("song.mp3", "public.mp3");
        row("song.opus", "org.xiph.opus");
        row("film.mkv", "org.matroska.mkv");
        row("film.mov", "com.apple.quicktime-movie");
        row("paper.pdf", "com.adobe.pdf");
        row("backup.zip", "com.pkware.zip-archive");
        row("backup.gz", "org.gnu.gnu-zip-archive");
        row("backup.tar.gz", "org.gnu.gnu-zip-tar-archive");
        row("backup.Tar.Gz", "org.gnu.gnu-zip-tar-archive");
        row("backup.1.2.tar.gz", "org.gnu.gnu-zip-tar-archive");
        row("backup.tar.zst", "public.zstandard-archive");
        row("page.ps.gz", "dyn.mime.application/x-gzpostscript");
        row("main.c", "public.c-source");
        row("main.C", "public.c-plus-plus-source");
        row("main.h", "public.c-header");
        row("app.ts", "public.typescript");
        row("view.m", "public.objective-c-source");
        row("Lib.pm", "public.perl-script");
        row("run.fish", "public.shell-script");
        row("App.vue", "public.source-code");
        row("font.otf", "public.opentype-font");
        row("mesh.obj", "public.geometry-definition-format");
        row("mesh.usdz", "com.pixar.universal-scene-description");
        row("letter.docx", "org.openxmlformats.wordprocessingml.document");
        row("letter.odt", "org.oasis-open.opendocument.text");
        row("sheet.xls", "com.microsoft.excel.xls");
        row("talk.key", "com.apple.iwork.keynote.sffkey");
        row("novel.epub", "org.idpf.epub-container");
        row("mail.eml", "public.email-message");
        row("mail.msg", "org.openxml.msg");
        row("tables.sqlite", "org.sqlite.sqlite3");
        row("tables.parquet", "public.database");
        row("tool.desktop", "org.freedesktop.desktop-entry");
        row("Tool.AppImage", "org.appimage.appimage");
        row("data.json", "public.json");
        row("book.webloc", "public.url");
        row("x.dat", "public.data");
        row("README", "public.plain-text");
        row("README.de", "public.plain-text");
        row("README.md", "net.daringfireball.markdown");
        row("LICENSE", "public.plain-text");
        row("Makefile", "public.make-source");
        row("CMakeLists.txt", "public.cmake-source");
        row("Dockerfile", "public.source-code");
        row(".gitignore", "public.plain-text");
        row(".bashrc", "public.shell-script");
        row(".hidden.png", "public.png");
        row("film.srt", "dyn.mime.application/x-subrip");
    }
    void aFileNameTellsItsType()
    {
        QFETCH(QString, fileName);
        QFETCH(QString, identifier);

        QCOMPARE(typeOfName(fileName), identifier);
    }

    void aNameThatTellsNothingHasNoType_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::newRow("no suffix") << u"4b825dc642cb6eb9a060e54bf8d69288fbee4904"_s;
        QTest::newRow("empty") << QString();
        QTest::newRow("only a dot") << u"."_s;
        QTest::newRow("trailing dot") << u"name."_s;
        QTest::newRow("hidden without suffix") << u".png"_s;
        QTest::newRow("unknown suffix") << u"a.qqqzzz"_s;
        QTest::newRow("number") << u"syslog.20240131"_s;
        QTest::newRow("sentence") << u"He said no. And then he left the room for good"_s;
        QTest::newRow("undecodable byte") << u"a.\xdcff"_s;
    }
    void aNameThatTellsNothingHasNoType()
    {
        QFETCH(QString, fileName);

        QVERIFY(!UTType::forFileName(fileName));
        QVERIFY(!UTType::forFileName(fileName));  // the remembered answer
    }

    void anExtensionIsConstrainedToItsKind()
    {
        const auto svg = UTType::fromFilenameExtension(u"svg"_s, UTType::data());

        QVERIFY(svg);
        QCOMPARE(svg->identifier(), u"public.svg-image"_s);
        QVERIFY(UTType::fromFilenameExtension(u"svg"_s, UTType::image()));
        QVERIFY(!UTType::fromFilenameExtension(u"svg"_s, UTType::audio()));
        QCOMPARE(UTType::fromFilenameExtension(u"mkv"_s, UTType::data()),
            UTType::fromIdentifier(u"org.matroska.mkv"_s));
        QCOMPARE(UTType::fromFilenameExtension(u"EPUB"_s, UTType::data()),
            UTType::fromIdentifier(u"org.idpf.epub-container"_s));
        QCOMPARE(UTType::fromFilenameExtension(u"C"_s, UTType::data()),
            UTType::fromIdentifier(u"public.c-plus-plus-source"_s));
    }

    void anExtensionMustBeOne()
    {
        QVERIFY(!UTType::fromFilenameExtension(QString(), UTType::data()));
        QVERIFY(!UTType::fromFilenameExtension(u"image/png"_s, UTType::data()));
        QVERIFY(!UTType::fromFilenameExtension(u"two words"_s, UTType::data()));
        QVERIFY(!UTType::fromFilenameExtension(u"line\nbreak"_s, UTType::data()));
    }

    void anUnknownExtensionGivesADynamicTypeOfData()
    {
        const auto type = UTType::fromFilenameExtension(u"QqqZzz"_s, UTType::data());

        QVERIFY(type);
        QCOMPARE(type->identifier(), u"dyn.ext.qqqzzz"_s);
        QCOMPARE(type->typeTree(),
            QStringList({u"dyn.ext.qqqzzz"_s, u"public.data"_s, u"public.item"_s}));
        QCOMPARE(type, UTType::fromFilenameExtension(u"qqqzzz"_s, UTType::data()));
        QCOMPARE(type, UTType::fromIdentifier(u"dyn.ext.qqqzzz"_s));
        QVERIFY(!UTType::fromFilenameExtension(u"qqqzzz"_s, UTType::image()));
    }

    void anIdentifierIsNotMistakenForAnExtensionInDisguise()
    {
        const auto type = UTType::fromFilenameExtension(u"com.example.png"_s, UTType::data());

        QVERIFY(type);
        QCOMPARE(type->identifier(), u"dyn.ext.com.example.png"_s);
    }

    void aliasesAreOneType()
    {
        QCOMPARE(UTType::fromIdentifier(u"public.zip-archive"_s),
            UTType::fromIdentifier(u"com.pkware.zip-archive"_s));
        QCOMPARE(known(u"public.zip-archive"_s).identifier(), u"com.pkware.zip-archive"_s);
        QCOMPARE(UTType::fromIdentifier(u"com.apple.ical.ics"_s),
            UTType::fromIdentifier(u"public.calendar-event"_s));
        QCOMPARE(UTType::fromIdentifier(u"Public.Plain-Text"_s), UTType::plainText());
        QCOMPARE(UTType::fromMimeType(u"text/xml"_s, UTType::data()), UTType::xml());
        QCOMPARE(UTType::fromMimeType(u"text/rtf"_s, UTType::data()),
            UTType::fromIdentifier(u"public.rtf"_s));
        QCOMPARE(UTType::fromMimeType(u"application/x-iso9660-image"_s, UTType::data()),
            UTType::fromIdentifier(u"public.iso-image"_s));
    }

    void anIdentifierThatNobodyKnowsIsAbsent()
    {
        QVERIFY(!UTType::fromIdentifier(QString()));
        QVERIFY(!UTType::fromIdentifier(u"com.example.nothing"_s));
        QVERIFY(!UTType::fromIdentifier(u"dyn.mime.nothing"_s));
        QVERIFY(!UTType::fromIdentifier(u"dyn.ext."_s));
    }

    void aMimeNameTellsItsType_data()
    {
        QTest::addColumn<QString>("mimeType");
        QTest::addColumn<QString>("identifier");
        const auto row = [](const char *mimeType, const char *identifier) {
            QTest::newRow(mimeType)
                << QString::fromLatin1(mimeType) << QString::fromLatin1(identifier);
        };
        row("text/plain", "public.plain-text");
        row("Text/Plain; charset=utf-8", "public.plain-text");
        row("application/x-matroska", "org.matroska.mkv");
        row("audio/x-vorbis+ogg", "org.xiph.ogg-audio");
        row("image/x-canon-cr3", "public.camera-raw-image");
        row("image/x-made-up", "dyn.mime.image/x-made-up");
        row("application/octet-stream", "public.data");
    }
    void aMimeNameTellsItsType()
    {
        QFETCH(QString, mimeType);
        QFETCH(QString, identifier);

        const auto type = UTType::fromMimeType(mimeType, UTType::data());
        QVERIFY(type);
        QCOMPARE(type->identifier(), identifier);
        QCOMPARE(UTType::fromIdentifier(identifier), type);
    }

    void aMimeNameMustBeValidAndOfTheKind()
    {
        QVERIFY(!UTType::fromMimeType(QString(), UTType::data()));
        QVERIFY(!UTType::fromMimeType(u"text"_s, UTType::data()));
        QVERIFY(!UTType::fromMimeType(u"text/"_s, UTType::data()));
        QVERIFY(!UTType::fromMimeType(u"/plain"_s, UTType::data()));
        QVERIFY(!UTType::fromMimeType(u"a/b/c"_s, UTType::data()));
        QVERIFY(!UTType::fromMimeType(u"te xt/plain"_s, UTType::data()));
        QVERIFY(!UTType::fromMimeType(u"inode/directory"_s, UTType::data()));
        QCOMPARE(UTType::fromMimeType(u"inode/directory"_s, UTType::directory()), UTType::folder());
    }

    void anUnknownMimeTypeFindsItsFamily_data()
    {
        QTest::addColumn<QString>("mimeType");
        QTest::addColumn<QString>("parent");
        const auto row = [](const char *mimeType, const char *parent) {
            QTest::newRow(mimeType) << QString::fromLatin1(mimeType) << QString::fromLatin1(parent);
        };
        row("image/x-made-up", "public.image");
        row("audio/x-made-up", "public.audio");
        row("video/x-made-up", "public.movie");
        row("font/x-made-up", "public.font");
        row("text/x-made-up", "public.text");
        row("text/x-lisp-made-up", "public.text");
        row("application/x-subrip", "public.plain-text");
        row("application/atom+xml", "public.xml");
        row("application/x-ipynb+json", "public.json");
        row("application/x-made-up", "public.data");
        row("application/vnd.android.package-archive", "public.data");
    }
    void anUnknownMimeTypeFindsItsFamily()
    {
        QFETCH(QString, mimeType);
        QFETCH(QString, parent);

        const auto type = UTType::fromMimeType(mimeType, UTType::item());

        QVERIFY(type);
        QCOMPARE(type->typeTree().value(1), parent);
        QVERIFY(!type->conformsTo(UTType::archive()));
    }

    void conformanceIsOurOwn_data()
    {
        QTest::addColumn<QString>("identifier");
        QTest::addColumn<QString>("other");
        QTest::addColumn<bool>("conforms");
        const auto row = [](const char *identifier, const char *other, bool conforms) {
            QTest::addRow("%s %s %s", identifier, conforms ? "is" : "is not", other)
                << QString::fromLatin1(identifier) << QString::fromLatin1(other) << conforms;
        };
        row("public.json", "public.executable", false);
        row("public.json", "public.text", true);
        row("com.netscape.javascript-source", "public.executable", false);
        row("org.khronos.gltf", "public.executable", false);
        row("org.openxmlformats.wordprocessingml.document", "public.archive", false);
        row("org.openxmlformats.wordprocessingml.document", "public.content", true);
        row("org.oasis-open.opendocument.text", "public.archive", false);
        row("org.idpf.epub-container", "public.archive", false);
        row("com.sun.java-archive", "public.zip-archive", true);
        row("com.sun.java-archive", "public.archive", true);
        row("org.freedesktop.desktop-entry", "public.text", false);
        row("org.freedesktop.desktop-entry", "com.apple.application", false);
        row("public.svg-image", "public.image", true);
        row("public.svg-image", "public.text", true);
        row("public.email-message", "public.text", false);
        row("com.apple.mail.emlx", "public.email-message", true);
        row("com.adobe.pdf", "public.content", true);
        row("public.jpeg", "public.data", true);
        row("public.folder", "public.data", false);
        row("public.volume", "public.folder", true);
        row("com.apple.application", "public.data", false);
        row("public.symlink", "public.data", false);
        row("public.file-url", "public.data", true);
        row("public.plain-text", "public.plain-text", true);
        row("public.text", "public.plain-text", false);
    }
    void conformanceIsOurOwn()
    {
        QFETCH(QString, identifier);
        QFETCH(QString, other);
        QFETCH(bool, conforms);

        QCOMPARE(known(identifier).conformsTo(known(other)), conforms);
    }

    void theTreeGoesFromTheTypeUpwardsWithoutRepeats()
    {
        QCOMPARE(UTType::plainText().typeTree(),
            QStringList({u"public.plain-text"_s, u"public.text"_s, u"public.data"_s,
                u"public.content"_s, u"public.item"_s}));
        const auto svg = known(u"public.svg-image"_s).typeTree();
        QCOMPARE(svg.mid(0, 3),
            QStringList({u"public.svg-image"_s, u"public.image"_s, u"public.xml"_s}));
        QCOMPARE(QSet<QString>(svg.begin(), svg.end()).size(), svg.size());
    }

    void theTextFormIsTheIdentifier()
    {
        QCOMPARE(UTType::folder().description(), u"public.folder"_s);
        QCOMPARE(UTType::item().description(), u"public.item"_s);
        QCOMPARE(UTType::fileURL().description(), u"public.file-url"_s);
    }

    void manyThreadsSeeTheSameTypes()
    {
        constexpr int threadCount = 4;
        constexpr int nameCount = 300;
        std::vector<std::vector<UTType>> seen(threadCount);
        {
            std::vector<std::jthread> threads;
            for (auto &mine : seen) {
                threads.emplace_back([&mine] {
                    for (int i = 0; i < nameCount; ++i) {
                        const auto type = UTType::fromFilenameExtension(
                            u"thread"_s + QString::number(i), UTType::data());
                        mine.push_back(type.value_or(UTType::item()));
                        UTType::forFileName(u"a.%1x"_s.arg(i));
                        UTType::forFileName(u"a.tar.bz2"_s);
                        if (!mine.back().conformsTo(UTType::data()))
                            return;
                    }
                });
            }
        }

        QCOMPARE(seen[0].size(), std::size_t(nameCount));
        for (const auto &other : seen)
            QCOMPARE(other, seen[0]);
        QCOMPARE(seen[0][7].identifier(), u"dyn.ext.thread7"_s);
    }

    void aRememberedLookupIsCheap_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::newRow("of the table") << u"holiday 2024.jpeg"_s;
        QTest::newRow("of the database") << u"novel.fb2"_s;
        QTest::newRow("unknown suffix") << u"a.qqqzzz"_s;
        QTest::newRow("no suffix") << u"noextension"_s;
    }
    void aRememberedLookupIsCheap()
    {
        QFETCH(QString, fileName);
        const auto first = UTType::forFileName(fileName);

        std::optional<UTType> again;
        QBENCHMARK
        {
            again = UTType::forFileName(fileName);
        }

        QCOMPARE(again, first);
    }
};

QTEST_GUILESS_MAIN(tst_UTType)
#include "tst_UTType.moc"
