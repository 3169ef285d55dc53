// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

struct xcb_connection_t;

namespace vellumhound::platform {

/// The toolkit's connection to the X server, null on any other window system and before the
/// application object. Main thread.
xcb_connection_t *x11Connection();

}  // namespace vellumhound::platform
