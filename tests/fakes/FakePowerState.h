// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PowerState.h"

#include <utility>

namespace vellumhound::fakes {

/// A machine whose power a test saves or does not save.
class FakePowerState final : public platform::PowerState {
public:
    bool savesPower() const override { return _savesPower; }
    void onChanged(std::function<void(bool)> changed) override { _changed = std::move(changed); }

    void setSavesPower(bool savesPower)
    {
        if (std::exchange(_savesPower, savesPower) != savesPower && _changed)
            _changed(savesPower);
    }

private:
    bool _savesPower = false;
    std::function<void(bool)> _changed;
};

}  // namespace vellumhound::fakes
