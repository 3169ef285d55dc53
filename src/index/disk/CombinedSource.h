// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/FanotifySource.h"
#include "index/disk/InotifySource.h"

#include <atomic>
#include <functional>

namespace vellumhound::index {

/// inotify for as many folders as its budget covers, fanotify for those beyond. What neither takes
/// is refused.
class CombinedSource final : public ChangeSource {
public:
    explicit CombinedSource(
        std::function<int()> inotifyBudget = InotifySource::halfOfWhatTheUserMayHave,
        std::function<int()> fanotifyBudget = FanotifySource::halfOfWhatTheUserMayHave);
    ~CombinedSource() override;
    CombinedSource(const CombinedSource &) = delete;
    CombinedSource &operator=(const CombinedSource &) = delete;

    int watch(int folderDescriptor, Interest interest) override;
    void unwatch(int watch) override;
    int descriptor() const override { return _descriptor; }
    std::vector<Change> read() override;

private:
    InotifySource _inotify;
    FanotifySource _fanotify;
    int _descriptor = -1;  // readable when one of the two is
    std::atomic<bool> _hasToldOfFanotify = false;
};

}  // namespace vellumhound::index
