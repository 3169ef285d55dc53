// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/File.h"
#include "ui/widgets/Theme.h"

#include <QLabel>
#include <QWidget>

namespace vellumhound::screens {

/// A text on one line that gives way in the middle when the room is short.
class ElidedLabel final : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget *parent = nullptr);

    void setFullText(const QString &text);
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};

/// What the right column shows for a file: its symbol, and the rows Name, Size and Path. Takes no
/// focus.
class FileInfoWidget final : public QWidget {
    Q_OBJECT

public:
    explicit FileInfoWidget(QWidget *parent = nullptr);

    void setTheme(const ui::Theme &theme);
    /// A file without a size has no row for it.
    void showFile(const core::FilePtr &file);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    struct Row {
        ElidedLabel *label;
        ElidedLabel *value;
    };
    Row addRow(const QString &label, const QString &objectName);

    ui::Theme _theme;
    core::FilePtr _file;
    QWidget *_rows;
    Row _name;
    Row _size;
    Row _path;
};

}  // namespace vellumhound::screens
