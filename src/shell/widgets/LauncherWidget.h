// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "actions/widgets/AppActionsWidget.h"
#include "keyboard/KeyEquivalents.h"
#include "screens/widgets/FileBrowserWidget.h"
#include "screens/widgets/FileSearchWidget.h"
#include "shell/LauncherView.h"
#include "ui/widgets/Theme.h"

#include <QWidget>

namespace vellumhound::shell {

/// Shows LauncherView: the search row, a line, and the page that stands below it. Qt's focus
/// follows the focus of the view. Made once, lives with the panel.
class LauncherWidget final : public QWidget {
    Q_OBJECT

public:
    /// Both outlive the widget.
    LauncherWidget(
        LauncherView &view, keyboard::KeyEquivalents &keyEquivalents, QWidget *parent = nullptr);

    void setTheme(const ui::Theme &theme);
    /// The panel's whole size.
    QSize sizeHint() const override;

Q_SIGNALS:
    /// An Escape puts the panel away.
    void escapeNotTaken();

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool focusNextPrevChild(bool next) override;

private:
    QWidget *currentPage();
    QWidget *focusTarget();
    void showPage();
    void followFocus();

    LauncherView &_view;
    ui::Theme _theme;
    screens::FileSearchWidget *_search;
    actions::AppActionsWidget *_home;
    screens::FileBrowserWidget *_browser;
    std::unique_ptr<keyboard::KeyEquivalents::Registration> _clearKey;
};

}  // namespace vellumhound::shell
