// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace vellumhound::base {

/// What was built, as the build was configured. Empty where the builder gave nothing.
struct BundleInfo {
    QString shortVersion;  ///< "CFBundleShortVersionString": the version that people speak of
    QString build;         ///< "CFBundleVersion": which packaging of that version, counted from 1

    bool operator==(const BundleInfo &) const = default;
};

/// Of the program that runs.
BundleInfo mainBundle();

}  // namespace vellumhound::base
