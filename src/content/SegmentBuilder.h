// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "content/TextState.h"

#include <atomic>
#include <string>
#include <vector>

namespace vellumhound::content {

/// Writes the live documents of a buffer as a segment at `path`. The caller's thread.
base::Outcome writeSegment(const std::string &path, const TextBuffer &buffer, int packingLevel);

/// Writes the live documents of several segments as one at `path`, without unpacking a text, and
/// under the names they have now. Gives up, with an error, when `isStopped` is set.
base::Outcome mergeSegments(const std::string &path, const std::vector<SegmentState> &sources,
    const std::atomic<bool> &isStopped);

}  // namespace vellumhound::content
