// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/File.h"

#include <optional>

namespace vellumhound::platform {
class FileSystem;
}

namespace vellumhound::core {

/// Whether a text of the box is listed as a path instead of being searched.
bool isPathText(const QString &text);

/// What the typed path `text` stands for: the contents of a folder, a single file, or the entries
/// of a folder that begin with the last part of the text, in any case. A path that leads nowhere
/// gives nothing. Any thread; blocks for as long as the disk takes.
FileList pathSearch(const platform::FileSystem &fileSystem, const QString &text);

/// The folder above a typed path, with a tilde for the home directory and a slash at its end.
/// Absent for a text that is no path and for the root. Touches no disk.
std::optional<QString> parentSearchPath(const QString &text);

}  // namespace vellumhound::core
