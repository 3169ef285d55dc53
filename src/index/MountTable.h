// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vellumhound::index {

/// One mounted file system.
struct Mount {
    std::string point;   ///< where it is mounted
    std::string root;    ///< which folder of the file system stands there
    std::string device;  ///< major:minor
    std::string type;    ///< "ext4"

    /// Keeps files of this machine; false for pseudo, memory, network and FUSE file systems.
    bool isLocalDisk() const;

    bool operator==(const Mount &) const = default;
};

/// The mounts in the text of /proc/self/mountinfo, in its order.
std::vector<Mount> parseMounts(std::string_view mountInfo);
/// Those of this process.
std::vector<Mount> readMounts();

/// If `mounts[index]` shows again what an earlier mount shows elsewhere (a bind mount), the path
/// under which that one shows it; else empty.
std::string originalOfBindMount(const std::vector<Mount> &mounts, std::size_t index);

}  // namespace vellumhound::index
