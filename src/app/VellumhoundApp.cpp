// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/VellumhoundApp.h"

#include <QCoreApplication>

#include <utility>

namespace vellumhound::app {

namespace {

/// There is no first run to go through: the panel may hide from the beginning, and nothing of this
/// is written to the settings.
bool isOnboardingDone()
{
    return true;
}

}  // namespace

void terminate()
{
    QCoreApplication::exit();
}

VellumhoundApp::VellumhoundApp(std::unique_ptr<store::PersistenceController> store,
    const QByteArrayList &ownVariables, shell::BoundHotKeys hotKeys)
    : _services(std::move(store), ownVariables)
    , _appDelegate(
          _services.timer,
          [this](const QString &identifier, shell::VellumhoundAppDelegate &delegate) {
              return makeLauncher(identifier, delegate);
          },
          isOnboardingDone)
    , _appSettings(settings::settingsStorage<settings::AppSettingsData>(_services.userDefaults))
    , _launchVellumhound{keyboard::GlobalShortcut::launchVellumhound()}
    , _appearance(QDBusConnection::sessionBus(),
          [this](const platform::Appearance &appearance) { followAppearance(appearance); })
    , _menuActions{[this] { _appDelegate.presentPanel(); }, {}, {}, terminate}
    , _trayHost(QDBusConnection::sessionBus(), _services.timer)
    , _tray({_appSettings, _services.notificationCenter, _trayHost, [this] { return menuState(); },
          _menuActions})
{
    _tray.setAppearance(_appearance.current());
    shell::bindHotKeys(
        hotKeys, _services.hotKeys.shortcuts(), _services.notificationCenter, _appDelegate);
}

VellumhoundApp::~VellumhoundApp()
{
    // While the panel and its model are there, and all else that a task may touch.
    _services.fileSearchService.endSearch();
}

void VellumhoundApp::start(StartedBy startedBy)
{
    _services.queue.post([this, startedBy] {
        _appDelegate.launcher();
        _appDelegate.applicationDidFinishLaunching();
        if (startedBy == StartedBy::person)
            _appDelegate.applicationShouldHandleReopen();
    });
}

void VellumhoundApp::tellTerminal()
{
    _startLine.emplace(_services.hotKeys.status(), _launchVellumhound.name, _services.timer);
}

std::unique_ptr<shell::LauncherPanel> VellumhoundApp::makeLauncher(
    const QString &identifier, shell::VellumhoundAppDelegate &delegate)
{
    auto launcher =
        std::make_unique<LauncherWindow>(identifier, _services, delegate, isOnboardingDone);
    launcher->setAppearance(_appearance.current());
    _menuKeys.emplace(_services.keyEquivalents, _menuActions);
    _launcher = launcher.get();
    return launcher;
}

void VellumhoundApp::followAppearance(const platform::Appearance &appearance)
{
    if (_launcher)
        _launcher->setAppearance(appearance);
    _tray.setAppearance(appearance);
}

shell::MenuState VellumhoundApp::menuState()
{
    shell::MenuState state;
    state.launchShortcut = _launchVellumhound.keyShortcut(_services.hotKeys.shortcuts());
    state.bundle = base::mainBundle();
    return state;
}

}  // namespace vellumhound::app
