// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/TooltipModifier.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

using namespace vellumhound::ui;
using namespace Qt::StringLiterals;

class tst_TooltipModifier : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TooltipModifier> _modifier;
    static QWidget *popover() { return QApplication::activePopupWidget(); }

private Q_SLOTS:
    void init()
    {
        _modifier = std::make_unique<TooltipModifier>(
            new QLabel(u"Folders first"_s), u"Show <b>folders</b> first"_s, Theme::light());
        _modifier->show();
        QVERIFY(QTest::qWaitForWindowExposed(_modifier.get()));
    }
    void cleanup()
    {
        _modifier.reset();
        QVERIFY(!popover());
    }

    void theTextComesByAClickAlone()
    {
        QVERIFY(!_modifier->isTooltipVisible());
        QTest::mouseMove(&_modifier->button());
        QVERIFY(!popover());

        QTest::mouseClick(&_modifier->button(), Qt::LeftButton);

        QVERIFY(_modifier->isTooltipVisible());
        QVERIFY(popover());
        const auto *label = popover()->findChild<QLabel *>();
        QCOMPARE(label->text(), u"Show <b>folders</b> first"_s);
        QCOMPARE(label->textFormat(), Qt::PlainText);
        QCOMPARE(label->width(), 250);
        QCOMPARE(label->geometry().topLeft(), QPoint(12, 12));
        QCOMPARE(popover()->width(), 250 + 2 * 12);
    }

    void aFurtherClickTakesTheTextAway()
    {
        QSignalSpy changes(_modifier.get(), &TooltipModifier::tooltipVisibleChanged);

        _modifier->button().click();
        _modifier->button().click();

        QVERIFY(!_modifier->isTooltipVisible());
        QVERIFY(!popover());
        QCOMPARE(changes.size(), 2);
    }

    void dismissingTheTextIsNoticed()
    {
        _modifier->button().click();
        QPointer<QWidget> shown = popover();

        QTest::keyClick(shown, Qt::Key_Escape);
        QVERIFY(!_modifier->isTooltipVisible());
        QTRY_VERIFY(!shown);

        _modifier->button().click();
        QVERIFY(_modifier->isTooltipVisible());
    }

    void theButtonStandsBehindTheControl()
    {
        const auto &button = _modifier->button();
        const auto *control = _modifier->findChild<QLabel *>();

        QCOMPARE(button.size(), QSize(16, 16));
        QCOMPARE(button.x(), control->geometry().right() + 1 + 4);
        QCOMPARE(button.accessibleDescription(), u"Show <b>folders</b> first"_s);
        QVERIFY(!button.accessibleName().isEmpty());
    }

    void theControlMayGoWhileItsTextIsShown()
    {
        _modifier->button().click();

        _modifier.reset();

        QVERIFY(!popover());
    }

    void theTextStaysOnTheScreen()
    {
        const auto screen = _modifier->screen()->availableGeometry();
        _modifier->move(screen.bottomRight() - QPoint(20, 20));

        _modifier->button().click();

        QVERIFY(screen.contains(popover()->geometry()));
    }
};

QTEST_MAIN(tst_TooltipModifier)
#include "tst_TooltipModifier.moc"
