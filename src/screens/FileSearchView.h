// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/MainQueue.h"
#include "base/NotificationCenter.h"
#include "base/Timer.h"
#include "core/FileBrowserModel.h"
#include "core/FileSearchService.h"
#include "keyboard/FocusState.h"
#include "keyboard/KeyboardHandlingViewModifier.h"
#include "platform/Clock.h"
#include "platform/Workspace.h"
#include "preview/PreviewPanelManager.h"
#include "settings/AppSettings.h"
#include "store/ManagedObjectContext.h"

#include <QObject>

#include <chrono>
#include <memory>

namespace vellumhound::screens {

/// What stands at the left of the box.
enum class SearchRowLeading { resultTypeSymbol, backButton };
/// What stands at the right of the box.
enum class SearchRowTrailing { spinner, clearButton, nothing };

/// What the row at the top of the panel shows.
struct SearchRowDescription {
    SearchRowLeading leading = SearchRowLeading::resultTypeSymbol;
    QString leadingSymbol;
    QString placeholder;
    SearchRowTrailing trailing = SearchRowTrailing::nothing;

    bool operator==(const SearchRowDescription &) const = default;
};

/// What the description is made from.
struct SearchRowState {
    core::ResultType resultType = core::ResultType::search;
    core::SearchStatus status;
    bool isAtRoot = true;
    bool hasActiveContent = false;
};

/// Pure: the row for `state`.
SearchRowDescription describeSearchRow(const SearchRowState &state);

/// The flow of a search: which change of the text starts one, after which pause, when a running one
/// is cancelled, when one goes into the recent searches, and what the keys do while the box holds
/// the focus. Toolkit-free; FileSearchWidget shows it. Made once by the root view, main thread;
/// everything handed in outlives it.
class FileSearchView final : public QObject, public keyboard::KeyboardHandling {
    Q_OBJECT

public:
    /// What it works with. The names are given, `moc` (the store's context) among them.
    struct Environment {
        core::FileSearchService &fileSearchService;
        preview::PreviewHost &appDelegate;
        core::FileBrowserModel &model;
        store::ManagedObjectContext &moc;
        settings::AppSettings &settings;
        keyboard::FocusState &focus;
        keyboard::KeyboardMonitor &keyboardMonitor;
        base::NotificationCenter &notificationCenter;
        base::Timer &timer;
        platform::Workspace &workspace;
        const platform::Clock &clock;
    };

    /// A text goes to the index only after this pause in the typing.
    static constexpr std::chrono::milliseconds debounceTime{300};

    explicit FileSearchView(const Environment &environment, QObject *parent = nullptr);

    QString id() const override;
    std::optional<base::KeyEvent> handleKeyEvent(const base::KeyEvent &event) override;

    SearchRowDescription description() const;
    /// The clear button, also by its key: ends the search, empties the box and returns to the home
    /// screen.
    void clear();
    /// The screen has come into the panel or left it (to the palette and back).
    void appear();
    void disappear();

private:
    void buildPipeline();
    void followText();
    void pauseEnded();
    void followFocus();
    void recordCurrentSearch();
    bool handleFileKey(const base::KeyEvent &event);
    bool handleNavigationKey(const base::KeyEvent &event);

    Environment _environment;
    keyboard::KeyboardHandlingViewModifier _modifier;
    std::unique_ptr<base::Timer::Wait> _debounce;
    std::optional<keyboard::FocusArea> _lastArea;
    bool _isShown = false;
};

}  // namespace vellumhound::screens
