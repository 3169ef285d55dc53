// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLineEdit>

namespace vellumhound::screens {

/// The plain text field of the search row. Takes no text while Super or Alt is held, and leaves
/// Ctrl+K alone.
class SearchField final : public QLineEdit {
    Q_OBJECT

public:
    explicit SearchField(QWidget *parent = nullptr);

    /// An input method has text under composition: nobody else writes the field now.
    bool isComposing() const { return _isComposing; }

Q_SIGNALS:
    /// A click has brought the focus here.
    void focusedByMouse();
    void compositionEnded();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;

private:
    bool _isComposing = false;
};

}  // namespace vellumhound::screens
