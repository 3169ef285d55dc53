// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/HotKeyBindings.h"

#include "keyboard/GlobalShortcut.h"

namespace vellumhound::shell {

using keyboard::GlobalShortcut;

void bindHotKeys(BoundHotKeys which, keyboard::KeyboardShortcuts::NamedShortcuts &shortcuts,
    base::NotificationCenter &notificationCenter, VellumhoundAppDelegate &appDelegate)
{
    const auto bind = [&](const keyboard::KeyboardShortcuts::Name &name,
                          const char16_t *announcement) {
        shortcuts.createName(name.rawValue, name.defaultShortcut);
        shortcuts.onKeyDown(name, [&notificationCenter, &appDelegate, announcement] {
            if (announcement)
                notificationCenter.post(QString::fromUtf16(announcement));
            appDelegate.showLauncher();
        });
    };
    bind(GlobalShortcut::launchVellumhound(), nullptr);
    if (which == BoundHotKeys::launcher)
        return;
    bind(GlobalShortcut::loadSelectedFilesFromFinder(),
        base::Notifications::SelectedFilesFromFinderNotification);
    bind(GlobalShortcut::browseFinderWindows(),
        base::Notifications::BrowseFinderWindowsNotification);
}

}  // namespace vellumhound::shell
