// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/MainQueue.h"
#include "keyboard/KeyboardHandling.h"
#include "platform/KeyEventSource.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace vellumhound::keyboard {

/// The one place through which every key press of the panel passes before the toolkit sees it:
/// first the handler of the screen that holds the focus, then the application's handler; what
/// neither consumes goes on to key equivalents and the focused widget.
///
/// One for the process, made by the composition root; making it starts the monitoring. Holds its
/// handlers without owning them: a screen clears itself when it goes. Main thread.
class KeyboardMonitor final : public QObject {
    Q_OBJECT

public:
    using AppLevelHandler = std::function<std::optional<base::KeyEvent>(const base::KeyEvent &)>;

    /// `queue` is drained before a key is routed: after a stall several keys arrive before any
    /// queued block.
    KeyboardMonitor(
        platform::KeyEventSource &source, base::MainQueue &queue, QObject *parent = nullptr);
    ~KeyboardMonitor() override;

    /// Replaces a monitor that is installed already.
    void startMonitoring();
    void stopMonitoring();
    bool isMonitoring() const { return _monitor.has_value(); }

    bool isMonitoringPaused() const { return _isMonitoringPaused; }
    /// While paused, every key goes on as if there were no handler; the handlers are kept.
    void setMonitoringPaused(bool isPaused) { _isMonitoringPaused = isPaused; }

    KeyboardHandling *focusedHandler() const { return _focusedHandler; }
    void setFocusedHandler(KeyboardHandling *handler);
    /// Takes the focused handler away if its id is `id`.
    void clearFocusedHandler(const QString &id);
    /// Gets what the focused handler passed on. An event from it replaces the one it got; nothing
    /// means that there is no replacement, not that the key is consumed.
    void setAppLevelHandler(AppLevelHandler handler) { _appLevelHandler = std::move(handler); }

Q_SIGNALS:
    void focusedHandlerChanged();

private:
    std::optional<base::KeyEvent> route(const base::KeyEvent &event);

    platform::KeyEventSource &_source;
    base::MainQueue &_queue;
    std::optional<int> _monitor;
    bool _isMonitoringPaused = false;
    KeyboardHandling *_focusedHandler = nullptr;
    AppLevelHandler _appLevelHandler;
};

}  // namespace vellumhound::keyboard
