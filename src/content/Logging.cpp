// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/Logging.h"

namespace vellumhound::content {

Q_LOGGING_CATEGORY(logContent, "vellumhound.content", QtInfoMsg)

}  // namespace vellumhound::content
