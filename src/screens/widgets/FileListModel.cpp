// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/widgets/FileListModel.h"

#include "base/NativePath.h"
#include "ui/IconInfo.h"
#include "ui/widgets/FileRowDelegate.h"

#include <QTextDocument>

namespace vellumhound::screens {

namespace FileRole = ui::FileRole;

namespace {

/// A tooltip guesses whether its text is rich: a path that looks like markup must say that it is
/// not.
QString toolTip(const QString &path)
{
    return Qt::mightBeRichText(path)
               ? QStringLiteral("<span>") + path.toHtmlEscaped() + QStringLiteral("</span>")
               : path;
}

}  // namespace

void FileListModel::setFiles(const QList<core::FilePtr> &files)
{
    if (files == _files)
        return;
    if (insertMissing(files))
        return;
    beginResetModel();
    _files = files;
    endResetModel();
}

bool FileListModel::insertMissing(const QList<core::FilePtr> &files)
{
    if (_files.isEmpty() || files.size() < _files.size())
        return false;
    qsizetype kept = 0;
    for (const auto &file : files) {
        if (kept < _files.size() && _files[kept] == file)
            ++kept;
    }
    if (kept != _files.size())
        return false;
    for (qsizetype row = 0; row < files.size();) {
        if (row < _files.size() && _files[row] == files[row]) {
            ++row;
            continue;
        }
        // Everything up to the next row that stands already comes in at once.
        auto end = row + 1;
        while (end < files.size() && (row >= _files.size() || files[end] != _files[row]))
            ++end;
        beginInsertRows({}, int(row), int(end) - 1);
        for (auto i = row; i < end; ++i)
            _files.insert(i, files[i]);
        endInsertRows();
        row = end;
    }
    return true;
}

void FileListModel::setRowStyle(RowStyle style)
{
    if (style == _style)
        return;
    Q_EMIT layoutAboutToBeChanged();
    _style = style;
    Q_EMIT layoutChanged();
}

int FileListModel::rowOf(const core::FilePtr &file) const
{
    return file ? int(_files.indexOf(file)) : -1;
}

int FileListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(_files.size());
}

QVariant FileListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= _files.size())
        return {};
    const auto &file = _files[index.row()];
    const auto displayPath = [&] { return base::printablePath(file->displayPath()); };
    switch (role) {
    case Qt::DisplayRole:
        return base::printablePath(file->fileName);
    case FileRole::displayPath:
        return _style == RowStyle::withPath ? displayPath() : QVariant();
    case Qt::ToolTipRole:
        return _style == RowStyle::withPath ? toolTip(displayPath()) : QVariant();
    case Qt::AccessibleTextRole:
        if (_style == RowStyle::withPath)
            return base::printablePath(file->fileName) + QStringLiteral(", ") + displayPath();
        return base::printablePath(file->fileName);
    case FileRole::icon:
        return QVariant::fromValue(ui::iconInfoForFile(file->isDirectory, file->contentType));
    default:
        return {};
    }
}

}  // namespace vellumhound::screens
