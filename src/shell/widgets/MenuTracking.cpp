// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/MenuTracking.h"

#include <QApplication>
#include <QEvent>
#include <QMenu>

namespace vellumhound::shell {

MenuTracking::MenuTracking(base::NotificationCenter &notificationCenter, QObject *parent)
    : QObject(parent)
    , _notificationCenter(notificationCenter)
{
    // The toolkit tells of no menu but those that one knows.
    QApplication::instance()->installEventFilter(this);
}

bool MenuTracking::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show) {
        if (auto *menu = qobject_cast<QMenu *>(watched))
            noticeOpened(menu);
    } else if (event->type() == QEvent::Hide) {
        noticeClosed(watched);
    }
    return false;
}

void MenuTracking::noticeOpened(QMenu *menu)
{
    if (_openMenus.contains(menu))
        return;
    const bool isFirst = _openMenus.isEmpty();
    _openMenus.append(menu);
    // One that is destroyed while it is open is not hidden first.
    connect(menu, &QObject::destroyed, this, [this](QObject *gone) { noticeClosed(gone); });
    if (isFirst) {
        _notificationCenter.post(
            QString::fromUtf16(base::Notifications::NSMenuDidBeginTrackingNotification));
    }
}

void MenuTracking::noticeClosed(QObject *menu)
{
    if (!_openMenus.removeOne(menu))
        return;
    disconnect(menu, &QObject::destroyed, this, nullptr);
    if (_openMenus.isEmpty()) {
        _notificationCenter.post(
            QString::fromUtf16(base::Notifications::NSMenuDidEndTrackingNotification));
    }
}

}  // namespace vellumhound::shell
