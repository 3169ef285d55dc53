// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vellumhound::base {

/// A colour in the sRGB space, each component from 0 to 1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    bool operator==(const Color &) const = default;
};

/// Contrast ratio of two opaque colours, 1 to 21, by the relative luminance of WCAG 2.1.
double contrastRatio(const Color &a, const Color &b);

/// `color` moved toward white (on a dark background) or black until its contrast with `background`
/// is at least `ratio`; unchanged if it has that already.
Color withContrast(const Color &color, const Color &background, double ratio);

}  // namespace vellumhound::base
