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

    /// Keeps files of this machine, on a block device; false for pseudo, memory and network file
    /// systems and for those of FUSE that no block device keeps.
    bool isLocalDisk() const;
    /// Somebody else answers for it, another machine or another program, and may cease to: all
    /// that is no local disk, unless the kernel itself keeps it.
    bool mayHang() const;

    bool operator==(const Mount &) const = default;
};

/// The mounts in the text of /proc/self/mountinfo, in its order.
std::vector<Mount> parseMounts(std::string_view mountInfo);
/// Those of this process.
std::vector<Mount> readMounts();

/// The mount that a path without links lies on; null if none is known.
const Mount *mountOf(const std::vector<Mount> &mounts, std::string_view path);

/// Where a path leads.
struct ResolvedPath {
    std::string path;              ///< without links, as far as it could be followed
    const Mount *hangs = nullptr;  ///< set: it leads onto this mount, where it was not followed
};
/// Follows the links of an absolute path without ever touching a file system that may hang.
ResolvedPath resolvePath(const std::vector<Mount> &mounts, const std::string &path);

/// If `mounts[index]` shows again what an earlier mount shows elsewhere (a bind mount), the path
/// under which that one shows it; else empty.
std::string originalOfBindMount(const std::vector<Mount> &mounts, std::size_t index);

}  // namespace vellumhound::index
