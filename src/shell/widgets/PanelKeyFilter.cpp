// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/PanelKeyFilter.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <array>

namespace vellumhound::shell {

namespace {

/// The edits that belong to a text field before any handler, by the symbol on the key.
bool isEditOfFocusedField(const QKeyEvent &event)
{
    static constexpr std::array edits{QKeySequence::Undo, QKeySequence::Redo, QKeySequence::Cut,
        QKeySequence::Copy, QKeySequence::Paste, QKeySequence::SelectAll};
    if (!qobject_cast<const QLineEdit *>(QApplication::focusWidget()))
        return false;
    // Some desktops have it for Redo; here it is the preview's key wherever the focus is.
    if (event.key() == Qt::Key_Y)
        return false;
    return std::any_of(edits.begin(), edits.end(),
        [&](QKeySequence::StandardKey edit) { return event.matches(edit); });
}

}  // namespace

PanelKeyFilter::PanelKeyFilter(platform::KeyTranslator &translator,
    const keyboard::KeyEquivalents &keyEquivalents, QObject *parent)
    : QObject(parent)
    , _translator(translator)
    , _keyEquivalents(keyEquivalents)
{
}

void PanelKeyFilter::watch(QWidget *widget)
{
    if (widget != _widget) {
        if (_widget)
            _widget->removeEventFilter(this);
        _widget = widget;
        widget->installEventFilter(this);
    }
    if (_window == widget->windowHandle())
        return;
    if (_window)
        _window->removeEventFilter(this);
    _window = widget->windowHandle();
    if (_window)
        _window->installEventFilter(this);
}

int PanelKeyFilter::addLocalMonitor(Monitor monitor)
{
    _monitors.emplace(++_lastHandle, std::move(monitor));
    return _lastHandle;
}

void PanelKeyFilter::removeMonitor(int handle)
{
    _monitors.erase(handle);
}

bool PanelKeyFilter::eventFilter(QObject *watched, QEvent *event)
{
    const bool isNewWindow = event->type() == QEvent::WinIdChange || event->type() == QEvent::Show;
    if (watched == _widget && isNewWindow)
        watch(_widget);
    if (watched != _window || event->type() != QEvent::KeyPress)
        return false;
    if (QApplication::activePopupWidget() || QApplication::activeModalWidget())
        return false;
    return routeKeyPress(*static_cast<QKeyEvent *>(event));
}

bool PanelKeyFilter::routeKeyPress(const QKeyEvent &event)
{
    if (isEditOfFocusedField(event))
        return false;
    auto key = _translator.translate(event);
    if (!key)
        return false;
    for (const auto &[handle, monitor] : std::map(_monitors)) {
        key = monitor(*key);
        if (!key)
            return true;
    }
    return _keyEquivalents.perform(*key);
}

}  // namespace vellumhound::shell
