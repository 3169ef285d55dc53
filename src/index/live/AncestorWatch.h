// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/ChangeSource.h"
#include "index/disk/MountTable.h"
#include "index/live/Worker.h"

#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

namespace vellumhound::index {

/// Watches the folders above the roots. The watch of a root itself tells nothing when one of them
/// is renamed, and what was known of the root would stay for ever.
///
/// Follows links, but not onto mounts that may hang. Owned by the live index, on its thread; worker
/// and source outlive it.
class AncestorWatch {
public:
    AncestorWatch(Worker &worker, ChangeSource &source);

    /// Called when folders above the roots are others than before, or may be, and watched as they
    /// are now; gets the watches that are no longer needed for that.
    std::function<void(const std::vector<int> &freed)> onWatched;

    /// Watches what is above these roots, on the worker. Nothing is called if that is what is
    /// watched already.
    void follow(const std::vector<std::string> &roots, const std::vector<Mount> &slowMounts);
    /// Takes a change, whoever's it is. After one of a folder above a root all are looked at anew.
    void noteChange(const Change &change);
    /// Whether the watch is needed here.
    bool holds(int watch) const { return _watches.contains(watch); }

private:
    void watch();
    std::unordered_set<int> watchAbove(
        const std::vector<std::string> &roots, const std::vector<Mount> &slowMounts) const;
    void take(std::unordered_set<int> watches);

    Worker &_worker;
    ChangeSource &_source;
    std::vector<std::string> _roots;
    std::vector<Mount> _slowMounts;
    std::unordered_set<int> _watches;
    bool _isWatching = false;     // the worker is at it
    bool _isWantedAgain = false;  // once more afterwards
    bool _hasMoved = false;       // a folder above a root, since onWatched was last called
};

}  // namespace vellumhound::index
