// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "shell/HotKeyBindings.h"

namespace vellumhound::app {

/// Runs the program to its end; the result is its exit code. A second start hands over to the
/// running one and ends with 0. A store that does not load ends it with 1.
///
/// The first start waits in the background for a hot key or a call, unless a person's act started
/// it: then it shows the panel.
int runApplication(
    int &argc, char **argv, shell::BoundHotKeys hotKeys = shell::BoundHotKeys::launcher);

}  // namespace vellumhound::app
