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
        _records.append(recordOf(name));
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

HotKeyRecord HotKeyStatus::record(const Name &name) const
{
    const auto found = std::find_if(_records.cbegin(), _records.cend(),
        [&](const HotKeyRecord &record) { return record.name == name.rawValue; });
    return found == _records.cend() ? HotKeyRecord() : *found;
}

void HotKeyStatus::refresh()
{
    if (_environment.tables.isRecorderActive())
        return;
    QStringList changes;
    for (qsizetype i = 0; i < _names.size(); ++i) {
        const auto record = recordOf(_names[i]);
        if (record == _records[i])
            continue;
        _records[i] = record;
        changes.append(record.name);
    }
    for (const auto &name : std::as_const(changes))
        Q_EMIT changed(name);
}

HotKeyRecord HotKeyStatus::recordOf(const Name &name) const
{
    HotKeySituation situation;
    situation.name = name.rawValue;
    const auto shortcut = _environment.tables.getShortcut(name);
    if (shortcut) {
        situation.shortcutText = _environment.tables.description(name);
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
        if (_environment.tables.getShortcut(other) != shortcut)
            continue;
        auto report = _environment.hotKeyCenter.report(other.rawValue);
        if (report.state != platform::HotKeyReport::State::unknown)
            return report;
    }
    return own;
}

bool HotKeyStatus::isConsistent() const
{
    return _records.size() == _names.size() &&
           std::equal(_records.cbegin(), _records.cend(), _names.cbegin(),
               [](const HotKeyRecord &record, const Name &name) {
                   return record.name == name.rawValue;
               });
}

}  // namespace vellumhound::keyboard
