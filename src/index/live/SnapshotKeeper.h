// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/live/Worker.h"
#include "index/snapshot/SnapshotFile.h"
#include "index/snapshot/SnapshotWriter.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vellumhound::index {

struct SnapshotOptions {
    std::string folder;  ///< where the file is kept; empty: nowhere
    std::array<char, 16> owner = snapshotOwner();
    std::uint64_t mostBytes = std::uint64_t(2) << 30;  ///< a larger file is not written
    /// After so long without a change the index is worth writing.
    std::chrono::milliseconds quiet = std::chrono::seconds(10);
    /// At least this long between two files, and longer if they are large:
    std::chrono::milliseconds interval = std::chrono::minutes(5);
    std::uint64_t bytesPerSecond = std::uint64_t(64) << 10;  ///< on average
};

/// Loads the snapshot of the last session, has it checked, decides when to write another and has
/// that done, by the worker and in small steps. A failure is told once for each kind and leaves the
/// index as it is.
///
/// The thread of the live index, which owns it; stop() any thread.
class SnapshotKeeper {
public:
    using Clock = std::chrono::steady_clock;

    SnapshotKeeper(Worker &worker, SnapshotOptions options);
    ~SnapshotKeeper();
    SnapshotKeeper(const SnapshotKeeper &) = delete;
    SnapshotKeeper &operator=(const SnapshotKeeper &) = delete;

    /// Null if there is none to go on from.
    std::shared_ptr<LoadedSnapshot> load();
    /// Has all of a loaded snapshot read. An unsound one is told of and removed.
    void check(const std::shared_ptr<const LoadedSnapshot> &loaded,
        std::function<void(bool isSound)> whenDone);

    /// How often anything in the tables has changed so far.
    void noteChanges(std::uint64_t changeCount);
    /// When want() is to be called; absent while the file is as good as it can be.
    std::optional<Clock::time_point> due() const { return _due; }
    /// The next base is to be written; one should be built soon.
    void want();
    bool isWanted() const { return _isWanted; }
    /// A base is being built from what the last noteChanges() told.
    void beginBase() { _changesOfBase = _changes; }
    /// That base. Written if it is wanted, or if it is time.
    void offerBase(SnapshotContents contents);

    /// Writes at the end of the process, on this thread, if that is soon done. Nothing else runs.
    void writeAtEnd(const std::function<SnapshotContents()> &build, std::size_t names);
    /// Nothing more is written; what is being written is given up.
    void stop() { _isStopped = true; }

private:
    bool isKept() const { return !_options.folder.empty(); }
    std::string path() const { return _options.folder + '/' + snapshotFileName; }
    SnapshotTarget target() const;
    Clock::duration pause() const;
    void schedule();
    void stepCheck();
    void stepWriter();
    void writerEnded(SnapshotWriter::State state);

    Worker &_worker;
    const SnapshotOptions _options;
    std::atomic<bool> _isStopped = false;

    std::uint64_t _changes = 0;
    std::uint64_t _changesOfBase = 0;     // when the base at hand was begun
    std::uint64_t _changesInWriting = 0;  // in what is being written
    std::uint64_t _changesOnDisk = 0;
    std::optional<Clock::time_point> _firstChange;  // of those that are not on the disk
    std::optional<Clock::time_point> _lastWrite;    // or try
    std::uint64_t _lastBytes = 0;
    std::optional<Clock::time_point> _due;
    bool _isWanted = false;
    std::shared_ptr<SnapshotWriter> _writer;  // set while it is at work
    std::set<SnapshotWriter::Problem> _toldProblems;

    struct Check;
    std::shared_ptr<Check> _check;
};

}  // namespace vellumhound::index
