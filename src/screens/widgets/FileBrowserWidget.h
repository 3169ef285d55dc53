// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "screens/FileBrowserView.h"
#include "screens/widgets/FileInfoWidget.h"
#include "screens/widgets/FileListModel.h"
#include "ui/widgets/FileRowDelegate.h"
#include "ui/widgets/RowList.h"

#include <QSplitter>
#include <QStackedWidget>

namespace vellumhound::screens {

/// Shows FileBrowserView: the list of results at the left; at the right the contents of the
/// selected folder, or the details of the selected file.
class FileBrowserWidget final : public QWidget {
    Q_OBJECT

public:
    /// All outlive the widget.
    FileBrowserWidget(FileBrowserView &view, core::FileBrowserModel &model,
        keyboard::FocusState &focus, QWidget *parent = nullptr);

    ui::RowList &list() { return *_list; }
    void setTheme(const ui::Theme &theme);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void buildColumns();
    void render();
    void showRows();
    void showDetails();
    void showSelection();

    FileBrowserView &_view;
    core::FileBrowserModel &_model;
    keyboard::FocusState &_focus;
    ui::Theme _theme;
    std::optional<BrowserDescription> _shown;
    FileListModel _rows;
    FileListModel _detailRows;
    ui::FileRowDelegate _rowDelegate;
    ui::FileRowDelegate _detailDelegate;
    QSplitter *_splitter;
    ui::RowList *_list;
    QStackedWidget *_right;
    QWidget *_nothing;
    ui::RowList *_details;
    FileInfoWidget *_fileInfo;
};

}  // namespace vellumhound::screens
