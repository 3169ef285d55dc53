// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"
#include "base/StandardCompare.h"
#include "core/FileSorting.h"

#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace vellumhound;
using namespace vellumhound::core;
using settings::SortOption;

namespace {

FilePtr file(const QString &name, std::optional<base::UTType> type = base::UTType::data())
{
    return std::make_shared<File>(name, u"/d/"_s + name, false, std::nullopt, type);
}

FilePtr folder(const QString &name, std::optional<base::UTType> type = base::UTType::folder())
{
    return std::make_shared<File>(name, u"/d/"_s + name, true, std::nullopt, type);
}

QString names(const FileList &files)
{
    QStringList list;
    for (const auto &entry : files)
        list.append(entry->fileName);
    return list.join(u' ');
}

}  // namespace

class tst_FileSorting final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void foldersGoFirstAndEachGroupKeepsItsOrder();
    void byNameFoldersAndFilesAreMixed();
    void byNameDigitsCountAndCaseDoesNot();
    void equalNamesKeepTheirOrder();
    void byKindFoldersThenTypesThenNames();
    void byKindAnAbsentTypeLeavesTheNameToDecide();
    void byKindTypesThatContradictTheNamesStillKeepEveryRow();
    void onlyNameAndKindSortTheContents();
    void anEmptyListStaysEmpty();
    void aHundredThousandNamesSortAsTheComparisonTells();
};

void tst_FileSorting::foldersGoFirstAndEachGroupKeepsItsOrder()
{
    const FileList files{file(u"z"_s), folder(u"y"_s), file(u"a"_s), folder(u"b"_s)};

    QCOMPARE(names(sortedFoldersFirst(files)), u"y b z a"_s);
}

void tst_FileSorting::byNameFoldersAndFilesAreMixed()
{
    QCOMPARE(names(sortedByName({file(u"c"_s), folder(u"b"_s), file(u"a"_s)})), u"a b c"_s);
}

void tst_FileSorting::byNameDigitsCountAndCaseDoesNot()
{
    const FileList files{file(u"File10"_s), file(u"file9"_s), file(u"b"_s), file(u"A"_s)};

    QCOMPARE(names(sortedByName(files)), u"A b file9 File10"_s);
}

void tst_FileSorting::equalNamesKeepTheirOrder()
{
    const FileList files{file(u"b"_s), file(u"A"_s), file(u"a"_s), file(u"B"_s)};

    QCOMPARE(names(sortedByName(files)), u"A a b B"_s);
    QCOMPARE(names(sortedByKind(files)), u"A a b B"_s);
}

void tst_FileSorting::byKindFoldersThenTypesThenNames()
{
    const FileList files{file(u"z.pdf"_s, base::UTType::pdf()),
        file(u"b.txt"_s, base::UTType::plainText()), folder(u"zz"_s),
        file(u"a.pdf"_s, base::UTType::pdf()), folder(u"aa"_s)};

    // "com.adobe.pdf" stands before "public.plain-text".
    QCOMPARE(names(sortedByKind(files)), u"aa zz a.pdf z.pdf b.txt"_s);
}

void tst_FileSorting::byKindAnAbsentTypeLeavesTheNameToDecide()
{
    const FileList files{file(u"b.pdf"_s, base::UTType::pdf()), file(u"a"_s, std::nullopt)};

    QCOMPARE(names(sortedByKind(files)), u"a b.pdf"_s);
}

void tst_FileSorting::byKindTypesThatContradictTheNamesStillKeepEveryRow()
{
    FileList files;
    for (int i = 0; i < 1000; ++i) {
        const auto name = QString::number((i * 7919) % 1000);
        const std::optional<base::UTType> types[] = {
            base::UTType::pdf(), std::nullopt, base::UTType::plainText()};
        files.append(file(name, types[i % 3]));
    }

    auto sorted = sortedByKind(files);

    QCOMPARE(names(sorted), names(sortedByKind(files)));
    auto expected = files;
    std::sort(sorted.begin(), sorted.end());
    std::sort(expected.begin(), expected.end());
    QCOMPARE(sorted, expected);
}

void tst_FileSorting::onlyNameAndKindSortTheContents()
{
    const FileList files{file(u"b.txt"_s, base::UTType::plainText()),
        file(u"c.pdf"_s, base::UTType::pdf()), folder(u"d"_s), file(u"a.txt"_s)};

    QCOMPARE(names(sortedContents(files, SortOption::name)), u"a.txt b.txt c.pdf d"_s);
    QVERIFY(names(sortedContents(files, SortOption::kind)).startsWith(u"d c.pdf "));
    QCOMPARE(sortedContents(files, SortOption::relevance), files);
    QCOMPARE(sortedContents(files, SortOption::foldersFirst), files);
}

void tst_FileSorting::anEmptyListStaysEmpty()
{
    QVERIFY(sortedFoldersFirst({}).isEmpty());
    QVERIFY(sortedByName({}).isEmpty());
    QVERIFY(sortedByKind({}).isEmpty());
}

void tst_FileSorting::aHundredThousandNamesSortAsTheComparisonTells()
{
    FileList files;
    for (int i = 0; i < 100'000; ++i)
        files.append(file(u"Report "_s + QString::number((i * 7919) % 100'000) + u".txt"_s));

    const auto sorted = sortedByName(files);

    const base::StandardCompare order;
    QVERIFY(std::is_sorted(sorted.begin(), sorted.end(),
        [&](const auto &a, const auto &b) { return order.compare(a->fileName, b->fileName) < 0; }));
    QCOMPARE(sorted.first()->fileName, u"Report 0.txt"_s);
    QCOMPARE(names(sortedByKind(files)), names(sorted));
}

QTEST_GUILESS_MAIN(tst_FileSorting)
#include "tst_FileSorting.moc"
