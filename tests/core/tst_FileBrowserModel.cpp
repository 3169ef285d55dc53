// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/FileSorting.h"
#include "CoreFixture.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vellumhound;
using namespace vellumhound::core;
using settings::SortOption;

class tst_FileBrowserModel final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aNewModelIsHome();
    void showingAListMakesItTheTopLevel();
    void showingAnEmptyListIsNotHome();
    void foldersGoFirstOnlyIfTheSettingSaysSo();
    void theSortSettingIsReadAfresh();
    void appendingThrowsTheSelectionBackOnTheFirstRow();
    void appendingKeepsTheStatus();
    void laterFoldersGoAheadOfEarlierFiles();
    void aBatchThatComesWhileTheUserIsBelowStaysOffTheScreen();
    void goingDownWhileRowsComeInKeepsTheirText();
    void anotherSearchBelowKeepsTheLevelAndTheWayThroughIt();
    void comingBackToRowsWithoutTheFolderSelectsTheFirst_data();
    void comingBackToRowsWithoutTheFolderSelectsTheFirst();
    void aBoxThatNamesTheRowsFollowsThem();
    void resettingEmptiesTheLists();
    void resettingMayKeepTheText();
    void anythingToClearCountsAsActiveContent();

    void theSelectionMovesWithoutWrapping();
    void withoutASelectedRowTheSelectionDoesNotMove();
    void aSelectedFolderShowsItsContents();
    void aSelectedFileShowsNoContents();
    void theContentsLoadInTheNextTurn();
    void anEqualSelectionLoadsAgain();
    void onlyTheLastSelectionOfATurnIsListed();
    void theContentsAreSortedByTheSetting_data();
    void theContentsAreSortedByTheSetting();
    void anUnreadableOrVanishedFolderIsEmpty();

    void goingDownMakesTheRightColumnTheLeftOne();
    void withoutContentsNothingIsEntered();
    void goingDownTwiceAndBackEndsWhereItBegan();
    void goingBackFromTheTopLevelGoesHome();
    void goingBackWithoutASelectionGoesHome();
    void comingBackToFavoritesShowsThemAgain();
    void aDetailWithoutAParentLeadsToTheTopLevel();
    void enteringIsVoidOnceTheContentsAreReplaced();
    void afterAResetNothingIsEntered();

    void aHungFolderDoesNotHoldUpTheWalk();
    void aLateListingIsTakenIfStillWanted();
    void aLateListingOfAnOlderSelectionIsDropped();
    void aModelMayGoWhileAFolderHangs();

    void signalsComeOnceAndOnlyForADifference();
    void signalsComeWhenAllOfTheChangeIsMade();
    void replacedTreesAreLetGo();
    void aNewListingLetsGoOfWhatWasBelowTheOldOne();
    void appendedListsKeepTheirTrees();
    void theTreeOfAListThatStaysIsKept();
    void aHundredThousandEntriesAreEnteredAndLeft();

private:
    std::unique_ptr<CoreFixture> _core;

    FileBrowserModel &model() { return *_core->model; }
    fakes::FakeFileSystem &disk() { return *_core->disk; }
    /// Everything asked so far takes effect; late listings included.
    void settle()
    {
        _core->queue.drain();
        QVERIFY(model().isConsistent());
    }
    void show(const FileList &files, ResultType type = ResultType::search)
    {
        model().showFiles(files, type);
        settle();
    }
    QStringList fileNames() { return CoreFixture::names(model().files()); }
    QStringList detailNames() { return CoreFixture::names(model().details()); }
};

void tst_FileBrowserModel::init()
{
    _core = std::make_unique<CoreFixture>();
    disk().addFile(u"/d/a.txt"_s);
    disk().addFile(u"/d/e/b.txt"_s);
    disk().addFile(u"/d/e/f/c.txt"_s);
}

void tst_FileBrowserModel::cleanup()
{
    QVERIFY(model().isConsistent());
    _core.reset();
}

void tst_FileBrowserModel::aNewModelIsHome()
{
    QCOMPARE(model().searchText(), QString());
    QVERIFY(model().searchStatus().isNoResults());
    QCOMPARE(model().resultType(), ResultType::search);
    QVERIFY(model().files().isEmpty());
    QVERIFY(model().details().isEmpty());
    QVERIFY(!model().selectedFile());
    QVERIFY(!model().selectedDetail());
    QVERIFY(model().root());
    QVERIFY(!model().showActions());
    QVERIFY(!model().selectSearchText());
    QVERIFY(model().favorites().isEmpty());
    QVERIFY(!model().hasActiveContent());
}

void tst_FileBrowserModel::showingAListMakesItTheTopLevel()
{
    const FileList files{CoreFixture::file(u"/b"_s), CoreFixture::folderAt(u"/a"_s)};
    model().setSearchText(u"word"_s);
    model().setShowActions(true);

    show(files, ResultType::browseFinderWindows);

    QCOMPARE(model().currentSearchedText(), u"word"_s);
    QVERIFY(model().searchStatus() == SearchStatus::results(2));
    QCOMPARE(model().results(), files);
    QCOMPARE(model().files(), files);
    QCOMPARE(model().resultType(), ResultType::browseFinderWindows);
    QCOMPARE(model().selectedFile(), files.first());
    QVERIFY(!model().selectedDetail());
    QVERIFY(model().root());
    QVERIFY(!model().showActions());
}

void tst_FileBrowserModel::showingAnEmptyListIsNotHome()
{
    show({});

    QVERIFY(model().searchStatus() == SearchStatus::results(0));
    QVERIFY(!model().selectedFile());
    QVERIFY(model().root());
    QVERIFY(model().hasActiveContent());
}

void tst_FileBrowserModel::foldersGoFirstOnlyIfTheSettingSaysSo()
{
    const FileList files{CoreFixture::file(u"/b"_s), CoreFixture::folderAt(u"/a"_s)};

    for (const auto option : {SortOption::relevance, SortOption::name, SortOption::kind}) {
        _core->sortResults(option);
        show(files);
        QCOMPARE(fileNames(), QStringList({u"b"_s, u"a"_s}));
    }
    _core->sortResults(SortOption::foldersFirst);
    show(files);

    QCOMPARE(fileNames(), QStringList({u"a"_s, u"b"_s}));
    QCOMPARE(model().selectedFile(), files.last());
}

void tst_FileBrowserModel::theSortSettingIsReadAfresh()
{
    const FileList files{CoreFixture::file(u"/b"_s), CoreFixture::folderAt(u"/a"_s)};
    show(files);

    _core->sortResults(SortOption::foldersFirst);
    model().appendFiles({CoreFixture::folderAt(u"/c"_s)});

    QCOMPARE(fileNames(), QStringList({u"a"_s, u"c"_s, u"b"_s}));
}

void tst_FileBrowserModel::appendingThrowsTheSelectionBackOnTheFirstRow()
{
    model().appendFiles({CoreFixture::file(u"/a"_s), CoreFixture::file(u"/b"_s)});
    model().selectNext();
    QCOMPARE(model().selectedFile()->fileName, u"b"_s);

    model().appendFiles({CoreFixture::file(u"/c"_s)});

    QCOMPARE(model().selectedFile()->fileName, u"a"_s);
    QCOMPARE(fileNames(), QStringList({u"a"_s, u"b"_s, u"c"_s}));
}

void tst_FileBrowserModel::appendingKeepsTheStatus()
{
    model().setSearchStatus(SearchStatus::searching());

    model().appendFiles({CoreFixture::file(u"/a"_s)});

    QVERIFY(model().searchStatus().isSearching());
    QCOMPARE(model().results(), model().files());
}

void tst_FileBrowserModel::laterFoldersGoAheadOfEarlierFiles()
{
    _core->sortResults(SortOption::foldersFirst);
    model().appendFiles({CoreFixture::file(u"/a"_s), CoreFixture::folderAt(u"/f1"_s)});

    model().appendFiles({CoreFixture::file(u"/b"_s), CoreFixture::folderAt(u"/f2"_s)});

    QCOMPARE(fileNames(), QStringList({u"f1"_s, u"f2"_s, u"a"_s, u"b"_s}));
    QCOMPARE(model().selectedFile()->fileName, u"f1"_s);
}

void tst_FileBrowserModel::aBatchThatComesWhileTheUserIsBelowStaysOffTheScreen()
{
    model().appendFiles({CoreFixture::folderAt(u"/d"_s)});
    settle();
    model().moveIntoFolder();
    settle();
    model().selectNext();
    settle();
    const auto level = model().files();
    const auto selected = model().selectedFile();

    model().appendFiles({CoreFixture::file(u"/x"_s)});
    settle();

    QCOMPARE(model().files(), level);
    QCOMPARE(model().selectedFile(), selected);
    QVERIFY(!model().root());
    model().goBack();
    QCOMPARE(fileNames(), QStringList({u"d"_s, u"x"_s}));
}

void tst_FileBrowserModel::goingDownWhileRowsComeInKeepsTheirText()
{
    model().setSearchText(u"word"_s);
    model().beginResults(u"word"_s);
    model().appendFiles({CoreFixture::folderAt(u"/d"_s)});
    settle();
    QCOMPARE(model().currentSearchedText(), QString());

    model().moveIntoFolder();
    settle();
    QCOMPARE(model().currentSearchedText(), u"word"_s);
    model().goBack();

    QCOMPARE(model().searchText(), u"word"_s);
}

void tst_FileBrowserModel::anotherSearchBelowKeepsTheLevelAndTheWayThroughIt()
{
    const auto folder = CoreFixture::folderAt(u"/d"_s);
    model().setSearchText(u"old"_s);
    show({folder});
    model().moveIntoFolder();
    settle();
    model().selectNext();
    settle();
    model().moveIntoFolder();
    settle();
    QCOMPARE(fileNames(), QStringList({u"b.txt"_s, u"f"_s}));

    model().beginResults(u"new"_s);
    model().appendFiles({CoreFixture::file(u"/x"_s), CoreFixture::folderAt(u"/d"_s)});
    settle();
    QCOMPARE(fileNames(), QStringList({u"b.txt"_s, u"f"_s}));
    QVERIFY(model().searchStatus().isSearching());

    model().goBack();
    settle();
    QCOMPARE(fileNames(), QStringList({u"a.txt"_s, u"e"_s}));
    model().goBack();
    settle();
    // The record that the user came out of is none of the new rows: the one of its path is.
    QCOMPARE(fileNames(), QStringList({u"x"_s, u"d"_s}));
    QCOMPARE(model().selectedFile(), model().files().at(1));
    QCOMPARE(model().searchText(), u"new"_s);
    QCOMPARE(detailNames(), QStringList({u"a.txt"_s, u"e"_s}));
}

void tst_FileBrowserModel::comingBackToRowsWithoutTheFolderSelectsTheFirst_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::newRow("other rows") << QStringList{u"/x"_s, u"/y"_s};
    QTest::newRow("no rows") << QStringList();
}

void tst_FileBrowserModel::comingBackToRowsWithoutTheFolderSelectsTheFirst()
{
    QFETCH(QStringList, paths);
    FileList list;
    for (const auto &path : paths)
        list.append(CoreFixture::file(path));
    show({CoreFixture::folderAt(u"/d"_s)}, ResultType::favorites);
    model().moveIntoFolder();
    settle();

    model().beginResults(u"new"_s);
    model().endResults(list, u"new"_s);
    QCOMPARE(model().resultType(), ResultType::search);
    model().goBack();
    settle();

    QCOMPARE(model().files(), list);
    QCOMPARE(model().selectedFile(), list.value(0));
    QVERIFY(model().searchStatus() == SearchStatus::results(list.size()));
}

void tst_FileBrowserModel::aBoxThatNamesTheRowsFollowsThem()
{
    show({CoreFixture::folderAt(u"/d"_s)}, ResultType::favorites);
    model().moveIntoFolder();
    settle();
    model().goBack();
    settle();
    QVERIFY(model().searchText().isEmpty());
    QVERIFY(!model().isBoxEmptied());

    model().beginResults(u"word"_s);
    QCOMPARE(model().searchText(), u"word"_s);
    model().appendFiles({CoreFixture::file(u"/x"_s)});
    model().endResults(model().results(), u"word"_s);

    QCOMPARE(fileNames(), QStringList(u"x"_s));
    QVERIFY(model().searchStatus() == SearchStatus::results(1));
    QCOMPARE(model().currentSearchedText(), u"word"_s);
}

void tst_FileBrowserModel::resettingEmptiesTheLists()
{
    model().setSearchText(u"word"_s);
    show({CoreFixture::folderAt(u"/d"_s)}, ResultType::selectedFilesFromFinder);
    model().setShowActions(true);

    model().reset(ClearText::yes, SearchStatus::noResults());
    settle();

    QVERIFY(model().searchText().isEmpty());
    QVERIFY(model().currentSearchedText().isEmpty());
    QVERIFY(model().searchStatus().isNoResults());
    QVERIFY(model().results().isEmpty());
    QCOMPARE(model().resultType(), ResultType::search);
    QVERIFY(model().files().isEmpty());
    QVERIFY(model().details().isEmpty());
    QVERIFY(!model().selectedFile());
    QVERIFY(!model().selectedDetail());
    QVERIFY(!model().showActions());
}

void tst_FileBrowserModel::resettingMayKeepTheText()
{
    model().setSearchText(u"word"_s);
    show({});

    model().reset(ClearText::no, SearchStatus::searching());

    QCOMPARE(model().searchText(), u"word"_s);
    QCOMPARE(model().currentSearchedText(), u"word"_s);
    QVERIFY(model().searchStatus().isSearching());
}

void tst_FileBrowserModel::anythingToClearCountsAsActiveContent()
{
    model().setSearchText(u"x"_s);
    QVERIFY(model().hasActiveContent());
    model().setSearchText({});
    QVERIFY(!model().hasActiveContent());
    model().appendFiles({CoreFixture::file(u"/a"_s)});
    QVERIFY(model().hasActiveContent());
    model().reset(ClearText::yes, SearchStatus::searching());
    QVERIFY(!model().hasActiveContent());
}

void tst_FileBrowserModel::theSelectionMovesWithoutWrapping()
{
    show({CoreFixture::file(u"/a"_s), CoreFixture::file(u"/b"_s)});

    model().selectPrevious();
    QCOMPARE(model().selectedFile()->fileName, u"a"_s);
    model().selectNext();
    model().selectNext();
    QCOMPARE(model().selectedFile()->fileName, u"b"_s);
    model().selectPrevious();
    QCOMPARE(model().selectedFile()->fileName, u"a"_s);
}

void tst_FileBrowserModel::withoutASelectedRowTheSelectionDoesNotMove()
{
    show({CoreFixture::file(u"/a"_s)});
    model().setSelectedFile(nullptr);

    model().selectNext();
    model().selectPrevious();
    QVERIFY(!model().selectedFile());

    const auto other = CoreFixture::file(u"/a"_s);
    model().setSelectedFile(other);
    model().selectNext();
    QCOMPARE(model().selectedFile(), other);
    model().reset(ClearText::yes, SearchStatus::noResults());
}

void tst_FileBrowserModel::aSelectedFolderShowsItsContents()
{
    const auto folder = CoreFixture::folderAt(u"/d"_s);
    show({folder});

    QCOMPARE(detailNames(), QStringList({u"a.txt"_s, u"e"_s}));
    QCOMPARE(folder->_children.size(), 2);
    for (const auto &child : folder->_children)
        QCOMPARE(child->_parent, folder);
}

void tst_FileBrowserModel::aSelectedFileShowsNoContents()
{
    const auto file = CoreFixture::file(u"/d/a.txt"_s);
    show({CoreFixture::folderAt(u"/d"_s), file});
    QVERIFY(!model().details().isEmpty());

    model().selectNext();
    settle();

    QVERIFY(model().details().isEmpty());
    QVERIFY(file->_children.isEmpty());
}

void tst_FileBrowserModel::theContentsLoadInTheNextTurn()
{
    model().showFiles({CoreFixture::folderAt(u"/d"_s)}, ResultType::search);

    QVERIFY(model().details().isEmpty());
    QCOMPARE(disk().listingCount(u"/d"_s), 0);
    settle();
    QCOMPARE(model().details().size(), 2);
}

void tst_FileBrowserModel::anEqualSelectionLoadsAgain()
{
    const auto folder = CoreFixture::folderAt(u"/d"_s);
    show({folder});
    disk().addFile(u"/d/new.txt"_s);

    model().setSelectedFile(folder);
    settle();

    QCOMPARE(disk().listingCount(u"/d"_s), 2);
    QCOMPARE(detailNames(), QStringList({u"a.txt"_s, u"e"_s, u"new.txt"_s}));
}

void tst_FileBrowserModel::onlyTheLastSelectionOfATurnIsListed()
{
    model().showFiles(
        {CoreFixture::folderAt(u"/d"_s), CoreFixture::folderAt(u"/d/e"_s)}, ResultType::search);
    model().selectNext();
    settle();

    QCOMPARE(disk().listingCount(u"/d"_s), 0);
    QCOMPARE(detailNames(), QStringList({u"b.txt"_s, u"f"_s}));
}

void tst_FileBrowserModel::theContentsAreSortedByTheSetting_data()
{
    QTest::addColumn<SortOption>("option");
    QTest::addColumn<QString>("order");
    QTest::newRow("name") << SortOption::name << u"a.pdf b.txt c z.pdf"_s;
    QTest::newRow("kind") << SortOption::kind << u"c a.pdf z.pdf b.txt"_s;
    QTest::newRow("relevance") << SortOption::relevance << u"z.pdf b.txt c a.pdf"_s;
    QTest::newRow("foldersFirst") << SortOption::foldersFirst << u"z.pdf b.txt c a.pdf"_s;
}

void tst_FileBrowserModel::theContentsAreSortedByTheSetting()
{
    QFETCH(SortOption, option);
    QFETCH(QString, order);
    disk().addFile(u"/s/z.pdf"_s, 1, base::UTType::pdf());
    disk().addFile(u"/s/b.txt"_s, 1, base::UTType::plainText());
    disk().addFile(u"/s/c/x"_s);
    disk().addFile(u"/s/a.pdf"_s, 1, base::UTType::pdf());
    const auto folder = CoreFixture::folderAt(u"/s"_s);
    _core->sortContents(option);

    show({folder});

    QCOMPARE(detailNames().join(u' '), order);
    QCOMPARE(CoreFixture::names(folder->_children).join(u' '), u"z.pdf b.txt c a.pdf"_s);
    _core->sortContents(SortOption::name);
    model().moveIntoFolder();
    settle();
    QCOMPARE(fileNames().join(u' '), u"a.pdf b.txt c z.pdf"_s);
}

void tst_FileBrowserModel::anUnreadableOrVanishedFolderIsEmpty()
{
    disk().setUnreadable(u"/d"_s);
    show({CoreFixture::folderAt(u"/d"_s), CoreFixture::folderAt(u"/gone"_s)});
    QVERIFY(model().details().isEmpty());

    model().selectNext();
    settle();

    QVERIFY(model().details().isEmpty());
    model().moveIntoFolder();
    settle();
    QVERIFY(model().root());
}

void tst_FileBrowserModel::goingDownMakesTheRightColumnTheLeftOne()
{
    show({CoreFixture::folderAt(u"/d"_s)});
    const auto contents = model().details();

    model().moveIntoFolder();
    QCOMPARE(model().selectedDetail(), contents.first());
    settle();

    QCOMPARE(model().files(), contents);
    QCOMPARE(model().selectedFile(), contents.first());
    QVERIFY(!model().selectedDetail());
    QCOMPARE(model().searchText(), u"/d/"_s);
    QVERIFY(!model().root());
}

void tst_FileBrowserModel::withoutContentsNothingIsEntered()
{
    disk().addFolder(u"/empty"_s);
    show({CoreFixture::folderAt(u"/empty"_s)});

    model().moveIntoFolder();
    settle();

    QVERIFY(model().details().isEmpty());
    QVERIFY(!model().selectedDetail());
    QVERIFY(model().root());
}

void tst_FileBrowserModel::goingDownTwiceAndBackEndsWhereItBegan()
{
    const auto folder = CoreFixture::folderAt(u"/d"_s);
    model().setSearchText(u"word"_s);
    show({CoreFixture::file(u"/x"_s), folder});
    model().selectNext();
    settle();
    model().moveIntoFolder();
    settle();
    model().selectNext();
    settle();
    const auto inner = model().selectedFile();
    QCOMPARE(inner->fileName, u"e"_s);
    model().moveIntoFolder();
    settle();
    QCOMPARE(model().searchText(), u"/d/e/"_s);

    model().goBack();
    settle();
    QCOMPARE(model().selectedFile(), inner);
    QCOMPARE(model().searchText(), u"/d/"_s);
    QVERIFY(!model().root());
    model().goBack();
    settle();

    QCOMPARE(model().selectedFile(), folder);
    QCOMPARE(model().files(), model().results());
    QCOMPARE(model().searchText(), u"word"_s);
    QVERIFY(model().root());
}

void tst_FileBrowserModel::goingBackFromTheTopLevelGoesHome()
{
    model().setSearchText(u"word"_s);
    show({CoreFixture::file(u"/x"_s)});

    model().goBack();

    QVERIFY(model().searchStatus().isNoResults());
    QVERIFY(model().searchText().isEmpty());
    QVERIFY(model().files().isEmpty());
}

void tst_FileBrowserModel::goingBackWithoutASelectionGoesHome()
{
    model().setSearchText(u"word"_s);
    show({});

    model().goBack();

    QVERIFY(model().searchStatus().isNoResults());
    QVERIFY(model().searchText().isEmpty());
}

void tst_FileBrowserModel::comingBackToFavoritesShowsThemAgain()
{
    const auto folder = CoreFixture::folderAt(u"/d"_s);
    show({folder}, ResultType::favorites);
    model().moveIntoFolder();
    settle();

    model().goBack();
    settle();

    QCOMPARE(model().files(), FileList{folder});
    QCOMPARE(model().resultType(), ResultType::favorites);
}

void tst_FileBrowserModel::aDetailWithoutAParentLeadsToTheTopLevel()
{
    model().setSearchText(u"word"_s);
    show({});
    const auto detail = CoreFixture::file(u"/x"_s);

    model().setSearchText(u"other"_s);
    model().setSelectedDetail(detail);
    _core->queue.drain();

    QCOMPARE(model().searchText(), u"word"_s);
    QVERIFY(model().root());
    QCOMPARE(model().selectedFile(), detail);
    model().reset(ClearText::yes, SearchStatus::noResults());
}

void tst_FileBrowserModel::enteringIsVoidOnceTheContentsAreReplaced()
{
    const auto folder = CoreFixture::folderAt(u"/d"_s);
    show({folder});

    model().setSelectedFile(folder);
    model().moveIntoFolder();
    settle();

    QVERIFY(model().root());
    QCOMPARE(model().selectedFile(), folder);
}

void tst_FileBrowserModel::afterAResetNothingIsEntered()
{
    show({CoreFixture::folderAt(u"/d"_s)});

    model().moveIntoFolder();
    model().reset(ClearText::yes, SearchStatus::noResults());
    settle();

    QVERIFY(model().root());
    QVERIFY(model().files().isEmpty());
}

void tst_FileBrowserModel::aHungFolderDoesNotHoldUpTheWalk()
{
    disk().hang(u"/d"_s);
    model().showFiles(
        {CoreFixture::folderAt(u"/d"_s), CoreFixture::folderAt(u"/d/e"_s)}, ResultType::search);
    QElapsedTimer timer;
    timer.start();

    settle();
    const auto waited = timer.elapsed();
    model().selectNext();
    settle();

    QVERIFY2(waited < 1000, qPrintable(QString::number(waited)));
    QCOMPARE(detailNames(), QStringList({u"b.txt"_s, u"f"_s}));
    disk().release(u"/d"_s);
}

void tst_FileBrowserModel::aLateListingIsTakenIfStillWanted()
{
    disk().hang(u"/d"_s);
    show({CoreFixture::folderAt(u"/d/e"_s), CoreFixture::folderAt(u"/d"_s)});
    QCOMPARE(model().details().size(), 2);
    model().selectNext();
    settle();
    // What belonged to the other folder has gone, so that nobody goes down into it from here.
    QVERIFY(model().details().isEmpty());
    model().moveIntoFolder();
    settle();
    QVERIFY(model().root());

    disk().release(u"/d"_s);

    QTRY_COMPARE(detailNames(), QStringList({u"a.txt"_s, u"e"_s}));
    QVERIFY(model().isConsistent());
}

void tst_FileBrowserModel::aLateListingOfAnOlderSelectionIsDropped()
{
    disk().hang(u"/d"_s);
    const auto slow = CoreFixture::folderAt(u"/d"_s);
    const auto quick = CoreFixture::folderAt(u"/d/e"_s);
    show({slow, quick});
    model().selectNext();
    settle();
    // A second listing of the folder can only be taken after the first one has been delivered.
    disk().release(u"/d"_s);
    bool hasCome = false;
    const std::function<bool()> later = [disk = _core->disk] {
        return disk->contentsOfDirectory(u"/d"_s).value().isEmpty();
    };
    QTRY_VERIFY(disk().listingCount(u"/d"_s) >= 1);
    _core->background.run<bool>(later, [&](bool) { hasCome = true; });
    QTRY_VERIFY(hasCome);
    settle();

    QCOMPARE(detailNames(), QStringList({u"b.txt"_s, u"f"_s}));
    QVERIFY(slow->_children.isEmpty());
}

void tst_FileBrowserModel::aModelMayGoWhileAFolderHangs()
{
    disk().hang(u"/d"_s);
    show({CoreFixture::folderAt(u"/d"_s)});
    _core->model->setSelectedFile(model().files().first());

    _core->makeModel();
    disk().release(u"/d"_s);
    bool hasCome = false;
    _core->background.run<bool>([] { return true; }, [&](bool) { hasCome = true; });

    QTRY_VERIFY(hasCome);
    QVERIFY(model().details().isEmpty());
}

void tst_FileBrowserModel::signalsComeOnceAndOnlyForADifference()
{
    const FileList files{CoreFixture::file(u"/a"_s)};
    show(files);
    const QSignalSpy text(&model(), &FileBrowserModel::searchTextChanged);
    const QSignalSpy rows(&model(), &FileBrowserModel::filesChanged);
    const QSignalSpy selection(&model(), &FileBrowserModel::selectedFileChanged);
    const QSignalSpy status(&model(), &FileBrowserModel::searchStatusChanged);
    const QSignalSpy actions(&model(), &FileBrowserModel::showActionsChanged);

    show(files);
    model().setSearchText({});
    model().setSelectedFile(files.first());
    model().setShowActions(false);
    settle();
    QCOMPARE(text.count() + rows.count() + selection.count() + status.count() + actions.count(), 0);

    model().setSearchText(u"x"_s);
    model().setShowActions(true);
    show({});
    QCOMPARE(text.count(), 1);
    QCOMPARE(rows.count(), 1);
    QCOMPARE(selection.count(), 1);
    QCOMPARE(status.count(), 1);
    QCOMPARE(actions.count(), 2);
}

void tst_FileBrowserModel::signalsComeWhenAllOfTheChangeIsMade()
{
    QStringList order;
    const auto note = [&](const QString &name) {
        order.append(name);
        QVERIFY(model().isConsistent());
        QVERIFY(model().selectedFile() == model().files().first());
        QVERIFY(model().searchStatus() == SearchStatus::results(1));
    };
    using Model = FileBrowserModel;
    connect(&model(), &Model::searchStatusChanged, this, [&] { note(u"status"_s); });
    connect(&model(), &Model::filesChanged, this, [&] { note(u"files"_s); });
    connect(&model(), &Model::selectedFileChanged, this, [&] { note(u"selection"_s); });

    model().showFiles({CoreFixture::file(u"/a"_s)}, ResultType::search);

    QCOMPARE(order, QStringList({u"status"_s, u"files"_s, u"selection"_s}));
    model().disconnect(this);
}

void tst_FileBrowserModel::replacedTreesAreLetGo()
{
    show({CoreFixture::folderAt(u"/d"_s)});
    const std::weak_ptr<File> top = model().files().first();
    model().moveIntoFolder();
    settle();
    model().selectNext();
    settle();
    const std::weak_ptr<File> inner = model().selectedFile();
    const std::weak_ptr<File> leaf = model().details().first();

    show({CoreFixture::file(u"/x"_s)});

    QTRY_VERIFY(leaf.expired());
    QTRY_VERIFY(inner.expired());
    QTRY_VERIFY(top.expired());
}

void tst_FileBrowserModel::aNewListingLetsGoOfWhatWasBelowTheOldOne()
{
    show({CoreFixture::folderAt(u"/d"_s)});
    model().moveIntoFolder();
    settle();
    model().selectNext();
    settle();
    const std::weak_ptr<File> inner = model().selectedFile();
    QVERIFY(!model().details().isEmpty());

    model().goBack();
    settle();

    QCOMPARE(detailNames(), QStringList({u"a.txt"_s, u"e"_s}));
    QTRY_VERIFY(inner.expired());
}

void tst_FileBrowserModel::appendedListsKeepTheirTrees()
{
    const auto folder = CoreFixture::folderAt(u"/d"_s);
    model().appendFiles({folder});
    settle();

    model().appendFiles({CoreFixture::file(u"/x"_s)});

    QCOMPARE(folder->_children.size(), 2);
}

void tst_FileBrowserModel::theTreeOfAListThatStaysIsKept()
{
    const auto folder = CoreFixture::folderAt(u"/d"_s);
    show({folder, CoreFixture::folderAt(u"/d/e"_s)});
    const auto other = model().files().last();
    model().selectNext();
    settle();

    model().showFiles({folder}, ResultType::search);

    QCOMPARE(folder->_children.size(), 2);
    QVERIFY(other->_children.isEmpty());
}

void tst_FileBrowserModel::aHundredThousandEntriesAreEnteredAndLeft()
{
    for (int i = 0; i < 100'000; ++i)
        disk().addFile(u"/big/x/"_s + QString::number((i * 7919) % 100'000));
    show({CoreFixture::folderAt(u"/big"_s)});
    model().moveIntoFolder();
    settle();
    QTRY_COMPARE(model().details().size(), 100'000);
    model().moveIntoFolder();
    settle();

    QCOMPARE(model().files().size(), 100'000);
    QCOMPARE(model().files().at(10)->fileName, u"10"_s);
    model().goBack();
    settle();
    QCOMPARE(fileNames(), QStringList(u"x"_s));
    QTRY_COMPARE(model().details().size(), 100'000);
}

QTEST_GUILESS_MAIN(tst_FileBrowserModel)
#include "tst_FileBrowserModel.moc"
