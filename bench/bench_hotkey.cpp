// SPDX-License-Identifier: GPL-3.0-or-later
// Time from the press of the main hot key to the panel's first painted frame and to the keyboard,
// with the fixed delay and without it; and what a change of the keyboard layout costs. Runs against
// a real X server with a window manager; takes no argument. Uses a home of its own.
#include "keyboard/GlobalShortcut.h"
#include "PanelBench.h"
#include "shell/HotKeyBindings.h"

#include <QLibrary>
#include <QProcess>
#include <QTimer>

#include <ctime>

using namespace vellumhound;
using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 60;
constexpr int layoutChanges = 40;
constexpr unsigned controlCode = 37;  // of the X server
constexpr unsigned spaceCode = 65;

/// Presses keys over a connection of its own, as another program's would be.
class Keyboard {
public:
    Keyboard()
    {
        const auto open = QFunctionPointer(_x11.resolve("XOpenDisplay"));
        _flush = reinterpret_cast<Flush>(_x11.resolve("XFlush"));
        _fake = reinterpret_cast<Fake>(_test.resolve("XTestFakeKeyEvent"));
        if (!open || !_flush || !_fake)
            qFatal("libX11 and libXtst are needed");
        _display = reinterpret_cast<void *(*)(const char *)>(open)(nullptr);
    }
    void pressControlSpace() const
    {
        for (const bool isDown : {true, false}) {
            _fake(_display, isDown ? controlCode : spaceCode, isDown, 0);
            _fake(_display, isDown ? spaceCode : controlCode, isDown, 0);
        }
        _flush(_display);
    }

private:
    using Flush = int (*)(void *);
    using Fake = int (*)(void *, unsigned, int, unsigned long);

    QLibrary _x11{u"libX11"_s, 6};
    QLibrary _test{u"libXtst"_s, 6};
    Flush _flush = nullptr;
    Fake _fake = nullptr;
    void *_display = nullptr;
};

double processMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

template <class Predicate> void runUntil(Predicate predicate)
{
    while (!predicate())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void measureShowings(const char *what, bench::FrameWatch &application, bench::Launcher &launcher,
    const Keyboard &keyboard)
{
    std::vector<double> frames;
    std::vector<double> focuses;
    for (int round = 0; round <= rounds; ++round) {
        QElapsedTimer clock;
        application.start();
        clock.start();
        keyboard.pressControlSpace();
        double focus = 0;
        double frame = 0;
        bool isLost = false;  // the server may lose a key that a new program sends
        QTimer again;
        again.callOnTimeout([&] {
            isLost = true;
            keyboard.pressControlSpace();
        });
        again.start(std::chrono::seconds(1));
        runUntil([&] {
            if (focus == 0 && QGuiApplication::focusWindow())
                focus = double(clock.nsecsElapsed()) / 1e6;
            if (frame == 0 && !application.isWaiting())
                frame = application.milliseconds();
            return focus != 0 && frame != 0;
        });
        again.stop();
        if (isLost) {
            --round;
        } else if (round > 0) {  // the first showing ever is another matter
            frames.push_back(frame);
            focuses.push_back(focus);
        }
        launcher.delegate.applicationDidResignActive();
        // That the keyboard has gone is told late, and by nothing if no window takes it.
        QEventLoop rest;
        QTimer::singleShot(250, &rest, &QEventLoop::quit);
        rest.exec();
    }
    bench::report(qPrintable(QString::fromLatin1(what) + u" to first frame"_s), frames);
    bench::report(qPrintable(QString::fromLatin1(what) + u" to the keyboard"_s), focuses);
}

void measureLayoutChanges()
{
    std::vector<double> costs;
    for (int change = 0; change < layoutChanges; ++change) {
        const double before = processMilliseconds();
        QProcess setxkbmap;
        setxkbmap.start(u"setxkbmap"_s, {change % 2 == 0 ? u"ru"_s : u"us"_s});
        QEventLoop loop;
        QObject::connect(&setxkbmap, &QProcess::finished, &loop, &QEventLoop::quit);
        loop.exec();
        // The server answers a question after all events that it sent before.
        QTimer::singleShot(50, &loop, &QEventLoop::quit);
        loop.exec();
        costs.push_back(processMilliseconds() - before);
    }
    bench::report("processor time of a change of the layout", costs);
}

}  // namespace

int main(int argc, char **argv)
{
    const bench::OwnHome home;
    bench::FrameWatch application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    bench::Launcher launcher(home);
    launcher.delegate.launcher();
    auto &shortcuts = launcher.services.hotKeys.shortcuts();
    const Keyboard keyboard;

    shell::bindHotKeys(shell::BoundHotKeys::launcher, shortcuts,
        launcher.services.notificationCenter, launcher.delegate);
    measureShowings("hot key", application, launcher, keyboard);

    // The same key under a name that does not wait.
    shortcuts.setShortcut(keyboard::GlobalShortcut::launchVellumhound(), std::nullopt);
    const auto atOnce = shortcuts.createName(
        u"atOnce"_s, keyboard::GlobalShortcut::launchVellumhound().defaultShortcut);
    shortcuts.onKeyDown(atOnce, [&] { launcher.delegate.presentPanel(); });
    measureShowings("hot key without the fixed delay", application, launcher, keyboard);

    measureLayoutChanges();
    return 0;
}
