// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/CarbonKeyboardShortcuts.h"

#include "base/FailureLine.h"
#include "keyboard/KeyboardShortcuts/KeyNames.h"
#include "keyboard/KeyboardShortcuts/Modifiers.h"

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace vellumhound::keyboard::KeyboardShortcuts {

using platform::HotKeyEvent;
namespace HotKeyAnswer = platform::HotKeyAnswer;

namespace {

constexpr std::array<int, 2> hotKeyEventTypes{HotKeyEvent::pressed, HotKeyEvent::released};
constexpr std::uint64_t menuEventMask = (1U << EventType::keyDown) | (1U << EventType::keyUp);

}  // namespace

CarbonKeyboardShortcuts::CarbonKeyboardShortcuts(platform::HotKeyCenter &center,
    platform::RawKeyFeed &rawKeys, const platform::KeyCharacters &characters,
    const HotKeySwitches &switches)
    : _center(center)
    , _characters(characters)
    , _switches(switches)
    , _menuMonitor(rawKeys, menuEventMask, u"NSEventTrackingRunLoopMode"_s,
          [this](const HotKeyEvent &event) { return handleMenuEvent(event); })
{
}

CarbonKeyboardShortcuts::~CarbonKeyboardShortcuts()
{
    unregisterAll();
    if (_isEventHandlerInstalled)
        _center.removeEventHandler();
}

void CarbonKeyboardShortcuts::registerShortcut(
    const Shortcut &shortcut, Action onKeyDown, Action onKeyUp, const QString &name)
{
    const int number = ++_hotKeyId;
    const auto registration = _center.registerHotKey(
        {shortcut.carbonKeyCode, shortcut.carbonModifiers, {hotKeySignature, number}, name});
    if (registration.status != HotKeyAnswer::noError || !registration.handle) {
        printRefusal(shortcut, registration.status);
        return;
    }
    _hotKeys.emplace(number, HotKey{shortcut, number, registration.handle, std::move(onKeyDown),
                                 std::move(onKeyUp), name});
    if (_isEventHandlerInstalled)
        return;
    _isEventHandlerInstalled = _center.installEventHandler(*this);
    if (_isEventHandlerInstalled)
        updateEventHandler();
}

void CarbonKeyboardShortcuts::unregisterShortcut(const Shortcut &shortcut)
{
    std::erase_if(_hotKeys, [&](const auto &entry) {
        const auto &hotKey = entry.second;
        if (hotKey.shortcut != shortcut)
            return false;
        if (hotKey.carbonHotKey)
            _center.unregisterHotKey(*hotKey.carbonHotKey);
        return true;
    });
}

void CarbonKeyboardShortcuts::registerAll()
{
    for (auto entry = _hotKeys.begin(); entry != _hotKeys.end();) {
        auto &hotKey = entry->second;
        if (!hotKey.carbonHotKey && !registerAgain(hotKey))
            entry = _hotKeys.erase(entry);
        else
            ++entry;
    }
}

bool CarbonKeyboardShortcuts::registerAgain(HotKey &hotKey) const
{
    const auto registration = _center.registerHotKey({hotKey.shortcut.carbonKeyCode,
        hotKey.shortcut.carbonModifiers, {hotKeySignature, hotKey.carbonHotKeyId}, hotKey.name});
    if (registration.status != HotKeyAnswer::noError || !registration.handle) {
        printRefusal(hotKey.shortcut, registration.status);
        return false;
    }
    hotKey.carbonHotKey = registration.handle;
    return true;
}

void CarbonKeyboardShortcuts::unregisterAll()
{
    for (auto &[number, hotKey] : _hotKeys) {
        if (const auto handle = std::exchange(hotKey.carbonHotKey, std::nullopt))
            _center.unregisterHotKey(*handle);
    }
}

void CarbonKeyboardShortcuts::updateEventHandler()
{
    if (!_isEventHandlerInstalled)
        return;
    const bool isListening = _switches.isEnabled && !_switches.isRecorderActive;
    if (isListening && !_switches.isMenuOpen) {
        registerAll();
        _menuMonitor.stop();
        _center.addEventTypes(hotKeyEventTypes);
        return;
    }
    unregisterAll();
    _center.removeEventTypes(hotKeyEventTypes);
    if (isListening)
        _menuMonitor.start();
    else
        _menuMonitor.stop();
}

int CarbonKeyboardShortcuts::handleEvent(const HotKeyEvent *event)
{
    if (!event)
        return HotKeyAnswer::notHandled;
    switch (event->kind) {
    case HotKeyEvent::pressed:
    case HotKeyEvent::released:
        return handleHotKeyEvent(*event);
    case HotKeyEvent::rawKeyDown:
    case HotKeyEvent::rawKeyUp:
        return handleRawKeyEvent(*event);
    default:
        return HotKeyAnswer::notHandled;
    }
}

int CarbonKeyboardShortcuts::handleHotKeyEvent(const HotKeyEvent &event)
{
    if (!event.directObject)
        return HotKeyAnswer::parameterNotFound;
    const auto found = _hotKeys.find(event.directObject->number);
    if (event.directObject->signature != hotKeySignature || found == _hotKeys.end())
        return HotKeyAnswer::notHandled;
    if (event.isRepeat)
        return HotKeyAnswer::noError;
    const auto hotKey = found->second;  // its action may take it away
    const auto &action = event.kind == HotKeyEvent::pressed ? hotKey.onKeyDown : hotKey.onKeyUp;
    action(hotKey.shortcut);
    return HotKeyAnswer::noError;
}

int CarbonKeyboardShortcuts::handleRawKeyEvent(const HotKeyEvent &event)
{
    if (!event.keyCode || !event.modifiers)
        return HotKeyAnswer::parameterNotFound;
    const Shortcut pressed(int(*event.keyCode), normalizedCarbonModifiers(int(*event.modifiers)));
    for (const auto &[number, candidate] : _hotKeys) {
        if (candidate.shortcut != pressed)
            continue;
        const auto hotKey = candidate;  // its action may take it away
        if (event.kind == HotKeyEvent::rawKeyDown)
            hotKey.onKeyDown(hotKey.shortcut);
        else if (event.kind == HotKeyEvent::rawKeyUp)
            hotKey.onKeyUp(hotKey.shortcut);
        return HotKeyAnswer::noError;
    }
    return HotKeyAnswer::notHandled;
}

std::optional<HotKeyEvent> CarbonKeyboardShortcuts::handleMenuEvent(const HotKeyEvent &event)
{
    const int status = handleRawKeyEvent(event);
    return status == HotKeyAnswer::noError ? std::nullopt : std::optional(event);
}

void CarbonKeyboardShortcuts::registrationRefused(platform::HotKeyId id, int status)
{
    const auto found = _hotKeys.find(id.number);
    if (id.signature != hotKeySignature || found == _hotKeys.end())
        return;
    printRefusal(found->second.shortcut, status);
    _hotKeys.erase(found);
}

void CarbonKeyboardShortcuts::keyboardChanged()
{
    if (!_switches.isEnabled || _switches.isMenuOpen || _switches.isRecorderActive)
        return;
    unregisterAll();
    registerAll();
}

void CarbonKeyboardShortcuts::printRefusal(const Shortcut &shortcut, int status) const
{
    base::printFailure(u"Error registering hotkey "_s + description(shortcut, _characters) +
                       u": "_s + QString::number(status));
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
