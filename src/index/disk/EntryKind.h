// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vellumhound::index {

/// What an entry is, by its folder's listing alone.
enum class EntryKind : std::uint8_t { file, folder, link, other };

}  // namespace vellumhound::index
