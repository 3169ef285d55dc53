// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/widgets/FileBrowserWidget.h"

#include <QPainter>
#include <QStyle>
#include <QVBoxLayout>

namespace vellumhound::screens {

namespace metrics = ui::metrics;
using keyboard::FocusArea;
using ui::RowList;
using namespace Qt::StringLiterals;

namespace {

/// The line between the columns, with a wider place to take hold of it.
class ColumnHandle final : public QSplitterHandle {
public:
    ColumnHandle(QSplitter *parent, const QColor &color)
        : QSplitterHandle(Qt::Horizontal, parent)
        , _color(color)
    {
    }

protected:
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), _color); }

private:
    const QColor &_color;
};

class ColumnSplitter final : public QSplitter {
public:
    ColumnSplitter(const QColor &lineColor, QWidget *parent)
        : QSplitter(Qt::Horizontal, parent)
        , _lineColor(lineColor)
    {
        setHandleWidth(1);
        setChildrenCollapsible(false);
    }

protected:
    QSplitterHandle *createHandle() override { return new ColumnHandle(this, _lineColor); }

private:
    const QColor &_lineColor;
};

}  // namespace

FileBrowserWidget::FileBrowserWidget(FileBrowserView &view, core::FileBrowserModel &model,
    keyboard::FocusState &focus, QWidget *parent)
    : QWidget(parent)
    , _view(view)
    , _model(model)
    , _focus(focus)
    , _splitter(new ColumnSplitter(_theme.separator, this))
    , _list(new RowList)
    , _right(new QStackedWidget)
    , _nothing(new QWidget)
    , _details(new RowList)
    , _fileInfo(new FileInfoWidget)
{
    setObjectName(u"FileBrowserView"_s);
    buildColumns();

    connect(_list, &RowList::rowChosen, this,
        [this](int row) { _model.setSelectedFile(_rows.files().value(row)); });
    connect(_list, &RowList::focusedByMouse, this, [this] { _focus.setArea(FocusArea::results); });
    connect(_details, &RowList::rowChosen, this,
        [this](int row) { _model.setSelectedDetail(_detailRows.files().value(row)); });

    connect(&_model, &core::FileBrowserModel::filesChanged, this, &FileBrowserWidget::showRows);
    connect(
        &_model, &core::FileBrowserModel::detailsChanged, this, &FileBrowserWidget::showDetails);
    connect(&_model, &core::FileBrowserModel::selectedFileChanged, this,
        &FileBrowserWidget::showSelection);
    connect(&_model, &core::FileBrowserModel::rootChanged, this, &FileBrowserWidget::render);
    connect(
        &_view, &FileBrowserView::scrollToSelectionRequested, _list, &RowList::scrollToSelectedRow);
    render();
    showRows();
}

void FileBrowserWidget::buildColumns()
{
    _list->setObjectName(u"resultsList"_s);
    _list->setAccessibleName(u"Results"_s);
    _list->setModel(&_rows);
    _list->setItemDelegate(&_rowDelegate);
    auto *left = new QWidget;
    left->setMinimumWidth(metrics::leftColumnMinimum);
    left->setMaximumWidth(metrics::leftColumnMaximum);
    auto *leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, metrics::listTopPadding, 0, 0);
    leftLayout->addWidget(_list);

    _details->setObjectName(u"detailsList"_s);
    _details->setAccessibleName(u"Folder contents"_s);
    _details->setModel(&_detailRows);
    _details->setItemDelegate(&_detailDelegate);
    _details->setFocusPolicy(Qt::NoFocus);
    _detailDelegate.setHeight(ui::FileRowDelegate::Height::simple);
    _detailRows.setRowStyle(RowStyle::simple);
    auto *detailsPage = new QWidget;
    auto *detailsLayout = new QVBoxLayout(detailsPage);
    detailsLayout->setContentsMargins(0, metrics::listTopPadding, 0, 0);
    detailsLayout->addWidget(_details);

    _right->addWidget(_nothing);
    _right->addWidget(detailsPage);
    _right->addWidget(_fileInfo);
    _splitter->addWidget(left);
    _splitter->addWidget(_right);
    _splitter->setStretchFactor(0, 0);
    _splitter->setStretchFactor(1, 1);
    _splitter->setSizes({metrics::leftColumnIdeal, metrics::panelWidth - metrics::leftColumnIdeal});

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(_splitter);
}

void FileBrowserWidget::setTheme(const ui::Theme &theme)
{
    _theme = theme;
    _rowDelegate.setTheme(theme);
    _detailDelegate.setTheme(theme);
    _fileInfo->setTheme(theme);
    _list->setTheme(theme);
    _details->setTheme(theme);
    update();
    _list->viewport()->update();
    _details->viewport()->update();
}

void FileBrowserWidget::render()
{
    const auto description = _view.description();
    if (!_shown || _shown->leftRows != description.leftRows) {
        const bool hasPath = description.leftRows == RowStyle::withPath;
        _rows.setRowStyle(description.leftRows);
        _rowDelegate.setHeight(
            hasPath ? ui::FileRowDelegate::Height::withPath : ui::FileRowDelegate::Height::simple);
        _list->rowHeightChanged();
    }
    _shown = description;
    switch (description.right) {
    case DetailKind::nothing:
        _right->setCurrentIndex(0);
        break;
    case DetailKind::folderContents:
        _right->setCurrentIndex(1);
        break;
    case DetailKind::fileDetails:
        _right->setCurrentIndex(2);
        break;
    }
}

void FileBrowserWidget::showRows()
{
    _rows.setFiles(_model.files());
    _list->selectRow(_rows.rowOf(_model.selectedFile()));
}

void FileBrowserWidget::showDetails()
{
    _detailRows.setFiles(_model.details());
    _details->selectRow(-1);
    _details->scrollToTop();
}

void FileBrowserWidget::showSelection()
{
    const auto file = _model.selectedFile();
    _list->selectRow(_rows.rowOf(file));
    if (file && !file->isDirectory)
        _fileInfo->showFile(file);
    render();
}

void FileBrowserWidget::paintEvent(QPaintEvent *)
{
    const QRect left(0, 0, _splitter->sizes().value(0), height());
    QPainter(this).fillRect(QStyle::visualRect(layoutDirection(), rect(), left), _theme.leftColumn);
}

}  // namespace vellumhound::screens
