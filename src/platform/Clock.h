// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>

namespace vellumhound::platform {

/// The wall clock, handed in so that a test can set it. Any thread.
class Clock {
public:
    virtual ~Clock() = default;
    virtual std::chrono::system_clock::time_point now() const
    {
        return std::chrono::system_clock::now();
    }
};

}  // namespace vellumhound::platform
