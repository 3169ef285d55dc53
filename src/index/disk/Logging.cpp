// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/Logging.h"

namespace vellumhound::index {

Q_LOGGING_CATEGORY(logIndex, "vellumhound.index", QtInfoMsg)

}  // namespace vellumhound::index
