// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/hotkeys/KGlobalAccelHotKeys.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/XkbKeyCharacters.h"
#include "support/RunProgram.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QProcess>
#include <QTest>

#include <array>
#include <memory>

namespace vellumhound::support {

/// KDE's real service for hot keys with our side of it, and the keys that a test presses. Hot keys
/// are told by number: "down 1", "up 1". Nothing is pressed before keys are known to arrive, and a
/// key is held until its press was told.
class KGlobalAccelDesk final : private platform::HotKeyCenter::EventHandler {
public:
    using State = platform::HotKeyReport::State;

    static constexpr int spaceKey = 49;
    static constexpr int sKey = 1;
    static constexpr int tabKey = 48;
    static constexpr int control = platform::HotKeyModifiers::control;
    static constexpr int option = platform::HotKeyModifiers::option;

    static inline const QString serviceName = QStringLiteral("org.kde.kglobalaccel");
    static inline const QString component = QStringLiteral("org.vellumhound.Vellumhound");

    ~KGlobalAccelDesk() override
    {
        xdotool({QStringLiteral("keyup"), QStringLiteral("space"), QStringLiteral("keyup"),
            QStringLiteral("ctrl")});
        center.reset();
        for (const int number : {1, 2, firstMarker, secondMarker})
            call(QStringLiteral("unregister"), {component, nameOf(number)});
    }

    /// As when the program starts; true once its keys arrive.
    bool start()
    {
        using platform::HotKeyEvent;
        const auto label = [](const QString &name) { return QStringLiteral("Test of ") + name; };
        center.reset();
        center = std::make_unique<platform::KGlobalAccelHotKeys>(
            QDBusConnection::sessionBus(), _characters, label);
        if (!QTest::qWaitFor([&] { return center->isSupported(); }))
            return false;
        center->installEventHandler(*this);
        center->addEventTypes(std::array<int, 2>{HotKeyEvent::pressed, HotKeyEvent::released});
        add(firstMarker, 101, 0);   // F9
        add(secondMarker, 100, 0);  // F8
        return QTest::qWaitFor([&] {
            return stateOf(firstMarker) == State::active && stateOf(secondMarker) == State::active;
        }) && areKeysHeard();
    }
    platform::HotKeyCenter::Registration add(
        int number, int keyCode = spaceKey, int modifiers = control)
    {
        return center->registerHotKey({keyCode, modifiers, {0x54455354, number}, nameOf(number)});
    }
    bool isActive(int number) const { return stateOf(number) == State::active; }
    State stateOf(int number) const { return reportOf(number).state; }
    platform::HotKeyReport reportOf(int number) const { return center->report(nameOf(number)); }

    /// True if this hot key is told, and nothing but it.
    bool isHeardAlone(const QString &keys, int number)
    {
        told.clear();
        const bool isHeard = hold(keys, [&] { return !told.isEmpty(); }) &&
                             QTest::qWaitFor([&] { return told.size() >= 2; });
        return isHeard && told == QStringList{QStringLiteral("down %1").arg(number),
                                      QStringLiteral("up %1").arg(number)};
    }
    /// True once everything pressed before has been told.
    bool isAllTold() { return isMarked(QStringLiteral("F9"), firstMarker); }
    /// Presses, waits, and lets go; true if what was waited for came to pass.
    template <typename Condition> static bool hold(const QString &keys, const Condition &until)
    {
        const bool isDone = xdotool({QStringLiteral("keydown"), keys}) && QTest::qWaitFor(until);
        return xdotool({QStringLiteral("keyup"), keys}) && isDone;
    }

    static QString nameOf(int number) { return QStringLiteral("action-%1").arg(number); }
    /// By which others speak of one of our keys.
    static QStringList actionOf(int number)
    {
        return {component, nameOf(number), QString(), QString()};
    }
    static bool press(const QString &keys) { return xdotool({QStringLiteral("key"), keys}); }
    /// What another program asks of the service.
    static QVariant call(const QString &method, const QVariantList &arguments)
    {
        auto message = QDBusMessage::createMethodCall(serviceName, QStringLiteral("/kglobalaccel"),
            QStringLiteral("org.kde.KGlobalAccel"), method);
        message.setArguments(arguments);
        return QDBusConnection::sessionBus().call(message).arguments().value(0);
    }

    std::unique_ptr<platform::KGlobalAccelHotKeys> center;
    QStringList told;  // the markers left out
    int repeats = 0;

private:
    static constexpr int firstMarker = 99;
    static constexpr int secondMarker = 98;

    int handleEvent(const platform::HotKeyEvent *event) override
    {
        const int number = event->directObject->number;
        const bool isUp = event->kind == platform::HotKeyEvent::released;
        if (number == firstMarker || number == secondMarker) {
            if (!isUp)
                ++(number == firstMarker ? _firstMarks : _secondMarks);
        } else if (event->isRepeat)
            ++repeats;
        else
            told.append((isUp ? QStringLiteral("up %1") : QStringLiteral("down %1")).arg(number));
        return platform::HotKeyAnswer::noError;
    }
    void registrationRefused(platform::HotKeyId id, int status) override
    {
        told.append(QStringLiteral("refused %1: %2").arg(id.number).arg(status));
    }
    void keyboardChanged() override {}

    bool isMarked(const QString &key, int marker)
    {
        const auto &marks = marker == firstMarker ? _firstMarks : _secondMarks;
        const int before = marks;
        return hold(key, [&] { return marks > before; });
    }
    /// The first presses of all may be lost. One may also have been slow, but not slower than a
    /// press of another key after it.
    bool areKeysHeard()
    {
        const auto isFirstHeard = [&] {
            const int before = _firstMarks;
            press(QStringLiteral("F9"));
            return QTest::qWaitFor([&] { return _firstMarks > before; }, 500);
        };
        return run(QStringLiteral("xset"), {QStringLiteral("r"), QStringLiteral("off")}) &&
               QTest::qWaitFor(isFirstHeard, 20'000) &&
               isMarked(QStringLiteral("F8"), secondMarker);
    }

    platform::XkbKeyCharacters _characters{platform::KeyboardLayout::ofSession()};
    int _firstMarks = 0;
    int _secondMarks = 0;
};

}  // namespace vellumhound::support
