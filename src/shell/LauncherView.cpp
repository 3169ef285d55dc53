// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/LauncherView.h"

namespace vellumhound::shell {

using core::ClearText;
using core::ResultType;
using core::SearchStatus;
using keyboard::FocusArea;
namespace Flags = base::ModifierFlags;
namespace KeyCode = base::KeyCode;
namespace Notifications = base::Notifications;

LauncherContent describeLauncher(const LauncherState &state)
{
    if (!state.isOnboardingDone)
        return LauncherContent::onboarding;
    if (state.showActions)
        return LauncherContent::palette;
    return state.status.isNoResults() ? LauncherContent::home : LauncherContent::browser;
}

LauncherView::LauncherView(const Environment &environment, QObject *parent)
    : QObject(parent)
    , _environment(environment)
    , _model({.mainQueue = environment.queue,
          .background = environment.background,
          .fileSystem = environment.fileSystem,
          .defaults = environment.userDefaults,
          .viewContext = environment.moc})
    , _focusedArea(environment.queue)
    , _fileSearchView({.fileSearchService = environment.fileSearchService,
          .appDelegate = environment.appDelegate,
          .model = _model,
          .moc = environment.moc,
          .settings = environment.settings,
          .focus = _focusedArea,
          .keyboardMonitor = environment.keyboardMonitor,
          .notificationCenter = environment.notificationCenter,
          .timer = environment.timer,
          .workspace = environment.workspace,
          .clock = environment.clock})
    , _fileBrowserView({.appDelegate = environment.appDelegate,
          .fileSearchService = environment.fileSearchService,
          .model = _model,
          .finderManager = environment.finderManager,
          .focus = _focusedArea,
          .keyboardMonitor = environment.keyboardMonitor,
          .notificationCenter = environment.notificationCenter,
          .queue = environment.queue,
          .workspace = environment.workspace})
    , _appActionsView(_focusedArea, environment.keyboardMonitor)
{
    connect(&_focusedArea, &keyboard::FocusState::containerFocusChanged, this,
        &LauncherView::placeFocus);
    connect(
        &_model, &core::FileBrowserModel::searchStatusChanged, this, &LauncherView::updateContent);
    connect(
        &_model, &core::FileBrowserModel::showActionsChanged, this, &LauncherView::updateContent);
    connect(&_model, &core::FileBrowserModel::selectedFileChanged, this,
        &LauncherView::followSelectionWithPreview);
    observeNotifications();
}

LauncherView::~LauncherView()
{
    _environment.keyboardMonitor.setAppLevelHandler({});
    // It works on the model, which goes now.
    _environment.fileSearchService.endSearch();
}

void LauncherView::appear()
{
    if (_hasAppeared)
        return;
    _hasAppeared = true;
    updateContent();
    _environment.keyboardMonitor.setAppLevelHandler(
        [this](const base::KeyEvent &event) { return handleAppLevelKey(event); });
    _environment.queue.post(_lifetime.guarded([this] { placeFocus(); }));
}

void LauncherView::placeFocus()
{
    const bool isFileSelected = _model.selectedFile() && !_model.showActions();
    const bool isOtherList = _model.resultType() != ResultType::search && !_model.files().isEmpty();
    _focusedArea.setArea(isFileSelected || isOtherList ? FocusArea::results : FocusArea::search);
}

void LauncherView::updateContent()
{
    if (!_hasAppeared)
        return;
    _content = describeLauncher({.isOnboardingDone = _environment.isOnboardingDone(),
        .showActions = _model.showActions(),
        .status = _model.searchStatus()});
    Q_EMIT contentChanged();
    const bool hasSearchRow =
        _content == LauncherContent::home || _content == LauncherContent::browser;
    if (hasSearchRow)
        _fileSearchView.appear();
    else
        _fileSearchView.disappear();
    // The screen that goes gives up the focus before the other one takes the keys.
    if (_content != LauncherContent::home)
        _appActionsView.disappear();
    if (_content != LauncherContent::browser)
        _fileBrowserView.disappear();
    if (_content == LauncherContent::home)
        _appActionsView.appear();
    if (_content == LauncherContent::browser)
        _fileBrowserView.appear();
}

std::optional<base::KeyEvent> LauncherView::handleAppLevelKey(const base::KeyEvent &event)
{
    if (event.modifiers() != Flags::command)
        return event;
    if (event.keyCode == KeyCode::n) {
        _model.reset(ClearText::yes, SearchStatus::noResults());
        return std::nullopt;
    }
    if (event.keyCode == KeyCode::f) {
        _model.setSelectSearchText(true);
        _focusedArea.setArea(FocusArea::search);
        return std::nullopt;
    }
    return event;
}

void LauncherView::observeNotifications()
{
    const auto observe = [this](const char16_t *name, std::function<void()> handler) {
        _observers.push_back(_environment.notificationCenter.addObserver(
            QString::fromUtf16(name), nullptr, std::move(handler)));
    };
    const auto onMainQueue = [this](std::function<void()> block) {
        _environment.queue.post(_lifetime.guarded(std::move(block)));
    };
    observe(Notifications::FloatingPanelDidBecomeKeyNotification,
        [this, onMainQueue] { onMainQueue([this] { _focusedArea.setArea(_lastFocusedArea); }); });
    observe(Notifications::FloatingPanelDidResignKeyNotification,
        [this, onMainQueue] { onMainQueue([this] { panelResignedKey(); }); });
    observe(Notifications::SelectedFilesFromFinderNotification, [this, onMainQueue] {
        onMainQueue([this, files = _environment.finderManager.getSelectedFiles()] {
            showFinderFiles(files, ResultType::selectedFilesFromFinder);
        });
    });
    observe(Notifications::BrowseFinderWindowsNotification, [this, onMainQueue] {
        onMainQueue([this, files = _environment.finderManager.getFinderWindows()] {
            showFinderFiles(files, ResultType::browseFinderWindows);
        });
    });
}

void LauncherView::panelResignedKey()
{
    if (const auto area = _focusedArea.area())
        _lastFocusedArea = *area;
    if (_environment.settings.startupBehavior() == settings::StartupBehavior::newSearch &&
        !_environment.appDelegate.previewPanelManager().isVisible()) {
        _model.reset(ClearText::yes, SearchStatus::noResults());
        _lastFocusedArea = FocusArea::search;
    }
    _focusedArea.setArea(FocusArea::results);
}

void LauncherView::showFinderFiles(const QList<core::FilePtr> &files, ResultType type)
{
    _model.showFiles(files, type);
    if (files.isEmpty())
        return;
    _lastFocusedArea = FocusArea::results;
    _focusedArea.setArea(FocusArea::results);
}

void LauncherView::followSelectionWithPreview()
{
    auto &preview = _environment.appDelegate.previewPanelManager();
    if (const auto file = _model.selectedFile()) {
        if (preview.isVisible())
            preview.showPreview(file, false);
    } else {
        preview.clearPreview();
    }
}

}  // namespace vellumhound::shell
