// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "index/disk/Descriptor.h"
#include "index/snapshot/SnapshotFormat.h"
#include "index/snapshot/SnapshotTrees.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vellumhound::index {

/// A snapshot in memory, as the file has it. What is written to it stays in this process.
class SnapshotMapping {
public:
    SnapshotMapping(Descriptor file, void *memory, const SnapshotHeader &header);
    ~SnapshotMapping();
    SnapshotMapping(const SnapshotMapping &) = delete;
    SnapshotMapping &operator=(const SnapshotMapping &) = delete;

    const SnapshotHeader &header() const { return _header; }
    const SnapshotLayout &layout() const { return _layout; }
    std::span<const char> bytes(SnapshotSection section) const;
    /// The bytes from `at` on as they stand in the file, whatever was written over them here. False
    /// if they cannot be read.
    bool readFromFile(SnapshotSection section, std::size_t at, std::span<char> into) const;
    template <class Item> std::span<Item> items(SnapshotSection section) const
    {
        auto *first = reinterpret_cast<Item *>(_memory + _layout.offsetOf(section));
        return {first, std::size_t(_layout.bytesOf(section) / sizeof(Item))};
    }

private:
    Descriptor _file;
    char *_memory;
    SnapshotHeader _header;
    SnapshotLayout _layout;
};

/// Compares the bulk of a snapshot with its checksums, bit by bit, and looks whether names and
/// numbers fit each other. Until that is done the names may be anything, and readers live with it.
class SnapshotCheck {
public:
    explicit SnapshotCheck(std::shared_ptr<const SnapshotMapping> mapping);

    enum class Verdict { unfinished, sound, damaged };
    /// Goes on for some milliseconds.
    Verdict step();

private:
    /// Takes [from, to) into the checksum.
    bool take(SnapshotSection section, std::size_t from, std::size_t to);

    std::shared_ptr<const SnapshotMapping> _mapping;
    std::size_t _section = firstBulkSection;
    std::size_t _at = 0;  // in the section
    std::uint32_t _checksum = 0;
};

/// A snapshot that can be searched at once.
struct LoadedSnapshot {
    SnapshotContents contents;
    std::shared_ptr<const SnapshotMapping> mapping;
};

/// Maps the snapshot at `path` and checks everything that reads of memory depend on; null if there
/// is no file. An error says why the file is not to be used: it is damaged, cut, of a newer
/// version, or not that of `owner`.
base::Result<std::shared_ptr<LoadedSnapshot>> loadSnapshot(
    const std::string &path, const std::array<char, 16> &owner);

/// Why the numbers of a snapshot do not fit each other; empty if they do. All its small sections
/// are read, and the zeros around the names.
QString faultInNumbers(const SnapshotMapping &mapping, const SnapshotTrees &trees);
/// Whether the names within [from, to) of the section fit the numbers. `to` is the end of the
/// section or, like `from`, a multiple of 256.
bool areNamesSound(const SnapshotMapping &mapping, std::size_t from, std::size_t to);
/// Whether all original names are such as a folder can hold.
bool areOriginalsSound(const SnapshotMapping &mapping);

}  // namespace vellumhound::index
