// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"
#include "platform/linux/keyboard/ShortcutText.h"

#include <QDBusConnection>
#include <QString>

#include <optional>

struct xcb_connection_t;

namespace vellumhound::platform {

class KeyboardLayout;

/// Whether some program holds this key on the X server: it is grabbed and given back at once, on a
/// connection of its own, so that no grab of ours is lost; one that stands counts as held. False
/// where there is no X server. A few round trips. `ours` is the toolkit's connection: what it was
/// asked for before is done first. `layout` says which keys count as this one.
bool isHeldOnX11(
    xcb_connection_t *ours, const KeyCombination &combination, const KeyboardLayout &layout);

/// Who has this key with KDE's service for global shortcuts, which is asked if it runs: empty if it
/// does not tell the name; nothing if the key is free or ours, or the service does not answer
/// within 200 ms. Waits for the answer.
std::optional<QString> holderWithKGlobalAccel(
    const QDBusConnection &bus, const KeyCombination &combination, const KeyCharacters &characters);

}  // namespace vellumhound::platform
