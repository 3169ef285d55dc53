// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/helper/Sandbox.h"

namespace vellumhound::extract::helper {

/// Says hello on `requestSocket`, then answers requests until the other end is gone. The exit
/// status of the process.
int serve(const Confinement &confinement);

}  // namespace vellumhound::extract::helper
