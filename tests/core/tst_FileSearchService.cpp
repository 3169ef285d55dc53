// SPDX-License-Identifier: GPL-3.0-or-later
#include "CoreFixture.h"
#include "support/CapturedOutput.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vellumhound;
using namespace vellumhound::core;
using fakes::FakeMetadataQuery;
using settings::PathRule;

class tst_FileSearchService final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aQueryAsksForTheNameWithinTheScopes();
    void aQueryByContentAsksForTheTextToo();
    void contentIsFoundOnlyIfAskedFor();
    void theSettingsAreReadAfresh();
    void hitsBecomeRowsBatchByBatch();
    void theOldRowsStayUntilTheFirstBatch();
    void aSearchWithoutHitsEndsWithAnEmptyList();
    void theEndSortsAndSelectsTheFirstRow();
    void theFolderRulesApply();
    void manyExcludedHitsDoNotHideTheOthers();
    void aTextThatIsOutOfDateChangesNothing_data();
    void aTextThatIsOutOfDateChangesNothing();
    void typingOnLeavesOnlyTheNewList();
    void aSearchCancelledBeforeItBeganStillEnds();
    void cancellingStopsTheIndexAtOnce();
    void aSearchOfTheSameTextTakesTheOldOnesPlace();
    void batchesLandAfterTheTextHasGoneEmpty();
    void rowsThatCameAfterHomeWasShownGoWithTheSearch();
    void rowsStayWhereTheWayBackEmptiedTheBox();
    void aSearchEndsForTheTopLevelOfAUserWhoIsBelow();
    void theFirstBatchLeavesTheLevelOnScreenAsItIs();
    void aSearchThatWasTypedBelowTakesTheLevelsPlace();
    void aPathListEndsForTheTopLevelOfAUserWhoIsBelow();
    void aBlankTypedWhileGatheringLeavesNoSpinner();
    void aTextThatStartsNoSearchLeavesNoSpinner();
    void aCancelledSearchShowsNoFinalList();
    void aSearchThatEndsBehindHomeDoesNotFlashTheBrowser();
    void aListFromElsewhereSurvivesTheEndBehindAnEmptyBox();
    void typingWhileABatchIsHandledEndsWithTheNewListAlone();
    void anIndexThatCannotBeginIsReported();
    void theServiceMaySearchAgainAfterAFailure();
    void aPathIsListedWithoutTheIndex();
    void aPathThatLeadsNowhereIsAnEmptyListWithoutAMessage();
    void aPathListPassesNeitherRulesNorLimit();
    void aPathListThatIsOutOfDateIsDropped();
    void aHungPathIsLeftBehindByTheNextSearch();
    void aMegabyteOfTextIsSearchedLikeAnyOther();

private:
    std::unique_ptr<CoreFixture> _core;
    int _batches = 0;
    int _ends = 0;

    FileBrowserModel &model() { return *_core->model; }
    FakeMetadataQuery &index() { return _core->index; }
    QStringList fileNames() { return CoreFixture::names(model().files()); }
    void settle()
    {
        _core->queue.drain();
        QVERIFY(model().isConsistent());
    }
    /// As the box and the list do it: the one before is cancelled, the new one takes its place.
    void begin(const QString &text)
    {
        if (_core->service.searchTask)
            _core->service.searchTask->cancel();
        _core->service.searchTask = _core->service.performSearch(
            text, model(), [this] { ++_batches; }, [this] { ++_ends; });
    }
    void search(const QString &text)
    {
        model().setSearchText(text);
        begin(text);
        settle();
    }
    void find(const QStringList &paths)
    {
        for (const auto &path : paths)
            index().append({FakeMetadataQuery::item(path)});
        index().postProgress();
        settle();
    }
    void findFolder(const QString &path)
    {
        index().append({FakeMetadataQuery::item(path,
            {{QString::fromUtf16(platform::NSMetadataItemContentTypeKey), u"public.folder"_s}})});
        find({});
    }
    void finish()
    {
        index().postFinish();
        settle();
    }
    void searchByContent()
    {
        _core->change<settings::SearchSettingsData>(
            [](auto &record) { record.searchByContent = true; });
    }
    void setRules(const settings::PathRules &rules)
    {
        _core->change<settings::SearchFiltersSettingsData>(
            [&](auto &record) { record = settings::SearchFiltersSettingsData(rules); });
    }
};

void tst_FileSearchService::init()
{
    _batches = 0;
    _ends = 0;
    _core = std::make_unique<CoreFixture>();
}

void tst_FileSearchService::cleanup()
{
    _core.reset();
}

void tst_FileSearchService::aQueryAsksForTheNameWithinTheScopes()
{
    setRules({PathRule{u"/a"_s, true}, PathRule{u"~/b"_s, true}});

    search(u"Word \"x\""_s);

    const platform::MetadataPredicate expected{
        {{QString::fromUtf16(platform::NSMetadataItemDisplayNameKey), u"Word \"x\""_s}}};
    QVERIFY(index().predicate == expected);
    QCOMPARE(index().scopes, QStringList({u"/a"_s, u"~/b"_s}));
    QVERIFY(index().sortDescriptors.isEmpty());
    QVERIFY(index().isRunning);
    QVERIFY(model().searchStatus().isSearching());
}

void tst_FileSearchService::aQueryByContentAsksForTheTextToo()
{
    searchByContent();

    search(u"word"_s);

    const platform::MetadataPredicate expected{
        {{QString::fromUtf16(platform::NSMetadataItemDisplayNameKey), u"word"_s},
            {QString::fromUtf16(platform::NSMetadataItemTextContentKey), u"word"_s}}};
    QVERIFY(index().predicate == expected);
}

void tst_FileSearchService::contentIsFoundOnlyIfAskedFor()
{
    const QList<FakeMetadataQuery::Item> items{FakeMetadataQuery::item(u"/d/letter"_s,
        {{QString::fromUtf16(platform::NSMetadataItemTextContentKey), u"Some words"_s}})};
    search(u"word"_s);
    index().appendMatching(items);
    finish();
    QVERIFY(fileNames().isEmpty());

    searchByContent();
    search(u"word"_s);
    index().appendMatching(items);
    finish();

    QCOMPARE(fileNames(), QStringList(u"letter"_s));
}

void tst_FileSearchService::theSettingsAreReadAfresh()
{
    setRules({PathRule{u"/a"_s, true}});
    search(u"word"_s);
    setRules({PathRule{u"/b"_s, true}});

    search(u"words"_s);

    QCOMPARE(index().scopes, QStringList(u"/b"_s));
}

void tst_FileSearchService::hitsBecomeRowsBatchByBatch()
{
    search(u"a"_s);
    index().append({FakeMetadataQuery::item(
        u"/d/a.txt"_s, {{QString::fromUtf16(platform::NSMetadataItemFSSizeKey), qint64(9)},
                           {QString::fromUtf16(platform::NSMetadataItemContentTypeKey),
                               u"public.plain-text"_s}})});
    find({u"/d/b"_s});
    find({u"/d/c"_s});

    QCOMPARE(_batches, 2);
    QCOMPARE(fileNames(), QStringList({u"a.txt"_s, u"b"_s, u"c"_s}));
    const auto &file = *model().files().first();
    QCOMPARE(file.path, u"/d/a.txt"_s);
    QCOMPARE(file.fileSize, std::optional<std::int64_t>(9));
    QVERIFY(file.contentType == base::UTType::plainText());
    QVERIFY(!file._parent);
    QVERIFY(model().searchStatus().isSearching());
    finish();
    QVERIFY(model().searchStatus() == SearchStatus::results(3));
    QCOMPARE(_ends, 1);
}

void tst_FileSearchService::theOldRowsStayUntilTheFirstBatch()
{
    search(u"a"_s);
    find({u"/d/a"_s});
    finish();

    search(u"b"_s);
    QCOMPARE(fileNames(), QStringList(u"a"_s));
    QVERIFY(model().searchStatus().isSearching());
    find({u"/d/b"_s});

    QCOMPARE(fileNames(), QStringList(u"b"_s));
    QCOMPARE(model().searchText(), u"b"_s);
}

void tst_FileSearchService::aSearchWithoutHitsEndsWithAnEmptyList()
{
    search(u"a"_s);
    find({u"/d/a"_s});
    finish();
    search(u"none"_s);

    finish();

    QVERIFY(model().files().isEmpty());
    QCOMPARE(model().currentSearchedText(), u"none"_s);
    QVERIFY(model().searchStatus() == SearchStatus::results(0));
    QCOMPARE(_batches, 1);
    QCOMPARE(_ends, 2);
}

void tst_FileSearchService::theEndSortsAndSelectsTheFirstRow()
{
    search(u"a"_s);
    find({u"/d/a"_s, u"/d/b"_s});
    model().selectNext();
    index().append({FakeMetadataQuery::item(u"/d/folder"_s,
        {{QString::fromUtf16(platform::NSMetadataItemContentTypeKey), u"public.folder"_s}})});
    find({});
    _core->sortResults(settings::SortOption::foldersFirst);

    finish();

    QCOMPARE(fileNames(), QStringList({u"folder"_s, u"a"_s, u"b"_s}));
    QCOMPARE(model().selectedFile(), model().files().first());
    QCOMPARE(model().resultType(), ResultType::search);
}

void tst_FileSearchService::theFolderRulesApply()
{
    setRules({PathRule{u"/a"_s, true}, PathRule{u"/a/b"_s, false}, PathRule{u"/a/b/c"_s, true}});
    search(u"x"_s);

    find({u"/a/b/x1"_s, u"/a/x2"_s, u"/a/b/c/x3"_s, u"/a/bc/x4"_s});
    finish();

    QCOMPARE(fileNames(), QStringList({u"x2"_s, u"x3"_s, u"x4"_s}));
}

void tst_FileSearchService::manyExcludedHitsDoNotHideTheOthers()
{
    setRules({PathRule{u"/a"_s, true}, PathRule{u"/a/b"_s, false}});
    search(u"x"_s);
    QStringList paths;
    for (int i = 0; i < 5000; ++i)
        paths.append(u"/a/b/x"_s + QString::number(i));
    for (int i = 0; i < 100; ++i)
        paths.append(u"/a/x"_s + QString::number(i));

    find(paths);

    QCOMPARE(model().files().size(), 100);
    QCOMPARE(model().files().first()->path, u"/a/x0"_s);
    QVERIFY(model().searchStatus() == SearchStatus::results(100));
    QVERIFY(!index().isRunning);
}

void tst_FileSearchService::aTextThatIsOutOfDateChangesNothing_data()
{
    QTest::addColumn<QString>("box");
    QTest::newRow("blank at the end") << u"a "_s;
    QTest::newRow("blank at the start") << u" a"_s;
    QTest::newRow("typed on") << u"ab"_s;
    QTest::newRow("other case") << u"A"_s;
}

void tst_FileSearchService::aTextThatIsOutOfDateChangesNothing()
{
    QFETCH(QString, box);
    search(u"old"_s);
    find({u"/d/old"_s});
    finish();
    const int starts = index().startCount;
    model().setSearchText(box);

    begin(u"a"_s);
    settle();

    QCOMPARE(index().startCount, starts);
    QCOMPARE(fileNames(), QStringList(u"old"_s));
    QVERIFY(model().searchStatus() == SearchStatus::results(1));
    QCOMPARE(_ends, 2);
}

void tst_FileSearchService::typingOnLeavesOnlyTheNewList()
{
    search(u"a"_s);
    index().append({FakeMetadataQuery::item(u"/d/a1"_s)});
    index().postProgress();  // the batch waits to be handled when the next letter comes
    model().setSearchText(u"ab"_s);
    begin(u"ab"_s);
    settle();
    QCOMPARE(index().startCount, 2);
    QVERIFY(index().isRunning);

    find({u"/d/ab"_s});
    finish();

    QCOMPARE(fileNames(), QStringList(u"ab"_s));
    QVERIFY(model().searchStatus() == SearchStatus::results(1));
    QCOMPARE(model().currentSearchedText(), u"ab"_s);
    QCOMPARE(_ends, 2);
}

void tst_FileSearchService::aSearchCancelledBeforeItBeganStillEnds()
{
    model().setSearchText(u"a"_s);
    begin(u"a"_s);
    model().setSearchText(u"b"_s);
    begin(u"b"_s);
    settle();

    QCOMPARE(_ends, 1);
    QCOMPARE(index().startCount, 1);
    QVERIFY(index().isRunning);
    finish();
    QCOMPARE(_ends, 2);
}

void tst_FileSearchService::cancellingStopsTheIndexAtOnce()
{
    search(u"a"_s);

    _core->service.searchTask->cancel();

    QVERIFY(!index().isRunning);
    settle();
    QVERIFY(_core->service.searchTask->isFinished());
    QCOMPARE(_ends, 1);
}

void tst_FileSearchService::aSearchOfTheSameTextTakesTheOldOnesPlace()
{
    search(u"a"_s);
    find({u"/d/a1"_s});

    search(u"a"_s);
    QVERIFY(model().searchStatus().isSearching());
    find({u"/d/a2"_s});
    finish();

    QCOMPARE(fileNames(), QStringList(u"a2"_s));
    QCOMPARE(_ends, 2);
}

void tst_FileSearchService::batchesLandAfterTheTextHasGoneEmpty()
{
    search(u"a"_s);
    model().reset(ClearText::yes, SearchStatus::noResults());

    find({u"/d/a"_s});
    QCOMPARE(fileNames(), QStringList(u"a"_s));
    QVERIFY(!model().searchStatus().isResults());
    finish();

    // The end of it leaves no spinner behind that nothing would stop.
    QVERIFY(model().searchStatus().isNoResults());
    QVERIFY(fileNames().isEmpty());
    QCOMPARE(_ends, 1);
}

void tst_FileSearchService::rowsStayWhereTheWayBackEmptiedTheBox()
{
    _core->disk->addFile(u"/d/folder/inside"_s);
    search(u"f"_s);
    findFolder(u"/d/folder"_s);
    model().moveIntoFolder();
    settle();
    QCOMPARE(fileNames(), QStringList(u"inside"_s));
    model().goBack();
    settle();

    finish();

    QCOMPARE(fileNames(), QStringList(u"folder"_s));
    QCOMPARE(model().searchText(), u"f"_s);
    QVERIFY(model().searchStatus() == SearchStatus::results(1));
}

void tst_FileSearchService::aSearchEndsForTheTopLevelOfAUserWhoIsBelow()
{
    _core->disk->addFile(u"/d/folder/inside"_s);
    search(u"f"_s);
    findFolder(u"/d/folder"_s);
    model().moveIntoFolder();
    settle();

    find({u"/d/f2"_s});
    QCOMPARE(fileNames(), QStringList(u"inside"_s));
    QVERIFY(model().searchStatus().isSearching());
    finish();

    QVERIFY(model().searchStatus() == SearchStatus::results(2));
    QCOMPARE(fileNames(), QStringList(u"inside"_s));
    QCOMPARE(model().searchText(), u"/d/folder/"_s);
    model().goBack();
    settle();
    QCOMPARE(fileNames(), QStringList({u"folder"_s, u"f2"_s}));
    QCOMPARE(model().searchText(), u"f"_s);
}

void tst_FileSearchService::theFirstBatchLeavesTheLevelOnScreenAsItIs()
{
    _core->disk->addFile(u"/d/folder/inside"_s);
    search(u"old"_s);
    findFolder(u"/d/folder"_s);
    finish();
    search(u"new"_s);
    model().moveIntoFolder();
    settle();
    const auto selected = model().selectedFile();

    find({u"/d/new1"_s});
    QCOMPARE(fileNames(), QStringList(u"inside"_s));
    QCOMPARE(model().selectedFile(), selected);
    QVERIFY(!model().root());
    find({u"/d/new2"_s});
    finish();

    QVERIFY(model().searchStatus() == SearchStatus::results(2));
    model().goBack();
    settle();
    QCOMPARE(fileNames(), QStringList({u"new1"_s, u"new2"_s}));
    QCOMPARE(model().searchText(), u"new"_s);
}

void tst_FileSearchService::aSearchThatWasTypedBelowTakesTheLevelsPlace()
{
    _core->disk->addFile(u"/d/folder/inside"_s);
    search(u"old"_s);
    findFolder(u"/d/folder"_s);
    finish();
    model().moveIntoFolder();
    settle();

    search(u"new"_s);
    QCOMPARE(fileNames(), QStringList(u"inside"_s));
    find({u"/d/new"_s});

    QVERIFY(model().root());
    QCOMPARE(fileNames(), QStringList(u"new"_s));
    finish();
    QVERIFY(model().searchStatus() == SearchStatus::results(1));
}

void tst_FileSearchService::aPathListEndsForTheTopLevelOfAUserWhoIsBelow()
{
    _core->disk->addFile(u"/d/folder/inside"_s);
    _core->disk->addFile(u"/slow/a"_s);
    search(u"old"_s);
    findFolder(u"/d/folder"_s);
    finish();
    _core->disk->hang(u"/slow"_s);
    search(u"/slow"_s);
    model().moveIntoFolder();
    settle();

    _core->disk->release(u"/slow"_s);
    QTRY_COMPARE(_ends, 2);

    QVERIFY(model().searchStatus() == SearchStatus::results(1));
    QCOMPARE(fileNames(), QStringList(u"inside"_s));
    model().goBack();
    settle();
    QCOMPARE(fileNames(), QStringList(u"a"_s));
    QCOMPARE(model().searchText(), u"/slow"_s);
}

void tst_FileSearchService::aBlankTypedWhileGatheringLeavesNoSpinner()
{
    search(u"a"_s);
    find({u"/d/a"_s});
    model().setSearchText(u"a "_s);

    finish();

    QVERIFY(model().searchStatus() == SearchStatus::results(1));
    QCOMPARE(fileNames(), QStringList(u"a"_s));
    QCOMPARE(model().searchText(), u"a "_s);
}

void tst_FileSearchService::aTextThatStartsNoSearchLeavesNoSpinner()
{
    search(u"a"_s);
    find({u"/d/a"_s});
    model().setSearchText(u"ab "_s);

    finish();

    QVERIFY(model().searchStatus() == SearchStatus::results(1));
    QCOMPARE(fileNames(), QStringList(u"a"_s));
}

void tst_FileSearchService::aCancelledSearchShowsNoFinalList()
{
    search(u"a"_s);
    find({u"/d/b"_s, u"/d/a"_s});
    model().selectNext();

    _core->service.searchTask->cancel();
    settle();

    QVERIFY(model().searchStatus().isSearching());
    QCOMPARE(model().selectedFile(), model().files().at(1));
    QCOMPARE(_ends, 1);
}

void tst_FileSearchService::aSearchThatEndsBehindHomeDoesNotFlashTheBrowser()
{
    search(u"a"_s);
    model().reset(ClearText::yes, SearchStatus::noResults());
    const QSignalSpy changes(&model(), &FileBrowserModel::searchStatusChanged);

    finish();

    QCOMPARE(_ends, 1);
    QCOMPARE(changes.count(), 0);
}

void tst_FileSearchService::aListFromElsewhereSurvivesTheEndBehindAnEmptyBox()
{
    search(u"a"_s);
    model().reset(ClearText::yes, SearchStatus::noResults());
    const FileList windows{CoreFixture::folderAt(u"/w"_s)};
    model().showFiles(windows, ResultType::browseFinderWindows);

    finish();

    QCOMPARE(_ends, 1);
    QCOMPARE(model().files(), windows);
    QCOMPARE(model().resultType(), ResultType::browseFinderWindows);
}

void tst_FileSearchService::typingWhileABatchIsHandledEndsWithTheNewListAlone()
{
    QList<QStringList> shown;
    model().setSearchText(u"a"_s);
    _core->service.searchTask = _core->service.performSearch(
        u"a"_s, model(),
        [&] {
            shown.append(fileNames());
            model().setSearchText(u"ab"_s);
            begin(u"ab"_s);
        },
        [this] { ++_ends; });
    settle();

    find({u"/d/a1"_s});
    QCOMPARE(shown, QList<QStringList>({{u"a1"_s}}));
    QCOMPARE(_ends, 1);
    QCOMPARE(index().startCount, 2);
    QVERIFY(index().isRunning);
    find({u"/d/ab"_s});
    finish();

    QCOMPARE(fileNames(), QStringList(u"ab"_s));
    QVERIFY(model().searchStatus() == SearchStatus::results(1));
    QCOMPARE(_ends, 2);
}

void tst_FileSearchService::anIndexThatCannotBeginIsReported()
{
    index().refusesToStart = true;
    support::CapturedOutput output;

    search(u"a"_s);

    const auto text = output.text();
    QCOMPARE(text, QByteArray("Search failed: The file index could not begin the query.\n"));
    QVERIFY(model().searchText().isEmpty());
    QVERIFY(model().searchStatus().isNoResults());
    QCOMPARE(_ends, 1);
}

void tst_FileSearchService::rowsThatCameAfterHomeWasShownGoWithTheSearch()
{
    search(u"a"_s);
    find({u"/d/a1"_s});
    model().reset(ClearText::yes, SearchStatus::noResults());

    find({u"/d/a2"_s});
    finish();

    QVERIFY(model().files().isEmpty());
    QVERIFY(!model().selectedFile());
    QVERIFY(!model().hasActiveContent());
    QVERIFY(model().searchStatus().isNoResults());
}

void tst_FileSearchService::theServiceMaySearchAgainAfterAFailure()
{
    index().refusesToStart = true;
    {
        const support::CapturedOutput output;
        search(u"a"_s);
    }
    index().refusesToStart = false;

    search(u"b"_s);
    find({u"/d/b"_s});
    finish();

    QCOMPARE(fileNames(), QStringList(u"b"_s));
}

void tst_FileSearchService::aPathIsListedWithoutTheIndex()
{
    _core->disk->addFile(u"/d/a"_s);
    _core->disk->addFile(u"/d/b"_s);

    search(u"/d/"_s);
    QVERIFY(model().searchStatus().isSearching());

    QTRY_COMPARE(_ends, 1);
    settle();
    QCOMPARE(fileNames(), QStringList({u"a"_s, u"b"_s}));
    QVERIFY(model().searchStatus() == SearchStatus::results(2));
    QVERIFY(model().root());
    QCOMPARE(index().startCount, 0);
}

void tst_FileSearchService::aPathThatLeadsNowhereIsAnEmptyListWithoutAMessage()
{
    support::CapturedOutput output;
    search(u"/gone/x"_s);
    const bool hasEnded = QTest::qWaitFor([&] { return _ends == 1; });
    const auto text = output.text();

    QVERIFY(hasEnded);
    QCOMPARE(text, QByteArray());
    QVERIFY(model().searchStatus() == SearchStatus::results(0));
}

void tst_FileSearchService::aPathListPassesNeitherRulesNorLimit()
{
    setRules({PathRule{u"/a"_s, true}, PathRule{u"/d"_s, false}});
    for (int i = 0; i < 250; ++i)
        _core->disk->addFile(u"/d/"_s + QString::number(i));

    search(u"/d"_s);

    QTRY_COMPARE(model().files().size(), 250);
}

void tst_FileSearchService::aPathListThatIsOutOfDateIsDropped()
{
    _core->disk->addFile(u"/d/a"_s);
    _core->disk->hang(u"/d"_s);
    search(u"/d"_s);

    model().setSearchText(u"/dx"_s);
    _core->disk->release(u"/d"_s);

    QTRY_COMPARE(_ends, 1);
    QVERIFY(model().files().isEmpty());
    QVERIFY(model().searchStatus().isSearching());
}

void tst_FileSearchService::aHungPathIsLeftBehindByTheNextSearch()
{
    _core->disk->addFile(u"/d/a"_s);
    _core->disk->addFile(u"/e/b"_s);
    _core->disk->hang(u"/d"_s);
    search(u"/d"_s);

    search(u"/e"_s);
    QTRY_COMPARE(_ends, 2);
    QCOMPARE(fileNames(), QStringList(u"b"_s));

    _core->disk->release(u"/d"_s);
    QTRY_VERIFY(_core->disk->listingCount(u"/d"_s) == 1);
    settle();
    QCOMPARE(fileNames(), QStringList(u"b"_s));
}

void tst_FileSearchService::aMegabyteOfTextIsSearchedLikeAnyOther()
{
    const QString flood(1 << 20, u'x');
    search(flood);
    QCOMPARE(index().predicate.anyOf.first().text.size(), flood.size());
    finish();
    QVERIFY(model().searchStatus() == SearchStatus::results(0));

    search(u"~/"_s + flood);
    QTRY_COMPARE(_ends, 2);
    QVERIFY(model().searchStatus() == SearchStatus::results(0));
}

QTEST_GUILESS_MAIN(tst_FileSearchService)
#include "tst_FileSearchService.moc"
