// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Lifetime.h"
#include "base/NotificationCenter.h"
#include "core/FileBrowserModel.h"
#include "core/FileSearchService.h"
#include "finder/FinderManager.h"
#include "keyboard/FocusState.h"
#include "keyboard/KeyboardHandlingViewModifier.h"
#include "platform/Workspace.h"
#include "preview/PreviewPanelManager.h"

#include <QObject>

namespace vellumhound::screens {

/// How a row of the left column looks: the name alone, or the name with the path below it.
enum class RowStyle { simple, withPath };
/// What the right column shows.
enum class DetailKind { nothing, folderContents, fileDetails };

/// What the two columns show beyond their rows.
struct BrowserDescription {
    RowStyle leftRows = RowStyle::withPath;
    DetailKind right = DetailKind::nothing;
    bool canMoveRows = false;

    bool operator==(const BrowserDescription &) const = default;
};

/// What the description is made from.
struct BrowserState {
    bool isAtRoot = true;
    core::ResultType resultType = core::ResultType::search;
    std::optional<bool> isSelectionDirectory;  // absent while nothing is selected
};

/// Pure: the columns for `state`.
BrowserDescription describeBrowser(const BrowserState &state);

/// The body of the panel outside its home screen: the keys of the result list, with which the user
/// walks through folders, opens files and types on. Toolkit-free; FileBrowserWidget shows it. Made
/// once by the root view, main thread; everything handed in outlives it.
class FileBrowserView final : public QObject, public keyboard::KeyboardHandling {
    Q_OBJECT

public:
    /// What it works with. The names are given.
    struct Environment {
        preview::PreviewHost &appDelegate;
        core::FileSearchService &fileSearchService;
        core::FileBrowserModel &model;
        finder::FinderManager &finderManager;
        keyboard::FocusState &focus;
        keyboard::KeyboardMonitor &keyboardMonitor;
        base::NotificationCenter &notificationCenter;
        base::MainQueue &queue;
        platform::Workspace &workspace;
    };

    explicit FileBrowserView(const Environment &environment, QObject *parent = nullptr);

    QString id() const override;
    std::optional<base::KeyEvent> handleKeyEvent(const base::KeyEvent &event) override;

    BrowserDescription description() const;
    /// The first row of the left column is the selected one.
    bool isFirstSelected() const;
    /// The screen has come into the panel or left it.
    void appear();
    void disappear();

Q_SIGNALS:
    /// The left column has to bring the selected row into view; told after the update of the list.
    void scrollToSelectionRequested();

private:
    void followFocus();
    bool handleVisiblePreviewKey(const base::KeyEvent &event);
    bool handleListKey(const base::KeyEvent &event);
    bool handleFileKey(const base::KeyEvent &event);
    bool handleTabKey(const base::KeyEvent &event);
    bool handleArrowKey(const base::KeyEvent &event);
    bool handleFinderWindowKey(const base::KeyEvent &event);
    bool handleTyping(const base::KeyEvent &event);
    enum class BoxText { caretAtEnd, selected };
    void moveToSearchBox(BoxText text);

    Environment _environment;
    keyboard::KeyboardHandlingViewModifier _modifier;
    base::NotificationCenter::Token _arrowUpObserver;
    bool _isShown = false;
    base::Lifetime _lifetime;
};

}  // namespace vellumhound::screens
