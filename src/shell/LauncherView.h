// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "actions/AppActionsView.h"
#include "screens/FileBrowserView.h"
#include "screens/FileSearchView.h"

#include <QObject>

#include <functional>

namespace vellumhound::shell {

/// What the panel's column holds.
enum class LauncherContent { onboarding, palette, home, browser };

/// What the content is decided from.
struct LauncherState {
    bool isOnboardingDone = false;
    bool showActions = false;
    core::SearchStatus status;
};

/// Pure: what the column holds; the first run comes before the palette, that before the rest.
LauncherContent describeLauncher(const LauncherState &state);

/// The root of the panel: owns the model, the focus and the screens, decides which screen stands in
/// the panel, and keeps the focus in step with the panel's showing and going. Toolkit-free; made
/// once when the panel is made and kept for the process; main thread.
class LauncherView final : public QObject {
    Q_OBJECT

public:
    /// What it works with; all of it outlives the view. The names are given, `moc` (the store's
    /// context) among them.
    struct Environment {
        preview::PreviewHost &appDelegate;
        finder::FinderManager &finderManager;
        settings::AppSettings &settings;
        settings::UserDefaults &userDefaults;
        core::FileSearchService &fileSearchService;
        store::ManagedObjectContext &moc;
        std::shared_ptr<const platform::FileSystem> fileSystem;
        base::Background &background;
        keyboard::KeyboardMonitor &keyboardMonitor;
        base::NotificationCenter &notificationCenter;
        base::MainQueue &queue;
        base::Timer &timer;
        platform::Workspace &workspace;
        const platform::Clock &clock;
        std::function<bool()> isOnboardingDone;
    };

    explicit LauncherView(const Environment &environment, QObject *parent = nullptr);
    ~LauncherView() override;

    core::FileBrowserModel &model() { return _model; }
    keyboard::FocusState &focusedArea() { return _focusedArea; }
    keyboard::FocusArea lastFocusedArea() const { return _lastFocusedArea; }
    screens::FileSearchView &fileSearchView() { return _fileSearchView; }
    const screens::FileSearchView &fileSearchView() const { return _fileSearchView; }
    screens::FileBrowserView &fileBrowserView() { return _fileBrowserView; }
    actions::AppActionsView &appActionsView() { return _appActionsView; }
    LauncherContent content() const { return _content; }

    /// The view has come on screen for the first time.
    void appear();

Q_SIGNALS:
    /// A page is coming in place of another: told before the old one's screen is gone, so that the
    /// new one can be on screen first.
    void contentChanged();

private:
    void placeFocus();
    void updateContent();
    std::optional<base::KeyEvent> handleAppLevelKey(const base::KeyEvent &event);
    void observeNotifications();
    void panelResignedKey();
    void showFinderFiles(const QList<core::FilePtr> &files, core::ResultType type);
    void followSelectionWithPreview();

    Environment _environment;
    core::FileBrowserModel _model;
    keyboard::FocusState _focusedArea;
    keyboard::FocusArea _lastFocusedArea = keyboard::FocusArea::search;
    screens::FileSearchView _fileSearchView;
    screens::FileBrowserView _fileBrowserView;
    actions::AppActionsView _appActionsView;
    LauncherContent _content = LauncherContent::home;
    bool _hasAppeared = false;
    std::vector<base::NotificationCenter::Token> _observers;
    base::Lifetime _lifetime;
};

}  // namespace vellumhound::shell
