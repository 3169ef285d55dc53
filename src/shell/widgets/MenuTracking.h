// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NotificationCenter.h"

#include <QList>
#include <QObject>

class QMenu;

namespace vellumhound::shell {

/// Tells when a menu that this process draws opens and when the last one has closed: while one is
/// open it has the keyboard. A menu that the desktop draws for us is none: a tray that does so asks
/// for the rows, but nobody tells when it has closed the menu, and no key of it comes by here.
///
/// One for the process; main thread; needs the application object.
class MenuTracking final : public QObject {
    Q_OBJECT

public:
    explicit MenuTracking(base::NotificationCenter &notificationCenter, QObject *parent = nullptr);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void noticeOpened(QMenu *menu);
    void noticeClosed(QObject *menu);

    base::NotificationCenter &_notificationCenter;
    QList<QObject *> _openMenus;
};

}  // namespace vellumhound::shell
