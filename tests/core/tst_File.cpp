// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"
#include "core/File.h"
#include "core/FileListing.h"
#include "fakes/FakeFileSystem.h"
#include "fakes/FakeWorkspace.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vellumhound;
using namespace vellumhound::core;

class tst_File final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aNewRecordHoldsWhatItWasGivenAndStandsAlone();
    void recordsAreEqualByIdentityAlone();
    void theHomeFolderIsATilde();
    void aTextThatOnlyBeginsLikeHomeBecomesATildeToo();
    void theRootFolderStaysASingleSlash();
    void aFolderGetsItsSlashOnlyOnScreen();
    void theURLHoldsTheBytesOfThePath_data();
    void theURLHoldsTheBytesOfThePath();
    void thePreviewSeesThePathAndTheName();
    void revealingNamesTheFileAndItsFolder_data();
    void revealingNamesTheFileAndItsFolder();
    void aRecordTakesItsAttributesFromTheFileSystem();
    void anApplicationBearsItsLocalisedName();
    void aTypeThatTheFileSystemDoesNotKnowComesFromTheExtension();
    void aFileWithoutAnyTypeStillIsARecord();
    void whatIsGoneHasNoRecord();
    void aHiddenFileIsARecordWhenItIsNamed();
    void aListingKeepsTheOrderOfTheFileSystemAndItsParent();
    void hiddenFilesAreNotListed();
    void twoListingsGiveDifferentRecordsOfTheSameIds();
    void aFolderThatCannotBeReadIsEmpty();
    void hostileNamesMakeTheRoundTrip();
    void releasingATreeLetsGoOfEverythingBelow();
    void releasingBeginsAtTheTopmostFolder();
    void theDeepestPathThereCanBeIsReleased();

private:
    static FilePtr file(const QString &path, bool isDirectory = false)
    {
        return std::make_shared<File>(
            base::lastPathComponent(path), path, isDirectory, std::nullopt, std::nullopt);
    }
    static QString home(const QString &rest = {}) { return base::homeDirectoryPath() + rest; }
};

void tst_File::aNewRecordHoldsWhatItWasGivenAndStandsAlone()
{
    const File record(u"a.txt"_s, u"/d/a.txt"_s, false, 12, base::UTType::plainText());

    QCOMPARE(record.fileName, u"a.txt"_s);
    QCOMPARE(record.path, u"/d/a.txt"_s);
    QCOMPARE(record.id(), u"/d/a.txt"_s);
    QCOMPARE(record.fileSize, std::optional<std::int64_t>(12));
    QVERIFY(record.contentType == base::UTType::plainText());
    QVERIFY(!record.isDirectory);
    QVERIFY(record._children.isEmpty());
    QVERIFY(!record._parent);
}

void tst_File::recordsAreEqualByIdentityAlone()
{
    const auto one = file(u"/a"_s);
    const auto other = file(u"/a"_s);

    QVERIFY(one != other);
    QCOMPARE(one->id(), other->id());
    QCOMPARE(FileList({one, other}).indexOf(other), 1);
}

void tst_File::theHomeFolderIsATilde()
{
    QCOMPARE(file(home())->displayPath(), u"~"_s);
    QCOMPARE(file(home(), true)->displayPath(), u"~/"_s);
    QCOMPARE(file(home(u"/a/b"_s))->displayPath(), u"~/a/b"_s);
}

void tst_File::aTextThatOnlyBeginsLikeHomeBecomesATildeToo()
{
    QCOMPARE(file(home(u"a/x"_s))->displayPath(), u"~a/x"_s);
}

void tst_File::theRootFolderStaysASingleSlash()
{
    QCOMPARE(file(u"/"_s, true)->displayPath(), u"/"_s);
}

void tst_File::aFolderGetsItsSlashOnlyOnScreen()
{
    const auto folder = file(u"/opt/tools"_s, true);

    QCOMPARE(folder->displayPath(), u"/opt/tools/"_s);
    QCOMPARE(folder->path, u"/opt/tools"_s);
}

void tst_File::theURLHoldsTheBytesOfThePath_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("url");
    QTest::newRow("plain") << QByteArray("/a/b.txt") << QByteArray("file:///a/b.txt");
    QTest::newRow("root") << QByteArray("/") << QByteArray("file:///");
    QTest::newRow("blank") << QByteArray("/a b") << QByteArray("file:///a%20b");
    QTest::newRow("signs") << QByteArray("/100%#?.txt") << QByteArray("file:///100%25%23%3F.txt");
    QTest::newRow("encoded already") << QByteArray("/a%20b") << QByteArray("file:///a%2520b");
    QTest::newRow("umlaut") << QByteArray("/\xC3\xA4") << QByteArray("file:///%C3%A4");
    QTest::newRow("not UTF-8") << QByteArray("/\xFFx") << QByteArray("file:///%FFx");
    QTest::newRow("line break") << QByteArray("/a\nb") << QByteArray("file:///a%0Ab");
}

void tst_File::theURLHoldsTheBytesOfThePath()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, url);

    const auto record = file(base::pathFromBytes(bytes.toStdString()));

    QCOMPARE(record->url().toEncoded(), url);
    QVERIFY(record->url().isLocalFile());
}

void tst_File::thePreviewSeesThePathAndTheName()
{
    const File record(u"Browser"_s, u"/usr/share/applications/b.desktop"_s, false, 3, std::nullopt);

    QCOMPARE(record.previewItemURL(), record.url());
    QCOMPARE(record.previewItemTitle(), u"Browser"_s);
}

void tst_File::revealingNamesTheFileAndItsFolder_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("folder");
    QTest::newRow("file") << u"/a/b/c.txt"_s << u"/a/b"_s;
    QTest::newRow("at the root") << u"/c.txt"_s << u"/"_s;
    QTest::newRow("root") << u"/"_s << u"/"_s;
}

void tst_File::revealingNamesTheFileAndItsFolder()
{
    QFETCH(QString, path);
    QFETCH(QString, folder);
    fakes::FakeWorkspace workspace;

    file(path)->revealInFinder(workspace);

    QCOMPARE(workspace.selected, (QList<std::pair<QString, QString>>{{path, folder}}));
}

void tst_File::aRecordTakesItsAttributesFromTheFileSystem()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/a.txt"_s, 42, base::UTType::plainText());
    const auto parent = file(u"/d"_s, true);

    const auto record = makeFile(disk, u"/d/a.txt"_s, parent);

    QVERIFY(record);
    QCOMPARE(record->fileName, u"a.txt"_s);
    QCOMPARE(record->path, u"/d/a.txt"_s);
    QCOMPARE(record->fileSize, std::optional<std::int64_t>(42));
    QVERIFY(record->contentType == base::UTType::plainText());
    QCOMPARE(record->_parent, parent);
    QVERIFY(makeFile(disk, u"/d"_s, nullptr)->isDirectory);
}

void tst_File::anApplicationBearsItsLocalisedName()
{
    fakes::FakeFileSystem disk;
    disk.put(u"/apps/b.desktop"_s, {u"Browser"_s, false, false, 3, base::UTType::application()});

    const auto record = makeFile(disk, u"/apps/b.desktop"_s, nullptr);

    QCOMPARE(record->fileName, u"Browser"_s);
    QCOMPARE(record->path, u"/apps/b.desktop"_s);
}

void tst_File::aTypeThatTheFileSystemDoesNotKnowComesFromTheExtension()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/a.PDF"_s, 1, std::nullopt);

    QVERIFY(makeFile(disk, u"/d/a.PDF"_s, nullptr)->contentType == base::UTType::pdf());
}

void tst_File::aFileWithoutAnyTypeStillIsARecord()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/README"_s, 1, std::nullopt);
    disk.addFile(u"/d/.pdf"_s, 1, std::nullopt);
    disk.addFile(u"/d/dot."_s, std::nullopt, std::nullopt);

    for (const auto &path : {u"/d/README"_s, u"/d/.pdf"_s, u"/d/dot."_s}) {
        const auto record = makeFile(disk, path, nullptr);
        QVERIFY(record);
        QVERIFY(!record->contentType);
    }
}

void tst_File::whatIsGoneHasNoRecord()
{
    const fakes::FakeFileSystem disk;

    QVERIFY(!makeFile(disk, u"/gone"_s, nullptr));
}

void tst_File::aHiddenFileIsARecordWhenItIsNamed()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/.profile"_s);

    QCOMPARE(makeFile(disk, u"/d/.profile"_s, nullptr)->fileName, u".profile"_s);
}

void tst_File::aListingKeepsTheOrderOfTheFileSystemAndItsParent()
{
    fakes::FakeFileSystem disk;
    for (const auto &name : {u"b"_s, u"a"_s, u"c"_s})
        disk.addFile(u"/d/"_s + name);
    const auto parent = file(u"/d"_s, true);

    const auto files = listDirectory(disk, u"/d"_s, parent);

    QStringList names;
    for (const auto &entry : files) {
        names.append(entry->fileName);
        QCOMPARE(entry->_parent, parent);
    }
    QCOMPARE(names, QStringList({u"b"_s, u"a"_s, u"c"_s}));
    QVERIFY(parent->_children.isEmpty());
}

void tst_File::hiddenFilesAreNotListed()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/.hidden"_s);
    disk.addFile(u"/d/seen"_s);

    const auto files = listDirectory(disk, u"/d"_s, nullptr);

    QCOMPARE(files.size(), 1);
    QCOMPARE(files.first()->fileName, u"seen"_s);
}

void tst_File::twoListingsGiveDifferentRecordsOfTheSameIds()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/a"_s);

    const auto first = listDirectory(disk, u"/d"_s, nullptr);
    const auto second = listDirectory(disk, u"/d"_s, nullptr);

    QVERIFY(first != second);
    QCOMPARE(first.first()->id(), second.first()->id());
}

void tst_File::aFolderThatCannotBeReadIsEmpty()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/a"_s);
    disk.setUnreadable(u"/d"_s);

    QVERIFY(listDirectory(disk, u"/d"_s, nullptr).isEmpty());
    QVERIFY(listDirectory(disk, u"/gone"_s, nullptr).isEmpty());
    QVERIFY(listDirectory(disk, u"/d/a"_s, nullptr).isEmpty());
}

void tst_File::hostileNamesMakeTheRoundTrip()
{
    fakes::FakeFileSystem disk;
    const QList<QByteArray> names{"a\nb", "\"quoted\" 'twice'", "\xE2\x80\xAEtxt.exe",
        QByteArray(255, 'x'), "\xFF\xFE.bin", "100%", " ", "-rf", "a\\b"};
    for (const auto &name : names)
        disk.addFile(u"/d/"_s + base::pathFromBytes(name.toStdString()));

    const auto files = listDirectory(disk, u"/d"_s, nullptr);

    QCOMPARE(files.size(), names.size());
    for (qsizetype i = 0; i < names.size(); ++i) {
        QCOMPARE(base::pathToBytes(files[i]->path), "/d/" + names[i]);
        QCOMPARE(
            QByteArray::fromPercentEncoding(files[i]->url().toEncoded()), "file:///d/" + names[i]);
    }
}

void tst_File::releasingATreeLetsGoOfEverythingBelow()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/e/a"_s);
    auto top = makeFile(disk, u"/d"_s, nullptr);
    top->_children = listDirectory(disk, u"/d"_s, top);
    auto middle = top->_children.first();
    middle->_children = listDirectory(disk, u"/d/e"_s, middle);
    const std::weak_ptr<File> leaf = middle->_children.first();
    const std::weak_ptr<File> watchedTop = top;

    releaseTree(top);
    middle.reset();
    top.reset();

    QVERIFY(leaf.expired());
    QVERIFY(watchedTop.expired());
}

void tst_File::releasingBeginsAtTheTopmostFolder()
{
    auto top = file(u"/d"_s, true);
    auto leaf = file(u"/d/a"_s);
    leaf->_parent = top;
    top->_children = {leaf};

    releaseTree(leaf);

    QVERIFY(top->_children.isEmpty());
    QCOMPARE(leaf->_parent, top);
    QCOMPARE(topmostFolder(leaf), top);
    releaseTree(nullptr);
}

void tst_File::theDeepestPathThereCanBeIsReleased()
{
    const auto top = file(u"/"_s, true);
    auto folder = top;
    for (int level = 0; level < 2000; ++level) {
        const auto child = file(u"/d"_s, true);
        child->_parent = folder;
        folder->_children = {child};
        folder = child;
    }
    const std::weak_ptr<File> second = top->_children.first();
    folder.reset();

    releaseTree(top);

    QVERIFY(second.expired());
}

QTEST_GUILESS_MAIN(tst_File)
#include "tst_File.moc"
