// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/keyboard/NamedKeys.h"

#include "base/KeyEvent.h"
#include "base/KeyTable.h"

namespace vellumhound::platform {

int namedKeyOf(xkb_keysym_t symbol)
{
    using base::KeyTable::functionKeyCodes;
    if (symbol >= XKB_KEY_F1 && symbol - XKB_KEY_F1 < functionKeyCodes.size())
        return functionKeyCodes[symbol - XKB_KEY_F1];
    for (const auto &named : namedKeys) {
        if (named.symbol == symbol && !base::KeyTable::isOnKeypad(named.keyCode))
            return named.keyCode;
    }
    return base::KeyCode::unknown;
}

}  // namespace vellumhound::platform
