// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/DesktopEntries.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using index::DesktopEntries;
using index::Mount;
using tests::TemporaryTree;

class tst_DesktopEntries final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNameIsThatOfTheBestLanguage_data();
    void theNameIsThatOfTheBestLanguage();
    void whatIsNoVisibleApplicationIsLeftOut_data();
    void whatIsNoVisibleApplicationIsLeftOut();
    void theEntryOfHigherRankHidesOthersOfItsId();
    void entriesInSubfoldersCount();
    void anEntryOutsideTheApplicationFoldersIsNone();
    void theExportFoldersAreAmongTheApplicationFolders();
    void nothingIsReadOnAMountThatMayHang();
    void anEntryThatLinksOntoAMountThatMayHangIsNone();
};

namespace {

DesktopEntries entriesOf(const TemporaryTree &tree, const QStringList &languages = {})
{
    return DesktopEntries(tree.text("home"), {tree.text("one"), tree.text("two")}, languages);
}

const std::string head = "[Desktop Entry]\nType=Application\n";

}  // namespace

void tst_DesktopEntries::theNameIsThatOfTheBestLanguage_data()
{
    QTest::addColumn<QStringList>("languages");
    QTest::addColumn<QString>("name");
    QTest::newRow("none") << QStringList{} << u"Files"_s;
    QTest::newRow("exact") << QStringList{u"pt_BR"_s} << u"Arquivos"_s;
    QTest::newRow("country unknown") << QStringList{u"pt_PT"_s} << u"Ficheiros"_s;
    QTest::newRow("modifier") << QStringList{u"sr_RS@latin"_s} << u"Datoteke"_s;
    QTest::newRow("with encoding and dash") << QStringList{u"pt-BR.UTF-8"_s} << u"Arquivos"_s;
    QTest::newRow("second choice") << QStringList{u"xx"_s, u"pt"_s} << u"Ficheiros"_s;
    QTest::newRow("unknown") << QStringList{u"xx"_s} << u"Files"_s;
}

void tst_DesktopEntries::theNameIsThatOfTheBestLanguage()
{
    QFETCH(QStringList, languages);
    QFETCH(QString, name);
    const TemporaryTree tree;
    tree.file("one/applications/files.desktop",
        "# a comment\n" + head +
            "Name[pt]=Ficheiros\nName=Files\nName[pt_BR]=Arquivos\nName[sr@latin]=Datoteke\n"
            "GenericName=Manager\n[Desktop Action new]\nName=New Window\n");

    const auto entries = entriesOf(tree, languages);

    QCOMPARE(
        entries.applicationName(tree.text("one/applications/files.desktop")), std::optional(name));
}

void tst_DesktopEntries::whatIsNoVisibleApplicationIsLeftOut_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("link") << QByteArray("[Desktop Entry]\nType=Link\nName=A\n");
    QTest::newRow("no display") << QByteArray((head + "Name=A\nNoDisplay=true\n").c_str());
    QTest::newRow("hidden") << QByteArray((head + "Name=A\nHidden=true\n").c_str());
    QTest::newRow("no name") << QByteArray(head.c_str());
    QTest::newRow("no type") << QByteArray("[Desktop Entry]\nName=A\n");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("another group") << QByteArray("[Other]\nType=Application\nName=A\n");
    QTest::newRow("binary") << QByteArray("\x00\xFF\x01[", 4);
}

void tst_DesktopEntries::whatIsNoVisibleApplicationIsLeftOut()
{
    QFETCH(QByteArray, content);
    const TemporaryTree tree;
    tree.file("one/applications/a.desktop", content.toStdString());

    const auto entries = entriesOf(tree);

    QVERIFY(entries.applications({}).empty());
    QVERIFY(!entries.applicationName(tree.text("one/applications/a.desktop")));
}

void tst_DesktopEntries::theEntryOfHigherRankHidesOthersOfItsId()
{
    const TemporaryTree tree;
    tree.file("one/applications/a.desktop", head + "Name=First\n");
    tree.file("two/applications/a.desktop", head + "Name=Second\n");
    tree.file("two/applications/b.desktop", head + "Name=Shown\n");
    tree.file("home/applications/c.desktop", head + "Name=C\nNoDisplay=true\n");
    tree.file("two/applications/c.desktop", head + "Name=C\n");

    const auto applications = entriesOf(tree).applications({});

    QCOMPARE(applications.size(), std::size_t(2));
    QCOMPARE(applications[0].name, std::string("First"));
    QCOMPARE(applications[0].path, tree.path("one/applications/a.desktop"));
    QCOMPARE(applications[1].name, std::string("Shown"));
}

void tst_DesktopEntries::entriesInSubfoldersCount()
{
    const TemporaryTree tree;
    tree.file("one/applications/kde/deep/a.desktop", head + "Name=Été\n");
    tree.file("two/applications/kde-deep-a.desktop", head + "Name=Same id\n");
    tree.link("one/applications/loop", ".");

    const auto applications = entriesOf(tree).applications({});

    QVERIFY(!applications.empty());
    QCOMPARE(applications[0].name, std::string("Été"));
    QCOMPARE(applications[0].storedName, std::string("ete"));
    QCOMPARE(applications[0].fileName, std::string("a.desktop"));
    QVERIFY(std::none_of(applications.begin(), applications.end(),
        [](const auto &application) { return application.name == "Same id"; }));
}

void tst_DesktopEntries::anEntryOutsideTheApplicationFoldersIsNone()
{
    const TemporaryTree tree;
    tree.file("Desktop/a.desktop", head + "Name=A\n");
    tree.file("one/applicationsx/a.desktop", head + "Name=A\n");

    const auto entries = entriesOf(tree);

    QVERIFY(!entries.applicationName(tree.text("Desktop/a.desktop")));
    QVERIFY(!entries.applicationName(tree.text("one/applicationsx/a.desktop")));
}

void tst_DesktopEntries::theExportFoldersAreAmongTheApplicationFolders()
{
    const TemporaryTree tree;

    const auto folders = entriesOf(tree).folders();

    QCOMPARE(folders.first(), tree.text("home/applications"));
    QVERIFY(folders.contains(u"/var/lib/flatpak/exports/share/applications"_s));
    QVERIFY(folders.contains(u"/var/lib/snapd/desktop/applications"_s));
    QVERIFY(folders.contains(tree.text("home/flatpak/exports/share/applications")));
}

void tst_DesktopEntries::nothingIsReadOnAMountThatMayHang()
{
    const TemporaryTree tree;
    tree.file("net/a.desktop", head + "Name=Far\n");
    tree.file("net/deep/b.desktop", head + "Name=Far and deep\n");
    tree.file("one/applications/near.desktop", head + "Name=Near\n");
    tree.link("one/applications/link.desktop", "../../net/a.desktop");
    tree.link("one/applications/folder", tree.path("net/deep"));
    tree.folder("two");
    tree.link("two/applications", tree.path("net"));
    const auto entries = entriesOf(tree);
    QCOMPARE(entries.applications({}).size(), std::size_t(5));

    const std::vector<Mount> avoided{{tree.path("net"), "/", "0:50", "nfs4"}};

    const auto applications = entries.applications(avoided);
    QCOMPARE(applications.size(), std::size_t(1));
    QCOMPARE(applications[0].name, std::string("Near"));
    const auto watched = entries.watchedFolders(avoided);
    QVERIFY(watched.contains(tree.text("one/applications")));
    QVERIFY(watched.contains(tree.text("two")));
    QVERIFY(!watched.contains(tree.text("one/applications/folder")));
    QVERIFY(!watched.contains(tree.text("two/applications")));
}

void tst_DesktopEntries::anEntryThatLinksOntoAMountThatMayHangIsNone()
{
    const TemporaryTree tree;
    tree.file("net/a.desktop", head + "Name=Far\n");
    tree.file("real/b.desktop", head + "Name=Near\n");
    tree.folder("one/applications");
    tree.link("one/applications/a.desktop", tree.path("net/a.desktop"));
    tree.link("one/applications/b.desktop", tree.path("real/b.desktop"));
    const auto nameAt = [&](const std::string &folder, const std::string &entry) {
        const std::vector<Mount> mounts{
            {"/", "/", "8:1", "ext4"}, {tree.path("net"), "/", "0:50", "nfs4"}};
        return DesktopEntries(tree.text(folder), {}, {}, [mounts] {
            return mounts;
        }).applicationName(tree.text(folder + "/applications/" + entry));
    };

    QVERIFY(!nameAt("one", "a.desktop"));
    QCOMPARE(nameAt("one", "b.desktop"), std::optional(u"Near"_s));
    // Whoever has come onto the mount to ask may go on there.
    tree.folder("net/applications");
    tree.link("net/applications/own.desktop", "../a.desktop");
    QCOMPARE(nameAt("net", "own.desktop"), std::optional(u"Far"_s));
}

QTEST_APPLESS_MAIN(tst_DesktopEntries)
#include "tst_DesktopEntries.moc"
