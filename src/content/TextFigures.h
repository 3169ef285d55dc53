// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

namespace vellumhound::content {

/// How much a text index holds.
struct TextFigures {
    std::uint64_t documents = 0;      ///< with text
    std::uint64_t withoutText = 0;    ///< known to have none, or no room for it
    std::uint64_t textBytes = 0;      ///< folded
    std::uint64_t diskBytes = 0;      ///< of all segments
    std::uint64_t postingBytes = 0;   ///< of these: lists and dictionaries
    std::uint64_t bufferedBytes = 0;  ///< text in memory
    std::uint64_t lost = 0;           ///< dropped with damaged files since open()
    std::size_t segments = 0;
    std::uint64_t deadDocuments = 0;  ///< gone, but still on the disk
    std::uint64_t deadBytes = 0;      ///< of their texts and their share in the lists
    bool isFull = false;              ///< no room for the texts of further files
    bool cannotWrite = false;         ///< the last attempt to write failed

    bool operator==(const TextFigures &) const = default;
};

}  // namespace vellumhound::content
