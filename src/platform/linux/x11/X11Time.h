// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vellumhound::platform {

/// On X11, makes `time` the time of the user's last action, which window managers compare before
/// they let a window have the focus. Elsewhere without effect. Main thread.
void setUserTime(std::uint32_t time);
/// When the last event of the X server came about, in its milliseconds; 0 elsewhere. Main thread.
std::uint32_t lastEventTime();

}  // namespace vellumhound::platform
