// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NotificationCenter.h"
#include "shell/MenuIconView.h"

#include <QKeySequence>
#include <QMenu>

namespace vellumhound::shell {

/// The key as the toolkit writes it.
QKeySequence toKeySequence(const keyboard::KeyShortcut &shortcut);

/// The menu of the tray item. Its actions stay the same objects as long as the rows are of the same
/// kinds, so that a tray that draws the menu by itself is told what differs and nothing else.
///
/// Says that a menu of ours opens and has closed only when this process shows it. A tray that draws
/// it asks for the rows as well, but nobody tells when that menu has closed, and no key of it comes
/// by here. Main thread; `notificationCenter` outlives it.
class TrayMenu final : public QMenu {
    Q_OBJECT

public:
    explicit TrayMenu(base::NotificationCenter &notificationCenter);
    ~TrayMenu() override;

    void setRows(const QList<MenuRow> &rows);

Q_SIGNALS:
    void chosen(vellumhound::shell::MenuRow::Kind kind);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void makeActions(const QList<MenuRow> &rows);
    void endTracking();

    base::NotificationCenter &_notificationCenter;
    QList<MenuRow> _rows;
    bool _isTracking = false;
};

}  // namespace vellumhound::shell
