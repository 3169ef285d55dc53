// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/HotKeyCenter.h"

namespace vellumhound::platform {

bool HotKeyCenter::installEventHandler(EventHandler &handler)
{
    if (_handler)
        return false;
    _handler = &handler;
    return true;
}

void HotKeyCenter::addEventTypes(std::span<const int> kinds)
{
    _eventTypes.unite({kinds.begin(), kinds.end()});
}

void HotKeyCenter::removeEventTypes(std::span<const int> kinds)
{
    _eventTypes.subtract({kinds.begin(), kinds.end()});
}

int HotKeyCenter::give(const HotKeyEvent &event) const
{
    return _handler && _eventTypes.contains(event.kind) ? _handler->handleEvent(&event)
                                                        : HotKeyAnswer::notHandled;
}

int HotKeyCenter::give(HotKeyEvent::Kind kind, const HotKeyId &id, bool isRepeat) const
{
    HotKeyEvent event;
    event.kind = kind;
    event.directObject = id;
    event.isRepeat = isRepeat;
    return give(event);
}

void HotKeyCenter::giveRefusal(const HotKeyId &id, int status) const
{
    if (_handler)
        _handler->registrationRefused(id, status);
}

void HotKeyCenter::giveKeyboardChange() const
{
    if (_handler)
        _handler->keyboardChanged();
}

void HotKeyCenter::setReport(const QString &name, const HotKeyReport &report)
{
    if (report == _reports.value(name))
        return;
    _reports.insert(name, report);
    announceReports();
}

void HotKeyCenter::removeReport(const QString &name)
{
    if (_reports.remove(name))
        announceReports();
}

void HotKeyCenter::announceReports() const
{
    if (_reportObserver)
        _reportObserver();
}

}  // namespace vellumhound::platform
