// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyboardMonitor.h"

namespace vellumhound::keyboard {

/// Tells the monitor when a screen gains and loses the focus. A screen holds one, for itself.
///
/// Two screens may report a hand-over in either order: each can take away only itself.
class KeyboardHandlingViewModifier {
public:
    /// Both outlive the modifier.
    KeyboardHandlingViewModifier(KeyboardMonitor &keyboardMonitor, KeyboardHandling &handler);
    /// A screen that goes while it holds the focus leaves no handler behind.
    ~KeyboardHandlingViewModifier();
    Q_DISABLE_COPY_MOVE(KeyboardHandlingViewModifier)

    bool isFocused() const { return _isFocused; }
    void setFocused(bool isFocused);
    /// The screen has left the panel, with or without a report of its focus.
    void disappear();

private:
    KeyboardMonitor &_keyboardMonitor;
    bool _isFocused = false;
    KeyboardHandling &_handler;
};

}  // namespace vellumhound::keyboard
