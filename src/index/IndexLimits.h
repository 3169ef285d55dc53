// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <cstdint>
#include <string>

namespace vellumhound::index {

/// What the machine has to give.
struct MachineSize {
    std::uint64_t memoryBytes = 0;    ///< 0 if not known
    std::uint64_t freeDiskBytes = 0;  ///< for this user, where the index keeps its files

    bool operator==(const MachineSize &) const = default;
};
/// Of this machine; `cacheFolder` is any folder on the disk that keeps the index's files.
MachineSize readMachineSize(const std::string &cacheFolder);

/// What the files of a folder take of the disk; 0 if there is no such folder.
std::uint64_t bytesInFolder(const std::string &folder);

/// The most that the index may take. Watches have a budget of their own.
struct IndexLimits {
    std::uint64_t memoryBytes = 0;  ///< tables of names
    std::uint64_t diskBytes = 0;    ///< index of texts

    bool operator==(const IndexLimits &) const = default;
};
/// An eighth of the memory, but no less than 128 MiB and no more than 4 GiB; a tenth of the disk
/// space that is free or taken by the index already, and no more than 8 GiB.
IndexLimits limitsFor(const MachineSize &machine, std::uint64_t diskBytesInUse);

/// What the index still takes in.
struct Intake {
    bool takesFolders = true;  ///< else no further ones; those that are in are kept up to date
    bool takesTexts = true;

    bool operator==(const Intake &) const = default;
};
/// A limit that was reached counts until a tenth below it is free again, so that an index at its
/// limit does not waver.
Intake intakeAfter(const Intake &before, std::uint64_t memoryBytes, std::uint64_t diskBytes,
    const IndexLimits &limits);
/// What the log says about a step from one to the other; nothing without a difference.
QStringList linesAbout(const Intake &before, const Intake &after, const IndexLimits &limits);

}  // namespace vellumhound::index
