// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NotificationCenter.h"
#include "keyboard/HotKeyDescription.h"
#include "keyboard/KeyboardShortcuts/NamedShortcuts.h"
#include "platform/DesktopSession.h"
#include "platform/KeySetting.h"

#include <QList>
#include <QObject>
#include <QTimer>

namespace vellumhound::keyboard {

/// What became of each hot key, for the settings to show. It follows the shortcuts and what the
/// desktop says of them; a change is told from the event loop, once for each name that reads
/// differently then. While a recorder has the keyboard all stays as it was.
///
/// Made by the composition root, one for the process; it is the one report observer of the
/// facility. Main thread. What it is made of outlives it.
class HotKeyStatus final : public QObject {
    Q_OBJECT

public:
    struct Environment {
        const KeyboardShortcuts::NamedShortcuts &shortcuts;
        platform::HotKeyCenter &hotKeyCenter;
        base::NotificationCenter &notificationCenter;
        const platform::DesktopSession &session;
        const platform::ShortcutWriter &writer;
        const platform::KeySetting &keySetting;
    };

    /// `names` in the order in which they are shown.
    HotKeyStatus(const Environment &environment, const QList<KeyboardShortcuts::Name> &names,
        QObject *parent = nullptr);
    ~HotKeyStatus() override;

    const QList<HotKeyDescription> &descriptions() const { return _descriptions; }
    /// An empty description for a name that is not among those shown.
    HotKeyDescription description(const KeyboardShortcuts::Name &name) const;
    /// Looks again at what nobody announces: whether the desktop entry is installed, and the
    /// desktop's own settings.
    void refresh();

    /// Each name once, and in order.
    bool isConsistent() const;

Q_SIGNALS:
    void changed(const QString &rawValue);

private:
    HotKeyDescription describe(const KeyboardShortcuts::Name &name) const;
    platform::HotKeyReport reportOf(const KeyboardShortcuts::Name &name,
        const std::optional<KeyboardShortcuts::Shortcut> &shortcut) const;

    Environment _environment;
    QList<KeyboardShortcuts::Name> _names;
    QList<HotKeyDescription> _descriptions;  // one for each name
    QTimer _change;                          // gathers the changes of one turn
    base::NotificationCenter::Token _shortcutDidChange;
};

}  // namespace vellumhound::keyboard
