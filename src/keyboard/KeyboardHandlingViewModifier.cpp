// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardHandlingViewModifier.h"

namespace vellumhound::keyboard {

KeyboardHandlingViewModifier::KeyboardHandlingViewModifier(
    KeyboardMonitor &keyboardMonitor, KeyboardHandling &handler)
    : _keyboardMonitor(keyboardMonitor)
    , _handler(handler)
{
}

KeyboardHandlingViewModifier::~KeyboardHandlingViewModifier()
{
    disappear();
}

void KeyboardHandlingViewModifier::setFocused(bool isFocused)
{
    if (isFocused == _isFocused)
        return;
    _isFocused = isFocused;
    if (isFocused)
        _keyboardMonitor.setFocusedHandler(&_handler);
    else
        _keyboardMonitor.clearFocusedHandler(_handler.id());
}

void KeyboardHandlingViewModifier::disappear()
{
    _isFocused = false;
    _keyboardMonitor.clearFocusedHandler(_handler.id());
}

}  // namespace vellumhound::keyboard
