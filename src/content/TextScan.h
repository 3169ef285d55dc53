// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vellumhound::content {

/// Looks for one folded needle in folded texts: both its rarest bytes at once, 64 places at a time,
/// and the whole only where these stand. Unchanging; any thread.
class TextPattern {
public:
    /// `needle` has at least two bytes.
    explicit TextPattern(std::string needle);

    const std::string &needle() const { return _needle; }
    bool isIn(std::string_view text) const;

private:
    std::string _needle;
    std::size_t _rare = 0;   // places in the needle, the rarest byte first
    std::size_t _other = 0;  // another place
};

}  // namespace vellumhound::content
