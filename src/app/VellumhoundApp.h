// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/LauncherWindow.h"
#include "app/Services.h"
#include "app/StartLine.h"
#include "keyboard/GlobalShortcut.h"
#include "platform/linux/DesktopAppearance.h"
#include "platform/linux/TrayHost.h"
#include "settings/SettingsRecords.h"
#include "shell/HotKeyBindings.h"
#include "shell/VellumhoundAppDelegate.h"
#include "shell/widgets/TrayItem.h"

#include <memory>
#include <optional>

namespace vellumhound::app {

/// Who started the program.
enum class StartedBy {
    person,      ///< from a menu, by a key of the desktop, from a terminal: the panel is wanted
    loginEntry,  ///< the session, when it began: the program waits in the background
    bus,         ///< the session bus, for a call that itself says what is wanted
};

/// The running program: the delegate, the hot keys, the item in the tray, and the services below
/// them. One for the process, made once the bus name is ours; main thread; needs the application
/// object. It ends what still runs before it takes down the panel that the tasks work on.
class VellumhoundApp {
public:
    /// `store` has been loaded. `ownVariables` are the variables of the environment that this
    /// process has set for itself; programs that it launches do not get them.
    VellumhoundApp(std::unique_ptr<store::PersistenceController> store,
        const QByteArrayList &ownVariables, shell::BoundHotKeys hotKeys);
    ~VellumhoundApp();
    Q_DISABLE_COPY_MOVE(VellumhoundApp)

    /// Makes the panel when the event loop is first idle, and presents it to a person. Once.
    void start(StartedBy startedBy);
    /// Says on standard output, in one line, what runs and which key brings it up. Once.
    void tellTerminal();

    shell::VellumhoundAppDelegate &appDelegate() { return _appDelegate; }

private:
    std::unique_ptr<shell::LauncherPanel> makeLauncher(
        const QString &identifier, shell::VellumhoundAppDelegate &delegate);
    void followAppearance(const platform::Appearance &appearance);
    shell::MenuState menuState();

    Services _services;
    LauncherWindow *_launcher = nullptr;  // the delegate's, once it is made
    shell::VellumhoundAppDelegate _appDelegate;
    settings::CodableAppStorage<settings::AppSettingsData> _appSettings;
    const keyboard::GlobalShortcut _launchVellumhound;
    platform::DesktopAppearance _appearance;
    const shell::MenuActions _menuActions;
    platform::TrayHost _trayHost;
    shell::TrayItem _tray;
    std::optional<shell::MenuKeys> _menuKeys;  // once the panel is made, whose buttons come first
    std::optional<StartLine> _startLine;       // for a terminal alone
};

/// Ends the program. QApplication::quit() asks the windows first, and the panel, which only hides
/// when it is closed, would now and then answer no.
void terminate();

}  // namespace vellumhound::app
