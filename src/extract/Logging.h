// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLoggingCategory>

namespace vellumhound::extract {

Q_DECLARE_LOGGING_CATEGORY(logExtract)

}  // namespace vellumhound::extract
