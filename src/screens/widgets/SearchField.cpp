// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/widgets/SearchField.h"

#include <QFocusEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>

#include <utility>

namespace vellumhound::screens {

SearchField::SearchField(QWidget *parent)
    : QLineEdit(parent)
{
    setFrame(false);
    setObjectName(QStringLiteral("searchField"));
    setAccessibleName(QStringLiteral("Search"));
    setTextMargins(0, 0, 0, 0);
    // Beside the symbol, whichever way the typed letters run.
    setAlignment(Qt::AlignAbsolute | (isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft));
    setAttribute(Qt::WA_MacShowFocusRect, false);
}

void SearchField::keyPressEvent(QKeyEvent *event)
{
    const auto modifiers = event->modifiers();
    const bool isChord =
        modifiers.testFlag(Qt::MetaModifier) || modifiers.testFlag(Qt::AltModifier);
    const bool isPaletteKey = event->key() == Qt::Key_K && modifiers.testFlag(Qt::ControlModifier);
    // Third-level characters (AltGr) come with GroupSwitch, not with Alt.
    if ((isChord && !event->text().isEmpty()) || isPaletteKey) {
        event->ignore();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void SearchField::focusInEvent(QFocusEvent *event)
{
    // The caret is placed by whoever moves the focus; Qt would select everything on some reasons.
    const auto start = selectionStart();
    const auto length = selectionLength();
    const auto caret = cursorPosition();
    QLineEdit::focusInEvent(event);
    if (start >= 0)
        setSelection(int(start), int(length));
    else
        setCursorPosition(caret);
    if (event->reason() == Qt::MouseFocusReason)
        Q_EMIT focusedByMouse();
}

void SearchField::focusOutEvent(QFocusEvent *event)
{
    QLineEdit::focusOutEvent(event);
    // Not every input method tells that it has given up: the field must not stay closed to others.
    if (std::exchange(_isComposing, false))
        Q_EMIT compositionEnded();
}

void SearchField::inputMethodEvent(QInputMethodEvent *event)
{
    QLineEdit::inputMethodEvent(event);
    const bool wasComposing = std::exchange(_isComposing, !event->preeditString().isEmpty());
    if (wasComposing && !_isComposing)
        Q_EMIT compositionEnded();
}

}  // namespace vellumhound::screens
