// SPDX-License-Identifier: GPL-3.0-or-later
#include "ScreenFixture.h"

#include <QSignalSpy>
#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::screens;
using namespace Qt::StringLiterals;
using core::ResultType;
using core::SearchStatus;
using keyboard::FocusArea;
namespace Flags = base::ModifierFlags;
namespace KeyCode = base::KeyCode;

class TestFileBrowserView : public QObject {
    Q_OBJECT

    std::unique_ptr<ScreenFixture> _screen;
    core::FileBrowserModel &model() { return *_screen->model; }

    /// A folder with two files and a folder inside, then a file, as results; the focus in the list.
    void showFolderAndFile()
    {
        _screen->disk->addFile(u"/a/folder/inner/deep.txt"_s);
        _screen->disk->addFile(u"/a/folder/one.txt"_s);
        _screen->disk->addFile(u"/a/folder/two.txt"_s);
        model().setSearchText(u"o"_s);
        model().showFiles(
            {core::CoreFixture::folderAt(u"/a/folder"_s), core::CoreFixture::file(u"/a/o.txt"_s)},
            ResultType::search);
        _screen->focusOn(FocusArea::results);
        QTRY_COMPARE(model().details().size(), 3);
    }

private Q_SLOTS:
    void init() { _screen = std::make_unique<ScreenFixture>(); }
    void cleanup() { _screen.reset(); }

    void theColumnsFollowTheStateOfTheModel()
    {
        const auto top = describeBrowser({true, ResultType::search, std::nullopt});
        QCOMPARE(top.leftRows, RowStyle::withPath);
        QCOMPARE(top.right, DetailKind::nothing);
        QVERIFY(!top.canMoveRows);

        const auto folder = describeBrowser({false, ResultType::search, true});
        QCOMPARE(folder.leftRows, RowStyle::simple);
        QCOMPARE(folder.right, DetailKind::folderContents);

        const auto favorites = describeBrowser({true, ResultType::favorites, false});
        QCOMPARE(favorites.right, DetailKind::fileDetails);
        QVERIFY(favorites.canMoveRows);
    }

    void tabOnAFolderGoesDownAndMovesToTheBoxWithoutASearch()
    {
        showFolderAndFile();

        QVERIFY(_screen->press(KeyCode::tab));
        QTRY_COMPARE(_screen->rows(), (QStringList{u"inner"_s, u"one.txt"_s, u"two.txt"_s}));
        _screen->letThePausePass();

        QCOMPARE(_screen->focus.area(), FocusArea::search);
        QCOMPARE(model().searchText(), u"/a/folder/"_s);
        QVERIFY(!model().root());
        QVERIFY(!model().selectSearchText());
        QVERIFY(!_screen->service.searchTask);
    }

    void tabOnAFileMovesToTheBoxAllTheSame()
    {
        showFolderAndFile();
        model().selectNext();
        _screen->queue.drain();
        QTRY_VERIFY(model().details().isEmpty());

        QVERIFY(_screen->press(KeyCode::tab));

        QCOMPARE(_screen->focus.area(), FocusArea::search);
        QVERIFY(model().root());
    }

    void shiftTabAtTheTopGoesHomeWithTheFocusInTheBox()
    {
        showFolderAndFile();

        QVERIFY(_screen->press(KeyCode::tab, Flags::shift));

        QCOMPARE(model().searchStatus(), SearchStatus::noResults());
        QCOMPARE(model().searchText(), QString());
        QCOMPARE(_screen->focus.area(), FocusArea::search);
    }

    void rightGoesDownAndLeftComesBackToTheRow()
    {
        showFolderAndFile();
        const auto folder = model().selectedFile();

        QVERIFY(_screen->press(KeyCode::right));
        QTRY_COMPARE(model().files().size(), 3);
        QVERIFY(_screen->press(KeyCode::left));

        QCOMPARE(model().selectedFile(), folder);
        QCOMPARE(model().searchText(), u"o"_s);
        QVERIFY(model().root());
    }

    void upOnTheFirstRowGoesToTheBoxWithItsTextSelected()
    {
        showFolderAndFile();

        QVERIFY(_screen->press(KeyCode::up));

        QVERIFY(model().selectSearchText());
        QCOMPARE(_screen->focus.area(), FocusArea::search);
    }

    void upOnAnotherRowIsTheListsOwn()
    {
        showFolderAndFile();
        model().selectNext();

        QVERIFY(!_screen->press(KeyCode::up));
        QVERIFY(!_screen->press(KeyCode::down));
        QCOMPARE(_screen->focus.area(), FocusArea::results);
    }

    void upInTheBoxComesIntoTheListUnlessTheFirstRowIsSelected()
    {
        showFolderAndFile();
        _screen->focusOn(FocusArea::search);

        QVERIFY(_screen->press(KeyCode::up));
        QCOMPARE(_screen->focus.area(), FocusArea::search);

        model().selectNext();
        QVERIFY(_screen->press(KeyCode::up));
        QCOMPARE(_screen->focus.area(), FocusArea::results);
    }

    void aLetterOrDigitInTheListSearchesAtOnce_data()
    {
        QTest::addColumn<QString>("characters");
        QTest::newRow("letter") << u"x"_s;
        QTest::newRow("accented letter") << u"é"_s;
        QTest::newRow("digit") << u"7"_s;
        QTest::newRow("cyrillic letter") << u"ж"_s;
        QTest::newRow("arabic digit") << u"٣"_s;
        QTest::newRow("letter beyond the basic plane") << u"𐐀"_s;
        QTest::newRow("digit beyond the basic plane") << u"𝟗"_s;
    }
    void aLetterOrDigitInTheListSearchesAtOnce()
    {
        QFETCH(QString, characters);
        showFolderAndFile();

        QVERIFY(_screen->press(KeyCode::t, 0, characters));
        _screen->letThePausePass();

        QCOMPARE(model().searchText(), u"o"_s + characters);
        QCOMPARE(_screen->focus.area(), FocusArea::search);
        QCOMPARE(_screen->index.startCount, 1);
        QCOMPARE(_screen->index.predicate.anyOf.first().text, u"o"_s + characters);
    }

    void otherCharactersAndChordsStartNothing()
    {
        showFolderAndFile();

        QVERIFY(!_screen->press(KeyCode::t, 0, u","_s));
        QVERIFY(!_screen->press(KeyCode::t, 0, u"²"_s));
        QVERIFY(!_screen->press(KeyCode::t, 0, u"½"_s));
        QVERIFY(!_screen->press(KeyCode::t, 0, u"🄀"_s));
        QVERIFY(!_screen->press(KeyCode::t, 0, QString()));
        QVERIFY(!_screen->press(KeyCode::t, Flags::shift, u"T"_s));
        QVERIFY(!_screen->press(KeyCode::t, Flags::option, u"t"_s));
        QVERIFY(!_screen->press(KeyCode::escape, 0, u"\x1b"_s));

        QCOMPARE(model().searchText(), u"o"_s);
    }

    void returnOpensAndCommandReturnReveals()
    {
        showFolderAndFile();

        QVERIFY(_screen->press(KeyCode::returnKey));
        QVERIFY(_screen->press(KeyCode::keypadEnter, Flags::command));

        QCOMPARE(_screen->workspace.opened, QStringList{u"/a/folder"_s});
        QCOMPARE(_screen->workspace.selected.size(), 1);
    }

    void closingWindowsIsForListsOfWindowsAlone()
    {
        showFolderAndFile();
        _screen->finderManager.windows = {u"/w/one"_s, u"/w/two"_s, u"/w/three"_s};

        QVERIFY(!_screen->press(KeyCode::w, Flags::command, u"w"_s));
        QCOMPARE(_screen->finderManager.windows.size(), 3);
        QCOMPARE(_screen->rows().size(), 2);
    }

    void closingWindowsIsForTheRowsOfWindowsAlone()
    {
        const auto closingKeys = {Flags::command, Flags::command | Flags::shift};
        _screen->disk->addFile(u"/w/one/inner/deep.txt"_s);
        _screen->finderManager.windows = {u"/w/one"_s, u"/w/file"_s};
        model().showFiles(
            {core::CoreFixture::file(u"/w/file"_s), core::CoreFixture::folderAt(u"/w/one"_s)},
            ResultType::browseFinderWindows);
        _screen->focusOn(FocusArea::results);
        for (const auto modifiers : closingKeys)
            QVERIFY(!_screen->press(KeyCode::w, modifiers, u"w"_s));

        model().selectNext();
        _screen->queue.drain();
        QVERIFY(_screen->press(KeyCode::right));
        QTRY_COMPARE(_screen->rows(), QStringList{u"inner"_s});
        QVERIFY(model().selectedFile()->isDirectory);
        for (const auto modifiers : closingKeys)
            QVERIFY(!_screen->press(KeyCode::w, modifiers, u"w"_s));

        QCOMPARE(_screen->finderManager.windows.size(), 2);
        QCOMPARE(_screen->rows(), QStringList{u"inner"_s});
    }

    void commandWClosesTheWindowOfTheRowAndWithShiftAll()
    {
        _screen->finderManager.windows = {u"/w/one"_s, u"/w/two"_s, u"/w/three"_s};
        model().showFiles(
            _screen->finderManager.getFinderWindows(), ResultType::browseFinderWindows);
        _screen->focusOn(FocusArea::results);

        QVERIFY(_screen->press(KeyCode::w, Flags::command, u"w"_s));
        QCOMPARE(_screen->rows(), (QStringList{u"two"_s, u"three"_s}));
        QCOMPARE(model().resultType(), ResultType::browseFinderWindows);

        QVERIFY(_screen->press(KeyCode::w, Flags::command | Flags::shift, u"W"_s));
        QVERIFY(_screen->rows().isEmpty());
        QCOMPARE(model().searchStatus(), SearchStatus::results(0));
    }

    void theFavoriteKeyAddsAndInTheFavoritesListRemovesAtOnce()
    {
        _screen->disk->addFile(u"/a/o.txt"_s);
        model().showFiles({core::CoreFixture::file(u"/a/o.txt"_s)}, ResultType::search);
        _screen->focusOn(FocusArea::results);
        const auto favoriteKey = Flags::command | Flags::control;

        QVERIFY(_screen->press(KeyCode::t, favoriteKey));
        QCOMPARE(model().favorites().size(), 1);

        model().showFiles({core::CoreFixture::file(u"/a/o.txt"_s)}, ResultType::favorites);
        _screen->queue.drain();
        QVERIFY(_screen->press(KeyCode::t, favoriteKey));

        QVERIFY(model().favorites().isEmpty());
        QVERIFY(_screen->rows().isEmpty());
    }

    void whileThePreviewIsVisibleReturnIsNotHandledHereAndOptionArrowsWalk()
    {
        showFolderAndFile();
        _screen->previewHost.manager.isShown = true;

        QVERIFY(!_screen->press(KeyCode::returnKey));
        QVERIFY(!_screen->press(KeyCode::right));
        QVERIFY(_screen->workspace.opened.isEmpty());

        QVERIFY(_screen->press(KeyCode::down, Flags::option));
        QCOMPARE(model().selectedFile()->fileName, u"o.txt"_s);
        QVERIFY(_screen->press(KeyCode::up, Flags::option));
        QTRY_COMPARE(model().details().size(), 3);
        QVERIFY(_screen->press(KeyCode::right, Flags::option));
        QTRY_VERIFY(!model().root());
        QVERIFY(_screen->press(KeyCode::left, Flags::option));
        QVERIFY(model().root());
    }

    void aNewSelectionIsBroughtIntoViewAfterTheListHasChanged()
    {
        showFolderAndFile();
        QSignalSpy scrolls(&_screen->browser, &FileBrowserView::scrollToSelectionRequested);

        model().selectNext();
        QCOMPARE(scrolls.count(), 0);
        _screen->queue.drain();

        QCOMPARE(scrolls.count(), 1);
    }

    void theLocksOfTheKeyboardChangeNothing()
    {
        showFolderAndFile();
        const auto locks = Flags::capsLock | Flags::numericPad | Flags::function;

        QVERIFY(_screen->press(KeyCode::returnKey, locks));
        QCOMPARE(_screen->workspace.opened, QStringList{u"/a/folder"_s});
        QVERIFY(_screen->press(KeyCode::right, locks));
        QTRY_VERIFY(!model().root());
        QVERIFY(_screen->press(KeyCode::left, locks));
        QVERIFY(model().root());
        QVERIFY(_screen->press(KeyCode::up, locks));
        QCOMPARE(_screen->focus.area(), FocusArea::search);

        _screen->focusOn(FocusArea::results);
        QVERIFY(_screen->press(KeyCode::t, Flags::capsLock, u"X"_s));
        QCOMPARE(model().searchText(), u"oX"_s);
    }

    void leavingThePanelGivesUpTheFocus()
    {
        showFolderAndFile();

        _screen->browser.disappear();

        QVERIFY(!_screen->focus.area());
        QVERIFY(!_screen->monitor.focusedHandler());
    }
};

QTEST_GUILESS_MAIN(TestFileBrowserView)
#include "tst_FileBrowserView.moc"
