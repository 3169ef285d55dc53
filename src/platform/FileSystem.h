// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "base/UTType.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

namespace vellumhound::platform {

/// The resource values of one file or folder.
struct FileAttributes {
    QString name;  ///< what a person calls it: file name, or an application's localised name
    bool isDirectory = false;              ///< a folder, or a link to one
    bool isHidden = false;                 ///< the name begins with a dot
    std::optional<std::int64_t> fileSize;  ///< bytes; absent for folders and broken links
    std::optional<base::UTType>
        contentType;  ///< absent where neither the entry nor its name tells one

    bool operator==(const FileAttributes &) const = default;
};

/// One entry of a folder listing.
struct DirectoryEntry {
    QString path;
    FileAttributes attributes;

    bool operator==(const DirectoryEntry &) const = default;
};

/// The file system as the panel sees it. Any thread; calls block for as long as the disk takes.
class FileSystem {
public:
    virtual ~FileSystem() = default;

    /// Links are followed: nothing exists at one that leads nowhere.
    virtual bool exists(const QString &path) const = 0;
    virtual base::Result<FileAttributes> attributes(const QString &path) const = 0;
    /// The entries without hidden ones, in standard-compare order of their names. Entries that
    /// vanish while they are read are left out.
    virtual base::Result<QList<DirectoryEntry>> contentsOfDirectory(const QString &path) const = 0;
};

}  // namespace vellumhound::platform
