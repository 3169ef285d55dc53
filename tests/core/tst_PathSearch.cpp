// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"
#include "core/PathSearch.h"
#include "fakes/FakeFileSystem.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vellumhound;
using namespace vellumhound::core;

class tst_PathSearch final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyASlashOrATildeMakesAPath();
    void aFolderIsListed_data();
    void aFolderIsListed();
    void aFileIsOneRow();
    void theBeginningOfANameListsWhatBeginsSoInAnyCase();
    void theBeginningIsComparedWithTheNameOnDisk();
    void theBeginningBelowHomeIsFound();
    void aBrokenLinkHidesNothingThatBeginsLikeIt();
    void hiddenFilesStayOut();
    void aPathThatLeadsNowhereIsEmpty();
    void aFolderThatCannotBeReadIsEmpty();
    void rowsOfAPathHaveNoParent();
    void namesThatAreNoTextAreFound();
    void aMegabyteOfTextLeadsNowhere_data();
    void aMegabyteOfTextLeadsNowhere();
    void theFolderAboveATypedPath_data();
    void theFolderAboveATypedPath();

private:
    static QString home(const QString &rest = {}) { return base::homeDirectoryPath() + rest; }
    static QStringList names(const FileList &files)
    {
        QStringList list;
        for (const auto &file : files)
            list.append(file->fileName);
        return list;
    }
};

void tst_PathSearch::onlyASlashOrATildeMakesAPath()
{
    QVERIFY(isPathText(u"/"_s));
    QVERIFY(isPathText(u"~x"_s));
    QVERIFY(!isPathText(u"a/b"_s));
    QVERIFY(!isPathText(u""_s));
    QVERIFY(!isPathText(u" /"_s));
}

void tst_PathSearch::aFolderIsListed_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("rows");
    QTest::newRow("a folder") << u"/d"_s << QStringList{u"a"_s, u"e"_s};
    QTest::newRow("slash at the end") << u"/d/"_s << QStringList{u"a"_s, u"e"_s};
    QTest::newRow("many slashes") << u"/d///"_s << QStringList{u"a"_s, u"e"_s};
    QTest::newRow("the root") << u"/"_s << QStringList(u"d"_s);
    QTest::newRow("nothing but slashes") << QString(1 << 20, u'/') << QStringList(u"d"_s);
}

void tst_PathSearch::aFolderIsListed()
{
    QFETCH(QString, text);
    QFETCH(QStringList, rows);
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/a"_s);
    disk.addFolder(u"/d/e"_s);

    QCOMPARE(names(pathSearch(disk, text)), rows);
}

void tst_PathSearch::aFileIsOneRow()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/a.txt"_s, 5);

    const auto files = pathSearch(disk, u"/d/a.txt"_s);

    QCOMPARE(names(files), QStringList(u"a.txt"_s));
    QCOMPARE(files.first()->path, u"/d/a.txt"_s);
}

void tst_PathSearch::theBeginningOfANameListsWhatBeginsSoInAnyCase()
{
    fakes::FakeFileSystem disk;
    for (const auto &name : {u"Documents"_s, u"docu.txt"_s, u"other"_s, u"DOC"_s, u"Ärger"_s})
        disk.addFile(u"/d/"_s + name);

    QCOMPARE(names(pathSearch(disk, u"/d/dOcU"_s)), QStringList({u"Documents"_s, u"docu.txt"_s}));
    QCOMPARE(names(pathSearch(disk, u"/d/ä"_s)), QStringList(u"Ärger"_s));
}

void tst_PathSearch::theBeginningIsComparedWithTheNameOnDisk()
{
    fakes::FakeFileSystem disk;
    disk.put(u"/d/org.b.desktop"_s, {u"Browser"_s, false, false, 3, base::UTType::application()});

    QCOMPARE(names(pathSearch(disk, u"/d/org"_s)), QStringList(u"Browser"_s));
    QVERIFY(pathSearch(disk, u"/d/brow"_s).isEmpty());
}

void tst_PathSearch::theBeginningBelowHomeIsFound()
{
    fakes::FakeFileSystem disk;
    disk.addFolder(home(u"/Documents"_s));
    disk.addFile(home(u"/a"_s));

    QCOMPARE(names(pathSearch(disk, u"~/docu"_s)), QStringList(u"Documents"_s));
    QCOMPARE(names(pathSearch(disk, u"~docu"_s)), QStringList(u"Documents"_s));
    QCOMPARE(names(pathSearch(disk, u"~"_s)), QStringList({u"Documents"_s, u"a"_s}));
    QCOMPARE(names(pathSearch(disk, u"~/"_s)), QStringList({u"Documents"_s, u"a"_s}));
}

void tst_PathSearch::aBrokenLinkHidesNothingThatBeginsLikeIt()
{
    fakes::FakeFileSystem disk;
    disk.addBrokenLink(u"/d/report"_s);
    disk.addFile(u"/d/reports.txt"_s);

    QCOMPARE(names(pathSearch(disk, u"/d/report"_s)), QStringList({u"report"_s, u"reports.txt"_s}));
}

void tst_PathSearch::hiddenFilesStayOut()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/.profile"_s);
    disk.addFile(u"/d/.p/x"_s);

    QVERIFY(pathSearch(disk, u"/d"_s).isEmpty());
    QVERIFY(pathSearch(disk, u"/d/.pro"_s).isEmpty());
    QCOMPARE(names(pathSearch(disk, u"/d/.profile"_s)), QStringList(u".profile"_s));
    QCOMPARE(names(pathSearch(disk, u"/d/.p"_s)), QStringList(u"x"_s));
}

void tst_PathSearch::aPathThatLeadsNowhereIsEmpty()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/a"_s);

    QVERIFY(pathSearch(disk, u"/gone/a"_s).isEmpty());
    QVERIFY(pathSearch(disk, u"/d/a/b"_s).isEmpty());
    QVERIFY(pathSearch(disk, u"~other/x"_s).isEmpty());
}

void tst_PathSearch::aFolderThatCannotBeReadIsEmpty()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/a"_s);
    disk.setUnreadable(u"/d"_s);

    QVERIFY(pathSearch(disk, u"/d"_s).isEmpty());
    QVERIFY(pathSearch(disk, u"/d/x"_s).isEmpty());
    QCOMPARE(names(pathSearch(disk, u"/d/a"_s)), QStringList(u"a"_s));
}

void tst_PathSearch::rowsOfAPathHaveNoParent()
{
    fakes::FakeFileSystem disk;
    disk.addFile(u"/d/a"_s);

    QVERIFY(!pathSearch(disk, u"/d"_s).first()->_parent);
    QVERIFY(!pathSearch(disk, u"/d/a"_s).first()->_parent);
}

void tst_PathSearch::namesThatAreNoTextAreFound()
{
    fakes::FakeFileSystem disk;
    const auto name = base::pathFromBytes("\xFF-name\nwith a break");
    disk.addFile(u"/d/"_s + name);

    QCOMPARE(names(pathSearch(disk, u"/d/"_s + name.left(3))), QStringList(name));
    QCOMPARE(names(pathSearch(disk, u"/d/"_s + name)), QStringList(name));
}

void tst_PathSearch::aMegabyteOfTextLeadsNowhere_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("one name") << u"/"_s + QString(1 << 20, u'x');
    QTest::newRow("home") << QString(1 << 20, u'~');
    QTest::newRow("dots") << u"/d/"_s + u"../"_s.repeated(1 << 18) + u"x"_s;
    QTest::newRow("nulls") << u"/"_s + QString(1 << 20, QChar(u'\0'));
    QTest::newRow("slashes with a name") << QString(1 << 20, u'/') + u"x"_s;
}

void tst_PathSearch::aMegabyteOfTextLeadsNowhere()
{
    QFETCH(QString, text);
    const fakes::FakeFileSystem disk;

    QVERIFY(pathSearch(disk, text).isEmpty());
    QVERIFY(parentSearchPath(text));
}

void tst_PathSearch::theFolderAboveATypedPath_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("parent");
    QTest::newRow("no path") << u"a/b"_s << QString();
    QTest::newRow("empty") << u""_s << QString();
    QTest::newRow("root") << u"/"_s << QString();
    QTest::newRow("below the root") << u"/a"_s << u"/"_s;
    QTest::newRow("below the root, a folder") << u"/a/"_s << u"/"_s;
    QTest::newRow("a file") << u"/a/b/c.txt"_s << u"/a/b/"_s;
    QTest::newRow("a folder") << u"/a/b/"_s << u"/a/"_s;
    QTest::newRow("one slash is dropped") << u"/a/b//"_s << u"/a/b/"_s;
    QTest::newRow("below home") << u"~/docs/x"_s << u"~/docs/"_s;
    QTest::newRow("right below home") << u"~/docs"_s << u"~/"_s;
    QTest::newRow("right below home, a folder") << u"~/docs/"_s << u"~/"_s;
    QTest::newRow("home spelled out") << home(u"/docs/x"_s) << u"~/docs/"_s;
    QTest::newRow("home itself") << u"~"_s
                                 << base::appendingPathComponent(
                                        base::deletingLastPathComponent(home()), {}) +
                                        (base::deletingLastPathComponent(home()) == u"/" ? u""_s
                                                                                         : u"/"_s);
}

void tst_PathSearch::theFolderAboveATypedPath()
{
    QFETCH(QString, text);
    QFETCH(QString, parent);

    QCOMPARE(parentSearchPath(text).value_or(QString()), parent);
    QCOMPARE(parentSearchPath(text).has_value(), !parent.isEmpty());
}

QTEST_GUILESS_MAIN(tst_PathSearch)
#include "tst_PathSearch.moc"
