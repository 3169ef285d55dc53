// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vellumhound::base {

/// The CRC-32C (Castagnoli) of `bytes`, which continue those that gave `previous`. Tells damage,
/// not malice. By the processor's own instruction where there is one. Any thread.
std::uint32_t crc32c(std::span<const std::byte> bytes, std::uint32_t previous = 0);
/// The same from tables: what the other form must agree with.
std::uint32_t crc32cByTable(std::span<const std::byte> bytes, std::uint32_t previous = 0);

}  // namespace vellumhound::base
