// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"

#include <QHash>

namespace vellumhound::fakes {

/// A layout of the few keys that a test names.
class FakeKeyCharacters final : public platform::KeyCharacters {
public:
    std::optional<QString> charactersOf(int keyCode) const override
    {
        const auto found = printed.constFind(keyCode);
        return found == printed.constEnd() ? std::nullopt : std::optional(*found);
    }

    QHash<int, QString> printed;
};

}  // namespace vellumhound::fakes
