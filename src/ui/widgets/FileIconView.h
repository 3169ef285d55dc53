// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/IconInfo.h"

#include <QColor>
#include <QWidget>

class QPainter;
class QRectF;

namespace vellumhound::ui {

/// The colour an icon takes on a background: its own on a light one; on a dark one lifted, if need
/// be, to a contrast of 3, below which the greys of code and data would be swallowed.
QColor iconColorOn(const IconInfo &icon, const QColor &background);

/// Paints a file's icon as large as fits into `rect`, centred. `background` is the opaque colour it
/// will stand on; of a translucent one the colour is taken as it is.
void paintFileIcon(
    QPainter &painter, const QRectF &rect, const IconInfo &icon, const QColor &background);

/// A file's icon as a widget. The size is the caller's. It names itself to no screen reader, since
/// the file's name stands beside it.
class FileIconView final : public QWidget {
    Q_OBJECT

public:
    explicit FileIconView(QWidget *parent = nullptr);

    /// The icon of a file; without a call, that of a file of no known type.
    void setIcon(const IconInfo &icon);
    const IconInfo &icon() const { return _icon; }
    /// The colour behind the icon; until it is set, that of the palette's window.
    void setBackgroundColor(const QColor &background);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    IconInfo _icon;
    QColor _background;  // invalid: the palette's
};

}  // namespace vellumhound::ui
