// SPDX-License-Identifier: GPL-3.0-or-later
#include "ScreenFixture.h"
#include "screens/widgets/FileBrowserWidget.h"
#include "screens/widgets/FileSearchWidget.h"

#include <QApplication>
#include <QInputMethodEvent>
#include <QSignalSpy>
#include <QtTest>
#include <QWindow>

using namespace vellumhound;
using namespace vellumhound::screens;
using namespace Qt::StringLiterals;
using core::ResultType;
using core::SearchStatus;
using keyboard::FocusArea;
using ui::RowList;

class tst_SearchWidgets : public QObject {
    Q_OBJECT

    std::unique_ptr<ScreenFixture> _screen;
    std::unique_ptr<QWidget> _window;
    FileSearchWidget *_search = nullptr;
    FileBrowserWidget *_browser = nullptr;

    core::FileBrowserModel &model() { return *_screen->model; }
    SearchField &field() { return _search->field(); }
    RowList &list() { return _browser->list(); }
    RowList &details() { return *_browser->findChild<RowList *>(u"detailsList"_s); }
    void send(int key, Qt::KeyboardModifiers modifiers = {}, const QString &text = {})
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        QCoreApplication::sendEvent(_window->windowHandle(), &event);
    }
    void showRows(const core::FileList &files)
    {
        model().showFiles(files, ResultType::search);
        _screen->queue.drain();
    }
    void showThreeRows()
    {
        showRows({core::CoreFixture::file(u"/d/a"_s), core::CoreFixture::file(u"/d/b"_s),
            core::CoreFixture::file(u"/d/c"_s)});
    }

private Q_SLOTS:
    void init()
    {
        _screen = std::make_unique<ScreenFixture>();
        _window = std::make_unique<QWidget>();
        _search = new FileSearchWidget(_screen->search, model(), _screen->focus, _window.get());
        _browser = new FileBrowserWidget(_screen->browser, model(), _screen->focus, _window.get());
        _browser->setGeometry(0, 50, 800, 400);
        _window->resize(800, 450);
        _window->show();
        _window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(_window.get()));
    }
    void cleanup()
    {
        _window.reset();
        _screen.reset();
    }

    void theListTakesOnlyItsOwnKeys()
    {
        showThreeRows();
        list().setFocus();

        send(Qt::Key_Down);
        QCOMPARE(model().selectedFile(), model().files().at(1));
        send(Qt::Key_End);
        QCOMPARE(model().selectedFile(), model().files().at(2));
        send(Qt::Key_Home);
        QCOMPARE(model().selectedFile(), model().files().at(0));

        // No type-ahead, no toggling, no selecting of everything.
        send(Qt::Key_C, {}, u"c"_s);
        send(Qt::Key_Space, Qt::ControlModifier, u" "_s);
        send(Qt::Key_A, Qt::ControlModifier);
        send(Qt::Key_Down, Qt::ShiftModifier);
        QCOMPARE(model().selectedFile(), model().files().at(0));
        QCOMPARE(list().selectionModel()->selectedRows().size(), 1);
    }

    void aClickOnTheEmptyPartOfTheListLeavesTheSelection()
    {
        showThreeRows();

        QTest::mouseClick(list().viewport(), Qt::LeftButton, Qt::NoModifier,
            {20, list().viewport()->height() - 5});

        QCOMPARE(list().currentIndex().row(), 0);
        QVERIFY(list().selectionModel()->isSelected(list().currentIndex()));
        QCOMPARE(model().selectedFile(), model().files().first());
    }

    void aControlClickSelectsLikeAnyOther()
    {
        showThreeRows();
        const auto first = list().visualRect(list().model()->index(0, 0)).center();

        QTest::mouseClick(list().viewport(), Qt::LeftButton, Qt::ControlModifier, first);

        QCOMPARE(list().selectionModel()->selectedRows().size(), 1);
    }

    void onlyAPersonChoosesARow()
    {
        showThreeRows();
        QSignalSpy chosen(&list(), &RowList::rowChosen);

        list().selectRow(2);
        list().selectRow(-1);
        showThreeRows();
        QCOMPARE(chosen.size(), 0);

        QTest::mouseClick(list().viewport(), Qt::LeftButton, Qt::NoModifier,
            list().visualRect(list().model()->index(1, 0)).center());
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(chosen.first().first().toInt(), 1);
    }

    void aMoveAcrossTheRowsWithTheButtonDownChoosesNothing()
    {
        showThreeRows();
        QSignalSpy chosen(&list(), &RowList::rowChosen);
        const auto middleOf = [&](int row) {
            return list().visualRect(list().model()->index(row, 0)).center();
        };
        QTest::mousePress(list().viewport(), Qt::LeftButton, Qt::NoModifier, middleOf(0));
        const QPointF there = middleOf(2);
        QMouseEvent move(QEvent::MouseMove, there, list().viewport()->mapToGlobal(there),
            Qt::NoButton, Qt::LeftButton, Qt::NoModifier);

        QCoreApplication::sendEvent(list().viewport(), &move);

        QCOMPARE(chosen.size(), 0);
        QCOMPARE(model().selectedFile(), model().files().first());
        QTest::mouseRelease(list().viewport(), Qt::LeftButton, Qt::NoModifier, middleOf(2));
        QCOMPARE(list().currentIndex().row(), 0);
    }

    void aGrowingListIsNeverReset()
    {
        FileListModel rows;
        const auto a = core::CoreFixture::file(u"/d/a"_s);
        const auto b = core::CoreFixture::file(u"/d/b"_s);
        const auto c = core::CoreFixture::file(u"/d/c"_s);
        const auto d = core::CoreFixture::file(u"/d/d"_s);
        rows.setFiles({a, c});
        QSignalSpy resets(&rows, &QAbstractItemModel::modelReset);
        QSignalSpy insertions(&rows, &QAbstractItemModel::rowsInserted);

        rows.setFiles({a, b, c, d});
        QCOMPARE(resets.size(), 0);
        QCOMPARE(insertions.size(), 2);
        QCOMPARE(rows.files(), core::FileList({a, b, c, d}));

        rows.setFiles({a, b, c, d});
        QCOMPARE(insertions.size(), 2);

        rows.setFiles({b, a, c, d});
        QCOMPARE(resets.size(), 1);
        rows.setFiles({b});
        QCOMPARE(resets.size(), 2);
        QCOMPARE(rows.rowOf(b), 0);
        QCOMPARE(rows.rowOf(a), -1);
    }

    void batchesOfASearchNeverResetTheList_data()
    {
        QTest::addColumn<settings::SortOption>("order");
        QTest::newRow("by relevance") << settings::SortOption::relevance;
        QTest::newRow("folders first") << settings::SortOption::foldersFirst;
    }
    void batchesOfASearchNeverResetTheList()
    {
        QFETCH(settings::SortOption, order);
        _screen->sortResults(order);
        const auto &rows = dynamic_cast<const FileListModel &>(*list().model());
        model().setSearchText(u"w"_s);
        model().beginResults(u"w"_s);
        QSignalSpy resets(&rows, &QAbstractItemModel::modelReset);

        for (int batch = 0; batch < 5; ++batch) {
            const auto name = QString::number(batch);
            model().appendFiles({core::CoreFixture::file(u"/a"_s + name),
                core::CoreFixture::folderAt(u"/f"_s + name),
                core::CoreFixture::file(u"/b"_s + name)});
            QCOMPARE(rows.files(), model().files());
            QCOMPARE(list().selectionModel()->selectedIndexes().value(0).row(), 0);
        }
        model().endResults(model().results(), u"w"_s);

        QCOMPARE(rows.files(), model().files());
        QCOMPARE(rows.files().size(), 15);
        // The first batch fills an empty list.
        QCOMPARE(resets.size(), 1);
    }

    void theWidthsOfTheLeftColumnAllHoldThePadding()
    {
        namespace metrics = ui::metrics;
        const auto *splitter = _browser->findChild<QSplitter *>();
        const auto *left = splitter->widget(0);

        QCOMPARE(left->minimumWidth() - metrics::panelPadding, 100);
        QCOMPARE(splitter->sizes().first() - metrics::panelPadding, 300);
        QCOMPARE(left->maximumWidth() - metrics::panelPadding, 700);
    }

    void aPathThatLooksLikeMarkupIsShownAsItIs()
    {
        FileListModel rows;
        rows.setFiles({core::CoreFixture::file(u"/d/R&D"_s),
            core::CoreFixture::file(u"/d/<b>bold</b> & more"_s)});

        QCOMPARE(rows.index(0).data(Qt::ToolTipRole).toString(), u"/d/R&D"_s);
        QCOMPARE(rows.index(1).data(Qt::ToolTipRole).toString(),
            u"<span>/d/&lt;b&gt;bold&lt;/b&gt; &amp; more</span>"_s);
    }

    void rowsTellNameAndPlaceInPrintableText()
    {
        FileListModel rows;
        rows.setFiles({core::CoreFixture::file(u"/d/a\xDCFF"_s)});
        const auto index = rows.index(0);

        QCOMPARE(index.data().toString(), u"a\xFFFD"_s);
        QCOMPARE(index.data(Qt::AccessibleTextRole).toString(), u"a\xFFFD, /d/a\xFFFD"_s);
        QCOMPARE(index.data(Qt::ToolTipRole).toString(), u"/d/a\xFFFD"_s);

        rows.setRowStyle(RowStyle::simple);
        QCOMPARE(index.data(Qt::AccessibleTextRole).toString(), u"a\xFFFD"_s);
        QVERIFY(index.data(Qt::ToolTipRole).isNull());
    }

    void theFieldTakesNoTextOfChords()
    {
        field().setFocus();

        send(Qt::Key_N, Qt::MetaModifier, u"n"_s);
        send(Qt::Key_X, Qt::AltModifier, u"x"_s);
        QCOMPARE(field().text(), QString());

        send(Qt::Key_N, {}, u"n"_s);
        send(Qt::Key_M, Qt::ShiftModifier, u"M"_s);
        send(Qt::Key_At, Qt::GroupSwitchModifier, u"@"_s);
        QCOMPARE(field().text(), u"nM@"_s);
    }

    void theFieldLeavesThePalettesKeyAlone()
    {
        model().setSearchText(u"abc"_s);
        field().setFocus();
        field().setCursorPosition(0);

        send(Qt::Key_K, Qt::ControlModifier);

        QCOMPARE(field().text(), u"abc"_s);
    }

    void theCaretGoesToTheEndWhenTheBoxTakesTheFocusOrIsWritten()
    {
        model().setSearchText(u"abc"_s);
        QCOMPARE(field().cursorPosition(), 3);
        field().setCursorPosition(1);

        _screen->focusOn(FocusArea::search);
        QCOMPARE(field().cursorPosition(), 3);
        QVERIFY(!field().hasSelectedText());

        field().setCursorPosition(1);
        model().setSearchText(u"/d/"_s);
        QCOMPARE(field().cursorPosition(), 3);
    }

    void theCaretStaysWhereThePersonTypes()
    {
        model().setSearchText(u"abc"_s);
        _screen->focusOn(FocusArea::search);
        field().setFocus();
        field().setCursorPosition(1);

        send(Qt::Key_X, {}, u"x"_s);

        QCOMPARE(model().searchText(), u"axbc"_s);
        QCOMPARE(field().cursorPosition(), 2);
    }

    void theTextIsSelectedWhereThatIsAsked()
    {
        model().setSearchText(u"abc"_s);
        model().setSelectSearchText(true);

        _screen->focusOn(FocusArea::search);

        QCOMPARE(field().selectedText(), u"abc"_s);
    }

    void textUnderCompositionIsNotOverwritten()
    {
        field().setFocus();
        QInputMethodEvent composing(u"ka"_s, {});
        QCoreApplication::sendEvent(&field(), &composing);

        model().setSearchText(u"/d/"_s);
        QCOMPARE(field().text(), QString());
        QVERIFY(field().isComposing());

        QInputMethodEvent end;
        QCoreApplication::sendEvent(&field(), &end);
        QCOMPARE(field().text(), u"/d/"_s);
    }

    void aCompositionThatNobodyEndsIsOverWhenTheFocusGoes()
    {
        field().setFocus();
        QInputMethodEvent composing(u"ka"_s, {});
        QCoreApplication::sendEvent(&field(), &composing);
        model().setSearchText(u"/d/"_s);

        list().setFocus();

        QVERIFY(!field().isComposing());
        QCOMPARE(field().text(), u"/d/"_s);
    }

    void theFieldKeepsCaretAndSelectionWhenItTakesTheFocus()
    {
        // Qt itself selects everything when Tab leads here.
        const auto takeFocus = [this] {
            QFocusEvent event(QEvent::FocusIn, Qt::TabFocusReason);
            QCoreApplication::sendEvent(&field(), &event);
        };
        field().setText(u"abcd"_s);
        field().setCursorPosition(1);
        takeFocus();
        QCOMPARE(field().selectedText(), QString());
        QCOMPARE(field().cursorPosition(), 1);

        field().setSelection(1, 2);
        takeFocus();
        QCOMPARE(field().selectedText(), u"bc"_s);
    }

    void theFieldShowsItsCaretWhileItHasTheFocus()
    {
        const auto pictureAfter = [this](QEvent::Type type) {
            QFocusEvent event(type, Qt::OtherFocusReason);
            QCoreApplication::sendEvent(&field(), &event);
            return field().grab().toImage();
        };

        const auto without = pictureAfter(QEvent::FocusOut);

        QVERIFY(pictureAfter(QEvent::FocusIn) != without);
    }

    void theSlotBesideTheFieldShowsSpinnerButtonOrNothing()
    {
        const auto *spinner = _search->findChild<ui::Spinner *>();
        const auto *button = _search->findChild<QWidget *>(u"clearButton"_s);
        QVERIFY(!spinner->isVisible() && !button->isVisible());

        model().setSearchText(u"a"_s);
        model().setSearchStatus(SearchStatus::searching());
        QVERIFY(spinner->isVisible() && !button->isVisible());

        model().setSearchStatus(SearchStatus::results(0));
        QVERIFY(!spinner->isVisible() && button->isVisible());
    }

    void theBoxTellsTheScreenReaderWhatWasFound()
    {
        QCOMPARE(field().accessibleName(), u"Search"_s);
        QCOMPARE(field().accessibleDescription(), QString());

        showThreeRows();
        QCOMPARE(field().accessibleDescription(), u"3 results, first: a"_s);
        showRows({core::CoreFixture::file(u"/d/x"_s)});
        QCOMPARE(field().accessibleDescription(), u"1 result, first: x"_s);
        showRows({});
        QCOMPARE(field().accessibleDescription(), u"0 results"_s);

        model().reset(core::ClearText::yes, SearchStatus::noResults());
        QCOMPARE(field().accessibleDescription(), QString());
    }

    void theRightColumnFollowsTheSelection()
    {
        _screen->disk->addFile(u"/d/folder/inside"_s);
        const auto folder = core::CoreFixture::folderAt(u"/d/folder"_s);
        const auto file = core::CoreFixture::file(u"/d/a"_s);
        auto *info = _browser->findChild<QWidget *>(u"fileDetails"_s);

        showRows({folder, file});
        QVERIFY(details().isVisible());
        QVERIFY(!info->isVisible());
        QCOMPARE(details().model()->rowCount(), 1);

        model().setSelectedFile(file);
        _screen->queue.drain();
        QVERIFY(!details().isVisible());
        QVERIFY(info->isVisible());

        model().setSelectedFile(nullptr);
        _screen->queue.drain();
        QVERIFY(!details().isVisible());
        QVERIFY(!info->isVisible());
    }

    void choosingADetailGoesDownAndTakesNoFocus()
    {
        _screen->disk->addFile(u"/d/folder/one"_s);
        _screen->disk->addFile(u"/d/folder/two"_s);
        showRows({core::CoreFixture::folderAt(u"/d/folder"_s)});
        list().setFocus();

        QTest::mouseClick(details().viewport(), Qt::LeftButton, Qt::NoModifier,
            details().visualRect(details().model()->index(1, 0)).center());
        _screen->queue.drain();

        QCOMPARE(_screen->rows(), QStringList({u"one"_s, u"two"_s}));
        QCOMPARE(model().selectedFile()->fileName, u"two"_s);
        QCOMPARE(model().searchText(), u"/d/folder/"_s);
        QVERIFY(!model().root());
        QCOMPARE(list().currentIndex().row(), 1);
        QCOMPARE(QApplication::focusWidget(), &list());
        QCOMPARE(details().focusPolicy(), Qt::NoFocus);
    }
};

QTEST_MAIN(tst_SearchWidgets)
#include "tst_SearchWidgets.moc"
