// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/UTType.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <memory>
#include <optional>

namespace vellumhound::platform {
class Workspace;
}

namespace vellumhound::core {

class File;
using FilePtr = std::shared_ptr<File>;
using FileList = QList<FilePtr>;

/// A file or folder wherever one is shown: a row, a preview, a drag. Shared by reference and equal
/// by identity: two records of one path are two rows.
///
/// What it tells is fixed at creation and may be read on any thread; the tree (`_children`,
/// `_parent`) is written on the main thread once the record has been handed over. A folder and the
/// children it has loaded keep each other alive until releaseTree() parts them.
class File {
public:
    File(QString fileName, QString path, bool isDirectory, std::optional<std::int64_t> fileSize,
        std::optional<base::UTType> contentType);
    Q_DISABLE_COPY_MOVE(File)

    const QString fileName;                      ///< what a person calls it
    const QString path;                          ///< absolute, as its source gave it
    const std::optional<std::int64_t> fileSize;  ///< bytes; absent when the source has none
    const std::optional<base::UTType> contentType;
    const bool isDirectory;

    // Public under names that are given.
    FileList _children;  ///< loaded contents, in the order of the listing
    FilePtr _parent;     ///< the folder it was listed from; absent for hits, favorites and the like

    const QString &id() const { return path; }
    /// The file URL of the path's bytes. Made at each call: a listing of a hundred thousand rows
    /// would pay for as many URLs that nobody asks for.
    QUrl url() const;
    /// The path with a tilde for the home directory; folders end in a slash. A plain text prefix
    /// counts as the home directory, so that "/home/anna" begins with a tilde for "/home/ann".
    QString displayPath() const;
    QUrl previewItemURL() const { return url(); }
    const QString &previewItemTitle() const { return fileName; }

    void revealInFinder(platform::Workspace &workspace) const;
};

/// Empties `_children` of `folder` and of everything below it. Main thread.
void releaseChildren(const FilePtr &folder);
/// Empties `_children` through the whole tree that `file` stands in, beginning at its topmost
/// folder, so that what nobody else holds goes. Main thread.
void releaseTree(const FilePtr &file);
/// The record that stands at the top of the tree of `file`: itself if it has no parent.
FilePtr topmostFolder(const FilePtr &file);

}  // namespace vellumhound::core
