// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/hotkeys/DesktopHotKeys.h"

#include "platform/Logging.h"

#include <QList>

#include <algorithm>
#include <array>
#include <utility>

namespace vellumhound::platform {

using Presence = HotKeyBackend::Presence;

DesktopHotKeys::DesktopHotKeys(std::vector<std::unique_ptr<HotKeyBackend>> backends)
    : _backends(std::move(backends))
{
    constexpr std::array<int, 2> kinds{HotKeyEvent::pressed, HotKeyEvent::released};
    for (const auto &backend : _backends) {
        backend->installEventHandler(*this);
        backend->addEventTypes(kinds);
        backend->setPresenceObserver([this] { choose(); });
        backend->setReportObserver([this, backend = backend.get()] {
            if (backend == _current)
                announceReports();
        });
    }
    choose();
}

DesktopHotKeys::~DesktopHotKeys() = default;

bool DesktopHotKeys::isSupported() const
{
    return std::any_of(_backends.begin(), _backends.end(),
        [](const auto &backend) { return backend->presence() != Presence::absent; });
}

void DesktopHotKeys::choose()
{
    HotKeyBackend *best = nullptr;
    for (const auto &backend : _backends) {
        const auto presence = backend->presence();
        if (presence == Presence::absent)
            continue;
        // A better one may come of it; until then the one in use will do.
        const bool isOpen = presence == Presence::unknown;
        const bool keepsCurrent = _current && _current->presence() == Presence::present;
        best = !isOpen ? backend.get() : keepsCurrent ? _current : nullptr;
        break;
    }
    if (!isSupported() && !std::exchange(_isLackTold, true))
        qCInfo(logPlatform)
            << "the desktop has no way to hot keys; they are kept for one that comes";
    if (best != _current)
        moveTo(best);
    else
        announceReports();  // what is still hoped for differs
}

void DesktopHotKeys::moveTo(HotKeyBackend *backend)
{
    if (_current) {
        for (auto &[handle, request] : _requests) {
            if (const auto old = std::exchange(request.handle, std::nullopt))
                _current->unregisterHotKey(*old);
        }
    }
    _current = backend;
    QList<std::pair<HotKeyId, int>> refused;
    if (_current) {
        _isLackTold = false;
        for (auto &[handle, request] : _requests) {
            const auto registration = _current->registerHotKey(request.request);
            request.handle = registration.handle;
            if (registration.status != HotKeyAnswer::noError)
                refused.append({request.request.id, registration.status});
        }
    }
    for (const auto &[id, status] : std::as_const(refused))
        registrationRefused(id, status);
    announceReports();
}

HotKeyCenter::Registration DesktopHotKeys::registerHotKey(const HotKeyRequest &request)
{
    Request kept{request, std::nullopt};
    if (_current) {
        const auto registration = _current->registerHotKey(request);
        if (registration.status != HotKeyAnswer::noError)
            return {registration.status, std::nullopt};
        kept.handle = registration.handle;
    }
    const auto handle = newHandle();
    _requests.emplace(handle, kept);
    if (!_current)
        announceReports();
    return {HotKeyAnswer::noError, handle};
}

void DesktopHotKeys::unregisterHotKey(Handle handle)
{
    const auto found = _requests.find(handle);
    if (found == _requests.end())
        return;
    const auto given = found->second.handle;
    _requests.erase(found);
    if (_current && given)
        _current->unregisterHotKey(*given);
    else
        announceReports();
}

/// Of a request that nobody has got yet it is only known whether somebody still may.
HotKeyReport DesktopHotKeys::report(const QString &name) const
{
    if (_current)
        return _current->report(name);
    const bool isKept = std::any_of(_requests.begin(), _requests.end(),
        [&](const auto &entry) { return entry.second.request.name == name; });
    HotKeyReport result;
    if (isKept && isSupported())
        result.state = HotKeyReport::State::waiting;
    return result;
}

int DesktopHotKeys::handleEvent(const HotKeyEvent *event)
{
    return event ? give(*event) : HotKeyAnswer::notHandled;
}

void DesktopHotKeys::registrationRefused(HotKeyId id, int status)
{
    const auto count =
        std::erase_if(_requests, [&](const auto &entry) { return entry.second.request.id == id; });
    if (count > 0)
        giveRefusal(id, status);
}

void DesktopHotKeys::keyboardChanged()
{
    giveKeyboardChange();
}

}  // namespace vellumhound::platform
