// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/Noise.h"

#include <algorithm>
#include <array>
#include <unordered_set>

namespace vellumhound::index {

using namespace std::string_view_literals;

namespace {

const std::unordered_set<std::string_view> &noiseFolders()
{
    static const std::unordered_set<std::string_view> names{// Dependencies.
        "node_modules", "bower_components", "jspm_packages", "site-packages", "dist-packages",
        "vendor", "Pods", "Carthage", "elm-stuff", "venv", ".venv", "virtualenv", ".tox", ".nox",
        ".m2", ".gradle", ".cargo", ".rustup", ".npm", ".yarn", ".pnpm-store", ".nuget",
        ".pub-cache", ".dart_tool", ".terraform", "_deps",
        // Build output.
        "build", "_build", "target", "dist", "obj", "blib", ".libs", ".deps", "CMakeFiles",
        "DerivedData", "__pycache__", ".next", ".nuxt", ".svelte-kit", ".eggs", ".stack-work",
        "dist-newstyle", "zig-cache", "zig-out", "htmlcov", ".nyc_output", "autom4te.cache",
        // Caches.
        "cache", "caches", "Cache", "Caches", ".cache", "GPUCache", "Code Cache", "ShaderCache",
        "GrShaderCache", "CacheStorage", "CachedData", ".ccache", ".mypy_cache", ".pytest_cache",
        ".ruff_cache", ".parcel-cache", ".thumbnails",
        // Version control.
        ".git", ".hg", ".svn", ".bzr", ".jj", "CVS", "RCS", "SCCS", "_darcs",
        // Backups and what was thrown away.
        "lost+found", "backup", "backups", "Backup", "Backups", ".snapshots", "timeshift", ".Trash",
        "Trash", ".Trash-1000"};
    return names;
}

constexpr std::array folderBeginnings{"cmake-build-"sv, "bazel-"sv, ".Trash-"sv};
constexpr std::array folderEndings{".egg-info"sv, ".dist-info"sv, ".git"sv, ".tmp"sv};

constexpr std::array noiseNames{"Thumbs.db"sv, "desktop.ini"sv, ".DS_Store"sv};
constexpr std::array nameBeginnings{"~$"sv, ".~lock."sv, ".#"sv};  // locks of open documents
constexpr std::array noiseEndings{                                 // Backups and leftovers.
    "~"sv, ".bak"sv, ".BAK"sv, ".old"sv, ".orig"sv, ".rej"sv, ".tmp"sv, ".swp"sv, ".swo"sv,
    ".part"sv, ".crdownload"sv,
    // Build output.
    ".o"sv, ".lo"sv, ".la"sv, ".obj"sv, ".pyc"sv, ".pyo"sv, ".class"sv, ".elc"sv, ".gch"sv,
    ".beam"sv};

template <class List> bool holds(const List &list, std::string_view name)
{
    return std::find(list.begin(), list.end(), name) != list.end();
}
template <class List> bool beginsWithOneOf(const List &list, std::string_view name)
{
    return std::any_of(list.begin(), list.end(),
        [&](std::string_view beginning) { return name.starts_with(beginning); });
}
template <class List> bool endsWithOneOf(const List &list, std::string_view name)
{
    return std::any_of(
        list.begin(), list.end(), [&](std::string_view ending) { return name.ends_with(ending); });
}

}  // namespace

bool isNoiseFolder(std::string_view name)
{
    return noiseFolders().contains(name) || beginsWithOneOf(folderBeginnings, name) ||
           endsWithOneOf(folderEndings, name);
}

bool isNoiseName(std::string_view name)
{
    const bool isAutosave = name.size() > 2 && name.front() == '#' && name.back() == '#';
    return isAutosave || endsWithOneOf(noiseEndings, name) || holds(noiseNames, name) ||
           beginsWithOneOf(nameBeginnings, name);
}

}  // namespace vellumhound::index
