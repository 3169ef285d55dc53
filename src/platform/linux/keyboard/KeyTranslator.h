// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/KeyEvent.h"

#include <QtGlobal>

#include <memory>
#include <optional>

class QKeyEvent;

namespace vellumhound::platform {

class KeyboardLayout;

/// Turns the toolkit's key presses into key events, once, at the edge.
///
/// Letters, digits and signs are told by their place on the keyboard, keys with a name by the
/// symbol that the layout gives them, so that remapped keyboards work. Where the layout is only
/// assumed, key equivalents come from what the toolkit tells.
///
/// Main thread.
class KeyTranslator final {
public:
    explicit KeyTranslator(std::shared_ptr<const KeyboardLayout> layout);
    Q_DISABLE_COPY_MOVE(KeyTranslator)

    /// The key event of a press, absent for the press of a modifier alone. A press without a
    /// hardware code (sent by a program) takes the place that its symbol has on a US keyboard.
    std::optional<base::KeyEvent> translate(const QKeyEvent &event) const;

private:
    std::shared_ptr<const KeyboardLayout> _layout;
};

/// The modifiers as the panel's handlers get them, from those held: Ctrl without Super counts as
/// Command, and Ctrl+Shift without Super as Command+Control for the keys T and F.
std::uint32_t panelModifiers(std::uint32_t literalFlags, int keyCode);

}  // namespace vellumhound::platform
