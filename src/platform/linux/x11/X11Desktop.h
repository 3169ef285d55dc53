// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRect>
#include <QWindow>

#include <cstdint>
#include <optional>

class QScreen;

namespace vellumhound::platform {

// What the X11 desktop tells of itself and is told of our panel. On any other window system nothing
// is known and nothing is done. Main thread; each question is one short round trip.

/// Whether translucent windows are shown as such. True on other window systems.
bool isComposited();
/// Whether this is X11 and a compositor runs.
bool hasX11Compositor();
/// Makes the window one that stays above others and out of task lists. To be called before each
/// showing, as window managers forget it when a window goes away.
void writePanelState(WId window);
/// Asks the window manager for the same. To be called after each showing: when a window comes back
/// at once, the window manager may have forgotten its state only after that was written.
void requestPanelState(WId window);
/// Asks the window manager to give the window the keyboard as if the user had chosen it in a list
/// of windows. That is not weighed against what was done last in other windows, so it is for
/// windows that come up only because the user asked for them.
void requestKeyboard(WId window);
/// Where the desktop's active window lies, in pixels of the X server; absent for none.
std::optional<QRect> activeWindowGeometry();
/// The active window's screen, else the pointer's, else the first one; null without any screen.
QScreen *mainScreen();
/// Whether `event`, of the native kind, says that another window became the active one.
bool isActiveWindowChange(const void *event);
/// Whether `event` moves the focus only because somebody grabs the keyboard or lets it go.
bool isFocusGrabEvent(const void *event);

}  // namespace vellumhound::platform
