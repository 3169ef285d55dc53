// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vellumhound::shell {

/// Runs the program to its end; the result is its exit code. A second start hands over to the
/// running one and ends with 0. A store that does not load ends it with 1.
int runApplication(int &argc, char **argv);

}  // namespace vellumhound::shell
