// SPDX-License-Identifier: GPL-3.0-or-later
#include "LauncherFixture.h"
#include "store/RecentSearches.h"

#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::shell;
using namespace Qt::StringLiterals;
using core::ResultType;
using core::SearchStatus;
using keyboard::FocusArea;
using settings::StartupBehavior;
namespace Flags = base::ModifierFlags;
namespace KeyCode = base::KeyCode;
namespace Notifications = base::Notifications;

class tst_LauncherView : public QObject {
    Q_OBJECT

    std::unique_ptr<LauncherFixture> _launcher;

    LauncherView &view() { return _launcher->view; }
    core::FileBrowserModel &model() { return view().model(); }
    std::optional<FocusArea> area() { return view().focusedArea().area(); }
    fakes::FakePreviewManager &preview() { return _launcher->previewHost.manager; }
    void focusOn(std::optional<FocusArea> area)
    {
        view().focusedArea().setArea(area);
        _launcher->queue.drain();
    }
    QString focusedHandler()
    {
        const auto *handler = _launcher->monitor.focusedHandler();
        return handler ? handler->id() : u"nobody"_s;
    }
    QStringList recordedSearches()
    {
        QStringList texts;
        const auto entries =
            _launcher->context().fetch(store::FetchRequest<store::FileSearch>()).value();
        for (const auto &entry : entries)
            texts.append(entry->searchText.value_or(QString()));
        return texts;
    }
    void becomeKey() { _launcher->post(Notifications::FloatingPanelDidBecomeKeyNotification); }
    void resignKey() { _launcher->post(Notifications::FloatingPanelDidResignKeyNotification); }

private Q_SLOTS:
    void init() { _launcher = std::make_unique<LauncherFixture>(); }
    void cleanup() { _launcher.reset(); }

    void theContentFollowsFirstRunThenPaletteThenStatus();
    void onlyTheHomeStatusShowsTheHomeScreen();
    void beforeItAppearsTheViewTakesNoKeys();
    void appearingTwiceIsOnce();

    void theFirstShowingPutsTheFocusIntoTheBox();
    void aSelectedFilePutsTheFocusIntoTheList();
    void withThePaletteASelectedFileDoesNotCount();
    void aListThatIsNoSearchPutsTheFocusIntoTheListAlsoWithoutASelection();
    void theFocusIsPlacedAnewWhenItComesBackFromNowhere();
    void movingBetweenTheAreasPlacesNothingAnew();

    void commandNGoesHomeAndTheKeyGoesOn();
    void commandFSelectsTheTextAndGoesToTheBoxAndTheKeyGoesOn();
    void theApplicationsKeysNeedExactlyCommand();
    void theApplicationsKeysWorkWithoutAFocusedScreen();
    void whilePausedTheApplicationsKeysDoNothing();
    void theViewTakesItsKeysWithIt();

    void comingBackReturnsToTheAreaThatWasLeft();
    void restoringKeepsTheSessionAndMovesTheFocusToTheList();
    void aNewSearchEmptiesEverythingAndReturnsToTheBox();
    void aNewSearchKeepsTheSessionWhileThePreviewIsVisible();
    void resigningRecordsTheSearchOnlyWhenItIsKept();
    void resigningFromTheListRecordsNothing();
    void theNotificationsAreAnsweredInALaterTurn();

    void aSelectionFromTheFileManagerTakesTheFocus();
    void windowsOfTheFileManagerAreAnotherType();
    void anEmptySelectionReplacesTheRowsAndLeavesTheFocus();
    void theFileManagerIsAskedAtOnceAndShownLater();
    void aListFromTheFileManagerIsThereWhenThePanelComesUp();

    void aVisiblePreviewFollowsTheSelection();
    void anInvisiblePreviewStaysAway();
    void withoutASelectionThePreviewGoes();

    void theScreenWithTheFocusTakesTheKeys();
    void goingHomeWithTheFocusInTheListPutsItIntoTheBox();
    void aSearchBegunOnTheHomeListEndsInTheResults();
    void thePageIsToldWhileTheOldScreenStillHoldsTheFocus();

    void aSearchThatStillRunsEndsBeforeItsModelGoes_data();
    void aSearchThatStillRunsEndsBeforeItsModelGoes();
};

void tst_LauncherView::theContentFollowsFirstRunThenPaletteThenStatus()
{
    using Status = SearchStatus;

    QCOMPARE(describeLauncher({false, false, Status::noResults()}), LauncherContent::onboarding);
    QCOMPARE(describeLauncher({false, true, Status::results(1)}), LauncherContent::onboarding);
    QCOMPARE(describeLauncher({true, true, Status::noResults()}), LauncherContent::palette);
    QCOMPARE(describeLauncher({true, true, Status::results(1)}), LauncherContent::palette);
    QCOMPARE(describeLauncher({true, false, Status::noResults()}), LauncherContent::home);
    QCOMPARE(describeLauncher({true, false, Status::searching()}), LauncherContent::browser);
    QCOMPARE(describeLauncher({true, false, Status::results(0)}), LauncherContent::browser);
    QCOMPARE(describeLauncher({true, false, Status::results(7)}), LauncherContent::browser);
}

void tst_LauncherView::onlyTheHomeStatusShowsTheHomeScreen()
{
    QCOMPARE(view().content(), LauncherContent::home);

    model().setSearchText(u"x"_s);
    QCOMPARE(view().content(), LauncherContent::home);

    model().setSearchStatus(SearchStatus::searching());
    QCOMPARE(view().content(), LauncherContent::browser);

    _launcher->show({});
    QCOMPARE(view().content(), LauncherContent::browser);

    model().setShowActions(true);
    QCOMPARE(view().content(), LauncherContent::palette);

    model().setShowActions(false);
    model().reset(core::ClearText::yes, SearchStatus::noResults());
    QCOMPARE(view().content(), LauncherContent::home);
}

void tst_LauncherView::beforeItAppearsTheViewTakesNoKeys()
{
    auto &launcher = *_launcher;
    fakes::FakeKeyEventSource keys;
    keyboard::KeyboardMonitor monitor(keys, launcher.queue);
    LauncherView other({launcher.previewHost, launcher.finderManager, launcher.settings,
        launcher.defaults, launcher.service, launcher.context(), launcher.disk, launcher.background,
        monitor, launcher.center, launcher.queue, launcher.timer, launcher.workspace,
        launcher.clock, [] { return true; }});
    other.model().setSearchText(u"kept"_s);
    launcher.queue.drain();

    keys.press(KeyCode::n, Flags::command);

    QCOMPARE(other.model().searchText(), u"kept"_s);
    QVERIFY(!other.focusedArea().area());
    QVERIFY(!monitor.focusedHandler());
}

void tst_LauncherView::appearingTwiceIsOnce()
{
    _launcher->show({u"/d/a"_s});
    focusOn(FocusArea::search);

    view().appear();
    _launcher->queue.drain();

    QCOMPARE(area(), FocusArea::search);
}

void tst_LauncherView::theFirstShowingPutsTheFocusIntoTheBox()
{
    QCOMPARE(area(), FocusArea::search);

    becomeKey();

    QCOMPARE(area(), FocusArea::search);
    QCOMPARE(focusedHandler(), u"FileSearchView"_s);
}

void tst_LauncherView::aSelectedFilePutsTheFocusIntoTheList()
{
    _launcher->show({u"/d/a"_s});

    focusOn(std::nullopt);

    QCOMPARE(area(), FocusArea::results);
}

void tst_LauncherView::withThePaletteASelectedFileDoesNotCount()
{
    _launcher->show({u"/d/a"_s});
    model().setShowActions(true);
    focusOn(std::nullopt);
    QCOMPARE(area(), FocusArea::search);

    // With a list from elsewhere the rows decide.
    _launcher->show({u"/d/a"_s}, ResultType::favorites);
    model().setShowActions(true);
    focusOn(std::nullopt);
    QCOMPARE(area(), FocusArea::results);
}

void tst_LauncherView::aListThatIsNoSearchPutsTheFocusIntoTheListAlsoWithoutASelection()
{
    _launcher->show({u"/d/a"_s}, ResultType::browseFinderWindows);
    model().setSelectedFile(nullptr);
    focusOn(std::nullopt);
    QCOMPARE(area(), FocusArea::results);

    _launcher->show({}, ResultType::browseFinderWindows);
    focusOn(std::nullopt);
    QCOMPARE(area(), FocusArea::search);

    _launcher->show({u"/d/a"_s});
    model().setSelectedFile(nullptr);
    focusOn(std::nullopt);
    QCOMPARE(area(), FocusArea::search);
}

void tst_LauncherView::theFocusIsPlacedAnewWhenItComesBackFromNowhere()
{
    _launcher->show({u"/d/a"_s});
    focusOn(FocusArea::search);

    // Away and back in one go: the state decides where, not the last word.
    view().focusedArea().setArea(std::nullopt);
    view().focusedArea().setArea(FocusArea::search);
    _launcher->queue.drain();

    QCOMPARE(area(), FocusArea::results);
}

void tst_LauncherView::movingBetweenTheAreasPlacesNothingAnew()
{
    _launcher->show({u"/d/a"_s});

    focusOn(FocusArea::results);
    focusOn(FocusArea::search);

    QCOMPARE(area(), FocusArea::search);
}

void tst_LauncherView::commandNGoesHomeAndTheKeyGoesOn()
{
    model().setSearchText(u"abc"_s);
    _launcher->show({u"/d/a"_s});

    const bool isConsumed = _launcher->press(KeyCode::n, Flags::command);

    QVERIFY(!isConsumed);
    QCOMPARE(model().searchText(), QString());
    QVERIFY(model().files().isEmpty());
    QCOMPARE(view().content(), LauncherContent::home);
}

void tst_LauncherView::commandFSelectsTheTextAndGoesToTheBoxAndTheKeyGoesOn()
{
    _launcher->show({u"/d/a"_s});
    focusOn(FocusArea::results);

    const bool isConsumed = _launcher->press(KeyCode::f, Flags::command);

    QVERIFY(!isConsumed);
    QVERIFY(model().selectSearchText());
    QCOMPARE(area(), FocusArea::search);
}

void tst_LauncherView::theApplicationsKeysNeedExactlyCommand()
{
    model().setSearchText(u"abc"_s);
    for (const auto modifiers : {0U, Flags::shift, Flags::command | Flags::shift,
             Flags::command | Flags::option, Flags::command | Flags::control}) {
        _launcher->press(KeyCode::n, modifiers);
        _launcher->press(KeyCode::f, modifiers);
    }
    QCOMPARE(model().searchText(), u"abc"_s);
    QVERIFY(!model().selectSearchText());

    _launcher->press(KeyCode::n, Flags::command | Flags::capsLock);
    QCOMPARE(model().searchText(), QString());
}

void tst_LauncherView::theApplicationsKeysWorkWithoutAFocusedScreen()
{
    model().setSearchText(u"abc"_s);
    _launcher->monitor.setFocusedHandler(nullptr);

    const bool isConsumed = _launcher->press(KeyCode::n, Flags::command);

    QVERIFY(!isConsumed);
    QCOMPARE(model().searchText(), QString());
}

void tst_LauncherView::whilePausedTheApplicationsKeysDoNothing()
{
    _launcher->monitor.setMonitoringPaused(true);

    const bool isConsumed = _launcher->press(KeyCode::f, Flags::command);

    QVERIFY(!isConsumed);
    QVERIFY(!model().selectSearchText());
}

void tst_LauncherView::theViewTakesItsKeysWithIt()
{
    auto &launcher = *_launcher;
    fakes::FakeKeyEventSource keys;
    keyboard::KeyboardMonitor monitor(keys, launcher.queue);
    {
        LauncherView other({launcher.previewHost, launcher.finderManager, launcher.settings,
            launcher.defaults, launcher.service, launcher.context(), launcher.disk,
            launcher.background, monitor, launcher.center, launcher.queue, launcher.timer,
            launcher.workspace, launcher.clock, [] { return true; }});
        other.appear();
        launcher.queue.drain();
        QVERIFY(monitor.focusedHandler());
    }

    const auto left = keys.press(KeyCode::n, Flags::command);

    QVERIFY(left);
    QVERIFY(!monitor.focusedHandler());
}

void tst_LauncherView::comingBackReturnsToTheAreaThatWasLeft()
{
    _launcher->startWith(StartupBehavior::restorePreviousSession);
    _launcher->show({u"/d/a"_s, u"/d/b"_s});
    focusOn(FocusArea::search);

    resignKey();
    QCOMPARE(area(), FocusArea::results);
    QCOMPARE(view().lastFocusedArea(), FocusArea::search);

    becomeKey();
    QCOMPARE(area(), FocusArea::search);
}

void tst_LauncherView::restoringKeepsTheSessionAndMovesTheFocusToTheList()
{
    _launcher->startWith(StartupBehavior::restorePreviousSession);
    model().setSearchText(u"abc"_s);
    _launcher->show({u"/d/a"_s, u"/d/b"_s});
    model().setSelectedFile(model().files().last());
    focusOn(FocusArea::results);

    resignKey();
    becomeKey();

    QCOMPARE(model().searchText(), u"abc"_s);
    QCOMPARE(core::CoreFixture::names(model().files()), QStringList({u"a"_s, u"b"_s}));
    QCOMPARE(model().selectedFile(), model().files().last());
    QCOMPARE(view().content(), LauncherContent::browser);
    QCOMPARE(area(), FocusArea::results);
}

void tst_LauncherView::aNewSearchEmptiesEverythingAndReturnsToTheBox()
{
    for (const auto area : {FocusArea::search, FocusArea::results}) {
        _launcher->startWith(StartupBehavior::newSearch);
        model().setSearchText(u"abc"_s);
        _launcher->show({u"/d/a"_s});
        focusOn(area);

        resignKey();

        QCOMPARE(model().searchText(), QString());
        QVERIFY(model().files().isEmpty());
        QCOMPARE(view().content(), LauncherContent::home);
        QCOMPARE(view().lastFocusedArea(), FocusArea::search);

        becomeKey();
        QCOMPARE(this->area(), FocusArea::search);
    }
}

void tst_LauncherView::aNewSearchKeepsTheSessionWhileThePreviewIsVisible()
{
    _launcher->startWith(StartupBehavior::newSearch);
    model().setSearchText(u"abc"_s);
    _launcher->show({u"/d/a"_s});
    focusOn(FocusArea::search);
    preview().isShown = true;

    resignKey();

    QCOMPARE(model().searchText(), u"abc"_s);
    QCOMPARE(model().files().size(), 1);
    QCOMPARE(view().lastFocusedArea(), FocusArea::search);
    QCOMPARE(area(), FocusArea::results);
    becomeKey();
    QCOMPARE(area(), FocusArea::search);
}

void tst_LauncherView::resigningRecordsTheSearchOnlyWhenItIsKept()
{
    _launcher->startWith(StartupBehavior::newSearch);
    focusOn(FocusArea::search);
    model().setSearchText(u"dropped"_s);
    resignKey();
    QCOMPARE(recordedSearches(), QStringList());

    _launcher->startWith(StartupBehavior::restorePreviousSession);
    focusOn(FocusArea::search);
    model().setSearchText(u" kept "_s);
    resignKey();
    QCOMPARE(recordedSearches(), QStringList(u"kept"_s));
}

void tst_LauncherView::resigningFromTheListRecordsNothing()
{
    _launcher->startWith(StartupBehavior::restorePreviousSession);
    focusOn(FocusArea::results);
    model().setSearchText(u"abc"_s);

    resignKey();

    QCOMPARE(recordedSearches(), QStringList());
}

void tst_LauncherView::theNotificationsAreAnsweredInALaterTurn()
{
    _launcher->startWith(StartupBehavior::newSearch);
    model().setSearchText(u"abc"_s);

    _launcher->center.post(
        QString::fromUtf16(Notifications::FloatingPanelDidResignKeyNotification));

    QCOMPARE(model().searchText(), u"abc"_s);
    _launcher->queue.drain();
    QCOMPARE(model().searchText(), QString());
}

void tst_LauncherView::aSelectionFromTheFileManagerTakesTheFocus()
{
    _launcher->finderManager.selected = {
        core::CoreFixture::file(u"/d/a"_s), core::CoreFixture::file(u"/d/b"_s)};
    focusOn(FocusArea::search);

    _launcher->post(Notifications::SelectedFilesFromFinderNotification);

    QCOMPARE(core::CoreFixture::names(model().files()), QStringList({u"a"_s, u"b"_s}));
    QCOMPARE(model().resultType(), ResultType::selectedFilesFromFinder);
    QVERIFY(model().searchStatus() == SearchStatus::results(2));
    QCOMPARE(area(), FocusArea::results);
    QCOMPARE(view().lastFocusedArea(), FocusArea::results);
    QCOMPARE(focusedHandler(), u"FileBrowserView"_s);
    QCOMPARE(view().fileSearchView().description().placeholder, u"Selected Files from Finder"_s);
}

void tst_LauncherView::windowsOfTheFileManagerAreAnotherType()
{
    _launcher->finderManager.windows = {u"/d"_s};

    _launcher->post(Notifications::BrowseFinderWindowsNotification);

    QCOMPARE(core::CoreFixture::names(model().files()), QStringList(u"d"_s));
    QCOMPARE(model().resultType(), ResultType::browseFinderWindows);
    QCOMPARE(area(), FocusArea::results);
}

void tst_LauncherView::anEmptySelectionReplacesTheRowsAndLeavesTheFocus()
{
    _launcher->startWith(StartupBehavior::restorePreviousSession);
    _launcher->show({u"/d/a"_s});
    focusOn(FocusArea::search);

    _launcher->post(Notifications::SelectedFilesFromFinderNotification);

    QVERIFY(model().files().isEmpty());
    QVERIFY(model().searchStatus() == SearchStatus::results(0));
    QCOMPARE(view().content(), LauncherContent::browser);
    QCOMPARE(area(), FocusArea::search);
    QCOMPARE(view().lastFocusedArea(), FocusArea::search);
}

void tst_LauncherView::theFileManagerIsAskedAtOnceAndShownLater()
{
    _launcher->finderManager.selected = {core::CoreFixture::file(u"/d/a"_s)};

    _launcher->center.post(QString::fromUtf16(Notifications::SelectedFilesFromFinderNotification));
    _launcher->finderManager.selected.clear();
    QVERIFY(model().files().isEmpty());

    _launcher->queue.drain();
    QCOMPARE(core::CoreFixture::names(model().files()), QStringList(u"a"_s));
}

void tst_LauncherView::aListFromTheFileManagerIsThereWhenThePanelComesUp()
{
    _launcher->startWith(StartupBehavior::newSearch);
    resignKey();
    _launcher->finderManager.selected = {core::CoreFixture::file(u"/d/a"_s)};

    _launcher->post(Notifications::SelectedFilesFromFinderNotification);
    becomeKey();

    QCOMPARE(area(), FocusArea::results);
    QCOMPARE(focusedHandler(), u"FileBrowserView"_s);
    QCOMPARE(core::CoreFixture::names(model().files()), QStringList(u"a"_s));
}

void tst_LauncherView::aVisiblePreviewFollowsTheSelection()
{
    _launcher->show({u"/d/a"_s, u"/d/b"_s});
    preview().isShown = true;
    preview().isFullScreen = true;
    preview().calls.clear();

    model().selectNext();

    QCOMPARE(preview().calls, QStringList(u"show b"_s));
}

void tst_LauncherView::anInvisiblePreviewStaysAway()
{
    _launcher->show({u"/d/a"_s, u"/d/b"_s});
    preview().calls.clear();

    model().selectNext();

    QCOMPARE(preview().calls, QStringList());
}

void tst_LauncherView::withoutASelectionThePreviewGoes()
{
    _launcher->show({u"/d/a"_s});
    preview().isShown = true;
    preview().calls.clear();

    model().reset(core::ClearText::yes, SearchStatus::noResults());

    QCOMPARE(preview().calls, QStringList(u"clear"_s));
}

void tst_LauncherView::theScreenWithTheFocusTakesTheKeys()
{
    focusOn(FocusArea::results);
    QCOMPARE(focusedHandler(), u"AppActionsView"_s);

    _launcher->show({u"/d/a"_s});
    focusOn(FocusArea::results);
    QCOMPARE(focusedHandler(), u"FileBrowserView"_s);

    focusOn(FocusArea::search);
    QCOMPARE(focusedHandler(), u"FileSearchView"_s);

    model().setShowActions(true);
    _launcher->queue.drain();
    QCOMPARE(focusedHandler(), u"nobody"_s);
}

void tst_LauncherView::goingHomeWithTheFocusInTheListPutsItIntoTheBox()
{
    _launcher->show({u"/d/a"_s});
    focusOn(FocusArea::results);

    QVERIFY(_launcher->press(KeyCode::left));

    QCOMPARE(view().content(), LauncherContent::home);
    QCOMPARE(area(), FocusArea::search);
    QCOMPARE(focusedHandler(), u"FileSearchView"_s);
}

void tst_LauncherView::aSearchBegunOnTheHomeListEndsInTheResults()
{
    focusOn(FocusArea::results);

    _launcher->show({u"/d/a"_s});

    QCOMPARE(area(), FocusArea::results);
    QCOMPARE(focusedHandler(), u"FileBrowserView"_s);
}

void tst_LauncherView::thePageIsToldWhileTheOldScreenStillHoldsTheFocus()
{
    _launcher->show({u"/d/a"_s});
    focusOn(FocusArea::results);
    std::optional<FocusArea> areaThen;
    const QObject context;
    QObject::connect(&view(), &LauncherView::contentChanged, &context, [&] { areaThen = area(); });

    model().reset(core::ClearText::yes, SearchStatus::noResults());

    QCOMPARE(areaThen, FocusArea::results);
    QVERIFY(!area());
    _launcher->queue.drain();
    QCOMPARE(area(), FocusArea::search);
}

void tst_LauncherView::aSearchThatStillRunsEndsBeforeItsModelGoes_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("the index still gathers") << u"ab"_s;
    QTest::newRow("the path's mount hangs") << u"/hung"_s;
}

void tst_LauncherView::aSearchThatStillRunsEndsBeforeItsModelGoes()
{
    QFETCH(QString, text);
    const auto disk = _launcher->disk;
    disk->addFolder(u"/hung"_s);
    disk->hang(u"/hung"_s);
    model().setSearchText(text);
    auto &service = _launcher->service;
    service.searchTask = service.performSearch(
        text, model(), [] {}, [] {});
    _launcher->queue.drain();
    const auto search = *service.searchTask;
    QVERIFY(!search.isFinished());
    bool wasFinished = false;
    const QObject context;
    QObject::connect(
        &model(), &QObject::destroyed, &context, [&] { wasFinished = search.isFinished(); });

    _launcher.reset();

    QVERIFY(wasFinished);
    disk->release(u"/hung"_s);
}

QTEST_GUILESS_MAIN(tst_LauncherView)
#include "tst_LauncherView.moc"
