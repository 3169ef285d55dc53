// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/hotkeys/WindowKeyFeed.h"

#include "base/KeyEvent.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/XkbCode.h"
#include "platform/linux/x11/X11Time.h"

#include <QCoreApplication>
#include <QKeyEvent>

#include <utility>

namespace vellumhound::platform {

namespace {

std::uint32_t hotKeyModifiersOf(Qt::KeyboardModifiers held)
{
    int modifiers = 0;
    if (held & Qt::ShiftModifier)
        modifiers |= HotKeyModifiers::shift;
    if (held & Qt::ControlModifier)
        modifiers |= HotKeyModifiers::control;
    if (held & Qt::AltModifier)
        modifiers |= HotKeyModifiers::option;
    if (held & Qt::MetaModifier)
        modifiers |= HotKeyModifiers::command;
    return std::uint32_t(modifiers);
}

}  // namespace

WindowKeyFeed::WindowKeyFeed(std::shared_ptr<const KeyboardLayout> layout)
    : _layout(std::move(layout))
{
}

WindowKeyFeed::~WindowKeyFeed() = default;

/// The filter that was installed last is asked first.
void WindowKeyFeed::runningChanged()
{
    if (isRunning() == std::exchange(_isWatching, isRunning()))
        return;
    _takenKeys.clear();
    if (_isWatching)
        QCoreApplication::instance()->installEventFilter(this);
    else
        QCoreApplication::instance()->removeEventFilter(this);
}

/// A key is seen when it reaches a window, before it is handed on to the widget in it.
bool WindowKeyFeed::eventFilter(QObject *watched, QEvent *event)
{
    const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease;
    return isKey && watched->isWindowType() && isTaken(*static_cast<QKeyEvent *>(event));
}

bool WindowKeyFeed::isTaken(const QKeyEvent &event)
{
    const bool isPress = event.type() == QEvent::KeyPress;
    const quint32 code = event.nativeScanCode();
    const bool wasTaken = !(isPress && !event.isAutoRepeat()) && _takenKeys.contains(code);
    // Some window systems tell a release before each repetition.
    if (!isPress && event.isAutoRepeat())
        return wasTaken;
    if (!event.isAutoRepeat())
        _takenKeys.remove(code);

    HotKeyEvent raw;
    raw.kind = !isPress               ? HotKeyEvent::rawKeyUp
               : event.isAutoRepeat() ? HotKeyEvent::rawKeyRepeat
                                      : HotKeyEvent::rawKeyDown;
    const int keyCode = int(code) > xkbOffset ? _layout->hotKeyCodeAt(int(code) - xkbOffset)
                                              : base::KeyCode::unknown;
    if (keyCode == base::KeyCode::unknown)
        return wasTaken;
    raw.keyCode = std::uint32_t(keyCode);
    raw.modifiers = hotKeyModifiersOf(event.modifiers());
    const bool isTakenNow = offer(raw);
    if (isTakenNow && raw.kind == HotKeyEvent::rawKeyDown) {
        setUserTime(std::uint32_t(event.timestamp()));
        if (_isWatching)
            _takenKeys.insert(code);
    }
    return isTakenNow || wasTaken;
}

}  // namespace vellumhound::platform
