// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/ChangeSource.h"
#include "index/disk/DesktopEntries.h"
#include "index/live/Worker.h"

#include <functional>
#include <unordered_set>
#include <vector>

namespace vellumhound::index {

/// Reads the applications that the desktop offers, by the worker, and watches their folders: after
/// each change there they are read again.
///
/// Owned by the live index, on its thread; worker and source outlive it.
class ApplicationWatch {
public:
    ApplicationWatch(Worker &worker, ChangeSource &source, DesktopEntries entries);

    /// Called with what was read, and with the watches that are no longer needed for it.
    std::function<void(ApplicationTable, const std::vector<int> &freed)> onRead;

    /// Mounts that may hang: what is read from now on leaves them out, but for those on which an
    /// application folder itself lies.
    void avoid(std::vector<Mount> mounts);
    /// Reads them again; while they are being read, once more afterwards.
    void read();
    /// Takes a change in the folder of this watch, whoever's it is.
    void noteChange(int watch);
    /// Whether the watch is needed here.
    bool holds(int watch) const { return _watches.contains(watch); }

private:
    struct Outcome {
        std::unordered_set<int> watches;
        ApplicationTable table;
    };

    Outcome watchAndRead(const std::vector<Mount> &avoided) const;
    void take(Outcome outcome);

    Worker &_worker;
    ChangeSource &_source;
    const DesktopEntries _entries;
    std::vector<Mount> _avoided;
    std::unordered_set<int> _watches;
    std::unordered_set<int> _touchedWhileReading;  // watches
    bool _isReading = false;
    bool _isWantedAgain = false;
};

}  // namespace vellumhound::index
