// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "content/TextState.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vellumhound::content {

/// What a text index consists of: its segments, and which of their documents are gone or have
/// moved. What is not in the manifest is not in the index.
struct Manifest {
    struct Segment {
        std::uint64_t id = 0;
        std::uint32_t headerCrc = 0;      ///< of the file that is meant
        std::vector<std::uint64_t> dead;  ///< as in Tombstones; empty if none are
        Moves moves;
    };
    std::uint64_t nextId = 1;
    std::vector<Segment> segments;

    static Manifest of(const TextState &state, std::uint64_t nextId);
};

/// Absent if there is none; an error if it is foreign, newer or damaged.
base::Result<std::optional<Manifest>> readManifest(const std::string &path);
base::Outcome writeManifest(const std::string &path, const Manifest &manifest);

}  // namespace vellumhound::content
