// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace vellumhound::platform {

/// Tells desktop entries of the application folders from other files: gives the localised name of
/// the application whose entry lies at `path`, absent for any other path. Any thread.
using ApplicationEntryName = std::function<std::optional<QString>(const QString &path)>;

}  // namespace vellumhound::platform
