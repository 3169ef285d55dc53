// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/RowList.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScopedValueRollback>

namespace vellumhound::ui {

namespace {

bool isListKey(const QKeyEvent &event)
{
    // Arrows of the keypad count as arrows.
    if ((event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        return false;
    switch (event.key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        return true;
    default:
        return false;
    }
}

}  // namespace

RowList::RowList(QWidget *parent)
    : QListView(parent)
    , _scrollBar(new OverlayScrollBar(*this))
{
    setFrameShape(QFrame::NoFrame);
    setUniformItemSizes(true);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTextElideMode(Qt::ElideMiddle);
    setMouseTracking(true);
    setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
    setAttribute(Qt::WA_MacShowFocusRect, false);
    setTabKeyNavigation(false);
}

void RowList::selectRow(int row)
{
    if (!model())
        return;
    const QScopedValueRollback selecting(_isSelecting, true);
    const auto index = row >= 0 ? model()->index(row, 0) : QModelIndex();
    if (!index.isValid())
        clearSelection();
    else if (!selectionModel()->isSelected(index))
        selectionModel()->select(index, QItemSelectionModel::ClearAndSelect);
    setRowCurrent(hasFocus());
}

QModelIndex RowList::selectedIndex() const
{
    return selectionModel() ? selectionModel()->selectedIndexes().value(0) : QModelIndex();
}

/// Whether the selected row, if there is one, is the current one too. The toolkit announces it.
void RowList::setRowCurrent(bool isCurrent)
{
    const QScopedValueRollback selecting(_isSelecting, true);
    const auto index = isCurrent ? selectedIndex() : QModelIndex();
    if (selectionModel() && selectionModel()->model())
        selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
}

void RowList::scrollToSelectedRow()
{
    if (const auto index = selectedIndex(); index.isValid())
        scrollTo(index, EnsureVisible);
}

void RowList::keyPressEvent(QKeyEvent *event)
{
    if (isListKey(*event))
        QListView::keyPressEvent(event);
    else
        event->ignore();
}

void RowList::keyboardSearch(const QString &)
{
}

void RowList::mousePressEvent(QMouseEvent *event)
{
    const auto index = indexAt(event->position().toPoint());
    // A list that takes no focus has no current row to tell the toolkit that nothing changes.
    if (!index.isValid() || (!hasFocus() && selectionModel()->isSelected(index))) {
        event->accept();
        return;
    }
    QListView::mousePressEvent(event);
    setRowCurrent(hasFocus());
}

void RowList::mouseMoveEvent(QMouseEvent *event)
{
    // QAbstractItemView would make each row current that the pointer passes with the button down.
    if (event->buttons() != Qt::NoButton && !dragEnabled())
        event->accept();
    else
        QListView::mouseMoveEvent(event);
}

void RowList::focusInEvent(QFocusEvent *event)
{
    // QAbstractItemView would make the first row current here; the selection is the state's.
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
    setRowCurrent(true);
    if (event->reason() == Qt::MouseFocusReason)
        Q_EMIT focusedByMouse();
    Q_EMIT focusChanged();
}

void RowList::focusOutEvent(QFocusEvent *event)
{
    QListView::focusOutEvent(event);
    viewport()->update();
    setRowCurrent(false);
    Q_EMIT focusChanged();
}

void RowList::resizeEvent(QResizeEvent *event)
{
    QListView::resizeEvent(event);
    _scrollBar->place();
}

void RowList::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    // QListView tells the screen reader that the new row has the focus; that is true only here.
    if (hasFocus())
        QListView::currentChanged(current, previous);
    else
        QAbstractItemView::currentChanged(current, previous);
    if (!_isSelecting && current.isValid())
        Q_EMIT rowChosen(current.row());
}

QItemSelectionModel::SelectionFlags RowList::selectionCommand(
    const QModelIndex &index, const QEvent *event) const
{
    if (event && event->type() == QEvent::MouseMove)
        return QItemSelectionModel::NoUpdate;  // a drag across the rows selects nothing
    return index.isValid() ? QItemSelectionModel::ClearAndSelect : QItemSelectionModel::NoUpdate;
}

}  // namespace vellumhound::ui
