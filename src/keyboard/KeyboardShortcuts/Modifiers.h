// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/HotKeyCenter.h"

#include <cstdint>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// Modifier bits in the encoding of the hot-key facility, which is also the stored one.
namespace CarbonModifiers = platform::HotKeyModifiers;

/// From the flags of a key event (base::ModifierFlags) to the facility's encoding and back. A bit
/// without a counterpart is dropped.
int carbonModifiersOf(std::uint32_t modifierFlags);
std::uint32_t modifierFlagsOf(int carbonModifiers);

/// Without the bits that are none of the four.
int normalizedCarbonModifiers(int carbonModifiers);

}  // namespace vellumhound::keyboard::KeyboardShortcuts
