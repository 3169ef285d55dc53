// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vellumhound::index {

/// The kernel's two ways to watch folders. Each has a limit of its own.
enum class WatchKind { inotify, fanotify };

/// How many watches the kernel lets this user hold, all programs together, and how many the others
/// hold. Programs that may not be looked at count as holding none.
struct WatchLimit {
    int most = 0;
    int heldByOthers = 0;

    bool operator==(const WatchLimit &) const = default;
};
/// As it stands now, by the files below `proc`. Looks at every open file of the user's programs:
/// milliseconds, and more where one of them watches very much.
WatchLimit readWatchLimit(WatchKind kind, const std::string &proc = "/proc");

/// Half of what the others leave: they are to find some as well.
int budgetWithin(const WatchLimit &limit);
int readWatchBudget(WatchKind kind);

/// How many watches the descriptor of either kind holds, by the kernel's own count.
std::size_t countWatchesOf(int descriptor);
/// The numbers of the files and folders that an inotify descriptor watches, sorted.
std::vector<std::uint64_t> inodesWatchedBy(int inotifyDescriptor);

/// A budget of watches. Asked again once it is spent, and then after so and so many refusals: more
/// and more as long as the answer stays the same. Guarded by whoever owns it.
class WatchAllowance {
public:
    explicit WatchAllowance(std::function<int()> read);

    /// Whether somebody who holds so many may take one more.
    bool coversOneMoreThan(std::size_t held);

private:
    std::function<int()> _read;
    int _budget = 0;
    int _refused = 0;
    int _askAfter = 0;  // refusals
};

}  // namespace vellumhound::index
