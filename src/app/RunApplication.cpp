// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/RunApplication.h"

#include "app/VellumhoundApp.h"
#include "base/widgets/Symbols.h"
#include "platform/linux/activation/SingleInstance.h"
#include "platform/linux/wayland/LayerShell.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>

#include <cstdio>
#include <optional>
#include <unistd.h>

/// The leak checker's own, in a build that has it.
extern "C" [[gnu::weak]] void __lsan_do_leak_check();  // NOLINT: the name is given

namespace vellumhound::app {

namespace {

using namespace Qt::StringLiterals;

/// The mark is for this process alone, not for the programs that it starts.
StartedBy takeStartMark()
{
    const auto mark = qgetenv(startMark);
    qunsetenv(startMark);
    if (mark == "login")
        return StartedBy::loginEntry;
    return mark == "bus" ? StartedBy::bus : StartedBy::person;
}

bool isOnTerminal()
{
    return ::isatty(STDOUT_FILENO) == 1;
}

/// A person who starts the program again wants the panel of the instance that runs. False if none
/// answers.
bool handOver()
{
    if (!platform::SingleInstance::handOver())
        return false;
    if (isOnTerminal())
        std::puts("Vellumhound runs already; its panel is coming up.");
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

void describeApplication()
{
    QApplication::setApplicationName(u"vellumhound"_s);
    QApplication::setApplicationDisplayName(u"Vellumhound"_s);
    QApplication::setApplicationVersion(base::mainBundle().shortVersion);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(QIcon(base::applicationIcon(128, 1)));
}

}  // namespace

int runApplication(int &argc, char **argv, shell::BoundHotKeys hotKeys)
{
    const auto startedBy = takeStartMark();
    if (startedBy == StartedBy::person && handOver())
        return 0;
    const auto ownVariables = platform::LayerShell::prepare();
    QGuiApplication::setDesktopFileName(u"org.vellumhound.Vellumhound"_s);
    QApplication application(argc, argv);
    describeApplication();

    std::optional<VellumhoundApp> running;
    platform::SingleInstance::Handlers handlers;
    handlers.activate = [&running] {
        if (running)
            running->appDelegate().applicationShouldHandleReopen();
    };
    handlers.quit = terminate;
    // Of two starts at once only one opens the store. Who calls it meanwhile is answered once it is
    // ready, as the event loop does not run before.
    platform::SingleInstance instance(std::move(handlers));
    if (instance.claim(QDBusConnection::sessionBus()) == platform::SingleInstance::Claim::lost) {
        if (startedBy == StartedBy::person)
            handOver();
        return 0;
    }
    auto store =
        store::PersistenceController::load(store::PersistenceController::standardStorePath());
    if (!store) {
        reportFatalError(store.error());
        return 1;
    }
    running.emplace(std::move(store).value(), ownVariables, hotKeys);
    running->start(startedBy);
    if (isOnTerminal())
        running->tellTerminal();
    return QApplication::exec();
}

void endProcess(int exitCode)
{
    std::fflush(nullptr);
    if (__lsan_do_leak_check)
        __lsan_do_leak_check();
    ::_exit(exitCode);
}

}  // namespace vellumhound::app
