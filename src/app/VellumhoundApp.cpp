// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/VellumhoundApp.h"

#include "app/LauncherWindow.h"
#include "app/Services.h"
#include "base/widgets/Symbols.h"
#include "keyboard/GlobalShortcut.h"
#include "platform/linux/activation/SingleInstance.h"
#include "platform/linux/DesktopAppearance.h"
#include "platform/linux/wayland/LayerShell.h"
#include "shell/VellumhoundAppDelegate.h"
#include "shell/widgets/TrayItem.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>

#include <cstdio>
#include <optional>

namespace vellumhound::app {

namespace {

using namespace Qt::StringLiterals;

/// There is no first run to go through: the panel may hide from the beginning, and nothing of this
/// is written to the settings.
bool isOnboardingDone()
{
    return true;
}

void reportFatalError(const base::Error &error)
{
    const auto message = store::fatalErrorMessage(error);
    std::fprintf(stderr, "%s: %s\n", qPrintable(store::fatalErrorTitle()),
        message.simplified().toUtf8().constData());
    QMessageBox box(QMessageBox::Critical, store::fatalErrorTitle(), message, QMessageBox::Ok);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

struct StartRequest {
    shell::BoundHotKeys hotKeys = shell::BoundHotKeys::launcher;
    bool isByPerson = false;  ///< who started us left us the focus: the panel is to be shown
};

/// What starts programs by a person's act lets them take the focus; what does so at login has no
/// focus to give.
bool isStartedByPerson()
{
    return qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN") ||
           qEnvironmentVariableIsSet("DESKTOP_STARTUP_ID");
}

/// Ends the program. QApplication::quit() asks the windows first, and the panel, which only hides
/// when it is closed, would now and then answer no.
void terminate()
{
    QCoreApplication::exit();
}

/// The running program: the services, the delegate over them, and the ways in from outside.
class VellumhoundApp {
public:
    explicit VellumhoundApp(std::unique_ptr<store::PersistenceController> store)
        : _services(std::move(store))
        , _delegate(
              _services.timer,
              [this](const QString &identifier, shell::VellumhoundAppDelegate &delegate) {
                  return makeLauncher(identifier, delegate);
              },
              isOnboardingDone)
        , _appearance(QDBusConnection::sessionBus(),
              [this](const platform::Appearance &appearance) {
                  if (_launcher)
                      _launcher->setAppearance(appearance);
                  _tray.setAppearance(appearance);
              })
        , _instance(handlers())
        , _trayHost(QDBusConnection::sessionBus(), _services.timer)
        , _tray({_services.settings, _services.notificationCenter, _trayHost,
              [this] { return menuState(); }, _menuActions})
    {
        _tray.setAppearance(_appearance.current());
    }

    platform::SingleInstance::Claim claimName()
    {
        return _instance.claim(QDBusConnection::sessionBus());
    }

    int run(const StartRequest &request)
    {
        shell::bindHotKeys(request.hotKeys, _services.hotKeys.shortcuts(),
            _services.notificationCenter, _delegate);
        _services.queue.post([this, isByPerson = request.isByPerson] {
            _delegate.launcher();
            _delegate.applicationDidFinishLaunching();
            if (isByPerson)
                _delegate.applicationShouldHandleReopen();
        });
        return QApplication::exec();
    }

private:
    std::unique_ptr<shell::LauncherPanel> makeLauncher(
        const QString &identifier, shell::VellumhoundAppDelegate &delegate)
    {
        auto launcher =
            std::make_unique<LauncherWindow>(identifier, _services, delegate, isOnboardingDone);
        launcher->setAppearance(_appearance.current());
        _menuKeys.emplace(_services.keyEquivalents, _menuActions);
        _launcher = launcher.get();
        return launcher;
    }

    platform::SingleInstance::Handlers handlers()
    {
        platform::SingleInstance::Handlers handlers;
        handlers.activate = [this] { _delegate.applicationShouldHandleReopen(); };
        handlers.quit = terminate;
        return handlers;
    }

    shell::MenuState menuState()
    {
        shell::MenuState state;
        state.launchShortcut =
            keyboard::GlobalShortcut{keyboard::GlobalShortcut::launchVellumhound()}.keyShortcut(
                _services.hotKeys.shortcuts());
        state.bundle = base::mainBundle();
        return state;
    }

    Services _services;
    LauncherWindow *_launcher = nullptr;  // the delegate's, once it is made
    shell::VellumhoundAppDelegate _delegate;
    platform::DesktopAppearance _appearance;
    platform::SingleInstance _instance;

    const shell::MenuActions _menuActions{[this] { _delegate.presentPanel(); }, {}, {}, terminate};
    platform::TrayHost _trayHost;
    shell::TrayItem _tray;
    std::optional<shell::MenuKeys> _menuKeys;  // once the panel is made, whose buttons come first
};

}  // namespace

int runApplication(int &argc, char **argv, shell::BoundHotKeys hotKeys)
{
    if (platform::SingleInstance::handOver())
        return 0;
    const StartRequest request{hotKeys, isStartedByPerson()};
    platform::LayerShell::prepare();
    QGuiApplication::setDesktopFileName(u"org.vellumhound.Vellumhound"_s);
    QApplication application(argc, argv);
    QApplication::setApplicationName(u"vellumhound"_s);
    QApplication::setApplicationDisplayName(u"Vellumhound"_s);
    QApplication::setApplicationVersion(base::mainBundle().shortVersion);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(QIcon(base::applicationIcon(128, 1)));

    auto store =
        store::PersistenceController::load(store::PersistenceController::standardStorePath());
    if (!store) {
        reportFatalError(store.error());
        return 1;
    }
    VellumhoundApp running(std::move(store).value());
    if (running.claimName() == platform::SingleInstance::Claim::lost) {
        platform::SingleInstance::handOver();
        return 0;
    }
    return running.run(request);
}

}  // namespace vellumhound::app
