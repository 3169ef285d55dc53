// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/LauncherView.h"

#include <QPointer>

namespace vellumhound::shell {

using core::ResultType;
using core::SearchStatus;
using keyboard::FocusArea;
namespace Flags = base::ModifierFlags;
namespace KeyCode = base::KeyCode;
namespace Notifications = base::Notifications;

LauncherContent describeLauncher(
    bool isOnboardingDone, bool showActions, const SearchStatus &status)
{
    if (!isOnboardingDone)
        return LauncherContent::onboarding;
    if (showActions)
        return LauncherContent::palette;
    return status == SearchStatus::noResults() ? LauncherContent::home : LauncherContent::browser;
}

LauncherView::LauncherView(const Environment &environment, QObject *parent)
    : QObject(parent)
    , _environment(environment)
    , _model({environment.queue, environment.background, environment.fileSystem,
          environment.userDefaults, environment.moc})
    , _focusedArea(environment.queue)
    , _fileSearchView({environment.fileSearchService, environment.appDelegate, _model,
          environment.moc, environment.settings, _focusedArea, environment.keyboardMonitor,
          environment.notificationCenter, environment.timer, environment.workspace,
          environment.clock})
    , _fileBrowserView({environment.appDelegate, environment.fileSearchService, _model,
          environment.finderManager, _focusedArea, environment.keyboardMonitor,
          environment.notificationCenter, environment.queue, environment.workspace})
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
}

void LauncherView::appear()
{
    if (_hasAppeared)
        return;
    _hasAppeared = true;
    updateContent();
    _environment.keyboardMonitor.setAppLevelHandler(
        [this](const base::KeyEvent &event) { return handleAppLevelKey(event); });
    _environment.queue.post([self = QPointer(this)] {
        if (self)
            self->placeFocus();
    });
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
    _content = describeLauncher(
        _environment.isOnboardingDone(), _model.showActions(), _model.searchStatus());
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
        _model.reset(true, SearchStatus::noResults());
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
        _environment.queue.post([self = QPointer(this), block = std::move(block)] {
            if (self)
                block();
        });
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
        _model.reset(true, SearchStatus::noResults());
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
