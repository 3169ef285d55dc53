// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/RecorderCocoa.h"

#include "base/KeyTable.h"
#include "keyboard/KeyboardShortcuts/KeyNames.h"
#include "keyboard/KeyboardShortcuts/Modifiers.h"
#include "keyboard/KeyboardShortcuts/Strings.h"

#include <QProcessEnvironment>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace vellumhound::keyboard::KeyboardShortcuts {

namespace Flags = base::ModifierFlags;
using platform::LocalEvent;

namespace {

constexpr std::uint64_t recordedEvents = LocalEvent::maskOf(LocalEvent::leftMouseUp) |
                                         LocalEvent::maskOf(LocalEvent::rightMouseUp) |
                                         LocalEvent::maskOf(LocalEvent::keyDown);
static_assert(recordedEvents == 1044);

/// Marks of a key press that say nothing about a shortcut.
constexpr std::uint32_t passedOver = Flags::capsLock | Flags::numericPad | Flags::function;

/// Around the field, in device-independent pixels: a click here still belongs to it.
constexpr double clickMargin = 3;

bool isFunctionKey(int keyCode)
{
    const auto &codes = base::KeyTable::functionKeyCodes;
    return std::find(codes.begin(), codes.end(), keyCode) != codes.end();
}

bool isDelete(int keyCode)
{
    return keyCode == Key::deleteKey.rawValue || keyCode == Key::deleteForward.rawValue;
}

bool isSame(const platform::SystemShortcut &system, const Shortcut &shortcut)
{
    return system.isEnabled && system.keyCode == shortcut.carbonKeyCode &&
           normalizedCarbonModifiers(system.modifiers) ==
               normalizedCarbonModifiers(shortcut.carbonModifiers);
}

RecorderAlert alertOfMenuItem(const MenuItem &item)
{
    return {localizedString(u"keyboard_shortcut_used_by_menu_item"_s).arg(item.title), {},
        {localizedString(u"ok"_s)}};
}

RecorderAlert alertOfSandbox()
{
    return {localizedString(u"keyboard_shortcut_disallowed"_s), {}, {localizedString(u"ok"_s)}};
}

RecorderAlert alertOfSystem(const platform::SystemShortcut &conflict)
{
    auto informativeText = localizedString(u"keyboard_shortcuts_can_be_changed"_s);
    if (!conflict.holder.isEmpty())
        informativeText = localizedString(u"keyboard_shortcut_holder"_s).arg(conflict.holder) +
                          u' ' + informativeText;
    return {localizedString(u"keyboard_shortcut_used_by_system"_s), informativeText,
        {localizedString(u"ok"_s), localizedString(u"force_use_shortcut"_s)}};
}

/// Holds on to nothing: the recorder may go in what is called of it.
RecorderCocoa *ifThere(const std::weak_ptr<RecorderCocoa *> &self)
{
    const auto recorder = self.lock();
    return recorder ? *recorder : nullptr;
}

}  // namespace

bool isAppSandboxed(const QProcessEnvironment &environment)
{
    return environment.contains(u"APP_SANDBOX_CONTAINER_ID"_s);
}

RecorderCocoa::RecorderCocoa(const Environment &environment, RecorderView &view,
    const Name &shortcutName, ChangeHandler onChange)
    : _environment(environment)
    , _view(view)
    , _shortcutName(shortcutName)
    , _onChange(std::move(onChange))
    , _self(std::make_shared<RecorderCocoa *>(this))
{
    _view.setPlaceholder(localizedString(u"record_shortcut"_s));
    showCurrentShortcut();
    // The same name can be edited in two places.
    _shortcutsNameChangeObserver = _environment.notificationCenter.addObserver(
        QString::fromUtf16(base::Notifications::KeyboardShortcuts_shortcutByNameDidChange), nullptr,
        [this](const base::NotificationCenter::UserInfo &info) {
            if (info.value(u"name"_s).value<Name>().rawValue == _shortcutName.rawValue)
                showCurrentShortcut();
        });
}

RecorderCocoa::~RecorderCocoa()
{
    if (!isRecording())
        return;
    // The view is on its way out and shows nothing any more; the hot keys must come back.
    _eventMonitor.reset();
    _keyboardGrab.reset();
    _environment.shortcuts.setRecorderActive(false);
    postActiveStatus(false);
}

void RecorderCocoa::setShortcutName(const Name &name)
{
    if (name == _shortcutName)
        return;
    _shortcutName = name;
    showCurrentShortcut();
}

void RecorderCocoa::showCurrentShortcut()
{
    showShortcut(_environment.shortcuts.getShortcut(_shortcutName));
}

void RecorderCocoa::showShortcut(const std::optional<Shortcut> &shortcut)
{
    _view.setStringValue(shortcut ? description(*shortcut, _environment.keyCharacters) : QString());
    refreshCancelButton();
}

void RecorderCocoa::refreshCancelButton()
{
    _view.setCancelButton(!_view.stringValue().isEmpty());
}

void RecorderCocoa::viewDidMoveToWindow(bool hasWindow)
{
    if (!hasWindow) {
        _windowDidResignKeyObserver.reset();
        _windowDidBecomeKeyObserver.reset();
        endRecording();
        return;
    }
    _windowDidResignKeyObserver = _view.observeWindowDidResignKey([this] { endRecording(); });
    _windowDidBecomeKeyObserver = _view.observeWindowDidBecomeKey([this] { preventBecomingKey(); });
    preventBecomingKey();
}

/// Keeps the control from taking the focus because its window opens.
void RecorderCocoa::preventBecomingKey()
{
    setCanBecomeKey(false);
    _environment.mainQueue.post([self = std::weak_ptr(_self)] {
        if (auto *recorder = ifThere(self))
            recorder->setCanBecomeKey(true);
    });
}

void RecorderCocoa::setCanBecomeKey(bool canBecomeKey)
{
    if (std::exchange(_canBecomeKey, canBecomeKey) != canBecomeKey)
        _view.canBecomeKeyDidChange(canBecomeKey);
}

bool RecorderCocoa::becomeFirstResponder()
{
    if (!_view.acceptsFirstResponder())
        return false;
    _view.setPlaceholder(localizedString(u"press_shortcut"_s));
    refreshCancelButton();
    _view.setInsertionPointVisible(false);
    _environment.shortcuts.setRecorderActive(true);
    postActiveStatus(true);
    _keyboardGrab = _environment.keyboardGrab.grab(_view.nativeWindow());
    _eventMonitor.emplace(_environment.events, recordedEvents,
        [self = std::weak_ptr(_self)](const Event &event) -> std::optional<Event> {
            auto *recorder = ifThere(self);
            return recorder ? recorder->handleEvent(event) : std::nullopt;
        });
    _eventMonitor->start();
    return true;
}

void RecorderCocoa::controlTextDidEndEditing()
{
    endRecording();
}

/// Without effect when nothing is recorded here: another recorder may be at it.
void RecorderCocoa::endRecording()
{
    if (!isRecording())
        return;
    _eventMonitor.reset();
    _keyboardGrab.reset();
    _view.setPlaceholder(localizedString(u"record_shortcut"_s));
    refreshCancelButton();
    _view.setInsertionPointVisible(true);
    _environment.shortcuts.setRecorderActive(false);
    postActiveStatus(false);
}

void RecorderCocoa::postActiveStatus(bool isActive)
{
    _environment.notificationCenter.post(
        QString::fromUtf16(base::Notifications::KeyboardShortcuts_recorderActiveStatusDidChange),
        nullptr, {{u"isActive"_s, isActive}});
}

void RecorderCocoa::controlTextDidChange()
{
    const bool isEmpty = _view.stringValue().isEmpty();
    if (isEmpty) {
        const auto self = std::weak_ptr(_self);
        _environment.shortcuts.setShortcut(_shortcutName, std::nullopt);
        if (const auto onChange = _onChange)
            onChange(std::nullopt);
        if (self.expired())
            return;
    }
    refreshCancelButton();
    // The user can go on and press a new one.
    if (isEmpty)
        _view.makeFirstResponder();
}

std::optional<LocalEvent> RecorderCocoa::handleEvent(const Event &event)
{
    const bool isClick = event.type == Event::leftMouseUp || event.type == Event::rightMouseUp;
    if (isClick && !isNear(event)) {
        _view.blur();
        return event;
    }
    if (event.type != Event::keyDown && event.type != Event::keyUp)
        return std::nullopt;

    const auto &key = event.key;
    const auto modifiers = key.literalFlags & ~passedOver;
    if (modifiers == 0 && key.keyCode == Key::tab.rawValue) {
        _view.blur();
        return event;
    }
    if (modifiers == 0 && key.keyCode == Key::escape.rawValue) {
        _view.blur();
        return std::nullopt;
    }
    if (modifiers == 0 && isDelete(key.keyCode)) {
        if (!_view.stringValue().isEmpty())
            _view.clickCancelButton();
        return std::nullopt;
    }
    if ((modifiers & ~Flags::shift) == 0 && !isFunctionKey(key.keyCode)) {
        _view.beep();
        return std::nullopt;
    }
    if (const auto shortcut = Shortcut::ofEvent(event.type, key))
        check(*shortcut);
    else
        _view.beep();
    return std::nullopt;
}

bool RecorderCocoa::isNear(const Event &click) const
{
    const auto [x, y] = _view.fromScreen({click.screenX, click.screenY});
    const auto [width, height] = _view.extent();
    return x >= -clickMargin && y >= -clickMargin && x < width + clickMargin &&
           y < height + clickMargin;
}

void RecorderCocoa::check(const Shortcut &shortcut)
{
    const auto items = _environment.mainMenu.itemArray();
    if (const auto item = menuItemWithShortcut(items, shortcut, _environment.keyCharacters)) {
        interruptWith(alertOfMenuItem(*item));
        return;
    }
    const bool isOptionAndShiftAtMost =
        (shortcut.modifierFlags() & ~(Flags::option | Flags::shift)) == 0;
    if (isOptionAndShiftAtMost && _environment.isSandboxed && _environment.isSandboxed()) {
        interruptWith(alertOfSandbox());
        return;
    }
    if (const auto conflict = systemConflict(shortcut)) {
        if (interruptWith(alertOfSystem(*conflict)) != RecorderAlert::secondButton)
            return;
    }
    accept(shortcut);
}

std::optional<platform::SystemShortcut> RecorderCocoa::systemConflict(
    const Shortcut &shortcut) const
{
    // Where a desktop lists this one, it means no key that it acts on.
    if (shortcut == Shortcut(Key::f12, 0))
        return std::nullopt;
    const auto &system = _environment.systemShortcuts;
    const auto listed = system.copySymbolicHotKeys();
    const auto same = std::find_if(listed.begin(), listed.end(),
        [&](const platform::SystemShortcut &candidate) { return isSame(candidate, shortcut); });
    if (same != listed.end())
        return *same;
    return system.heldByAnother(shortcut.carbonKeyCode, shortcut.carbonModifiers);
}

/// Ends the recording, tells, and begins to record again. Nothing if the control is gone by then.
std::optional<int> RecorderCocoa::interruptWith(const RecorderAlert &alert)
{
    const auto self = std::weak_ptr(_self);
    _view.blur();
    const int answer = _view.runAlert(alert);
    if (self.expired())
        return std::nullopt;
    _view.makeFirstResponder();
    return answer;
}

void RecorderCocoa::accept(const Shortcut &shortcut)
{
    const auto self = std::weak_ptr(_self);
    showShortcut(shortcut);
    _environment.shortcuts.setShortcut(_shortcutName, shortcut);
    if (const auto onChange = _onChange)
        onChange(shortcut);
    if (self.expired())
        return;
    // What could not be stored is not shown as if it were.
    showCurrentShortcut();
    _view.blur();
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
