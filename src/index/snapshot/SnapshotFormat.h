// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/IndexTables.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

namespace vellumhound::index {

/// The tables in a snapshot, in the order of the file. Those up to `trees` are small, hold numbers
/// that others are found by, and are checked before use. The rest is bulk.
enum class SnapshotSection : std::size_t {
    closedBefore,
    starts,
    originalRecords,
    originalStarts,
    firstRecords,
    folderRecords,
    parents,
    subtreeEnds,
    byRecord,
    folderTimes,
    trees,
    names,
    traits,
    changeTimes,
    originalBytes,
};
inline constexpr std::size_t snapshotSections = 15;
inline constexpr auto firstBulkSection = std::size_t(SnapshotSection::names);

/// The beginning of the file, as it stands there. Where the sections stand and how long they are
/// follows from the counts.
struct SnapshotHeader {
    static constexpr std::array<char, 16> rightMagic{"vellumhound\nndx"};
    static constexpr std::uint32_t rightByteOrder = 0x01020304;
    static constexpr std::uint32_t currentVersion = 1;

    std::array<char, 16> magic = rightMagic;
    std::uint32_t byteOrder = rightByteOrder;
    std::uint32_t version = currentVersion;
    std::array<char, 16> owner{};  ///< whose index this is, on which machine
    std::uint32_t records = 0;
    std::uint32_t namesEnd = 0;  ///< the byte behind the last name's terminator
    std::uint32_t folders = 0;
    std::uint32_t originals = 0;
    std::uint64_t originalBytes = 0;
    std::uint64_t treesBytes = 0;
    ByteFrequencies frequencies{};
    std::array<std::uint32_t, snapshotSections> checksums{};
    std::uint32_t checksum = 0;  ///< of all the bytes before

    std::uint32_t ownChecksum() const;
};
static_assert(std::is_trivially_copyable_v<SnapshotHeader>);
static_assert(std::has_unique_object_representations_v<SnapshotHeader>);

/// Where the sections stand in a file with such a header.
struct SnapshotLayout {
    /// Sections begin on the smallest pages there are; machines with larger ones read them as well.
    static constexpr std::uint64_t alignment = 4096;

    explicit SnapshotLayout(const SnapshotHeader &header);

    std::uint64_t offsetOf(SnapshotSection section) const { return offsets[std::size_t(section)]; }
    std::uint64_t bytesOf(SnapshotSection section) const { return bytes[std::size_t(section)]; }

    std::array<std::uint64_t, snapshotSections> offsets{};
    std::array<std::uint64_t, snapshotSections> bytes{};
    std::uint64_t fileBytes = 0;
};

/// Stands for this user on this machine, whatever runs on it; nothing can be read out of it.
std::array<char, 16> snapshotOwner();

inline constexpr const char *snapshotFileName = "names.index";

}  // namespace vellumhound::index
