// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NotificationCenter.h"
#include "keyboard/HotKeyStatus.h"
#include "keyboard/KeyboardShortcuts/NamedShortcuts.h"
#include "platform/HotKeyCenter.h"
#include "platform/linux/hotkeys/WindowKeyFeed.h"
#include "platform/linux/keyboard/DesktopShortcutWriter.h"
#include "platform/linux/keyboard/XkbKeyCharacters.h"
#include "platform/linux/LinuxDesktopSession.h"
#include "platform/linux/shortcuts/GnomeKeybinding.h"
#include "settings/UserDefaults.h"

#include <memory>

namespace vellumhound::app {

/// All that the hot keys of the process are made of: how this desktop gives them, which shortcut
/// and which action each name has, and what became of them. A key that does not come is told on the
/// log, with what the user can do.
///
/// Main thread; needs the application object; the arguments outlive it.
class HotKeys {
public:
    HotKeys(settings::UserDefaults &userDefaults, base::NotificationCenter &notificationCenter,
        const std::shared_ptr<const platform::KeyboardLayout> &keyboardLayout);
    Q_DISABLE_COPY_MOVE(HotKeys)

    keyboard::KeyboardShortcuts::NamedShortcuts &shortcuts() { return _shortcuts; }
    keyboard::HotKeyStatus &status() { return _status; }
    const platform::DesktopSession &session() const { return _session; }
    const platform::KeyCharacters &keyCharacters() const { return _keyCharacters; }

private:
    void tell(const QString &rawValue) const;

    platform::LinuxDesktopSession _session;
    platform::XkbKeyCharacters _keyCharacters;
    platform::WindowKeyFeed _rawKeys;
    std::unique_ptr<platform::HotKeyCenter> _center;
    keyboard::KeyboardShortcuts::NamedShortcuts _shortcuts;
    platform::DesktopShortcutWriter _writer{_keyCharacters};
    platform::GnomeKeybinding _keySetting{_session};
    keyboard::HotKeyStatus _status;
};

}  // namespace vellumhound::app
