// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vellumhound::keyboard {

/// What in the panel can hold the keyboard focus. The focus value is an optional of it: absent
/// means neither.
enum class FocusArea { search = 0, results = 1 };

}  // namespace vellumhound::keyboard
