// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/FocusState.h"
#include "keyboard/KeyboardHandlingViewModifier.h"

#include <QObject>

namespace vellumhound::actions {

/// The home screen's list, shown while nothing is searched. It has no rows: it holds the focus of
/// the `results` area and passes every key on. Toolkit-free; made once by the root view, main
/// thread.
class AppActionsView final : public QObject, public keyboard::KeyboardHandling {
    Q_OBJECT

public:
    /// Both outlive the screen.
    AppActionsView(keyboard::FocusState &focus, keyboard::KeyboardMonitor &keyboardMonitor,
        QObject *parent = nullptr);

    QString id() const override;
    std::optional<base::KeyEvent> handleKeyEvent(const base::KeyEvent &event) override;

    /// The screen has come into the panel or left it.
    void appear();
    void disappear();

private:
    void followFocus();

    keyboard::FocusState &_focus;
    keyboard::KeyboardHandlingViewModifier _modifier;
    bool _isShown = false;
};

}  // namespace vellumhound::actions
