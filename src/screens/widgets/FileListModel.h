// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/File.h"
#include "screens/FileBrowserView.h"

#include <QAbstractListModel>

namespace vellumhound::screens {

/// The rows of one column, in the form that a list view reads. Holds the records it shows; main
/// thread.
class FileListModel final : public QAbstractListModel {
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    /// Shows `files`. Where the rows so far all stay in their order, the others are inserted
    /// between them, so that a growing list is never reset.
    void setFiles(const QList<core::FilePtr> &files);
    void setRowStyle(RowStyle style);

    const QList<core::FilePtr> &files() const { return _files; }
    /// -1 if it is no row.
    int rowOf(const core::FilePtr &file) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

private:
    bool insertMissing(const QList<core::FilePtr> &files);

    QList<core::FilePtr> _files;
    RowStyle _style = RowStyle::withPath;
};

}  // namespace vellumhound::screens
