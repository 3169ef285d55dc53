// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/widgets/LocalEventFilter.h"

#include "platform/linux/keyboard/KeyTranslator.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>

#include <algorithm>

namespace vellumhound::keyboard::KeyboardShortcuts {

using platform::LocalEvent;

namespace {

/// The same for the press, the repeats and the release of one key. What a program sends has no
/// hardware code.
quint64 identityOf(const QKeyEvent &event)
{
    const quint64 code = event.nativeScanCode();
    return code ? code << 32U : quint64(quint32(event.key()));
}

}  // namespace

LocalEventFilter::LocalEventFilter(platform::KeyTranslator &translator, QObject *parent)
    : QObject(parent)
    , _translator(translator)
{
}

int LocalEventFilter::addLocalMonitor(std::uint64_t eventMask, Handler handler)
{
    _monitors.emplace(++_lastHandle, std::pair(eventMask, std::move(handler)));
    update();
    return _lastHandle;
}

void LocalEventFilter::removeMonitor(int handle)
{
    _monitors.erase(handle);
    update();
}

void LocalEventFilter::update()
{
    const bool isNeeded = !_monitors.empty() || !_takenKeys.isEmpty();
    if (std::exchange(_isInstalled, isNeeded) == isNeeded)
        return;
    if (isNeeded)
        QCoreApplication::instance()->installEventFilter(this);
    else
        QCoreApplication::instance()->removeEventFilter(this);
}

bool LocalEventFilter::eventFilter(QObject *watched, QEvent *event)
{
    if (!watched->isWindowType())
        return false;
    switch (event->type()) {
    case QEvent::ShortcutOverride: {
        // Or a mnemonic of the window would take the key before it comes as a press.
        const auto &key = *static_cast<QKeyEvent *>(event);
        const bool isOfTaken = key.isAutoRepeat() && _takenKeys.contains(identityOf(key));
        if (!isOfTaken && !isWatched(LocalEvent::keyDown))
            return false;
        event->accept();
        return true;
    }
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
    const auto identity = identityOf(event);
    const bool isPress = type == LocalEvent::keyDown;
    const bool isFirstPress = isPress && !event.isAutoRepeat();
    const bool wasTaken = !isFirstPress && _takenKeys.contains(identity);
    // Before the monitors look: one that opens an alert comes back long after the key has come up.
    if (isPress && isWatched(type))
        _takenKeys.insert(identity);
    else if (!event.isAutoRepeat())
        _takenKeys.remove(identity);
    const bool isTaken = isWatched(type) && isKeyConsumed(event, type);
    if (isPress && !isTaken && !wasTaken)
        _takenKeys.remove(identity);
    update();
    return isTaken || wasTaken;
}

bool LocalEventFilter::isKeyConsumed(const QKeyEvent &event, LocalEvent::Type type)
{
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
