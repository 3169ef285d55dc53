// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/widgets/LocalEventFilter.h"

#include "platform/linux/keyboard/KeyTranslator.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>

#include <algorithm>

namespace vellumhound::keyboard::KeyboardShortcuts {

using platform::LocalEvent;

LocalEventFilter::LocalEventFilter(platform::KeyTranslator &translator, QObject *parent)
    : QObject(parent)
    , _translator(translator)
{
}

int LocalEventFilter::addLocalMonitor(std::uint64_t eventMask, Handler handler)
{
    if (_monitors.empty())
        QCoreApplication::instance()->installEventFilter(this);
    _monitors.emplace(++_lastHandle, std::pair(eventMask, std::move(handler)));
    return _lastHandle;
}

void LocalEventFilter::removeMonitor(int handle)
{
    _monitors.erase(handle);
    if (_monitors.empty())
        QCoreApplication::instance()->removeEventFilter(this);
}

bool LocalEventFilter::eventFilter(QObject *watched, QEvent *event)
{
    if (!watched->isWindowType())
        return false;
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        // Or a mnemonic of the window would take the key before it comes as a press.
        if (!isWatched(LocalEvent::keyDown))
            return false;
        event->accept();
        return true;
    case QEvent::KeyPress:
        return filterKey(*static_cast<QKeyEvent *>(event), LocalEvent::keyDown);
    case QEvent::KeyRelease:
        return filterKey(*static_cast<QKeyEvent *>(event), LocalEvent::keyUp);
    case QEvent::MouseButtonRelease:
        filterRelease(*static_cast<QMouseEvent *>(event));
        return false;
    default:
        return false;
    }
}

bool LocalEventFilter::isWatched(LocalEvent::Type type) const
{
    return std::any_of(_monitors.begin(), _monitors.end(),
        [&](const auto &entry) { return entry.second.first & LocalEvent::maskOf(type); });
}

bool LocalEventFilter::filterKey(const QKeyEvent &event, LocalEvent::Type type)
{
    if (!isWatched(type))
        return false;
    const auto key = _translator.translate(event);
    if (!key)
        return false;
    LocalEvent local;
    local.type = type;
    local.key = *key;
    return isConsumed(local);
}

void LocalEventFilter::filterRelease(const QMouseEvent &event)
{
    LocalEvent local;
    if (event.button() == Qt::LeftButton)
        local.type = LocalEvent::leftMouseUp;
    else if (event.button() == Qt::RightButton)
        local.type = LocalEvent::rightMouseUp;
    else
        return;
    local.screenX = event.globalPosition().x();
    local.screenY = event.globalPosition().y();
    isConsumed(local);
}

bool LocalEventFilter::isConsumed(const LocalEvent &event)
{
    const auto bit = std::uint64_t(1) << unsigned(event.type);
    std::optional<LocalEvent> left = event;
    for (const auto &[handle, monitor] : std::map(_monitors)) {
        // One monitor may remove another.
        if (!(monitor.first & bit) || !_monitors.contains(handle))
            continue;
        left = monitor.second(*left);
        if (!left)
            return true;
    }
    return false;
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
