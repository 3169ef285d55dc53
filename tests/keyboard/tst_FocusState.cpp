// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/FocusManager.h"
#include "keyboard/FocusState.h"

#include <QSignalSpy>
#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::keyboard;
using namespace Qt::StringLiterals;

class TestFocusState : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aWriteTakesEffectInTheNextTurn()
    {
        base::MainQueue queue;
        FocusState focus(queue);

        focus.setArea(FocusArea::search);
        QVERIFY(!focus.area());
        queue.drain();

        QCOMPARE(focus.area(), FocusArea::search);
    }

    void writesTakeEffectInTheOrderAsked()
    {
        base::MainQueue queue;
        FocusState focus(queue);
        QList<std::optional<FocusArea>> seen;
        connect(&focus, &FocusState::areaChanged, this, [&] { seen.append(focus.area()); });

        focus.setArea(FocusArea::results);
        focus.setArea(FocusArea::search);
        queue.drain();

        const QList<std::optional<FocusArea>> expected{FocusArea::results, FocusArea::search};
        QCOMPARE(seen, expected);
    }

    void anEqualWriteIsToldButIsNoChange()
    {
        base::MainQueue queue;
        FocusState focus(queue);
        focus.setArea(FocusArea::search);
        queue.drain();
        QSignalSpy changed(&focus, &FocusState::areaChanged);
        QSignalSpy written(&focus, &FocusState::areaWritten);

        focus.setArea(FocusArea::search);
        queue.drain();

        QCOMPARE(changed.count(), 0);
        QCOMPARE(written.count(), 1);
    }

    void onlyPresenceAndAbsenceChangeTheFocusOfTheContainer()
    {
        base::MainQueue queue;
        FocusState focus(queue);
        QSignalSpy container(&focus, &FocusState::containerFocusChanged);

        focus.setArea(FocusArea::search);
        queue.drain();
        QCOMPARE(container.count(), 1);
        focus.setArea(FocusArea::results);
        queue.drain();
        QCOMPARE(container.count(), 1);
        focus.areaLeft(FocusArea::results);

        QCOMPARE(container.count(), 2);
        QVERIFY(!focus.isContainerFocused());
    }

    void aScreenThatDoesNotHoldTheFocusLeavesWithoutEffect()
    {
        base::MainQueue queue;
        FocusState focus(queue);
        focus.setArea(FocusArea::search);
        queue.drain();

        focus.areaLeft(FocusArea::results);

        QCOMPARE(focus.area(), FocusArea::search);
    }

    void aFocusThatGoesBeforeItsTurnIsNotWritten()
    {
        base::MainQueue queue;
        auto focus = std::make_unique<FocusState>(queue);
        focus->setArea(FocusArea::search);

        focus.reset();
        queue.drain();

        QVERIFY(queue.isEmpty());
    }

    void theFocusManagerTellsOnlyDifferentIds()
    {
        FocusManager manager;
        QSignalSpy changed(&manager, &FocusManager::focusedElementIdChanged);

        manager.setFocusedElementId(u"FileSearchView"_s);
        manager.setFocusedElementId(u"FileSearchView"_s);

        QCOMPARE(changed.count(), 1);
        QCOMPARE(manager.focusedElementId(), u"FileSearchView"_s);
    }
};

QTEST_GUILESS_MAIN(TestFocusState)
#include "tst_FocusState.moc"
