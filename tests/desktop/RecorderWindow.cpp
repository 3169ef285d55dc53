// SPDX-License-Identifier: GPL-3.0-or-later
// A window with recorders over the hot keys of the program, for test_recorder.py. Tells on standard
// output, one line each, what a user would notice without seeing it: "ready", "hot key NAME",
// "bell", "recording yes", "recording no", "told FIELD SHORTCUT", "window got KEY", "button", and
// "server pressed CODE" for each press that the X server tells us, by whatever road, repeats
// included.
//
//   RecorderWindow [--dark] [--scale F] [--sandboxed] [--menu TITLE KEY MASK]…
//                  [--system KEYCODE MODIFIERS]… [--held KEYCODE MODIFIERS HOLDER]…
//                  [--ask-desktop]
//
// With --ask-desktop it is the real desktop that says which keys are spoken for.
#include "app/Recorders.h"
#include "fakes/FakeSystemShortcuts.h"
#include "keyboard/GlobalShortcut.h"
#include "keyboard/KeyboardShortcuts/KeyNames.h"
#include "keyboard/KeyboardShortcuts/widgets/Recorder.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/KeyTranslator.h"

#include <QAbstractNativeEventFilter>
#include <QApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <cstdio>
#include <xcb/xcb.h>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;

namespace {

void say(const QString &line)
{
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

class WrittenMenu final : public MainMenu {
public:
    QList<MenuItem> items;

    QList<MenuItem> itemArray() const override { return items; }
};

struct Options {
    bool isDark = false;
    bool isSandboxed = false;
    bool isDesktopAsked = false;
    double scale = 1;
    WrittenMenu menu;
    fakes::FakeSystemShortcuts system;

    explicit Options(QStringList words)
    {
        const auto next = [&] { return words.isEmpty() ? QString() : words.takeFirst(); };
        const auto number = [&] { return next().toInt(nullptr, 0); };
        next();
        while (!words.isEmpty()) {
            const auto word = next();
            if (word == u"--dark"_s) {
                isDark = true;
            } else if (word == u"--sandboxed"_s) {
                isSandboxed = true;
            } else if (word == u"--ask-desktop"_s) {
                isDesktopAsked = true;
            } else if (word == u"--scale"_s) {
                scale = next().toDouble();
            } else if (word == u"--menu"_s) {
                const auto title = next();
                const auto key = next();
                menu.items.append({u"Menu"_s, {}, 0, {{title, key, std::uint32_t(number()), {}}}});
            } else if (word == u"--system"_s) {
                const int keyCode = number();
                system.symbolicHotKeys.append({keyCode, number(), true, {}});
            } else if (word == u"--held"_s) {
                const int keyCode = number();
                const int modifiers = number();
                system.held.append({keyCode, modifiers, true, next()});
            }
        }
    }
};

/// Sees the events of a window before any filter.
class Application final : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject *receiver, QEvent *event) override
    {
        if (receiver->isWindowType() && event->type() == QEvent::KeyPress) {
            const auto *key = static_cast<QKeyEvent *>(event);
            if (key->isAutoRepeat())
                say(u"repeat of "_s + QKeySequence(key->key()).toString());
        }
        return QApplication::notify(receiver, event);
    }
};

class PressProbe final : public QAbstractNativeEventFilter {
public:
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) override
    {
        const auto *event = static_cast<const xcb_key_press_event_t *>(message);
        if (eventType == "xcb_generic_event_t" && (event->response_type & 0x7F) == XCB_KEY_PRESS)
            say(u"server pressed %1"_s.arg(event->detail));
        return false;
    }
};

/// The program's own, with what the options say in the place of the desktop and of the menu.
RecorderCocoa::Environment environmentOf(
    const RecorderCocoa::Environment &own, const Options &options)
{
    return {.shortcuts = own.shortcuts,
        .notificationCenter = own.notificationCenter,
        .mainQueue = own.mainQueue,
        .events = own.events,
        .keyboardGrab = own.keyboardGrab,
        .keyCharacters = own.keyCharacters,
        .mainMenu = options.menu.items.isEmpty() ? own.mainMenu : options.menu,
        .systemShortcuts = options.isDesktopAsked ? own.systemShortcuts : options.system,
        .isSandboxed = [isSandboxed = options.isSandboxed] { return isSandboxed; }};
}

class Window final : public QWidget {
protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        say(u"window got "_s + QKeySequence(event->key()).toString());
    }
};

}  // namespace

int main(int argumentCount, char **arguments)
{
    Application application(argumentCount, arguments);
    Options options(QApplication::arguments());
    auto theme = options.isDark ? ui::Theme::dark() : ui::Theme::light();
    theme.textScale = options.scale;
    QApplication::setPalette(theme.palette());

    base::EventLoopTimer timer;
    settings::UserDefaults defaults(
        qEnvironmentVariable("XDG_CONFIG_HOME") + u"/vellumhound"_s, timer);
    base::NotificationCenter notifications;
    base::MainQueue mainQueue;
    const std::shared_ptr<const platform::KeyboardLayout> keyboardLayout =
        platform::KeyboardLayout::ofSession();
    platform::KeyTranslator translator(keyboardLayout);
    app::HotKeys hotKeys(defaults, notifications, keyboardLayout);
    app::Recorders recorders(hotKeys, notifications, mainQueue, translator, keyboardLayout);
    const auto environment = environmentOf(recorders.environment(), options);
    PressProbe probe;  // behind the hot keys, so that it sees each press before them
    application.installNativeEventFilter(&probe);
    const auto &characters = environment.keyCharacters;
    auto &shortcuts = hotKeys.shortcuts();
    const auto &launch = keyboard::GlobalShortcut::launchVellumhound();
    const auto first = shortcuts.createName(launch.rawValue, launch.defaultShortcut);
    const auto second = shortcuts.createName(u"browseFinderWindows"_s);
    for (const auto &name : {first, second})
        shortcuts.onKeyDown(name, [name] { say(u"hot key "_s + name.rawValue); });
    const auto token = notifications.addObserver(
        QString::fromUtf16(base::Notifications::KeyboardShortcuts_recorderActiveStatusDidChange),
        nullptr, [](const base::NotificationCenter::UserInfo &info) {
            say(info.value(u"isActive"_s).toBool() ? u"recording yes"_s : u"recording no"_s);
        });
    Window window;
    window.setWindowTitle(u"Recorders"_s);
    auto *layout = new QVBoxLayout(&window);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->setSpacing(24);
    const auto add = [&](const QString &label, const Name &name) {
        auto *recorder =
            new Recorder({name,
                             [&characters, label](const std::optional<Shortcut> &shortcut) {
                                 say(u"told "_s + label + u' ' +
                                     (shortcut ? description(*shortcut, characters) : u"none"_s));
                             },
                             true, label},
                environment, theme);
        recorder->control().setBell([] { say(u"bell"_s); });
        layout->addWidget(recorder);
    };
    add(u"First"_s, first);
    add(u"Again"_s, first);
    add(u"Other"_s, second);
    // With a mnemonic: Alt and its letter belong to whoever records.
    auto *button = new QPushButton(u"&Button"_s);
    QObject::connect(button, &QPushButton::clicked, &window, [] { say(u"button"_s); });
    layout->addWidget(button);
    window.resize(400, 280);
    window.show();
    window.activateWindow();
    QTimer::singleShot(0, &window, [] { say(u"ready"_s); });
    return QApplication::exec();
}
