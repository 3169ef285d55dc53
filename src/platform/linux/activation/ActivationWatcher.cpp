// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/activation/ActivationWatcher.h"

#include "platform/linux/x11/X11Desktop.h"

#include <QEvent>
#include <QGuiApplication>
#include <QTimer>
#include <QWindow>

#include <chrono>
#include <utility>

namespace vellumhound::platform {

namespace {

using namespace std::chrono_literals;

/// How long a window system may take to give the keyboard to a panel that it has just taken it
/// from.
constexpr auto patience = 400ms;

bool isPopup(const QWindow &window)
{
    return window.type() == Qt::Popup || window.type() == Qt::ToolTip;
}

}  // namespace

ActivationWatcher::ActivationWatcher(Handlers handlers)
    : _handlers(std::move(handlers))
{
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this,
        &ActivationWatcher::onFocusWindowChanged);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
        [this](Qt::ApplicationState state) {
            if (state == Qt::ApplicationActive)
                _isInactiveReported = false;
            else
                scheduleInactiveCheck();
        });
    qGuiApp->installNativeEventFilter(this);
    qGuiApp->installEventFilter(this);
}

ActivationWatcher::~ActivationWatcher() = default;

void ActivationWatcher::onFocusWindowChanged(QWindow *window)
{
    if (!window) {
        scheduleInactiveCheck();
        return;
    }
    _isInactiveReported = false;
    if (isPopup(*window))
        return;
    if (window == _panel)
        onPanelGained();
    else
        _handlers.keyboardLost();
}

void ActivationWatcher::onPanelGained()
{
    _isFocusOfLastShowing = false;
    _handlers.keyboardGained();
}

/// While the keyboard passes from one window to the next nobody has it, and when another program
/// takes it the two signals come in either order; a turn later both are known.
void ActivationWatcher::scheduleInactiveCheck()
{
    if (std::exchange(_isCheckScheduled, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this, showing = _showings] {
            _isCheckScheduled = false;
            // The panel may have come back since: the keyboard that it lost was of its last
            // showing.
            if (showing != _showings || QGuiApplication::focusWindow() ||
                QGuiApplication::applicationState() == Qt::ApplicationActive)
                return;
            if (std::exchange(_isFocusOfLastShowing, false))
                QTimer::singleShot(patience, this, &ActivationWatcher::scheduleInactiveCheck);
            else if (!std::exchange(_isInactiveReported, true))
                _handlers.applicationInactive();
        },
        Qt::QueuedConnection);
}

bool ActivationWatcher::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    if (isActiveWindowChange(message))
        _handlers.activeWindowChanged();
    return isFocusGrabEvent(message);
}

bool ActivationWatcher::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show && watched == _panel) {
        ++_showings;
        // The window system has not told yet that the last showing has ended.
        _isFocusOfLastShowing = QGuiApplication::focusWindow() == _panel;
    }
    // On Wayland the toolkit tells who has the keyboard a round trip late; a key is proof enough.
    if (event->type() == QEvent::KeyPress && watched == _panel)
        onPanelGained();
    if (event->type() == QEvent::Hide && watched->isWindowType() && watched != _panel &&
        !isPopup(*static_cast<QWindow *>(watched)) &&
        static_cast<QWindow *>(watched)->isTopLevel()) {
        // The window still is the focus window at this moment.
        QMetaObject::invokeMethod(
            this, [this] { _handlers.ownWindowClosed(); }, Qt::QueuedConnection);
    }
    return false;
}

}  // namespace vellumhound::platform
