// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vellumhound::index {

/// Joins a folder's path and a name.
std::string joinedPath(std::string_view folder, std::string_view name);
/// What of `path` lies below `folder` (without the slash); empty for the folder itself, absent if
/// it lies elsewhere. By components: /a/bc is not below /a/b.
std::optional<std::string_view> pathBelow(std::string_view path, std::string_view folder);
/// Whether one of the components begins with a dot.
bool hasHiddenComponent(std::string_view relativePath);

}  // namespace vellumhound::index
