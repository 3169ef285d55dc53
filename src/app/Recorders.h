// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/HotKeys.h"
#include "base/MainQueue.h"
#include "base/NotificationCenter.h"
#include "keyboard/KeyboardShortcuts/MainMenu.h"
#include "keyboard/KeyboardShortcuts/RecorderCocoa.h"
#include "keyboard/KeyboardShortcuts/widgets/LocalEventFilter.h"
#include "platform/linux/shortcuts/DesktopKeyboardGrab.h"
#include "platform/linux/shortcuts/SystemShortcutReader.h"

namespace vellumhound::app {

/// The keys of the tray item's menu, which hold in every window of ours; each answers to Command
/// and, where that is all it needs, to Control in its place.
class TrayMenuKeys final : public keyboard::KeyboardShortcuts::MainMenu {
public:
    QList<keyboard::KeyboardShortcuts::MenuItem> itemArray() const override;
};

/// What the shortcut recorders of the process work with: the keys of our windows, the keyboard of
/// the desktop, and who has which key already.
///
/// One for the process. Main thread; needs the application object; the arguments outlive it, and it
/// outlives the recorders.
class Recorders {
public:
    Recorders(HotKeys &hotKeys, base::NotificationCenter &notificationCenter,
        base::MainQueue &mainQueue, platform::KeyTranslator &keyTranslator,
        std::shared_ptr<const platform::KeyboardLayout> keyboardLayout);
    Q_DISABLE_COPY_MOVE(Recorders)

    keyboard::KeyboardShortcuts::RecorderCocoa::Environment environment();

private:
    HotKeys &_hotKeys;
    base::NotificationCenter &_notificationCenter;
    base::MainQueue &_mainQueue;
    keyboard::KeyboardShortcuts::LocalEventFilter _events;
    platform::DesktopKeyboardGrab _keyboardGrab;
    TrayMenuKeys _mainMenu;
    platform::SystemShortcutReader _systemShortcuts;
};

}  // namespace vellumhound::app
