// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/NamedShortcuts.h"

#include "keyboard/KeyboardShortcuts/KeyNames.h"

#include <QLoggingCategory>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vellumhound::keyboard::KeyboardShortcuts {

Q_LOGGING_CATEGORY(log, "vellumhound.keyboard")

namespace {
constexpr QLatin1StringView storagePrefix("KeyboardShortcuts_");
}

NamedShortcuts::NamedShortcuts(const Environment &environment)
    : _environment(environment)
    , _hotKeys(environment.hotKeyCenter, environment.rawKeys, environment.keyCharacters, _switches)
{
    QObject::connect(&_environment.defaults, &settings::UserDefaults::valueChanged, &_storeObserver,
        [this](const QString &key) { followStore(key); });
}

QString NamedShortcuts::userDefaultsKey(const Name &name)
{
    return storagePrefix + name.rawValue;
}

Name NamedShortcuts::createName(const QString &rawValue, std::optional<Shortcut> defaultShortcut)
{
    const Name name{rawValue, defaultShortcut};
    if (defaultShortcut && !_environment.defaults.data(userDefaultsKey(name)))
        setShortcut(name, defaultShortcut);
    _known.insert(name, getShortcut(name));
    observeMenus();
    return name;
}

std::optional<Shortcut> NamedShortcuts::getShortcut(const Name &name) const
{
    const auto stored = _environment.defaults.data(userDefaultsKey(name));
    if (!stored)
        return std::nullopt;
    const auto shortcut = Shortcut::decoded(*stored);
    return shortcut ? std::optional(shortcut.value()) : std::nullopt;
}

void NamedShortcuts::setShortcut(const Name &name, const std::optional<Shortcut> &shortcut)
{
    followStore(userDefaultsKey(name));  // a change from outside may not have been told yet
    if (shortcut)
        changeShortcut(name, *shortcut);
    else
        clearShortcut(name);
}

void NamedShortcuts::followStore(const QString &key)
{
    if (_isWriting)
        return;
    const auto known = _known;  // an observer may create a name
    for (auto entry = known.begin(); entry != known.end(); ++entry) {
        const auto &name = entry.key();
        if (userDefaultsKey(name) != key)
            continue;
        const auto shortcut = getShortcut(name);
        if (shortcut == entry.value())
            continue;
        _known.insert(name, shortcut);
        if (const auto &old = entry.value()) {
            unregister(*old);
            registerForOthers(*old);
        }
        if (shortcut)
            registerIfNeeded(name, *shortcut);
        announceChange(name);
    }
}

void NamedShortcuts::changeShortcut(const Name &name, const Shortcut &shortcut)
{
    const auto encoded = shortcut.encoded();
    if (!encoded)
        return;
    const auto old = getShortcut(name);
    if (old)
        unregister(*old);
    registerIfNeeded(name, shortcut);
    _isWriting = true;
    const bool isStored = _environment.defaults.setData(userDefaultsKey(name), encoded.value());
    _isWriting = false;
    if (!isStored) {
        qCWarning(log) << "the shortcut of" << name.rawValue << "cannot be stored";
        unregister(shortcut);
        registerForOthers(shortcut);
        if (old)
            registerIfNeeded(name, *old);
        return;
    }
    if (old)
        registerForOthers(*old);
    if (_known.contains(name))
        _known.insert(name, shortcut);
    announceChange(name);
}

void NamedShortcuts::clearShortcut(const Name &name)
{
    const auto old = getShortcut(name);
    if (!old)
        return;
    const auto key = userDefaultsKey(name);
    _isWriting = true;
    const bool isStored = name.defaultShortcut ? _environment.defaults.setBoolean(key, false)
                                               : _environment.defaults.removeData(key);
    _isWriting = false;
    if (!isStored) {
        qCWarning(log) << "the shortcut of" << name.rawValue << "cannot be removed";
        return;
    }
    unregister(*old);
    registerForOthers(*old);
    if (_known.contains(name))
        _known.insert(name, std::nullopt);
    announceChange(name);
}

QString NamedShortcuts::description(const Name &name) const
{
    const auto shortcut = getShortcut(name);
    return shortcut ? KeyboardShortcuts::description(*shortcut, _environment.keyCharacters)
                    : QString();
}

void NamedShortcuts::onKeyDown(const Name &name, Action action)
{
    bind(_keyDownHandlers, name, std::move(action));
}

void NamedShortcuts::onKeyUp(const Name &name, Action action)
{
    bind(_keyUpHandlers, name, std::move(action));
}

void NamedShortcuts::bind(Handlers &handlers, const Name &name, Action action)
{
    auto entry = std::find_if(handlers.begin(), handlers.end(),
        [&](const auto &candidate) { return candidate.first == name; });
    if (entry == handlers.end())
        entry = handlers.insert(handlers.end(), {name, {}});
    entry->second.append(std::move(action));
    if (const auto shortcut = getShortcut(name))
        registerIfNeeded(name, *shortcut);
}

void NamedShortcuts::registerIfNeeded(const Name &name, const Shortcut &shortcut)
{
    if (_registeredShortcuts.contains(shortcut))
        return;
    _hotKeys.registerShortcut(
        shortcut, [this](const Shortcut &fired) { dispatch(_keyDownHandlers, fired); },
        [this](const Shortcut &fired) { dispatch(_keyUpHandlers, fired); }, name.rawValue);
    _registeredShortcuts.insert(shortcut);
}

void NamedShortcuts::unregister(const Shortcut &shortcut)
{
    _hotKeys.unregisterShortcut(shortcut);
    _registeredShortcuts.remove(shortcut);
}

/// Another name may hold the shortcut that one gave up: its hot key lives on.
void NamedShortcuts::registerForOthers(const Shortcut &shortcut)
{
    for (const auto *handlers : {&_keyDownHandlers, &_keyUpHandlers}) {
        const auto holder = std::find_if(handlers->begin(), handlers->end(),
            [&](const auto &entry) { return getShortcut(entry.first) == shortcut; });
        if (holder != handlers->end())
            registerIfNeeded(holder->first, shortcut);
    }
}

void NamedShortcuts::announceChange(const Name &name)
{
    _environment.notificationCenter.post(
        QString::fromUtf16(base::Notifications::KeyboardShortcuts_shortcutByNameDidChange), nullptr,
        {{u"name"_s, QVariant::fromValue(name)}});
}

void NamedShortcuts::dispatch(const Handlers &handlers, const Shortcut &shortcut) const
{
    if (_switches.isRecorderActive)
        return;
    const auto present = handlers;  // an action may bind another
    for (const auto &[name, actions] : present) {
        if (getShortcut(name) != shortcut)
            continue;
        for (const auto &action : actions)
            action();
    }
}

void NamedShortcuts::setEnabled(bool isEnabled)
{
    if (std::exchange(_switches.isEnabled, isEnabled) != isEnabled)
        _hotKeys.updateEventHandler();
}

void NamedShortcuts::setMenuOpen(bool isMenuOpen)
{
    if (std::exchange(_switches.isMenuOpen, isMenuOpen) != isMenuOpen)
        _hotKeys.updateEventHandler();
}

void NamedShortcuts::setRecorderActive(bool isActive)
{
    if (std::exchange(_switches.isRecorderActive, isActive) != isActive)
        _hotKeys.updateEventHandler();
}

void NamedShortcuts::observeMenus()
{
    if (_menuDidBegin)
        return;
    const auto observe = [this](const char16_t *notification, bool isMenuOpen) {
        return _environment.notificationCenter.addObserver(QString::fromUtf16(notification),
            nullptr, [this, isMenuOpen] { setMenuOpen(isMenuOpen); });
    };
    _menuDidBegin = observe(base::Notifications::NSMenuDidBeginTrackingNotification, true);
    _menuDidEnd = observe(base::Notifications::NSMenuDidEndTrackingNotification, false);
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
