// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/MountTable.h"

#include "index/disk/Paths.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace vellumhound::index {

using namespace std::string_view_literals;

namespace {

/// Blanks, tabs, line breaks and backslashes stand as three octal digits behind a backslash.
std::string unescaped(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size()) {
            const auto digit = [&](std::size_t at) { return text[i + at] - '0'; };
            out += char(digit(1) * 64 + digit(2) * 8 + digit(3));
            i += 3;
        } else {
            out += text[i];
        }
    }
    return out;
}

/// The kernel gives this type to no FUSE file system but one that a block device keeps, such as
/// NTFS and exFAT. The program in between is of this machine, and answers as long as the disk does.
bool isBlockDeviceOfFuse(std::string_view type)
{
    return type == "fuseblk" || type.starts_with("fuseblk.");
}

}  // namespace

bool Mount::isLocalDisk() const
{
    static constexpr std::array types{"ext2"sv, "ext3"sv, "ext4"sv, "xfs"sv, "btrfs"sv, "f2fs"sv,
        "zfs"sv, "bcachefs"sv, "jfs"sv, "reiserfs"sv, "nilfs2"sv, "vfat"sv, "exfat"sv, "ntfs3"sv,
        "ntfs"sv, "hfsplus"sv, "hfs"sv, "udf"sv, "iso9660"sv, "overlay"sv, "squashfs"sv};
    return std::find(types.begin(), types.end(), type) != types.end() || isBlockDeviceOfFuse(type);
}

bool Mount::mayHang() const
{
    static constexpr std::array ownTypes{"tmpfs"sv, "ramfs"sv, "rootfs"sv, "devtmpfs"sv, "proc"sv,
        "sysfs"sv, "devpts"sv, "mqueue"sv, "cgroup"sv, "cgroup2"sv, "debugfs"sv, "tracefs"sv,
        "securityfs"sv, "configfs"sv, "pstore"sv, "bpf"sv, "efivarfs"sv, "hugetlbfs"sv,
        "binfmt_misc"sv, "nsfs"sv, "fusectl"sv, "minix"sv, "erofs"sv, "romfs"sv, "ubifs"sv,
        "ecryptfs"sv, "aufs"sv, "apfs"sv, "affs"sv, "ufs"sv};
    return !isLocalDisk() && std::find(ownTypes.begin(), ownTypes.end(), type) == ownTypes.end();
}

std::vector<Mount> parseMounts(std::string_view mountInfo)
{
    std::vector<Mount> mounts;
    std::istringstream lines{std::string(mountInfo)};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string skipped;
        Mount mount;
        std::string root;
        std::string point;
        words >> skipped >> skipped >> mount.device >> root >> point;
        while (words >> skipped && skipped != "-") {
        }
        if (!(words >> mount.type))
            continue;
        mount.root = unescaped(root);
        mount.point = unescaped(point);
        mounts.push_back(std::move(mount));
    }
    return mounts;
}

std::vector<Mount> readMounts()
{
    std::ifstream file("/proc/self/mountinfo");
    std::stringstream text;
    text << file.rdbuf();
    return parseMounts(text.str());
}

const Mount *mountOf(const std::vector<Mount> &mounts, std::string_view path)
{
    const Mount *found = nullptr;
    for (const auto &mount : mounts) {
        // Of several on one place the last one is seen.
        if (pathBelow(path, mount.point) && (!found || mount.point.size() >= found->point.size()))
            found = &mount;
    }
    return found;
}

ResolvedPath resolvePath(const std::vector<Mount> &mounts, const std::string &path)
{
    constexpr int mostLinks = 40;
    ResolvedPath result{"/", nullptr};
    auto rest = path;
    for (int links = 0; !rest.empty();) {
        const auto slash = rest.find('/');
        const auto name = rest.substr(0, slash);
        rest = slash == std::string::npos ? std::string() : rest.substr(slash + 1);
        if (name.empty() || name == ".")
            continue;
        if (name == "..") {
            const auto up = result.path.rfind('/');
            result.path.resize(std::max<std::size_t>(up, 1));
            continue;
        }
        const auto next = joinedPath(result.path, name);
        const auto *mount = mountOf(mounts, next);
        if (mount && mount->mayHang())
            return {rest.empty() ? next : joinedPath(next, rest), mount};
        std::array<char, 4096> target;
        const auto length = ::readlink(next.c_str(), target.data(), target.size());
        if (length < 0 || links == mostLinks) {
            result.path = next;
            continue;
        }
        ++links;
        const std::string to(target.data(), std::size_t(length));
        if (to.starts_with('/'))
            result.path = "/";
        rest = rest.empty() ? to : to + '/' + rest;
    }
    return result;
}

std::string originalOfBindMount(const std::vector<Mount> &mounts, std::size_t index)
{
    const auto &mount = mounts[index];
    for (std::size_t i = 0; i < index; ++i) {
        const auto &earlier = mounts[i];
        if (earlier.device != mount.device)
            continue;
        const auto below = pathBelow(mount.root, earlier.root);
        if (!below)
            continue;
        auto original = below->empty() ? earlier.point : joinedPath(earlier.point, *below);
        if (original != mount.point)
            return original;
    }
    return {};
}

}  // namespace vellumhound::index
