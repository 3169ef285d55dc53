// SPDX-License-Identifier: GPL-3.0-or-later
#include "ScreenFixture.h"

#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::screens;
using namespace Qt::StringLiterals;
using core::ResultType;
using core::SearchStatus;
using keyboard::FocusArea;
namespace Flags = base::ModifierFlags;
namespace KeyCode = base::KeyCode;

class TestFileSearchView : public QObject {
    Q_OBJECT

    std::unique_ptr<ScreenFixture> _screen;
    core::FileBrowserModel &model() { return *_screen->model; }

private Q_SLOTS:
    void init() { _screen = std::make_unique<ScreenFixture>(); }
    void cleanup() { _screen.reset(); }

    void theRowShowsWhereTheListComesFrom_data()
    {
        QTest::addColumn<ResultType>("type");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("placeholder");
        QTest::newRow("search") << ResultType::search << u"magnifyingglass"_s
                                << u"Search Files or Folders"_s;
        QTest::newRow("favorites") << ResultType::favorites << u"star.fill"_s << u"Favorites"_s;
        QTest::newRow("selected") << ResultType::selectedFilesFromFinder
                                  << u"macwindow.and.cursorarrow"_s
                                  << u"Selected Files from Finder"_s;
        QTest::newRow("windows") << ResultType::browseFinderWindows
                                 << u"macwindow.on.rectangle.rtl"_s << u"Finder Windows"_s;
    }
    void theRowShowsWhereTheListComesFrom()
    {
        QFETCH(ResultType, type);
        QFETCH(QString, symbol);
        QFETCH(QString, placeholder);

        const auto atRoot = describeSearchRow({type, SearchStatus::results(1), true, true});
        const auto below = describeSearchRow({type, SearchStatus::results(1), false, true});

        QCOMPARE(atRoot.leading, SearchRowLeading::resultTypeSymbol);
        QCOMPARE(atRoot.leadingSymbol, symbol);
        QCOMPARE(atRoot.placeholder, placeholder);
        QCOMPARE(below.leading, SearchRowLeading::backButton);
        QCOMPARE(below.leadingSymbol, u"arrowshape.backward.fill"_s);
    }

    void theSpinnerComesBeforeTheClearButtonAndBothBeforeTheEmptySlot()
    {
        const auto trailing = [](const SearchStatus &status, bool hasContent) {
            return describeSearchRow({ResultType::search, status, true, hasContent}).trailing;
        };

        QCOMPARE(trailing(SearchStatus::searching(), true), SearchRowTrailing::spinner);
        QCOMPARE(trailing(SearchStatus::results(0), true), SearchRowTrailing::clearButton);
        QCOMPARE(trailing(SearchStatus::noResults(), false), SearchRowTrailing::nothing);
    }

    void typingAThirdLetterWithinThePauseSearchesOnceForAllThree()
    {
        _screen->type(u"r"_s);
        _screen->type(u"re"_s);
        _screen->timer.advance(std::chrono::milliseconds(299));
        _screen->type(u"rep"_s);
        _screen->timer.advance(std::chrono::milliseconds(299));
        _screen->queue.drain();
        QCOMPARE(_screen->index.startCount, 0);

        _screen->timer.advance(std::chrono::milliseconds(1));
        _screen->queue.drain();

        QCOMPARE(_screen->index.startCount, 1);
        QCOMPARE(_screen->index.predicate.anyOf.first().text, u"rep"_s);
    }

    void aTrailingBlankStartsNoSearchAndTheListStays()
    {
        _screen->searchFor(u"report"_s, {u"/home/a/report.txt"_s});

        _screen->type(u"report "_s);
        _screen->letThePausePass();

        QCOMPARE(_screen->index.startCount, 1);
        QCOMPARE(_screen->rows(), QStringList{u"report.txt"_s});
        QCOMPARE(model().searchText(), u"report "_s);
        QCOMPARE(model().searchStatus(), SearchStatus::results(1));
    }

    void aStalePauseLeavesANewerSearchAlone()
    {
        _screen->type(u"ab"_s);
        _screen->press(KeyCode::down);
        _screen->press(KeyCode::f, 0, u"c"_s);
        QCOMPARE(_screen->index.startCount, 1);
        _screen->index.append({fakes::FakeMetadataQuery::item(u"/d/abc"_s)});
        _screen->index.postProgress();

        _screen->letThePausePass();

        QVERIFY(_screen->index.isRunning);
        QCOMPARE(model().searchStatus(), SearchStatus::searching());
        _screen->answer({u"/d/abc2"_s});
        QCOMPARE(_screen->index.startCount, 1);
        QCOMPARE(_screen->rows(), QStringList({u"abc"_s, u"abc2"_s}));
        QCOMPARE(model().searchStatus(), SearchStatus::results(2));
    }

    void whatWasTypedIsSearchedThoughTheFocusHasMovedOn()
    {
        _screen->type(u"ab"_s);
        _screen->press(KeyCode::down);

        _screen->letThePausePass();

        QCOMPARE(_screen->index.startCount, 1);
        QCOMPARE(_screen->index.predicate.anyOf.first().text, u"ab"_s);
    }

    void aTextThatWaitsIsDroppedOnTheWayDown()
    {
        _screen->disk->addFile(u"/d/folder/inside"_s);
        model().setSearchText(u"a"_s);
        model().showFiles({core::CoreFixture::folderAt(u"/d/folder"_s)}, ResultType::search);
        _screen->type(u"ab"_s);
        _screen->press(KeyCode::down);
        _screen->press(KeyCode::right);

        _screen->letThePausePass();

        QVERIFY(!_screen->service.searchTask);
        QCOMPARE(_screen->rows(), QStringList{u"inside"_s});
        QVERIFY(!model().root());
    }

    void aBlankTypedWhileGatheringStartsAndCancelsNothing_data()
    {
        QTest::addColumn<QString>("box");
        QTest::newRow("the same text") << u"ab "_s;
        QTest::newRow("another text") << u"abc "_s;
    }
    void aBlankTypedWhileGatheringStartsAndCancelsNothing()
    {
        QFETCH(QString, box);
        _screen->type(u"ab"_s);
        _screen->letThePausePass();

        _screen->type(box);
        _screen->letThePausePass();

        QCOMPARE(_screen->index.startCount, 1);
        QVERIFY(_screen->index.isRunning);
        _screen->answer({u"/d/ab"_s});
        QCOMPARE(_screen->rows(), QStringList{u"ab"_s});
        QCOMPARE(model().searchStatus(), SearchStatus::results(1));
    }

    void theSameTextTypedAgainIsSearchedAgain()
    {
        _screen->searchFor(u"ab"_s, {u"/d/ab"_s});

        _screen->type(u"a"_s);
        _screen->type(u"ab"_s);
        _screen->letThePausePass();

        QCOMPARE(_screen->index.startCount, 2);
    }

    void deletingAllTextLeadsHomeAfterThePauseAndCancelsNothing()
    {
        _screen->type(u"report"_s);
        _screen->letThePausePass();
        QVERIFY(_screen->index.isRunning);

        _screen->type(QString());
        QCOMPARE(model().searchStatus(), SearchStatus::searching());
        _screen->letThePausePass();

        QCOMPARE(model().searchStatus(), SearchStatus::noResults());
        QVERIFY(_screen->index.isRunning);
    }

    void blanksAloneVanishAndHomeShows()
    {
        _screen->type(u"   "_s);

        _screen->letThePausePass();

        QCOMPARE(model().searchText(), QString());
        QCOMPARE(model().searchStatus(), SearchStatus::noResults());
    }

    void withNothingToClearThereIsNoButton()
    {
        QCOMPARE(_screen->search.description().trailing, SearchRowTrailing::nothing);
    }

    void theClearActionEndsTheSearchAndDropsTheWaitingText()
    {
        _screen->type(u"report"_s);
        _screen->letThePausePass();
        _screen->type(u"reports"_s);

        _screen->search.clear();
        _screen->queue.drain();
        _screen->letThePausePass();

        QVERIFY(!_screen->index.isRunning);
        QVERIFY(!_screen->service.searchTask);
        QCOMPARE(_screen->index.startCount, 1);
        QCOMPARE(model().searchText(), QString());
        QCOMPARE(model().searchStatus(), SearchStatus::noResults());
    }

    void aChangeOfTheTextOutsideTheBoxStartsNothing()
    {
        _screen->focusOn(FocusArea::results);

        model().setSearchText(u"report"_s);
        _screen->letThePausePass();

        QCOMPARE(_screen->index.startCount, 0);
    }

    void movingToTheListRecordsTheTrimmedText()
    {
        _screen->type(u" report "_s);

        _screen->press(KeyCode::down);

        QCOMPARE(_screen->focus.area(), FocusArea::results);
        QCOMPARE(_screen->recordedSearches(), QStringList{u"report"_s});
    }

    void movingToTheListWithAnEmptyBoxRecordsNothing()
    {
        _screen->focusOn(FocusArea::search);

        _screen->press(KeyCode::down);

        QVERIFY(_screen->recordedSearches().isEmpty());
    }

    void movingToTheListTwiceWithTheSameTextRecordsOnce()
    {
        _screen->type(u"report"_s);
        _screen->press(KeyCode::down);
        _screen->focusOn(FocusArea::search);

        _screen->press(KeyCode::down);

        QCOMPARE(_screen->recordedSearches(), QStringList{u"report"_s});
    }

    void awayFromThePanelNothingIsRecorded()
    {
        _screen->focusOn(FocusArea::search);
        model().setSearchText(u"abc"_s);
        _screen->search.disappear();

        _screen->focusOn(FocusArea::results);
        _screen->search.appear();

        QCOMPARE(_screen->recordedSearches(), QStringList());
    }

    void returnOpensTheFirstResultWithoutAFurtherKey_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::newRow("return") << KeyCode::returnKey;
        QTest::newRow("keypad enter") << KeyCode::keypadEnter;
    }
    void returnOpensTheFirstResultWithoutAFurtherKey()
    {
        QFETCH(int, keyCode);
        _screen->searchFor(u"report"_s, {u"/a/report.txt"_s, u"/b/report.txt"_s});

        QVERIFY(_screen->press(keyCode));

        QCOMPARE(_screen->workspace.opened, QStringList{u"/a/report.txt"_s});
    }

    void commandReturnShowsTheFileInItsFolder()
    {
        _screen->searchFor(u"report"_s, {u"/a/report.txt"_s});

        QVERIFY(_screen->press(KeyCode::returnKey, Flags::command));

        QCOMPARE(_screen->workspace.selected.size(), 1);
        QCOMPARE(_screen->workspace.selected.first().first, u"/a/report.txt"_s);
        QCOMPARE(_screen->workspace.selected.first().second, u"/a"_s);
    }

    void withoutASelectedFileReturnPasses()
    {
        _screen->focusOn(FocusArea::search);

        QVERIFY(!_screen->press(KeyCode::returnKey));
        QVERIFY(!_screen->press(KeyCode::tab));
        QVERIFY(!_screen->press(KeyCode::y, Flags::command));
    }

    void theKeysOfThePreviewAreTakenWhileAFileIsSelected()
    {
        _screen->searchFor(u"report"_s, {u"/a/report.txt"_s});

        QVERIFY(_screen->press(KeyCode::y, Flags::command));
        QVERIFY(!_screen->press(KeyCode::space, 0, u" "_s));

        QCOMPARE(_screen->previewHost.manager.calls, QStringList{u"show report.txt"_s});
    }

    void tabCompletesTheBoxToTheSelectedRowAndSearchesThatPath()
    {
        _screen->disk->addFile(u"/a/reports/one.txt"_s);
        _screen->type(u"report"_s);
        _screen->letThePausePass();
        _screen->index.append({fakes::FakeMetadataQuery::item(u"/a/reports"_s,
            {{QString::fromUtf16(platform::NSMetadataItemContentTypeKey), u"public.folder"_s}})});
        _screen->index.postFinish();
        _screen->queue.drain();

        QVERIFY(_screen->press(KeyCode::tab));
        QCOMPARE(model().searchText(), u"/a/reports/"_s);
        _screen->letThePausePass();

        QTRY_COMPARE(_screen->rows(), QStringList{u"one.txt"_s});
        QVERIFY(model().root());
    }

    void shiftTabGoesUpOneFolderInTheText()
    {
        _screen->type(u"/a/reports/one"_s);

        QVERIFY(_screen->press(KeyCode::tab, Flags::shift));
        QCOMPARE(model().searchText(), u"/a/reports/"_s);
        QVERIFY(_screen->press(KeyCode::tab, Flags::shift));
        QCOMPARE(model().searchText(), u"/a/"_s);

        _screen->type(u"report"_s);
        QVERIFY(!_screen->press(KeyCode::tab, Flags::shift));
    }

    void upAsksTheListBelow()
    {
        int count = 0;
        const auto token = _screen->center.addObserver(
            QString::fromUtf16(base::Notifications::SearchBoxArrowUpKeyEvent), nullptr,
            [&] { ++count; });
        _screen->focusOn(FocusArea::search);

        QVERIFY(_screen->press(KeyCode::up));

        QCOMPARE(count, 1);
    }

    void lettersAndSpaceAreTextHere()
    {
        _screen->focusOn(FocusArea::search);

        QVERIFY(!_screen->press(KeyCode::f, 0, u"f"_s));
        QVERIFY(!_screen->press(KeyCode::space, 0, u" "_s));
        QVERIFY(!_screen->press(KeyCode::down, Flags::shift));
    }

    void awayFromThePanelTheScreenTakesNoKeys()
    {
        _screen->focusOn(FocusArea::search);

        _screen->search.disappear();

        QVERIFY(!_screen->press(KeyCode::down));
        QVERIFY(!_screen->monitor.focusedHandler());
    }

    void leavingThePanelGivesUpTheBoxsAreaOnce()
    {
        _screen->focusOn(FocusArea::search);

        _screen->search.disappear();
        QVERIFY(!_screen->focus.area());
        // Whoever holds the same area next keeps it.
        _screen->focusOn(FocusArea::search);
        _screen->search.disappear();

        QCOMPARE(_screen->focus.area(), FocusArea::search);
    }

    void theLocksOfTheKeyboardChangeNothing()
    {
        _screen->searchFor(u"report"_s, {u"/a/report.txt"_s});
        const auto locks = Flags::capsLock | Flags::numericPad;

        QVERIFY(_screen->press(KeyCode::returnKey, locks));
        QCOMPARE(_screen->workspace.opened, QStringList{u"/a/report.txt"_s});
        QVERIFY(_screen->press(KeyCode::returnKey, locks | Flags::command));
        QCOMPARE(_screen->workspace.selected.size(), 1);
        QVERIFY(_screen->press(KeyCode::up, locks));
        QVERIFY(_screen->press(KeyCode::down, locks));
        QCOMPARE(_screen->focus.area(), FocusArea::results);
    }
};

QTEST_GUILESS_MAIN(TestFileSearchView)
#include "tst_FileSearchView.moc"
