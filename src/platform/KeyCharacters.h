// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace vellumhound::platform {

/// What the keys print on the active keyboard layout. Main thread.
class KeyCharacters {
public:
    virtual ~KeyCharacters() = default;

    /// What the key prints without modifiers in the layout's ASCII-capable form, as on its cap; for
    /// a dead key the accent itself. Nothing if the key prints nothing or the layout cannot be had.
    virtual std::optional<QString> charactersOf(int keyCode) const = 0;
};

}  // namespace vellumhound::platform
