// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Timer.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vellumhound::fakes {

/// A timer whose time passes only when a test says so.
class ManualTimer final : public base::Timer {
public:
    [[nodiscard]] std::unique_ptr<Wait> after(
        std::chrono::milliseconds delay, std::function<void()> block) override
    {
        auto entry = std::make_shared<Entry>(Entry{_now + delay, std::move(block)});
        _entries.push_back(entry);
        return std::make_unique<ManualWait>(std::move(entry));
    }

    /// Runs, in order of their time, the waits that end within `time`.
    void advance(std::chrono::milliseconds time)
    {
        const auto goal = _now + time;
        for (;;) {
            std::erase_if(_entries, [](const auto &entry) { return !entry->block; });
            const auto next = std::min_element(_entries.begin(), _entries.end(),
                [](const auto &a, const auto &b) { return a->due < b->due; });
            if (next == _entries.end() || (*next)->due > goal)
                break;
            _now = (*next)->due;
            const auto block = std::exchange((*next)->block, {});
            block();
        }
        _now = goal;
    }
    int pendingCount() const
    {
        return int(std::count_if(_entries.begin(), _entries.end(),
            [](const auto &entry) { return bool(entry->block); }));
    }

private:
    struct Entry {
        std::chrono::milliseconds due;
        std::function<void()> block;
    };
    struct ManualWait final : Wait {
        explicit ManualWait(std::shared_ptr<Entry> e)
            : entry(std::move(e))
        {
        }
        ~ManualWait() override { entry->block = {}; }
        std::shared_ptr<Entry> entry;
    };
    std::chrono::milliseconds _now{0};
    std::vector<std::shared_ptr<Entry>> _entries;
};

}  // namespace vellumhound::fakes
