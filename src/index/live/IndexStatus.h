// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace vellumhound::index {

/// What the index covers and does at one moment. A plain record that any thread may fill in and
/// hand on.
struct IndexStatus {
    struct Activity {
        enum class Kind {
            crawling,      ///< `place` is read for the first time
            verifying,     ///< what a former run left is compared with the disk
            checking,      ///< folders are compared by their times
            compacting,    ///< the tables are written again
            readingTimes,  ///< of entries
            readingTexts,  ///< of files
            savingSnapshot,
        };
        Kind kind = Kind::crawling;
        QString place;  ///< a path; empty if it is about all

        bool operator==(const Activity &) const = default;
    };
    /// Why background work rests.
    enum class Rest { none, machineIsBusy, powerIsSaved };
    struct SkippedMount {
        QString point;
        QString type;

        bool operator==(const SkippedMount &) const = default;
    };
    struct Texts {
        bool isOn = false;
        std::uint64_t documents = 0;
        std::uint64_t bytes = 0;    ///< of the index, on the disk
        std::uint64_t waiting = 0;  ///< documents to be read
        bool isFull = false;        ///< its limit of bytes is reached

        bool operator==(const Texts &) const = default;
    };

    std::uint64_t names = 0;
    std::uint64_t liveFolders = 0;       ///< changes in them are told by the kernel
    std::uint64_t sweptFolders = 0;      ///< looked at from time to time
    std::uint64_t backedOffFolders = 0;  ///< change all the time, so are read at intervals
    std::uint64_t memoryBytes = 0;
    std::optional<std::chrono::system_clock::time_point> lastCheck;  ///< of all folders
    std::vector<Activity> activities;
    Rest rest = Rest::none;
    bool isWatchLimitReached = false;
    bool isFull = false;  ///< a limit of the index's own is reached: no further folders
    QStringList hungMounts;
    std::vector<SkippedMount> skippedMounts;
    Texts texts;

    bool operator==(const IndexStatus &) const = default;
};

/// The status in English sentences, one a line, for a window. What is nothing is left out, but for
/// the names.
QStringList sentencesOf(const IndexStatus &status, std::chrono::system_clock::time_point now);
/// The same in a single line for the log, without any path.
QString logLineOf(const IndexStatus &status);

}  // namespace vellumhound::index
