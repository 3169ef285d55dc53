// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/Noise.h"

#include <algorithm>
#include <array>

namespace vellumhound::index {

using namespace std::string_view_literals;

namespace {

constexpr std::array noiseFolders{
    "node_modules"sv,
    "bower_components"sv,
    "site-packages"sv,
    "dist-packages"sv,
    "vendor"sv,
    "Pods"sv,
    "venv"sv,
    "virtualenv"sv,
    "__pycache__"sv,  // dependencies
    "build"sv,
    "target"sv,
    "dist"sv,
    "obj"sv,
    "CMakeFiles"sv,
    "DerivedData"sv,  // build output
    "cache"sv,
    "caches"sv,
    "Cache"sv,
    "Caches"sv,
    "GPUCache"sv,
    "Code Cache"sv,  // caches
    "CVS"sv,
    "RCS"sv,
    "SCCS"sv,
    "_darcs"sv,
    "lost+found"sv,
    "backup"sv,
    "backups"sv,
};

constexpr std::array noiseEndings{
    "~"sv, ".bak"sv, ".old"sv, ".orig"sv, ".rej"sv, ".tmp"sv, ".swp"sv,  // backups, leftovers
    ".o"sv, ".lo"sv, ".pyc"sv, ".class"sv, ".obj"sv,                     // build output
};

}  // namespace

bool isNoiseFolder(std::string_view name)
{
    return std::find(noiseFolders.begin(), noiseFolders.end(), name) != noiseFolders.end() ||
           name.ends_with(".egg-info") || name.ends_with(".dist-info") || name.ends_with(".git");
}

bool isNoiseName(std::string_view name)
{
    return std::any_of(noiseEndings.begin(), noiseEndings.end(),
        [&](std::string_view ending) { return name.ends_with(ending); });
}

}  // namespace vellumhound::index
