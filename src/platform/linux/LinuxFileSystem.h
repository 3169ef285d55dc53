// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ApplicationEntries.h"
#include "platform/FileSystem.h"

namespace vellumhound::platform {

/// The file system by system calls, so that names of any bytes are read. A link takes kind, type
/// and size of what it points to; a broken one, or one that points into a circle, is a link without
/// a size. Any thread; errors tell the system's reason without the path.
class LinuxFileSystem final : public FileSystem {
public:
    /// `applicationName` is asked for entries that end in ".desktop"; an empty function means that
    /// no entry is an application.
    explicit LinuxFileSystem(ApplicationEntryName applicationName);

    /// A broken link exists.
    bool exists(const QString &path) const override;
    base::Result<FileAttributes> attributes(const QString &path) const override;
    base::Result<QList<DirectoryEntry>> contentsOfDirectory(const QString &path) const override;

private:
    ApplicationEntryName _applicationName;
};

}  // namespace vellumhound::platform
