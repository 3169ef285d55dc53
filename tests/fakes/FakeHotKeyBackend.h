// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/hotkeys/HotKeyBackend.h"

#include <QHash>
#include <QStringList>

#include <map>

namespace vellumhound::fakes {

/// A way to hot keys that comes and goes as a test says. Keeps the calls in order, as
/// "register show".
class FakeHotKeyBackend final : public platform::HotKeyBackend {
public:
    explicit FakeHotKeyBackend(Presence presence)
        : _presence(presence)
    {
    }

    Presence presence() const override { return _presence; }
    Registration registerHotKey(const platform::HotKeyRequest &request) override
    {
        calls.append(QStringLiteral("register ") + request.name);
        if (const int status = refusals.value(request.name))
            return {status, std::nullopt};
        const auto handle = newHandle();
        registered.emplace(handle, request);
        return {platform::HotKeyAnswer::noError, handle};
    }
    void unregisterHotKey(Handle handle) override
    {
        const auto found = registered.find(handle);
        calls.append(found == registered.end()
                         ? QStringLiteral("unregister what is not registered")
                         : QStringLiteral("unregister ") + found->second.name);
        if (found != registered.end())
            registered.erase(found);
    }
    void setPresence(Presence presence)
    {
        _presence = presence;
        announcePresence();
    }
    void setReport(const QString &name, const platform::HotKeyReport &report)
    {
        HotKeyBackend::setReport(name, report);
    }
    /// Only what is registered fires. The handler's answers.
    QList<int> press(const QString &name)
    {
        QList<int> answers;
        for (const auto &[handle, request] : std::map(registered)) {
            if (request.name == name)
                answers.append(give(platform::HotKeyEvent::pressed, request.id, false));
        }
        return answers;
    }
    /// What had been accepted comes to nothing.
    void refuse(const QString &name, int status)
    {
        for (const auto &[handle, request] : std::map(registered)) {
            if (request.name != name)
                continue;
            registered.erase(handle);
            giveRefusal(request.id, status);
        }
    }
    void changeKeyboard() { giveKeyboardChange(); }

    QStringList calls;
    QHash<QString, int> refusals;  // status by name
    std::map<Handle, platform::HotKeyRequest> registered;

private:
    Presence _presence;
};

}  // namespace vellumhound::fakes
