// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

namespace vellumhound::platform {

/// Whether the machine is to use as little power as it can. Main thread.
class PowerState {
public:
    virtual ~PowerState() = default;
    virtual bool savesPower() const = 0;
    /// `changed` is called after each change, with the new answer; one listener at a time.
    virtual void onChanged(std::function<void(bool)> changed) = 0;
};

/// For a machine of which nothing is known: power is never saved.
class UnknownPowerState final : public PowerState {
public:
    bool savesPower() const override { return false; }
    void onChanged(std::function<void(bool)>) override {}
};

}  // namespace vellumhound::platform
