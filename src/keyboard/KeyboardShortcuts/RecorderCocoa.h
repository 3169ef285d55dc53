// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/MainQueue.h"
#include "base/NotificationCenter.h"
#include "keyboard/KeyboardShortcuts/LocalEventMonitor.h"
#include "keyboard/KeyboardShortcuts/MainMenu.h"
#include "keyboard/KeyboardShortcuts/NamedShortcuts.h"
#include "keyboard/KeyboardShortcuts/RecorderView.h"
#include "platform/KeyboardGrab.h"
#include "platform/SystemShortcuts.h"

#include <functional>
#include <memory>
#include <optional>

class QProcessEnvironment;

namespace vellumhound::keyboard::KeyboardShortcuts {

/// Whether the process runs in an application sandbox that keeps some shortcuts from it.
bool isAppSandboxed(const QProcessEnvironment &environment);

/// The rules of the control in which the user presses a new shortcut: what it shows, which keys
/// count, which shortcuts are refused and how that is told.
///
/// While it has the focus it records: it has the keyboard to itself, as far as the desktop allows,
/// and no hot key of ours acts. Owned by its view. Main thread; may go inside any call that leaves
/// it (an alert, `onChange`).
class RecorderCocoa {
public:
    /// Of the field, in device-independent pixels.
    static constexpr double minimumWidth = 130;

    using ChangeHandler = std::function<void(const std::optional<Shortcut> &)>;

    /// What all recorders of the process stand on. All outlive them.
    struct Environment {
        NamedShortcuts &shortcuts;
        base::NotificationCenter &notificationCenter;
        base::MainQueue &mainQueue;
        platform::LocalEventSource &events;
        platform::KeyboardGrab &keyboardGrab;
        const platform::KeyCharacters &keyCharacters;
        const MainMenu &mainMenu;
        const platform::SystemShortcuts &systemShortcuts;
        std::function<bool()> isSandboxed;  ///< empty: never
    };

    RecorderCocoa(const Environment &environment, RecorderView &view, const Name &shortcutName,
        ChangeHandler onChange = {});
    ~RecorderCocoa();
    Q_DISABLE_COPY_MOVE(RecorderCocoa)

    const Name &shortcutName() const { return _shortcutName; }
    /// Edits another name from now on; a recording goes on.
    void setShortcutName(const Name &name);
    /// Told after each change that was made here.
    void setOnChange(ChangeHandler onChange) { _onChange = std::move(onChange); }

    /// Whether the focus may come here by the Tab key or by the opening of a window. False at
    /// first, and for one turn after the window has come up.
    bool canBecomeKeyView() const { return _canBecomeKey; }
    bool isRecording() const { return bool(_eventMonitor); }

    /// The view came into a window, or left it.
    void viewDidMoveToWindow(bool hasWindow);
    /// The focus comes. False if the toolkit refuses it.
    bool becomeFirstResponder();
    /// The focus has gone.
    void controlTextDidEndEditing();
    /// The clear button was used.
    void controlTextDidChange();

private:
    using Event = platform::LocalEvent;

    void showCurrentShortcut();
    void showShortcut(const std::optional<Shortcut> &shortcut);
    void refreshCancelButton();
    void preventBecomingKey();
    void setCanBecomeKey(bool canBecomeKey);
    void endRecording();
    void postActiveStatus(bool isActive);

    std::optional<Event> handleEvent(const Event &event);
    bool isNear(const Event &click) const;
    void check(const Shortcut &shortcut);
    std::optional<platform::SystemShortcut> systemConflict(const Shortcut &shortcut) const;
    std::optional<int> interruptWith(const RecorderAlert &alert);
    void accept(const Shortcut &shortcut);

    Environment _environment;
    RecorderView &_view;
    Name _shortcutName;
    ChangeHandler _onChange;
    bool _canBecomeKey = false;
    std::optional<LocalEventMonitor> _eventMonitor;  // present while recording
    platform::KeyboardGrab::Token _keyboardGrab;     // while recording, if the desktop allows it
    base::NotificationCenter::Token _shortcutsNameChangeObserver;
    RecorderView::ObserverToken _windowDidResignKeyObserver;
    RecorderView::ObserverToken _windowDidBecomeKeyObserver;
    std::shared_ptr<RecorderCocoa *> _self;  // by which what comes later knows that it is there
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
