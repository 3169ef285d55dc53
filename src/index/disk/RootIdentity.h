// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vellumhound::index {

/// What tells the folder at a root's path from another that may stand or be mounted there next
/// time. Holds across boots.
struct RootIdentity {
    std::uint64_t fileSystem = 0;  ///< kind of file system
    std::uint64_t inode = 0;
    std::int64_t birth = 0;  ///< nanoseconds since 1970; 0 where file systems do not tell

    bool operator==(const RootIdentity &) const = default;
};

}  // namespace vellumhound::index
