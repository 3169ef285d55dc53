// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Logging.h"

namespace vellumhound::platform {

Q_LOGGING_CATEGORY(logPlatform, "vellumhound.platform")

}  // namespace vellumhound::platform
