// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "fakes/FakeKeyboardGrab.h"
#include "fakes/FakeLocalEventSource.h"
#include "fakes/FakeSystemShortcuts.h"
#include "keyboard/KeyboardShortcuts/NamedShortcutsFixture.h"
#include "keyboard/KeyboardShortcuts/RecorderCocoa.h"

#include <memory>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// A menu that the test writes.
class WrittenMenu final : public MainMenu {
public:
    QList<MenuItem> items;

    QList<MenuItem> itemArray() const override { return items; }
};

/// A field of 130 by 24 at 100, 200 on the screen, in a window that has the keyboard. What it is
/// told it keeps in order.
class ScriptedView final : public RecorderView {
public:
    RecorderCocoa *recorder = nullptr;
    QStringList calls;  ///< "blur", "focus", "beep", "alert"
    QString value;
    QString placeholder;
    bool hasCancelButton = false;
    bool isInsertionPointVisible = true;
    bool canBecomeKey = false;
    bool hasFocus = false;
    bool isWillingToFocus = true;
    QList<RecorderAlert> alerts;
    int answer = RecorderAlert::firstButton;
    std::function<void()> duringAlert;

    void resignKey() const { call(_didResignKey); }
    void becomeKey() const { call(_didBecomeKey); }
    bool isObserved() const { return !_didResignKey.expired() || !_didBecomeKey.expired(); }
    /// The user clicks into the field, or tabs into it.
    bool focus()
    {
        hasFocus = recorder->becomeFirstResponder();
        return hasFocus;
    }

    QString stringValue() const override { return value; }
    void setStringValue(const QString &newValue) override { value = newValue; }
    void setPlaceholder(const QString &text) override { placeholder = text; }
    void setCancelButton(bool isInstalled) override { hasCancelButton = isInstalled; }
    void clickCancelButton() override
    {
        value.clear();
        recorder->controlTextDidChange();
    }
    void setInsertionPointVisible(bool isVisible) override { isInsertionPointVisible = isVisible; }
    RecorderPoint extent() const override { return {130, 24}; }
    RecorderPoint fromScreen(RecorderPoint point) const override
    {
        return {point.x - 100, point.y - 200};
    }
    bool acceptsFirstResponder() const override { return isWillingToFocus; }
    QWindow *nativeWindow() const override { return nullptr; }
    void makeFirstResponder() override
    {
        calls.append(QStringLiteral("focus"));
        if (!hasFocus)
            focus();
    }
    void blur() override
    {
        calls.append(QStringLiteral("blur"));
        if (std::exchange(hasFocus, false))
            recorder->controlTextDidEndEditing();
    }
    void canBecomeKeyDidChange(bool can) override { canBecomeKey = can; }
    ObserverToken observeWindowDidResignKey(std::function<void()> handler) override
    {
        return observe(_didResignKey, std::move(handler));
    }
    ObserverToken observeWindowDidBecomeKey(std::function<void()> handler) override
    {
        return observe(_didBecomeKey, std::move(handler));
    }
    int runAlert(const RecorderAlert &alert) override
    {
        calls.append(QStringLiteral("alert"));
        alerts.append(alert);
        if (duringAlert)
            duringAlert();
        return answer;
    }
    void beep() override { calls.append(QStringLiteral("beep")); }

private:
    using Handler = std::function<void()>;

    static ObserverToken observe(std::weak_ptr<Handler> &slot, Handler handler)
    {
        auto token = std::make_shared<Handler>(std::move(handler));
        slot = token;
        return token;
    }
    static void call(const std::weak_ptr<Handler> &slot)
    {
        if (const auto handler = slot.lock())
            (*handler)();
    }

    std::weak_ptr<Handler> _didResignKey;
    std::weak_ptr<Handler> _didBecomeKey;
};

/// A recorder over shortcuts of fakes, in a window, for a name with the default Control+Space.
struct RecorderFixture : NamedShortcutsFixture {
    base::MainQueue mainQueue;
    fakes::FakeLocalEventSource events;
    fakes::FakeKeyboardGrab keyboardGrab;
    WrittenMenu menu;
    fakes::FakeSystemShortcuts system;
    bool isSandboxed = false;
    QList<bool> statuses;  ///< of the status notifications, in order
    QList<std::optional<Shortcut>> told;
    base::NotificationCenter::Token statusToken;
    ScriptedView view;
    Name name;
    std::unique_ptr<RecorderCocoa> recorder;

    RecorderFixture()
    {
        layout.printed = {{0, QStringLiteral("a")}, {1, QStringLiteral("s")},
            {3, QStringLiteral("f")}, {12, QStringLiteral("q")}, {40, QStringLiteral("k")}};
        statusToken = notifications.addObserver(
            QStringLiteral("KeyboardShortcuts_recorderActiveStatusDidChange"), nullptr,
            [this](const base::NotificationCenter::UserInfo &info) {
                statuses.append(info.value(QStringLiteral("isActive")).toBool());
            });
        name = shortcuts->createName(QStringLiteral("launchVellumhound"), controlSpace);
        changes.clear();
        recorder = make(view, name);
        recorder->viewDidMoveToWindow(true);
        mainQueue.drain();
    }
    RecorderCocoa::Environment environment()
    {
        return {.shortcuts = *shortcuts,
            .notificationCenter = notifications,
            .mainQueue = mainQueue,
            .events = events,
            .keyboardGrab = keyboardGrab,
            .keyCharacters = layout,
            .mainMenu = menu,
            .systemShortcuts = system,
            .isSandboxed = [this] { return isSandboxed; }};
    }
    std::unique_ptr<RecorderCocoa> make(ScriptedView &itsView, const Name &itsName)
    {
        auto made = std::make_unique<RecorderCocoa>(environment(), itsView, itsName,
            [this](const std::optional<Shortcut> &shortcut) { told.append(shortcut); });
        itsView.recorder = made.get();
        return made;
    }

    static platform::LocalEvent keyDown(int keyCode, std::uint32_t literalFlags = 0)
    {
        platform::LocalEvent event;
        event.type = platform::LocalEvent::keyDown;
        event.key.keyCode = keyCode;
        event.key.literalFlags = literalFlags;
        return event;
    }
    static platform::LocalEvent clickAt(
        double x, double y, int type = platform::LocalEvent::leftMouseUp)
    {
        platform::LocalEvent event;
        event.type = type;
        event.screenX = 100 + x;
        event.screenY = 200 + y;
        return event;
    }
    /// Whether the event went on to its window.
    bool passes(const platform::LocalEvent &event) { return events.send(event).has_value(); }
    std::optional<Shortcut> current() const { return shortcuts->getShortcut(name); }
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
