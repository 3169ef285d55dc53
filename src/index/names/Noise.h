// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace vellumhound::index {

/// Whether what lies below a folder of this name is seldom what somebody looks for: dependency
/// trees, build output, caches, the insides of version control. It is found all the same, last.
bool isNoiseFolder(std::string_view name);

/// Whether an entry of this name is a by-product: a backup, a swap file, an object file.
bool isNoiseName(std::string_view name);

}  // namespace vellumhound::index
