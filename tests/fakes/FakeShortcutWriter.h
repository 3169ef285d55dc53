// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ShortcutWriter.h"

#include <QHash>

#include <utility>

namespace vellumhound::fakes {

/// Writes the few keys that a test names.
class FakeShortcutWriter final : public platform::ShortcutWriter {
public:
    platform::ShortcutTexts textsOf(int keyCode, int modifiers) const override
    {
        return texts.value({keyCode, modifiers});
    }

    QHash<std::pair<int, int>, platform::ShortcutTexts> texts;
};

}  // namespace vellumhound::fakes
