// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "shell/MenuIconView.h"

#include <QKeySequence>
#include <QMenu>

namespace vellumhound::shell {

/// The key as the toolkit writes it.
QKeySequence toKeySequence(const keyboard::KeyShortcut &shortcut);

/// The menu of the tray item. Its actions stay the same objects as long as the rows are of the same
/// kinds, so that a tray that draws the menu by itself is told what differs and nothing else.
///
/// Owned by TrayItem. Main thread.
class TrayMenu final : public QMenu {
    Q_OBJECT

public:
    TrayMenu();

    void setRows(const QList<MenuRow> &rows);

Q_SIGNALS:
    void chosen(vellumhound::shell::MenuRow::Kind kind);

private:
    void makeActions(const QList<MenuRow> &rows);

    QList<MenuRow> _rows;
};

}  // namespace vellumhound::shell
