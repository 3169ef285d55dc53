// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/InotifySource.h"

#include <cstddef>
#include <vector>

namespace vellumhound::tests {

using namespace vellumhound::index;

/// Real watches whose changes can be lost or repeated.
class LossySource final : public ChangeSource {
public:
    int watch(int descriptor, Interest interest) override
    {
        ++watchCount;
        return _real.watch(descriptor, interest);
    }
    void unwatch(int watch) override { _real.unwatch(watch); }
    int descriptor() const override { return _real.descriptor(); }
    std::vector<Change> read() override
    {
        auto changes = _real.read();
        const auto count = changes.size();
        for (int again = 1; again < repeats; ++again)
            changes.insert(changes.end(), changes.begin(), changes.begin() + std::ptrdiff_t(count));
        if (!losesChanges)
            return changes;
        losesChanges = false;
        Change change;
        change.kind = Change::Kind::lost;
        return {change};
    }

    explicit LossySource(int mostWatches = 100'000)
        : _real([mostWatches] { return mostWatches; })
    {
    }

    bool losesChanges = false;
    int watchCount = 0;  // how often a watch was asked for
    int repeats = 1;     // how often each change is given

private:
    InotifySource _real;
};

}  // namespace vellumhound::tests
