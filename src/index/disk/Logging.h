// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLoggingCategory>

namespace vellumhound::index {

Q_DECLARE_LOGGING_CATEGORY(logIndex)

}  // namespace vellumhound::index
