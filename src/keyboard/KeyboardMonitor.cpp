// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardMonitor.h"

#include <QPointer>

#include <utility>

namespace vellumhound::keyboard {

KeyboardMonitor::KeyboardMonitor(
    platform::KeyEventSource &source, base::MainQueue &queue, QObject *parent)
    : QObject(parent)
    , _source(source)
    , _queue(queue)
{
    startMonitoring();
}

KeyboardMonitor::~KeyboardMonitor()
{
    stopMonitoring();
}

void KeyboardMonitor::startMonitoring()
{
    stopMonitoring();
    _monitor = _source.addLocalMonitor(
        [self = QPointer(this)](const base::KeyEvent &event) -> std::optional<base::KeyEvent> {
            return self ? self->route(event) : event;
        });
}

void KeyboardMonitor::stopMonitoring()
{
    if (const auto monitor = std::exchange(_monitor, std::nullopt))
        _source.removeMonitor(*monitor);
}

void KeyboardMonitor::setFocusedHandler(KeyboardHandling *handler)
{
    if (handler == _focusedHandler)
        return;
    _focusedHandler = handler;
    Q_EMIT focusedHandlerChanged();
}

void KeyboardMonitor::clearFocusedHandler(const QString &id)
{
    if (_focusedHandler && _focusedHandler->id() == id)
        setFocusedHandler(nullptr);
}

std::optional<base::KeyEvent> KeyboardMonitor::route(const base::KeyEvent &event)
{
    if (_isMonitoringPaused)
        return event;
    _queue.drain();
    auto result = event;
    if (_focusedHandler) {
        const auto passed = _focusedHandler->handleKeyEvent(event);
        if (!passed)
            return std::nullopt;
        result = *passed;
    }
    if (_appLevelHandler) {
        if (const auto replacement = _appLevelHandler(result))
            result = *replacement;
    }
    return result;
}

}  // namespace vellumhound::keyboard
