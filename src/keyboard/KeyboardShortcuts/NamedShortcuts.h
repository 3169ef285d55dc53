// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NotificationCenter.h"
#include "keyboard/KeyboardShortcuts/CarbonKeyboardShortcuts.h"
#include "keyboard/KeyboardShortcuts/Name.h"
#include "settings/UserDefaults.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>

#include <functional>
#include <optional>
#include <utility>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// The state of the module: which shortcut a name has (kept in the defaults alone), which actions
/// are bound to it, and whether hot keys act at this moment.
///
/// A shortcut that another program, or a person with an editor, writes into the defaults takes
/// effect like one that is set here.
///
/// One for the process, made by the composition root. Main thread. No operation fails visibly: what
/// cannot be read is no shortcut, what cannot be written changes nothing.
class NamedShortcuts {
public:
    using Action = std::function<void()>;

    /// What the object is made of. All of it outlives the object.
    struct Environment {
        settings::UserDefaults &defaults;
        base::NotificationCenter &notificationCenter;
        platform::HotKeyCenter &hotKeyCenter;
        platform::RawKeyFeed &rawKeys;
        const platform::KeyCharacters &keyCharacters;
    };

    explicit NamedShortcuts(const Environment &environment);
    Q_DISABLE_COPY_MOVE(NamedShortcuts)

    /// Where the shortcut of `name` is kept: a JSON object, `false` after the user removed a
    /// shortcut that has a default, or nothing.
    static QString userDefaultsKey(const Name &name);

    /// Brings a name into being: one that nothing is stored for starts with its default.
    Name createName(const QString &rawValue, std::optional<Shortcut> defaultShortcut = {});

    /// Nothing for a name without a shortcut, and for stored text that does not decode.
    std::optional<Shortcut> getShortcut(const Name &name) const;
    /// Stores the shortcut, moves the hot key to it and posts the change notification. None takes
    /// the shortcut away; doing so twice is once.
    void setShortcut(const Name &name, const std::optional<Shortcut> &shortcut);
    /// As the user reads it; empty for a name without a shortcut.
    QString description(const Name &name) const;

    /// Binds an action to a name, behind those bound before.
    void onKeyDown(const Name &name, Action action);
    void onKeyUp(const Name &name, Action action);

    const QSet<Shortcut> &registeredShortcuts() const { return _registeredShortcuts; }
    bool isEnabled() const { return _switches.isEnabled; }
    void setEnabled(bool isEnabled);
    bool isMenuOpen() const { return _switches.isMenuOpen; }
    void setMenuOpen(bool isMenuOpen);
    /// While a recorder has the keyboard no hot key acts, and none is held: a key that is held
    /// somewhere never reaches the recorder.
    bool isRecorderActive() const { return _switches.isRecorderActive; }
    void setRecorderActive(bool isActive);

private:
    /// In the order of the first binding.
    using Handlers = QList<std::pair<Name, QList<Action>>>;

    void bind(Handlers &handlers, const Name &name, Action action);
    void registerIfNeeded(const Name &name, const Shortcut &shortcut);
    void unregister(const Shortcut &shortcut);
    void registerForOthers(const Shortcut &shortcut);
    void changeShortcut(const Name &name, const Shortcut &shortcut);
    void clearShortcut(const Name &name);
    void followStore(const QString &key);
    void announceChange(const Name &name);
    void dispatch(const Handlers &handlers, const Shortcut &shortcut) const;
    void observeMenus();

    Environment _environment;
    HotKeySwitches _switches;
    QSet<Shortcut> _registeredShortcuts;
    Handlers _keyDownHandlers;
    Handlers _keyUpHandlers;
    QHash<Name, std::optional<Shortcut>> _known;  // of each name in being, when last looked at
    bool _isWriting = false;
    base::NotificationCenter::Token _menuDidBegin;
    base::NotificationCenter::Token _menuDidEnd;
    CarbonKeyboardShortcuts _hotKeys;
    QObject _storeObserver;
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
