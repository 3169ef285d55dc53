// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "shell/HotKeyBindings.h"

namespace vellumhound::app {

/// The variable of the environment by which the login entry ("login") and the service file of the
/// bus ("bus") mark the starts that are theirs. Every other start is a person's.
inline constexpr char startMark[] = "VELLUMHOUND_STARTED_BY";

/// Runs the program to its end; the result is its exit code. A person's second start has the
/// running instance present itself and ends with 0; a marked one ends with 0 and says nothing. A
/// store that does not load ends it with 1.
int runApplication(
    int &argc, char **argv, shell::BoundHotKeys hotKeys = shell::BoundHotKeys::launcher);

/// Ends the process at once, without destroying anything that is static. A worker that hangs in a
/// dead mount is left behind, may wake up at any moment, and would use what main() had destroyed.
[[noreturn]] void endProcess(int exitCode);

}  // namespace vellumhound::app
