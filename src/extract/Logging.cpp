// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/Logging.h"

namespace vellumhound::extract {

Q_LOGGING_CATEGORY(logExtract, "vellumhound.extract", QtInfoMsg)

}  // namespace vellumhound::extract
