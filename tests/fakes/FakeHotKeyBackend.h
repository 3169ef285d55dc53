// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/hotkeys/HotKeyBackend.h"

#include <QHash>
#include <QSet>
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
        registered.emplace(++_lastHandle, request);
        return {platform::HotKeyAnswer::noError, _lastHandle};
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
    bool installEventHandler(EventHandler &newHandler) override
    {
        if (handler)
            return false;
        handler = &newHandler;
        return true;
    }
    void removeEventHandler() override { handler = nullptr; }
    void addEventTypes(std::span<const int> added) override
    {
        kinds.unite({added.begin(), added.end()});
    }
    void removeEventTypes(std::span<const int> removed) override
    {
        kinds.subtract({removed.begin(), removed.end()});
    }
    platform::HotKeyReport report(const QString &name) const override
    {
        return reports.value(name);
    }

    void setPresence(Presence presence)
    {
        _presence = presence;
        announcePresence();
    }
    void setReport(const QString &name, const platform::HotKeyReport &report)
    {
        reports.insert(name, report);
        announceReports();
    }
    /// Only what is registered and listened to fires. The handler's answers.
    QList<int> press(const QString &name)
    {
        QList<int> answers;
        for (const auto &[handle, request] : std::map(registered)) {
            platform::HotKeyEvent event;
            event.kind = platform::HotKeyEvent::pressed;
            event.directObject = request.id;
            if (request.name == name && handler && kinds.contains(event.kind))
                answers.append(handler->handleEvent(&event));
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
            handler->registrationRefused(request.id, status);
        }
    }

    QStringList calls;
    QHash<QString, int> refusals;  // status by name
    std::map<Handle, platform::HotKeyRequest> registered;
    QHash<QString, platform::HotKeyReport> reports;
    EventHandler *handler = nullptr;
    QSet<int> kinds;

private:
    Presence _presence;
    Handle _lastHandle = 100;
};

}  // namespace vellumhound::fakes
