// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/Descriptor.h"
#include "index/snapshot/SnapshotFormat.h"
#include "index/snapshot/SnapshotTrees.h"

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vellumhound::index {

/// Where a snapshot goes, and what it may cost.
struct SnapshotTarget {
    std::string folder;  ///< made if it is not there
    std::array<char, 16> owner{};
    std::uint64_t mostBytes = 0;  ///< no file is written that would be larger
};

/// Writes a snapshot beside the old one and puts it in its place once it is on the disk. So at any
/// moment there is the old one, or the new one, whole. Some megabytes a step.
///
/// One thread. The base may be searched and lose records meanwhile, its change times may be set.
/// What it has begun and not finished is removed with it.
class SnapshotWriter {
public:
    SnapshotWriter(SnapshotContents contents, SnapshotTarget target);
    ~SnapshotWriter();
    SnapshotWriter(const SnapshotWriter &) = delete;
    SnapshotWriter &operator=(const SnapshotWriter &) = delete;

    enum class State { unfinished, done, failed };
    State step();

    enum class Problem { none, noFolder, noFile, tooLarge, notWritten, notPutInPlace };
    Problem problem() const { return _problem; }
    /// For a log line.
    QString description() const;
    std::uint64_t fileBytes() const { return _layout.fileBytes; }

private:
    State begin();
    State writePieces();
    State finish();
    State fail(Problem problem, int error);

    void numberRoots();
    std::span<const char> bytesOf(SnapshotSection section) const;
    /// The bytes [from, to) of a section as they are to be written; those that others may change
    /// are copied into `_copy`.
    std::span<const char> piece(SnapshotSection section, std::size_t from, std::size_t to);
    bool write(std::span<const char> bytes, std::uint64_t offset);

    const SnapshotContents _contents;
    const SnapshotTarget _target;
    const NameBlock::Tables _tables;
    SnapshotHeader _header;
    SnapshotLayout _layout;
    // Columns that stand in the file in another form.
    std::vector<std::uint32_t> _starts;
    std::vector<std::uint32_t> _records;
    std::vector<std::uint32_t> _byRecord;
    std::string _trees;
    std::vector<char> _copy;

    Descriptor _file;
    std::string _temporary;  // its path; empty once it is gone
    std::size_t _section = 0;
    std::size_t _at = 0;  // in the section
    Problem _problem = Problem::none;
    int _error = 0;
};

/// Removes what writers have left behind that no longer run.
void removeStaleSnapshots(const std::string &folder);

}  // namespace vellumhound::index
