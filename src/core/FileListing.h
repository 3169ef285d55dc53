// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/File.h"

namespace vellumhound::platform {
class FileSystem;
}

namespace vellumhound::core {

/// A record of what stands at `path` (absolute), with `parent` as the folder it was listed from, or
/// null if its attributes cannot be read. Any thread; blocks for as long as the disk takes.
FilePtr makeFile(
    const platform::FileSystem &fileSystem, const QString &path, const FilePtr &parent);

/// Records of the folder's entries, hidden ones left out, in the order of the file system. A folder
/// that cannot be read is an empty one. Any thread; blocks for as long as the disk takes.
FileList listDirectory(
    const platform::FileSystem &fileSystem, const QString &path, const FilePtr &parent);

}  // namespace vellumhound::core
