// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/KeyEvent.h"

#include <QAbstractNativeEventFilter>

#include <memory>
#include <optional>

class QKeyEvent;

namespace vellumhound::platform {

class KeyboardLayout;

/// Turns the toolkit's key presses into key events, once, at the edge.
///
/// Letters, digits and signs are told by their place on the keyboard, keys with a name by the
/// symbol that the layout gives them, so that remapped keyboards work. On X11 and Wayland it
/// follows changes of the keyboard layout; elsewhere key equivalents come from what the toolkit
/// tells.
///
/// Main thread; made after the application object and destroyed before it.
class KeyTranslator final : public QAbstractNativeEventFilter {
public:
    KeyTranslator();
    ~KeyTranslator() override;
    Q_DISABLE_COPY_MOVE(KeyTranslator)

    /// The key event of a press, absent for the press of a modifier alone. A press without a
    /// hardware code (sent by a program) takes the place that its symbol has on a US keyboard.
    std::optional<base::KeyEvent> translate(const QKeyEvent &event);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    std::unique_ptr<KeyboardLayout> _layout;
};

/// The modifiers as the panel's handlers get them, from those held: Ctrl without Super counts as
/// Command, and Ctrl+Shift without Super as Command+Control for the keys T and F.
std::uint32_t panelModifiers(std::uint32_t literalFlags, int keyCode);

}  // namespace vellumhound::platform
