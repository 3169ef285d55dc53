// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>

namespace vellumhound::ui {

/// A borderless button that is one symbol in a frame of 20 by 20. Takes no focus: it is reached by
/// its key, the pointer and accessible actions.
class SymbolButton final : public QAbstractButton {
    Q_OBJECT

public:
    SymbolButton(const QString &symbol, const QString &accessibleName, QWidget *parent = nullptr);

    void setSymbol(const QString &symbol);
    /// The tint at rest, and while the pointer is over the button.
    void setColors(const QColor &normal, const QColor &hover);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    QString _symbol;
    QColor _normal = Qt::gray;
    QColor _hover = Qt::darkGray;
};

}  // namespace vellumhound::ui
