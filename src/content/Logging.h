// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLoggingCategory>

namespace vellumhound::content {

Q_DECLARE_LOGGING_CATEGORY(logContent)

}  // namespace vellumhound::content
