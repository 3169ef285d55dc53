// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/widgets/Theme.h"

#include <QStyledItemDelegate>

namespace vellumhound::ui {

/// What the rows of a file list give to their delegate besides the display text.
namespace FileRole {
inline constexpr int displayPath =
    Qt::UserRole + 1;                          ///< text of the second line; invalid in simple rows
inline constexpr int icon = Qt::UserRole + 2;  ///< a IconInfo
}  // namespace FileRole

/// Draws a file as a row: symbol and name, with the path below it where the row has one.
class FileRowDelegate final : public QStyledItemDelegate {
    Q_OBJECT

public:
    enum class Height { simple, withPath };

    explicit FileRowDelegate(QObject *parent = nullptr);

    void setTheme(const Theme &theme);
    void setHeight(Height height) { _height = height; }
    /// Rows of a list that cannot take the focus look selected only while their list has a
    /// selection.
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
        const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    void paintBackground(QPainter &painter, const QStyleOptionViewItem &option) const;

    Theme _theme;
    Height _height = Height::withPath;
};

}  // namespace vellumhound::ui
