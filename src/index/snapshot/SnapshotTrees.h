// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/IndexView.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellumhound::index {

/// Everything that a session needs to go on from.
struct SnapshotContents {
    std::shared_ptr<IndexBase> base;        ///< its dead records come back to life
    std::vector<std::int64_t> folderTimes;  ///< by folder; known before the base was built
    std::vector<IndexRoot> roots;           ///< by root number; folders of the base
    std::vector<std::string> stops;         ///< where the crawl did not go on
};

/// The roots and stops of a snapshot, as its last small section.
struct SnapshotTrees {
    struct Root {
        std::string path;
        FolderId folder = nothing;
        bool isCrawled = false;
        RootIdentity identity;

        bool operator==(const Root &) const = default;
    };
    std::vector<Root> roots;  ///< by the root numbers in the file
    std::vector<std::string> stops;

    bool operator==(const SnapshotTrees &) const = default;
};
std::string encode(const SnapshotTrees &trees);
/// Absent unless the bytes are exactly what encode() gives for something.
std::optional<SnapshotTrees> decodeTrees(std::string_view bytes);

}  // namespace vellumhound::index
