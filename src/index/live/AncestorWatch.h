// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/ChangeSource.h"
#include "index/disk/MountTable.h"
#include "index/live/Worker.h"

#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vellumhound::index {

/// Watches the folders above the roots. The watch of a root itself tells nothing when one of them
/// is renamed, and what was known of the root would stay for ever. A root that does not exist is
/// awaited: the deepest folder above it tells when the next one on the way comes.
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
    /// Takes a change, whoever's it is. After one of a folder above a root all are looked at again.
    void noteChange(const Change &change);
    /// Whether the watch is needed here.
    bool holds(int watch) const { return _above.watches.contains(watch); }
    /// Whether a root that does not exist is met as soon as it comes.
    bool awaits(const std::string &root) const { return _above.awaitedRoots.contains(root); }

private:
    struct Above {
        std::unordered_set<int> watches;
        std::unordered_map<int, std::set<std::string>>
            awaitedNames;  // by the watch of their folder
        std::set<std::string> awaitedRoots;
    };

    bool concerns(const Change &change) const;
    void watch();
    void watchAbove(
        const std::string &root, const std::vector<Mount> &slowMounts, Above &above) const;
    int watchFolder(const std::string &path, ChangeSource::Interest interest) const;
    void take(const Above &above);

    Worker &_worker;
    ChangeSource &_source;
    std::vector<std::string> _roots;
    std::vector<Mount> _slowMounts;
    Above _above;
    bool _isWatching = false;        // the worker is at it
    bool _isWantedAgain = false;     // once more afterwards
    std::vector<Change> _meanwhile;  // while the worker is at it, perhaps of watches that it takes
    bool _hasMoved = false;          // a folder above a root, since onWatched was last called
};

}  // namespace vellumhound::index
