// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/ChangeSource.h"
#include "index/disk/WatchBudget.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

namespace vellumhound::index {

/// Changes by the kernel's inotify, within a budget of watches.
class InotifySource final : public ChangeSource {
public:
    /// `budget` gives the most watches to hold; asked again now and then once they are spent, since
    /// the limit and what others hold can change.
    explicit InotifySource(std::function<int()> budget = halfOfWhatTheUserMayHave);
    ~InotifySource() override;
    InotifySource(const InotifySource &) = delete;
    InotifySource &operator=(const InotifySource &) = delete;

    int watch(int folderDescriptor, Interest interest) override;
    void unwatch(int watch) override;
    int descriptor() const override { return _descriptor; }
    std::vector<Change> read() override;

    /// Half of what the user's other programs leave of max_user_watches, as it stands now.
    static int halfOfWhatTheUserMayHave();

private:
    void recount();
    bool mayBeHeld(std::uint64_t inode);
    void noteHeld(std::uint64_t inode);

    int _descriptor = -1;

    std::mutex _mutex;  // guards what follows
    WatchAllowance _allowance;
    std::size_t _held = 0;
    bool _mayHoldLess = false;      // changes were lost, and with them that watches are no more
    bool _isRecountWanted = false;  // and the budget seems to be spent
    int _highest = 0;  // the kernel numbers watches upwards, so a larger one is a new one
    // Sorted; only once the budget was spent, for then a folder that is watched must be told from
    // one that is not. Also holds some that are watched no more.
    std::vector<std::uint64_t> _heldInodes;
};

}  // namespace vellumhound::index
