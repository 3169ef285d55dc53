// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/DesktopKeyInstructions.h"
#include "platform/HotKeyCenter.h"

#include <QString>
#include <QStringList>

namespace vellumhound::keyboard {

/// What a hot key does, in a few words; the raw value itself for a name that is not ours.
QString hotKeyLabel(const QString &rawValue);
/// What the running program is asked for over the desktop's activation: empty for showing the
/// panel.
QString hotKeyAction(const QString &rawValue);

/// One hot key in words for the user.
struct HotKeyDescription {
    enum class State {
        withoutShortcut,
        active,
        waiting,  ///< for an answer, or not asked for at this moment
        taken,    ///< by another program
        refused,
        toBeSetInDesktop,  ///< only the user can do it, in the desktop's settings
    };

    QString name;  ///< raw value
    State state = State::withoutShortcut;
    QString facility;  ///< by whom the key comes, for the user; empty if by nobody
    QString trigger;   ///< the key as the desktop tells it, else as we write it
    QString holder;    ///< of `taken`, if the desktop tells
    QString sentence;  ///< all of the above
    QString note;      ///< what else to know, as a sentence; may be empty
    /// Where the key can be set in the desktop instead; empty while it works.
    DesktopKeyInstructions instructions;

    bool operator==(const HotKeyDescription &) const = default;
};

/// All that a description depends on.
struct HotKeySituation {
    QString name;          ///< raw value
    QString shortcutText;  ///< the shortcut as we write it; empty if there is none
    int modifiers = 0;     ///< platform::HotKeyModifiers
    platform::ShortcutTexts texts;
    platform::HotKeyReport report;
    bool isSupported = false;  ///< some facility could give the key
    QStringList desktopNames;
    bool isWayland = false;
    bool isDesktopEntryInstalled = false;
    QString command;              ///< what a key of the desktop would have to run
    bool isSetInDesktop = false;  ///< the key is in the desktop's settings by our own doing

    bool operator==(const HotKeySituation &) const = default;
};

/// Pure.
HotKeyDescription describeHotKey(const HotKeySituation &situation);

}  // namespace vellumhound::keyboard
