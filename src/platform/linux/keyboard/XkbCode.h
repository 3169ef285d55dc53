// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vellumhound::platform {

/// A key's code in XKB, and with it in the X server and in what the toolkit calls native, is its
/// Linux code plus this.
inline constexpr int xkbOffset = 8;

}  // namespace vellumhound::platform
