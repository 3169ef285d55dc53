// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/IndexWriter.h"

#include <QObject>
#include <QTest>

#include <string>
#include <vector>

using namespace vellumhound::index;

class tst_IndexWriter final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void changesDuringACompactionSurviveIt();
    void entriesBelowAFolderAreCountedAsFarAsAsked();
};

void tst_IndexWriter::changesDuringACompactionSurviveIt()
{
    PublishedView published;
    IndexWriter writer(published);
    const auto root = writer.addRoot("/r");
    const auto top = writer.view().roots[root].folder;
    const auto folderA = writer.addFolder(writer.add(top, "a", EntryKind::folder));
    const auto folderB = writer.addFolder(writer.add(top, "b", EntryKind::folder));
    writer.setWatch(folderA, 7);
    writer.setWatch(folderB, 8);
    writer.add(folderA, "one", EntryKind::file);
    writer.add(folderB, "two", EntryKind::file);
    const auto build = writer.beginCompaction();

    writer.add(folderA, "later", EntryKind::file);
    const auto folderC = writer.addFolder(writer.add(folderA, "c", EntryKind::folder));
    writer.setWatch(folderC, 9);
    writer.add(folderC, "below", EntryKind::file);
    auto compacted = build();
    writer.remove(writer.find(folderA, "one"), [](int) {});
    std::vector<int> freed;
    writer.remove(writer.findPath("/r/b"), [&](int watch) { freed.push_back(watch); });
    writer.finishCompaction(std::move(compacted), [](FolderId, FolderId) {});

    QCOMPARE(freed, std::vector<int>{8});
    QCOMPARE(writer.nameCount(), std::uint64_t(4));
    for (const auto *path : {"/r/a", "/r/a/later", "/r/a/c", "/r/a/c/below"}) {
        const auto record = writer.findPath(path);
        QVERIFY2(record != nothing, path);
        QCOMPARE(writer.view().pathOf(record), std::string(path));
    }
    QCOMPARE(writer.findPath("/r/b"), nothing);
    QCOMPARE(writer.findPath("/r/a/one"), nothing);
    QCOMPARE(writer.view().pathOfFolder(writer.folderOfWatch(9)), std::string("/r/a/c"));
    QCOMPARE(writer.folderOfWatch(8), nothing);
}

void tst_IndexWriter::entriesBelowAFolderAreCountedAsFarAsAsked()
{
    PublishedView published;
    IndexWriter writer(published);
    const auto root = writer.addRoot("/r");
    const auto top = writer.view().roots[root].folder;
    const auto folder = writer.addFolder(writer.add(top, "folder", EntryKind::folder));
    writer.add(folder, "one", EntryKind::file);
    const auto below = writer.addFolder(writer.add(folder, "below", EntryKind::folder));
    writer.add(below, "two", EntryKind::file);
    writer.remove(writer.add(below, "dead", EntryKind::file), [](int) {});

    QVERIFY(writer.holdsMoreThan(folder, 2));
    QVERIFY(!writer.holdsMoreThan(folder, 3));
    QVERIFY(!writer.holdsMoreThan(below, 1));
}

QTEST_APPLESS_MAIN(tst_IndexWriter)
#include "tst_IndexWriter.moc"
