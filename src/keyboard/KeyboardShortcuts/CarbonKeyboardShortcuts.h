// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyboardShortcuts/RunLoopLocalEventMonitor.h"
#include "keyboard/KeyboardShortcuts/Shortcut.h"
#include "platform/HotKeyCenter.h"
#include "platform/KeyCharacters.h"

#include <functional>
#include <map>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// What decides whether hot keys act.
struct HotKeySwitches {
    bool isEnabled = true;
    bool isMenuOpen = false;
    bool isRecorderActive = false;  ///< a recorder has the keyboard

    bool operator==(const HotKeySwitches &) const = default;
};

/// Turns shortcuts into hot keys of the whole desktop and runs their actions. While a menu of ours
/// is open the hot keys are withdrawn, and the keys on their way to the menu are looked at instead.
///
/// Owned by NamedShortcuts. Main thread. What the desktop refuses is told by one line on standard
/// output and goes no further.
class CarbonKeyboardShortcuts final : private platform::HotKeyCenter::EventHandler {
public:
    using Action = std::function<void(const Shortcut &)>;

    /// The mark of all our registrations, "VHKS".
    static constexpr std::uint32_t hotKeySignature = 0x56484B53;

    /// All outlive this object; `switches` are read at each update. `rawKeys` has the keys that are
    /// on their way to a menu.
    CarbonKeyboardShortcuts(platform::HotKeyCenter &center, platform::RawKeyFeed &rawKeys,
        const platform::KeyCharacters &characters, const HotKeySwitches &switches);
    /// Gives all hot keys back.
    ~CarbonKeyboardShortcuts() override;
    Q_DISABLE_COPY_MOVE(CarbonKeyboardShortcuts)

    /// `name` is the word by which the desktop knows the hot key again.
    void registerShortcut(
        const Shortcut &shortcut, Action onKeyDown, Action onKeyUp, const QString &name = {});
    /// Without effect for a shortcut that is not registered.
    void unregisterShortcut(const Shortcut &shortcut);
    void registerAll();
    /// Withdraws the hot keys from the desktop and keeps them for registerAll.
    void unregisterAll();
    /// After each change of the switches. Without effect before the first registration.
    void updateEventHandler();

private:
    /// One shortcut that has an action.
    struct HotKey {
        Shortcut shortcut;
        int carbonHotKeyId = 0;
        std::optional<platform::HotKeyCenter::Handle> carbonHotKey;  // while it is registered
        Action onKeyDown;
        Action onKeyUp;
        QString name;  // see HotKeyRequest
    };

    int handleEvent(const platform::HotKeyEvent *event) override;
    void registrationRefused(platform::HotKeyId id, int status) override;
    void keyboardChanged() override;

    bool registerAgain(HotKey &hotKey) const;
    int handleHotKeyEvent(const platform::HotKeyEvent &event);
    int handleRawKeyEvent(const platform::HotKeyEvent &event);
    std::optional<platform::HotKeyEvent> handleMenuEvent(const platform::HotKeyEvent &event);
    void printRefusal(const Shortcut &shortcut, int status) const;

    platform::HotKeyCenter &_center;
    const platform::KeyCharacters &_characters;
    const HotKeySwitches &_switches;
    std::map<int, HotKey> _hotKeys;  // by carbonHotKeyId
    int _hotKeyId = 0;               // the last one given out; a number is never used twice
    bool _isEventHandlerInstalled = false;
    RunLoopLocalEventMonitor _menuMonitor;
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
