// SPDX-License-Identifier: GPL-3.0-or-later
#include "actions/AppActionsView.h"
#include "fakes/FakeKeyEventSource.h"

#include <QtTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using keyboard::FocusArea;

class TestAppActionsView : public QObject {
    Q_OBJECT

    base::MainQueue _queue;
    fakes::FakeKeyEventSource _source;

private Q_SLOTS:
    void theHomeListTakesTheFocusOfTheResultsWhileItIsShown()
    {
        keyboard::KeyboardMonitor monitor(_source, _queue);
        keyboard::FocusState focus(_queue);
        actions::AppActionsView view(focus, monitor);
        focus.setArea(FocusArea::results);
        _queue.drain();
        QVERIFY(!monitor.focusedHandler());

        view.appear();

        QCOMPARE(monitor.focusedHandler(), &view);
        QCOMPARE(view.id(), u"AppActionsView"_s);
    }

    void withoutRowsItPassesEveryKey()
    {
        keyboard::KeyboardMonitor monitor(_source, _queue);
        keyboard::FocusState focus(_queue);
        actions::AppActionsView view(focus, monitor);
        view.appear();
        focus.setArea(FocusArea::results);
        _queue.drain();

        for (const int key : {base::KeyCode::returnKey, base::KeyCode::keypadEnter,
                 base::KeyCode::up, base::KeyCode::down, base::KeyCode::tab})
            QVERIFY(_source.press(key).has_value());
    }

    void leavingThePanelWithTheFocusLeavesTheAreaAbsent()
    {
        keyboard::KeyboardMonitor monitor(_source, _queue);
        keyboard::FocusState focus(_queue);
        actions::AppActionsView view(focus, monitor);
        view.appear();
        focus.setArea(FocusArea::results);
        _queue.drain();

        view.disappear();

        QVERIFY(!focus.area());
        QVERIFY(!monitor.focusedHandler());
    }
};

QTEST_GUILESS_MAIN(TestAppActionsView)
#include "tst_AppActionsView.moc"
