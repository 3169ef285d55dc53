// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/FolderListing.h"
#include "index/OtherFileSystem.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::index;
using namespace vellumhound::tests;

class tst_FolderListing final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aNameThatOnlyAnotherCaseFindsIsNotThere_data();
    void aNameThatOnlyAnotherCaseFindsIsNotThere();
    void namesInTwoCasesAreBothThere();
    void aTimeInWholeSecondsIsReliedUponOnlyLater();
    void aTimeByAnotherClockIsReliedUponWhenItIsSeenAgain();
};

namespace {

EntryState stateIn(const TemporaryTree &tree, const std::string &name)
{
    OpenFolder folder;
    if (!folder.open(tree.path(), false, 0))
        return {};
    return folder.stateOf(name);
}

}  // namespace

void tst_FolderListing::aNameThatOnlyAnotherCaseFindsIsNotThere_data()
{
    QTest::addColumn<QString>("kept");
    QTest::addColumn<QString>("asked");
    QTest::newRow("all letters") << QStringLiteral("README") << QStringLiteral("readme");
    QTest::newRow("one letter") << QStringLiteral("1a.2") << QStringLiteral("1A.2");
    QTest::newRow("not ASCII alone") << QStringLiteral("Straße") << QStringLiteral("straße");
}

void tst_FolderListing::aNameThatOnlyAnotherCaseFindsIsNotThere()
{
    QFETCH(QString, kept);
    QFETCH(QString, asked);
    const TemporaryTree tree;
    const OtherFileSystemGuard guard;
    otherFileSystem.ignoresCase = true;
    tree.file(kept.toStdString());
    tree.file("another");

    const auto other = stateIn(tree, asked.toStdString());
    QVERIFY(!other.exists);
    QCOMPARE(other.keptAs, kept.toStdString());

    const auto itself = stateIn(tree, kept.toStdString());
    QVERIFY(itself.exists);
    QCOMPARE(itself.kind, EntryKind::file);
    QCOMPARE(itself.keptAs, std::string());
    const auto missing = stateIn(tree, "missing");
    QVERIFY(!missing.exists && missing.keptAs.empty());
}

void tst_FolderListing::namesInTwoCasesAreBothThere()
{
    const TemporaryTree tree;
    tree.file("two");
    tree.folder("Two");
    // One file under both, so that the folder seems to ignore case.
    tree.file("one");
    QCOMPARE(::link(tree.path("one").c_str(), tree.path("One").c_str()), 0);

    for (const auto *name : {"one", "One", "two", "Two"}) {
        const auto state = stateIn(tree, name);
        QVERIFY2(state.exists, name);
        QCOMPARE(state.kind == EntryKind::folder, name == std::string("Two"));
    }
}

void tst_FolderListing::aTimeInWholeSecondsIsReliedUponOnlyLater()
{
    const TemporaryTree tree;
    const OtherFileSystemGuard guard;
    otherFileSystem.hasCoarseTimes = true;
    tree.file("folder/file");

    const auto fresh = listFolder(tree.path("folder"), {});
    QVERIFY(fresh.isRead());
    QCOMPARE(fresh.time, std::int64_t(0));

    otherFileSystem.clockBehind = 10;
    const auto later = listFolder(tree.path("folder"), {});
    QVERIFY(later.time > 0);
    ListingOptions options;
    options.knownTime = later.time;
    QVERIFY(listFolder(tree.path("folder"), options).isUnchanged);
}

void tst_FolderListing::aTimeByAnotherClockIsReliedUponWhenItIsSeenAgain()
{
    const TemporaryTree tree;
    const OtherFileSystemGuard guard;
    otherFileSystem.clockBehind = 100;
    tree.file("folder/file");
    ListingOptions options;
    options.isClockForeign = true;
    const auto again = [&] {
        const auto listing = listFolder(tree.path("folder"), options);
        options.knownTime = listing.time;
        return listing;
    };

    const auto first = again();
    QVERIFY(first.time < 0);
    const auto second = again();
    QVERIFY(!second.isUnchanged);
    QCOMPARE(second.entries.size(), std::size_t(1));
    QCOMPARE(second.time, -first.time);
    QVERIFY(again().isUnchanged);

    otherFileSystem.clockBehind = -100;  // another time, and one to come
    QVERIFY(again().time < 0);
    QVERIFY(!again().isUnchanged);
    QVERIFY(again().isUnchanged);
}

QTEST_APPLESS_MAIN(tst_FolderListing)
#include "tst_FolderListing.moc"
