// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/HotKeyStatus.h"

#include <algorithm>

namespace vellumhound::keyboard {

using KeyboardShortcuts::Name;

HotKeyStatus::HotKeyStatus(
    const Environment &environment, const QList<Name> &names, QObject *parent)
    : QObject(parent)
    , _environment(environment)
    , _names(names)
{
    for (const auto &name : _names)
        _descriptions.append(describe(name));
    // Reports change in the middle of what changes them; what stands after it is what counts.
    _change.setSingleShot(true);
    _change.setInterval(0);
    connect(&_change, &QTimer::timeout, this, &HotKeyStatus::refresh);
    _environment.hotKeyCenter.setReportObserver([this] { _change.start(); });
    _shortcutDidChange = _environment.notificationCenter.addObserver(
        QString::fromUtf16(base::Notifications::KeyboardShortcuts_shortcutByNameDidChange), nullptr,
        [this](const base::NotificationCenter::UserInfo &) { _change.start(); });
}

HotKeyStatus::~HotKeyStatus()
{
    _environment.hotKeyCenter.setReportObserver({});
}

HotKeyDescription HotKeyStatus::description(const Name &name) const
{
    const auto found = std::find_if(_descriptions.cbegin(), _descriptions.cend(),
        [&](const HotKeyDescription &description) { return description.name == name.rawValue; });
    return found == _descriptions.cend() ? HotKeyDescription() : *found;
}

void HotKeyStatus::refresh()
{
    if (_environment.shortcuts.isRecorderActive())
        return;
    QStringList changes;
    for (qsizetype i = 0; i < _names.size(); ++i) {
        const auto description = describe(_names[i]);
        if (description == _descriptions[i])
            continue;
        _descriptions[i] = description;
        changes.append(description.name);
    }
    for (const auto &name : std::as_const(changes))
        Q_EMIT changed(name);
}

HotKeyDescription HotKeyStatus::describe(const Name &name) const
{
    HotKeySituation situation;
    situation.name = name.rawValue;
    const auto shortcut = _environment.shortcuts.getShortcut(name);
    if (shortcut) {
        situation.shortcutText = _environment.shortcuts.description(name);
        situation.modifiers = shortcut->carbonModifiers;
        situation.texts =
            _environment.writer.textsOf(shortcut->carbonKeyCode, shortcut->carbonModifiers);
    }
    situation.report = reportOf(name, shortcut);
    situation.isSupported = _environment.hotKeyCenter.isSupported();
    situation.desktopNames = _environment.session.desktopNames();
    situation.isWayland = _environment.session.sessionType() == platform::SessionType::wayland;
    situation.isDesktopEntryInstalled = _environment.session.isDesktopEntryInstalled();
    situation.command = _environment.session.command(hotKeyAction(name.rawValue));
    situation.isSetInDesktop = _environment.keySetting.isSet(name.rawValue);
    return describeHotKey(situation);
}

/// Names with one shortcut share a registration, which has the name of one of them.
platform::HotKeyReport HotKeyStatus::reportOf(
    const Name &name, const std::optional<KeyboardShortcuts::Shortcut> &shortcut) const
{
    auto own = _environment.hotKeyCenter.report(name.rawValue);
    if (own.state != platform::HotKeyReport::State::unknown || !shortcut)
        return own;
    for (const auto &other : _names) {
        if (_environment.shortcuts.getShortcut(other) != shortcut)
            continue;
        auto report = _environment.hotKeyCenter.report(other.rawValue);
        if (report.state != platform::HotKeyReport::State::unknown)
            return report;
    }
    return own;
}

bool HotKeyStatus::isConsistent() const
{
    return _descriptions.size() == _names.size() &&
           std::equal(_descriptions.cbegin(), _descriptions.cend(), _names.cbegin(),
               [](const HotKeyDescription &description, const Name &name) {
                   return description.name == name.rawValue;
               });
}

}  // namespace vellumhound::keyboard
