// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <utility>

namespace vellumhound::base {

/// Lets blocks that run later find out whether their owner is still there. The owner holds one as
/// its last member, so that it ends first. Main thread: blocks run where the owner ends.
class Lifetime {
public:
    Lifetime() = default;
    Lifetime(const Lifetime &) = delete;
    Lifetime &operator=(const Lifetime &) = delete;
    Lifetime(Lifetime &&) = delete;
    Lifetime &operator=(Lifetime &&) = delete;
    ~Lifetime() = default;

    /// `block`, which does nothing once this object has gone.
    template <class Block> auto guarded(Block block) const
    {
        return [owner = std::weak_ptr(_owner), block = std::move(block)](auto &&...values) {
            if (!owner.expired())
                block(std::forward<decltype(values)>(values)...);
        };
    }

private:
    std::shared_ptr<const int> _owner = std::make_shared<const int>(0);
};

}  // namespace vellumhound::base
