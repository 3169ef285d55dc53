// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Recorders.h"

#include "shell/MenuIconView.h"

#include <QDBusConnection>
#include <QProcessEnvironment>

namespace vellumhound::app {

namespace Flags = base::ModifierFlags;
using keyboard::KeyboardShortcuts::MenuItem;
using keyboard::KeyboardShortcuts::RecorderCocoa;

QList<MenuItem> TrayMenuKeys::itemArray() const
{
    // Without a launch shortcut: the row that shows it does not act on it.
    QList<MenuItem> items;
    const auto rows = shell::describeMenu({});
    for (const auto &row : rows) {
        if (!row.key)
            continue;
        const auto letter = QString::fromUcs4(&row.key->key, 1);
        items.append({row.text, letter, row.key->modifiers, {}});
        if (row.key->modifiers == Flags::command)
            items.append({row.text, letter, Flags::control, {}});
    }
    return items;
}

Recorders::Recorders(HotKeys &hotKeys, base::NotificationCenter &notificationCenter,
    base::MainQueue &mainQueue, platform::KeyTranslator &keyTranslator,
    std::shared_ptr<const platform::KeyboardLayout> keyboardLayout)
    : _hotKeys(hotKeys)
    , _notificationCenter(notificationCenter)
    , _mainQueue(mainQueue)
    , _events(keyTranslator)
    , _systemShortcuts(hotKeys.session(), hotKeys.keyCharacters(), std::move(keyboardLayout),
          QDBusConnection::sessionBus())
{
}

RecorderCocoa::Environment Recorders::environment()
{
    return {.shortcuts = _hotKeys.shortcuts(),
        .notificationCenter = _notificationCenter,
        .mainQueue = _mainQueue,
        .events = _events,
        .keyboardGrab = _keyboardGrab,
        .keyCharacters = _hotKeys.keyCharacters(),
        .mainMenu = _mainMenu,
        .systemShortcuts = _systemShortcuts,
        .isSandboxed = [] {
            return keyboard::KeyboardShortcuts::isAppSandboxed(
                QProcessEnvironment::systemEnvironment());
        }};
}

}  // namespace vellumhound::app
