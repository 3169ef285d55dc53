// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <functional>

class QWindow;

namespace vellumhound::platform {

/// Reports where the keyboard goes, as the panel's rules ask for it: menus, tooltips and other
/// popups of ours are no change, nor is a grab of the keyboard, which a held hot key and the moving
/// of a window are. Main thread; owned by the panel.
class ActivationWatcher final : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    struct Handlers {
        std::function<void()> keyboardGained;
        /// Another window of ours has it.
        std::function<void()> keyboardLost;
        /// No window of ours has it, and another program is the active one.
        std::function<void()> applicationInactive;
        /// X11 only.
        std::function<void()> activeWindowChanged;
        std::function<void()> ownWindowClosed;
    };

    explicit ActivationWatcher(Handlers handlers);
    ~ActivationWatcher() override;

    /// The panel's native window; null for none. To be told again when it is made anew.
    void setPanel(QWindow *panel) { _panel = panel; }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void onFocusWindowChanged(QWindow *window);
    void onPanelGained();
    void scheduleInactiveCheck();

    Handlers _handlers;
    const QWindow *_panel = nullptr;     // compared, never followed
    unsigned _showings = 0;              // of the panel
    bool _isFocusOfLastShowing = false;  // its loss is still to be told and says nothing
    bool _isCheckScheduled = false;
    bool _isInactiveReported = false;
};

}  // namespace vellumhound::platform
