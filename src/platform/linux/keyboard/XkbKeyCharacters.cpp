// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/keyboard/XkbKeyCharacters.h"

#include "base/KeyTable.h"
#include "platform/linux/keyboard/KeyboardLayout.h"

#include <utility>

namespace vellumhound::platform {

XkbKeyCharacters::XkbKeyCharacters(std::shared_ptr<const KeyboardLayout> layout)
    : _layout(std::move(layout))
{
}

std::optional<QString> XkbKeyCharacters::charactersOf(int keyCode) const
{
    const auto *key = base::KeyTable::findByKeyCode(keyCode);
    if (!key)
        return std::nullopt;
    const auto text = _layout->textOf(key->linuxCode, _layout->activeGroup());
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

}  // namespace vellumhound::platform
