// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/BundleInfo.h"

namespace vellumhound::base {

BundleInfo mainBundle()
{
    return {QStringLiteral(VELLUMHOUND_VERSION), QStringLiteral(VELLUMHOUND_BUILD)};
}

}  // namespace vellumhound::base
