// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"
#include "platform/ShortcutWriter.h"

namespace vellumhound::platform {

/// Writes keys by what they print on the layout in use. Main thread; `characters` outlive it.
class DesktopShortcutWriter final : public ShortcutWriter {
public:
    explicit DesktopShortcutWriter(const KeyCharacters &characters)
        : _characters(characters)
    {
    }

    ShortcutTexts textsOf(int keyCode, int modifiers) const override;

private:
    const KeyCharacters &_characters;
};

}  // namespace vellumhound::platform
