// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/ChangeSource.h"

#include <functional>
#include <mutex>

namespace vellumhound::index {

/// Changes by the kernel's inotify, within a budget of watches.
class InotifySource final : public ChangeSource {
public:
    /// `budget` gives the most watches to hold; asked anew now and then, since the machine's
    /// limit can change.
    explicit InotifySource(std::function<int()> budget = halfOfWhatTheUserMayHave);
    ~InotifySource() override;
    InotifySource(const InotifySource &) = delete;
    InotifySource &operator=(const InotifySource &) = delete;

    int watch(int folderDescriptor, Interest interest) override;
    void unwatch(int watch) override;
    int descriptor() const override { return _descriptor; }
    std::vector<Change> read() override;

    /// Half of max_user_watches, as it stands now: the other programs of the user need some too.
    static int halfOfWhatTheUserMayHave();

private:
    int _descriptor = -1;
    std::function<int()> _readBudget;

    std::mutex _mutex;  // guards what follows
    int _budget = 0;
    int _held = 0;
    int _highest = 0;  // the kernel numbers watches upwards, so a larger one is a new one
    int _refused = 0;
};

}  // namespace vellumhound::index
