// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/Paths.h"

namespace vellumhound::index {

std::string joinedPath(std::string_view folder, std::string_view name)
{
    std::string path(folder);
    if (!path.ends_with('/'))
        path += '/';
    path += name;
    return path;
}

std::optional<std::string_view> pathBelow(std::string_view path, std::string_view folder)
{
    if (!path.starts_with(folder))
        return std::nullopt;
    path.remove_prefix(folder.size());
    if (path.empty() || folder.ends_with('/'))
        return path;
    if (path.front() != '/')
        return std::nullopt;
    return path.substr(1);
}

bool hasHiddenComponent(std::string_view relativePath)
{
    return relativePath.starts_with('.') || relativePath.find("/.") != std::string_view::npos;
}

}  // namespace vellumhound::index
