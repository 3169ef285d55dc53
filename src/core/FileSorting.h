// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/File.h"
#include "settings/SettingsRecords.h"

namespace vellumhound::core {

// All of these are stable and work on any thread. Names are prepared once, so that a folder of a
// hundred thousand entries does not matter.

/// Folders ahead of files, each group in the order given.
FileList sortedFoldersFirst(FileList files);
/// By name as people read it, folders and files mixed.
FileList sortedByName(FileList files);
/// Folders ahead of files, then by the text of the type, then by name. Where a type is absent the
/// name alone decides.
FileList sortedByKind(FileList files);
/// The order for the contents of a folder: by name or by kind; every other option leaves the order
/// of the listing.
FileList sortedContents(FileList files, settings::SortOption option);

}  // namespace vellumhound::core
