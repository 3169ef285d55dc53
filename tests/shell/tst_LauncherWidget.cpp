// SPDX-License-Identifier: GPL-3.0-or-later
#include "LauncherFixture.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "shell/widgets/LauncherWidget.h"
#include "shell/widgets/PanelKeyFilter.h"

#include <QApplication>
#include <QMenu>
#include <QSignalSpy>
#include <QtTest>
#include <QWindow>

using namespace vellumhound;
using namespace vellumhound::shell;
using namespace Qt::StringLiterals;
using core::SearchStatus;
using keyboard::FocusArea;
namespace KeyCode = base::KeyCode;
namespace Flags = base::ModifierFlags;

namespace {

/// The panel's content in a window of its own, with keys that come in as in the running program.
class WidgetFixture : public LauncherFixture {
public:
    WidgetFixture()
    {
        widget.show();
        widget.activateWindow();
        filter.watch(&widget);
        filter.addLocalMonitor([this](const base::KeyEvent &event) { return keys.press(event); });
        const bool isActive = QTest::qWaitForWindowActive(&widget);
        Q_ASSERT(isActive);
        Q_UNUSED(isActive);
        queue.drain();
    }

    void send(int key, Qt::KeyboardModifiers modifiers = {}, const QString &text = {})
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, 0, 0, 0, text);
        QCoreApplication::sendEvent(widget.windowHandle(), &event);
        queue.drain();
    }
    template <class T> T *find(const QString &name) { return widget.findChild<T *>(name); }
    QString focusName() const
    {
        const auto *focus = QApplication::focusWidget();
        return focus ? focus->objectName() : u"nothing"_s;
    }

    platform::KeyTranslator translator{platform::KeyboardLayout::ofSession()};
    keyboard::KeyEquivalents equivalents;
    PanelKeyFilter filter{translator, equivalents};
    LauncherWidget widget{view, equivalents};
};

}  // namespace

class tst_LauncherWidget : public QObject {
    Q_OBJECT

    std::unique_ptr<WidgetFixture> _panel;

    core::FileBrowserModel &model() { return _panel->view.model(); }
    QLineEdit &field() { return *_panel->find<QLineEdit>(u"searchField"_s); }
    void focusOn(FocusArea area)
    {
        _panel->view.focusedArea().setArea(area);
        _panel->queue.drain();
    }
    void showRows(int count)
    {
        core::FileList files;
        for (int i = 0; i < count; ++i)
            files.append(core::CoreFixture::file(u"/d/row%1"_s.arg(i)));
        model().showFiles(files, core::ResultType::search);
        _panel->queue.drain();
    }

private Q_SLOTS:
    void init()
    {
        _panel = std::make_unique<WidgetFixture>();
        focusOn(FocusArea::search);
    }
    void cleanup() { _panel.reset(); }

    void theToolkitsFocusFollowsTheState()
    {
        QCOMPARE(_panel->focusName(), u"searchField"_s);

        focusOn(FocusArea::results);
        QCOMPARE(_panel->focusName(), u"homeList"_s);

        showRows(2);
        QCOMPARE(_panel->focusName(), u"resultsList"_s);

        focusOn(FocusArea::search);
        QCOMPARE(_panel->focusName(), u"searchField"_s);
    }

    void theNewPageHasTheFocusBeforeTheOldOneHides()
    {
        showRows(1);
        focusOn(FocusArea::results);
        QStringList path;
        const QObject context;  // nothing is noted once the test is over
        connect(qApp, &QApplication::focusChanged, &context,
            [&](QWidget *, QWidget *now) { path.append(now ? now->objectName() : u"nothing"_s); });

        model().reset(core::ClearText::yes, SearchStatus::noResults());
        _panel->queue.drain();

        QCOMPARE(path, QStringList({u"homeList"_s, u"searchField"_s}));
    }

    void aClickIntoListOrFieldWritesTheState()
    {
        showRows(2);
        focusOn(FocusArea::search);
        auto *list = _panel->find<ui::RowList>(u"resultsList"_s);

        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
            list->visualRect(list->model()->index(1, 0)).center());
        _panel->queue.drain();
        QCOMPARE(_panel->view.focusedArea().area(), FocusArea::results);
        QCOMPARE(model().selectedFile(), model().files().last());

        QTest::mouseClick(&field(), Qt::LeftButton);
        _panel->queue.drain();
        QCOMPARE(_panel->view.focusedArea().area(), FocusArea::search);
    }

    void aTabThatNobodyTookDoesNothing()
    {
        for (const auto area : {FocusArea::search, FocusArea::results}) {
            focusOn(area);
            const auto before = _panel->focusName();

            _panel->send(Qt::Key_Tab, {}, u"\t"_s);
            _panel->send(Qt::Key_Backtab, Qt::ShiftModifier);

            QCOMPARE(_panel->focusName(), before);
            QCOMPARE(_panel->view.focusedArea().area(), area);
        }
        QCOMPARE(field().text(), QString());
    }

    void anEscapeThatHasNothingToClearPutsThePanelAway()
    {
        QSignalSpy escapes(&_panel->widget, &LauncherWidget::escapeNotTaken);
        for (const auto area : {FocusArea::search, FocusArea::results}) {
            focusOn(area);
            _panel->send(Qt::Key_Escape);
        }
        QCOMPARE(escapes.size(), 2);

        // With something to clear, the clear button's key comes first.
        model().setSearchText(u"abc"_s);
        _panel->send(Qt::Key_Escape);
        QCOMPARE(escapes.size(), 2);
        QCOMPARE(model().searchText(), QString());

        // The spinner has taken the button's place.
        model().setSearchText(u"abc"_s);
        model().setSearchStatus(SearchStatus::searching());
        _panel->send(Qt::Key_Escape);
        QCOMPARE(escapes.size(), 3);
        QCOMPARE(model().searchText(), u"abc"_s);
    }

    void escapeWithAModifierDoesNothing()
    {
        QSignalSpy escapes(&_panel->widget, &LauncherWidget::escapeNotTaken);
        for (const auto *text : {u"", u"abc"}) {
            model().setSearchText(QString::fromUtf16(text));
            _panel->send(Qt::Key_Escape, Qt::ShiftModifier);
            QCOMPARE(model().searchText(), QString::fromUtf16(text));
        }
        QCOMPARE(escapes.size(), 0);
    }

    void theClearKeyIsNotForAPanelThatIsHidden()
    {
        base::KeyEvent escape;
        escape.keyCode = KeyCode::escape;
        model().setSearchText(u"abc"_s);
        _panel->widget.hide();

        QVERIFY(!_panel->equivalents.perform(escape));

        QCOMPARE(model().searchText(), u"abc"_s);
    }

    void aLetterGoesIntoTheFieldOnce()
    {
        _panel->send(Qt::Key_A, {}, u"a"_s);

        QCOMPARE(field().text(), u"a"_s);
        QCOMPARE(model().searchText(), u"a"_s);
    }

    void aLetterInTheListMovesToTheFieldAndStandsThereOnce()
    {
        showRows(2);
        focusOn(FocusArea::results);

        _panel->send(Qt::Key_A, {}, u"a"_s);

        QCOMPARE(field().text(), u"a"_s);
        QCOMPARE(_panel->focusName(), u"searchField"_s);
        QVERIFY(!field().hasSelectedText());
    }

    void aConsumedKeyReachesNothingElse()
    {
        showRows(3);
        focusOn(FocusArea::search);

        _panel->send(Qt::Key_Down);

        // The key moved the focus and did not move the list's row as well.
        QCOMPARE(_panel->focusName(), u"resultsList"_s);
        QCOMPARE(model().selectedFile(), model().files().first());
        _panel->send(Qt::Key_Down);
        QCOMPARE(model().selectedFile(), model().files().at(1));
    }

    void keyEquivalentsGetOnlyWhatTheHandlersPassed()
    {
        showRows(1);
        int presses = 0;
        const auto equivalent = _panel->equivalents.add(
            {{}, KeyCode::returnKey, 0}, [] { return true; }, [&] { ++presses; });

        _panel->send(Qt::Key_Return, {}, u"\r"_s);
        QCOMPARE(presses, 0);
        QCOMPARE(_panel->workspace.opened, QStringList(u"/d/row0"_s));

        model().setSelectedFile(nullptr);
        _panel->send(Qt::Key_Return, {}, u"\r"_s);
        QCOMPARE(presses, 1);
    }

    void editsOfTheFocusedFieldComeBeforeEveryHandler()
    {
        int presses = 0;
        const auto equivalent = _panel->equivalents.add(
            {u"a"_s, KeyCode::unknown, Flags::command}, [] { return true; }, [&] { ++presses; });
        model().setSearchText(u"abc"_s);

        _panel->send(Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(field().selectedText(), u"abc"_s);
        QCOMPARE(presses, 0);

        focusOn(FocusArea::results);
        _panel->send(Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(presses, 1);
    }

    void controlYIsThePreviewsKeyInTheFieldAndNeverRedo()
    {
        showRows(1);
        focusOn(FocusArea::search);

        _panel->send(Qt::Key_Y, Qt::ControlModifier);

        QCOMPARE(_panel->previewHost.manager.calls.value(0), u"show row0"_s);
    }

    void whileAMenuIsOpenTheHandlersSeeNothing()
    {
        showRows(1);
        QMenu menu(&_panel->widget);
        menu.addAction(u"x"_s);
        menu.popup({0, 0});
        QVERIFY(QApplication::activePopupWidget());

        _panel->send(Qt::Key_Down);
        _panel->send(Qt::Key_Return, {}, u"\r"_s);

        QCOMPARE(_panel->view.focusedArea().area(), FocusArea::search);
        QCOMPARE(_panel->workspace.opened, QStringList());
        menu.close();
    }

    void whilePausedKeysGoToTheFocusedWidgetAlone()
    {
        showRows(1);
        _panel->monitor.setMonitoringPaused(true);

        _panel->send(Qt::Key_Return, {}, u"\r"_s);
        _panel->send(Qt::Key_B, {}, u"b"_s);

        QCOMPARE(_panel->workspace.opened, QStringList());
        QCOMPARE(field().text(), u"b"_s);
    }

    void theFilterFollowsToANewNativeWindow()
    {
        _panel->widget.hide();
        _panel->widget.setWindowFlag(Qt::WindowStaysOnTopHint);
        _panel->widget.show();
        QVERIFY(QTest::qWaitForWindowActive(&_panel->widget));
        showRows(1);

        _panel->send(Qt::Key_Return, {}, u"\r"_s);

        QCOMPARE(_panel->workspace.opened, QStringList(u"/d/row0"_s));
    }

    void commandFSelectsTheWholeText()
    {
        model().setSearchText(u"abc"_s);

        _panel->send(Qt::Key_F, Qt::ControlModifier);

        QCOMPARE(field().selectedText(), u"abc"_s);
        QCOMPARE(_panel->focusName(), u"searchField"_s);
    }

    void everyControlHasANameForTheScreenReader()
    {
        for (const auto *control : _panel->widget.findChildren<QWidget *>()) {
            const bool isControl = qobject_cast<const QAbstractButton *>(control) ||
                                   qobject_cast<const QLineEdit *>(control) ||
                                   qobject_cast<const QAbstractItemView *>(control);
            if (!isControl)
                continue;
            QVERIFY2(!control->accessibleName().isEmpty(), qPrintable(control->objectName()));
            QVERIFY2(!control->objectName().isEmpty(), qPrintable(control->accessibleName()));
        }
    }
};

QTEST_MAIN(tst_LauncherWidget)
#include "tst_LauncherWidget.moc"
