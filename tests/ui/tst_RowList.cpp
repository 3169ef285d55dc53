// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/RowList.h"

#include <QAccessible>
#include <QLineEdit>
#include <QSignalSpy>
#include <QStringListModel>
#include <QTest>
#include <QVBoxLayout>

using namespace vellumhound::ui;
using namespace Qt::StringLiterals;

class tst_RowList : public QObject {
    Q_OBJECT

    std::unique_ptr<QWidget> _window;
    QStringListModel _rows{{u"a"_s, u"b"_s, u"c"_s}};
    RowList *_list = nullptr;
    QLineEdit *_box = nullptr;

    void click(int row)
    {
        QTest::mouseClick(
            _list->viewport(), Qt::LeftButton, {}, _list->visualRect(_rows.index(row)).center());
    }
    bool isSelected(int row) const
    {
        return _list->selectionModel()->selectedIndexes() == QModelIndexList{_rows.index(row)};
    }
    QAccessible::State stateOf(int row) const
    {
        return QAccessible::queryAccessibleInterface(_list)->child(row)->state();
    }

private Q_SLOTS:
    void init()
    {
        _window = std::make_unique<QWidget>();
        auto *layout = new QVBoxLayout(_window.get());
        _box = new QLineEdit;
        _list = new RowList;
        _list->setModel(&_rows);
        layout->addWidget(_box);
        layout->addWidget(_list);
        _window->show();
        _window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(_window.get()));
        _box->setFocus();
    }
    void cleanup() { _window.reset(); }

    void noRowClaimsTheFocusWhileAnotherWidgetHasIt()
    {
        _list->selectRow(1);

        QVERIFY(isSelected(1));
        QVERIFY(stateOf(1).selected);
        QVERIFY(!stateOf(1).focused);

        _list->setFocus();
        QVERIFY(stateOf(1).focused);
        QVERIFY(!stateOf(0).focused);

        _box->setFocus();
        QVERIFY(!stateOf(1).focused);
        QVERIFY(isSelected(1));
    }

    void aFocusWithoutASelectedRowMakesNoneCurrent()
    {
        QSignalSpy chosen(_list, &RowList::rowChosen);

        _list->setFocus();

        QVERIFY(!_list->currentIndex().isValid());
        for (const int row : {0, 1, 2})
            QVERIFY(!stateOf(row).focused);
        QCOMPARE(chosen.size(), 0);
    }

    void theKeysGoOnFromTheSelectedRow()
    {
        _list->selectRow(1);
        _list->setFocus();
        QSignalSpy chosen(_list, &RowList::rowChosen);

        QTest::keyClick(_list, Qt::Key_Down);

        QVERIFY(isSelected(2));
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(chosen.first().first().toInt(), 2);
    }

    void comingAndGoingOfTheFocusChoosesNothing()
    {
        _list->selectRow(1);
        QSignalSpy chosen(_list, &RowList::rowChosen);
        QSignalSpy focus(_list, &RowList::focusChanged);

        _list->setFocus();
        _box->setFocus();

        QCOMPARE(chosen.size(), 0);
        QCOMPARE(focus.size(), 2);
        QVERIFY(isSelected(1));
    }

    void aClickChoosesOnceAndTellsOfItself()
    {
        QSignalSpy chosen(_list, &RowList::rowChosen);
        QSignalSpy byMouse(_list, &RowList::focusedByMouse);

        click(1);
        QVERIFY(isSelected(1));
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(byMouse.size(), 1);

        click(1);
        QCOMPARE(chosen.size(), 1);
        _box->setFocus();
        _list->setFocus();
        QCOMPARE(byMouse.size(), 1);
    }

    void aListThatTakesNoFocusChoosesByClickAndNeverClaimsTheFocus()
    {
        _list->setFocusPolicy(Qt::NoFocus);
        QSignalSpy chosen(_list, &RowList::rowChosen);

        click(2);
        QVERIFY(isSelected(2));
        QCOMPARE(chosen.size(), 1);
        QVERIFY(!stateOf(2).focused);

        click(2);
        QCOMPARE(chosen.size(), 1);
        click(0);
        QCOMPARE(chosen.size(), 2);
    }

    void aRowThatIsNotThereSelectsNone()
    {
        _list->selectRow(1);

        _list->selectRow(3);
        QVERIFY(_list->selectionModel()->selectedIndexes().isEmpty());

        _list->selectRow(0);
        _list->selectRow(-1);
        QVERIFY(_list->selectionModel()->selectedIndexes().isEmpty());
    }

    void aListWithoutAModelTakesTheFocus()
    {
        RowList empty(_window.get());
        empty.show();

        empty.selectRow(0);
        empty.setFocus();
        QVERIFY(empty.hasFocus());
        empty.scrollToSelectedRow();
        _box->setFocus();

        QVERIFY(!empty.hasFocus());
    }

    void theSelectedRowIsScrolledIntoView()
    {
        QStringList many;
        for (int i = 0; i < 200; ++i)
            many.append(QString::number(i));
        QStringListModel rows(many);
        _list->setModel(&rows);
        _list->selectRow(150);

        _list->scrollToSelectedRow();

        QVERIFY(_list->viewport()->rect().contains(_list->visualRect(rows.index(150))));
        _list->setModel(&_rows);
    }
};

QTEST_MAIN(tst_RowList)
#include "tst_RowList.moc"
