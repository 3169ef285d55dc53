// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/Modifiers.h"

#include "base/KeyEvent.h"

namespace vellumhound::keyboard::KeyboardShortcuts {

namespace {

namespace Flags = base::ModifierFlags;

struct Pair {
    int carbon;
    std::uint32_t flag;
};
constexpr Pair pairs[] = {{CarbonModifiers::command, Flags::command},
    {CarbonModifiers::shift, Flags::shift}, {CarbonModifiers::option, Flags::option},
    {CarbonModifiers::control, Flags::control}};

}  // namespace

int carbonModifiersOf(std::uint32_t modifierFlags)
{
    int carbon = 0;
    for (const auto &pair : pairs) {
        if (modifierFlags & pair.flag)
            carbon |= pair.carbon;
    }
    return carbon;
}

std::uint32_t modifierFlagsOf(int carbonModifiers)
{
    std::uint32_t flags = 0;
    for (const auto &pair : pairs) {
        if (carbonModifiers & pair.carbon)
            flags |= pair.flag;
    }
    return flags;
}

int normalizedCarbonModifiers(int carbonModifiers)
{
    return carbonModifiersOf(modifierFlagsOf(carbonModifiers));
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
