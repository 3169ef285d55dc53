// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/widgets/OverlayScrollBar.h"

#include <QListView>

namespace vellumhound::ui {

/// The one list of the panel: rows of one height, one selected at most, driven by a state outside.
/// It takes Up, Down, Home, End, Page Up and Page Down and no other key; a click on its empty part
/// leaves the selection; there is no type-ahead, no Ctrl+click, no Copy of the toolkit's own.
///
/// A screen reader takes the current row for the one with the focus. So the selected row is the
/// current one while the list has the focus, and otherwise none is.
class RowList final : public QListView {
    Q_OBJECT

public:
    explicit RowList(QWidget *parent = nullptr);

    void setTheme(const Theme &theme) { _scrollBar->setTheme(theme); }
    /// Makes `row` the selected one (none if negative) without telling rowChosen.
    void selectRow(int row);
    /// The rows have another height from now on.
    void rowHeightChanged() { scheduleDelayedItemsLayout(); }
    /// Brings the selected row just into view.
    void scrollToSelectedRow();

Q_SIGNALS:
    /// A person has chosen another row, by key or pointer.
    void rowChosen(int row);
    /// A click has brought the focus here.
    void focusedByMouse();
    /// The focus has come or gone.
    void focusChanged();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void keyboardSearch(const QString &search) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    QItemSelectionModel::SelectionFlags selectionCommand(
        const QModelIndex &index, const QEvent *event) const override;

private:
    QModelIndex selectedIndex() const;
    void setRowCurrent(bool isCurrent);

    OverlayScrollBar *_scrollBar;
    bool _isSelecting = false;
};

}  // namespace vellumhound::ui
