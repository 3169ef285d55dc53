// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLoggingCategory>

namespace vellumhound::platform {

/// The desktop and what stands between it and us, whichever library it lives in.
Q_DECLARE_LOGGING_CATEGORY(logPlatform)

}  // namespace vellumhound::platform
