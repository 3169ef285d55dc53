// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace vellumhound::base {

/// Puts a failure on standard output as one line, at once. Line breaks inside `line` (an error text
/// or a path may hold some) become a single blank, other control characters U+FFFD, so that one
/// failure stays one line and nothing of it steers a terminal. Any thread.
void printFailure(const QString &line);

}  // namespace vellumhound::base
