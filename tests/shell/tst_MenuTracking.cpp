// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/MenuTracking.h"

#include <QMenu>
#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::shell;
using namespace Qt::StringLiterals;

class tst_MenuTracking : public QObject {
    Q_OBJECT

    base::NotificationCenter _notifications;
    std::vector<base::NotificationCenter::Token> _tokens;
    QStringList _posts;

private Q_SLOTS:
    void initTestCase()
    {
        for (const auto *name : {base::Notifications::NSMenuDidBeginTrackingNotification,
                 base::Notifications::NSMenuDidEndTrackingNotification}) {
            const auto text = QString::fromUtf16(name);
            _tokens.push_back(
                _notifications.addObserver(text, nullptr, [this, text] { _posts.append(text); }));
        }
    }
    void init() { _posts.clear(); }

    void aMenuIsToldWhenItOpensAndWhenItHasClosed()
    {
        const MenuTracking tracking(_notifications);
        QMenu menu;
        menu.addAction(u"One"_s);

        menu.popup({10, 10});
        QCOMPARE(_posts, QStringList{u"NSMenuDidBeginTrackingNotification"_s});

        menu.close();
        QCOMPARE(_posts.mid(1), QStringList{u"NSMenuDidEndTrackingNotification"_s});
    }

    void aMenuInAMenuIsNotToldOfItsOwn()
    {
        const MenuTracking tracking(_notifications);
        QMenu menu;
        auto *inner = menu.addMenu(u"More"_s);
        inner->addAction(u"One"_s);

        menu.popup({10, 10});
        inner->popup({40, 10});
        inner->close();
        QCOMPARE(_posts.size(), 1);

        menu.close();
        QCOMPARE(_posts.size(), 2);
    }

    void aMenuThatIsDestroyedWhileItIsOpenCountsAsClosed()
    {
        const MenuTracking tracking(_notifications);
        auto menu = std::make_unique<QMenu>();
        menu->addAction(u"One"_s);

        menu->popup({10, 10});
        menu.reset();

        QCOMPARE(_posts, (QStringList{u"NSMenuDidBeginTrackingNotification"_s,
                             u"NSMenuDidEndTrackingNotification"_s}));
    }

    void aMenuThatSomebodyElseDrawsIsNotTold()
    {
        const MenuTracking tracking(_notifications);
        QMenu menu;
        menu.addAction(u"One"_s);

        // All that is heard of a menu that the tray draws.
        Q_EMIT menu.aboutToShow();
        Q_EMIT menu.aboutToHide();

        QCOMPARE(_posts, QStringList());
    }

    void otherWindowsAreNotTold()
    {
        const MenuTracking tracking(_notifications);
        QWidget window;

        window.show();
        window.hide();

        QCOMPARE(_posts, QStringList());
    }
};

QTEST_MAIN(tst_MenuTracking)
#include "tst_MenuTracking.moc"
