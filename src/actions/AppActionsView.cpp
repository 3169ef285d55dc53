// SPDX-License-Identifier: GPL-3.0-or-later
#include "actions/AppActionsView.h"

namespace vellumhound::actions {

using keyboard::FocusArea;

AppActionsView::AppActionsView(
    keyboard::FocusState &focus, keyboard::KeyboardMonitor &keyboardMonitor, QObject *parent)
    : QObject(parent)
    , _focus(focus)
    , _modifier(keyboardMonitor, *this)
{
    connect(&_focus, &keyboard::FocusState::areaChanged, this, &AppActionsView::followFocus);
}

QString AppActionsView::id() const
{
    return QStringLiteral("AppActionsView");
}

std::optional<base::KeyEvent> AppActionsView::handleKeyEvent(const base::KeyEvent &event)
{
    return event;
}

void AppActionsView::appear()
{
    _isShown = true;
    followFocus();
}

void AppActionsView::disappear()
{
    if (!_isShown)
        return;
    _isShown = false;
    _modifier.disappear();
    _focus.areaLeft(FocusArea::results);
}

void AppActionsView::followFocus()
{
    _modifier.setFocused(_isShown && _focus.area() == FocusArea::results);
}

}  // namespace vellumhound::actions
