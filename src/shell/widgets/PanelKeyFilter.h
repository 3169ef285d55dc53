// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyEquivalents.h"
#include "platform/KeyEventSource.h"
#include "platform/linux/keyboard/KeyTranslator.h"

#include <QObject>
#include <QPointer>

#include <map>

class QWidget;
class QWindow;

namespace vellumhound::shell {

/// The one place where a key press of a window of ours enters: an event filter on the native
/// window, where each press passes exactly once, before shortcuts, widgets, Tab and Escape. What
/// the monitors do not consume goes to the key equivalents, then on to the focused widget as it
/// came.
///
/// Follows its widget to a new native window. Main thread; the widget outlives the filter.
class PanelKeyFilter final : public QObject, public platform::KeyEventSource {
    Q_OBJECT

public:
    PanelKeyFilter(platform::KeyTranslator &translator,
        const keyboard::KeyEquivalents &keyEquivalents, QObject *parent = nullptr);

    /// Watches the window of `widget`, a top-level one, now and whenever it is made again.
    void watch(QWidget *widget);

    int addLocalMonitor(Monitor monitor) override;
    void removeMonitor(int handle) override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool routeKeyPress(const QKeyEvent &event);

    platform::KeyTranslator &_translator;
    const keyboard::KeyEquivalents &_keyEquivalents;
    QPointer<QWidget> _widget;
    QPointer<QWindow> _window;
    int _lastHandle = 0;
    std::map<int, Monitor> _monitors;
};

}  // namespace vellumhound::shell
