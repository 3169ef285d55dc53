// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/HotKeyCenter.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <map>
#include <utility>

namespace vellumhound::fakes {

/// A desktop whose keys a test presses. Keeps the calls in order, as "register 49 4096 #1".
class FakeHotKeyCenter final : public platform::HotKeyCenter {
public:
    struct Grab {
        int keyCode = 0;
        int modifiers = 0;
        platform::HotKeyId id;
    };

    bool isSupported() const override { return isThere; }
    Registration registerHotKey(const platform::HotKeyRequest &request) override
    {
        const auto &[keyCode, modifiers, id, name] = request;
        names.append(name);
        calls.append(
            QStringLiteral("register %1 %2 #%3").arg(keyCode).arg(modifiers).arg(id.number));
        if (const int status = refusals.value({keyCode, modifiers}))
            return {status, std::nullopt};
        const auto handle = newHandle();
        grabs.emplace(handle, Grab{keyCode, modifiers, id});
        return {platform::HotKeyAnswer::noError, handle};
    }
    void unregisterHotKey(Handle handle) override
    {
        const auto found = grabs.find(handle);
        calls.append(found == grabs.end()
                         ? QStringLiteral("unregister what is not registered")
                         : QStringLiteral("unregister #%1").arg(found->second.id.number));
        if (found != grabs.end())
            grabs.erase(found);
    }
    /// As the desktop would tell it, at any time.
    void setReport(const QString &name, const platform::HotKeyReport &report)
    {
        HotKeyCenter::setReport(name, report);
    }
    EventHandler *handler() const { return eventHandler(); }
    const QSet<int> &kinds() const { return eventTypes(); }

    /// As the window system would: only what is registered and listened to fires. The handler's
    /// answers, in order.
    QList<int> press(int keyCode, int modifiers, bool isRepeat = false)
    {
        return fire(platform::HotKeyEvent::pressed, keyCode, modifiers, isRepeat);
    }
    QList<int> release(int keyCode, int modifiers)
    {
        return fire(platform::HotKeyEvent::released, keyCode, modifiers, false);
    }
    /// The numbers of what is registered for this key.
    QList<int> numbersOf(int keyCode, int modifiers) const
    {
        QList<int> numbers;
        for (const auto &[handle, grab] : grabs) {
            if (grab.keyCode == keyCode && grab.modifiers == modifiers)
                numbers.append(grab.id.number);
        }
        return numbers;
    }

    QStringList calls;
    QStringList names;                         // of the requests, in order
    QHash<std::pair<int, int>, int> refusals;  // key code and modifiers to status
    bool isThere = true;
    std::map<Handle, Grab> grabs;

private:
    QList<int> fire(platform::HotKeyEvent::Kind kind, int keyCode, int modifiers, bool isRepeat)
    {
        QList<int> answers;
        for (const auto &[handle, grab] : std::map(grabs)) {
            const bool isIt = grab.keyCode == keyCode && grab.modifiers == modifiers;
            if (isIt && handler() && kinds().contains(kind))
                answers.append(give(kind, grab.id, isRepeat));
        }
        return answers;
    }
};

}  // namespace vellumhound::fakes
