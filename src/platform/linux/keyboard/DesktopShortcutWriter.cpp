// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/keyboard/DesktopShortcutWriter.h"

#include "platform/linux/keyboard/ShortcutText.h"

namespace vellumhound::platform {

ShortcutTexts DesktopShortcutWriter::textsOf(int keyCode, int modifiers) const
{
    const KeyCombination combination{keyCode, modifiers};
    return {ShortcutText::toQtText(combination, _characters),
        ShortcutText::toGtk(combination, _characters),
        ShortcutText::toSway(combination, _characters),
        ShortcutText::toHyprland(combination, _characters),
        ShortcutText::xkbName(keyCode, _characters)};
}

}  // namespace vellumhound::platform
