// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Color.h"

#include <algorithm>
#include <cmath>

namespace vellumhound::base {

namespace {

double linear(double component)
{
    return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

double luminance(const Color &c)
{
    return 0.2126 * linear(c.red) + 0.7152 * linear(c.green) + 0.0722 * linear(c.blue);
}

Color mixed(const Color &from, double to, double share)
{
    const auto mix = [&](double component) { return component + (to - component) * share; };
    return {mix(from.red), mix(from.green), mix(from.blue), from.alpha};
}

}  // namespace

double contrastRatio(const Color &a, const Color &b)
{
    const auto [low, high] = std::minmax({luminance(a), luminance(b)});
    return (high + 0.05) / (low + 0.05);
}

Color withContrast(const Color &color, const Color &background, double ratio)
{
    constexpr int steps = 50;
    const double goal = luminance(background) < 0.18 ? 1.0 : 0.0;
    for (int step = 0; step < steps; ++step) {
        const auto candidate = mixed(color, goal, double(step) / steps);
        if (contrastRatio(candidate, background) >= ratio)
            return candidate;
    }
    return mixed(color, goal, 1.0);
}

}  // namespace vellumhound::base
