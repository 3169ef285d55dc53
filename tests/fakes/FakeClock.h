// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Clock.h"

namespace vellumhound::fakes {

/// A clock that stands still until a test moves it. Begins at noon of 15 January 2024, UTC.
class FakeClock final : public platform::Clock {
public:
    std::chrono::system_clock::time_point now() const override { return time; }
    void advance(std::chrono::milliseconds by) { time += by; }

    std::chrono::system_clock::time_point time{std::chrono::seconds(1'705'320'000)};
};

}  // namespace vellumhound::fakes
