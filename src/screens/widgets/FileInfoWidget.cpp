// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/widgets/FileInfoWidget.h"

#include "base/NativePath.h"
#include "preview/ByteCount.h"
#include "ui/IconInfo.h"
#include "ui/widgets/FileIconView.h"

#include <QGridLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace vellumhound::screens {

namespace metrics = ui::metrics;
using namespace Qt::StringLiterals;

namespace {
constexpr int largeSymbol = 96;
}  // namespace

ElidedLabel::ElidedLabel(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setFullText(const QString &text)
{
    setText(text);
    setAccessibleName(text);
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    // Names and paths read as they are written; only where they stand follows the desktop.
    painter.setLayoutDirection(Qt::LeftToRight);
    const auto side = isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
    painter.drawText(rect(), Qt::AlignVCenter | Qt::TextSingleLine | Qt::AlignAbsolute | side,
        fontMetrics().elidedText(text(), Qt::ElideMiddle, width()));
}

FileInfoWidget::FileInfoWidget(QWidget *parent)
    : QWidget(parent)
    , _rows(new QWidget(this))
{
    setObjectName(u"fileDetails"_s);
    auto *grid = new QGridLayout(_rows);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(0);
    grid->setVerticalSpacing(metrics::detailsRowSpacing);
    grid->setColumnMinimumWidth(0, metrics::detailsLabelWidth);
    grid->setColumnStretch(1, 1);
    _name = addRow(u"Name"_s, u"detailName"_s);
    _size = addRow(u"Size"_s, u"detailSize"_s);
    _path = addRow(u"Path"_s, u"detailPath"_s);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(metrics::defaultPadding, 0, metrics::defaultPadding, 0);
    layout->addStretch(1);
    _rows->setFixedHeight(metrics::detailsHeight);
    layout->addWidget(_rows);
    grid->setAlignment(Qt::AlignVCenter);
}

FileInfoWidget::Row FileInfoWidget::addRow(const QString &label, const QString &objectName)
{
    auto *grid = static_cast<QGridLayout *>(_rows->layout());
    const Row row{new ElidedLabel(_rows), new ElidedLabel(_rows)};
    const int line = grid->rowCount();
    row.label->setFullText(label);
    row.value->setObjectName(objectName);
    grid->addWidget(row.label, line, 0);
    grid->addWidget(row.value, line, 1);
    return row;
}

void FileInfoWidget::setTheme(const ui::Theme &theme)
{
    _theme = theme;
    for (const auto &row : {_name, _size, _path}) {
        auto palette = row.label->palette();
        palette.setColor(QPalette::WindowText, theme.secondaryText);
        row.label->setPalette(palette);
        palette.setColor(QPalette::WindowText, theme.primaryText);
        row.value->setPalette(palette);
        row.label->setFont(theme.font(metrics::resultName));
        row.value->setFont(theme.font(metrics::resultName));
    }
    update();
}

void FileInfoWidget::showFile(const core::FilePtr &file)
{
    if (file == _file)
        return;
    _file = file;
    if (!file)
        return;
    _name.value->setFullText(base::printablePath(file->fileName));
    _path.value->setFullText(base::printablePath(file->displayPath()));
    _size.label->setVisible(file->fileSize.has_value());
    _size.value->setVisible(file->fileSize.has_value());
    _size.value->setFullText(file->fileSize ? preview::byteCountText(*file->fileSize) : QString());
    update();
}

void FileInfoWidget::paintEvent(QPaintEvent *)
{
    if (!_file)
        return;
    QPainter painter(this);
    const int linePosition = _rows->y() - metrics::defaultSpacing;
    painter.fillRect(
        QRect(metrics::defaultSpacing, linePosition, width() - 2 * metrics::defaultSpacing, 1),
        _theme.separator);
    const QRectF symbol((width() - largeSymbol) / 2.0, (linePosition - largeSymbol) / 2.0,
        largeSymbol, largeSymbol);
    ui::paintFileIcon(painter, symbol, ui::iconInfoForFile(_file->isDirectory, _file->contentType),
        _theme.panelBackground);
}

}  // namespace vellumhound::screens
