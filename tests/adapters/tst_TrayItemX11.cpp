// SPDX-License-Identifier: GPL-3.0-or-later
// The item in a real X11 tray, with a real pointer. The menu is ours here.
#include "TrayFixture.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QProcess>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::shell;
using namespace Qt::StringLiterals;

namespace {

constexpr int cellPx = 24;

/// The tray of the desktop, a process of its own.
class Tray {
public:
    Tray()
    {
        _process.setProcessChannelMode(QProcess::MergedChannels);
        _process.start(u"trayer"_s,
            {u"--edge"_s, u"bottom"_s, u"--align"_s, u"center"_s, u"--widthtype"_s, u"request"_s,
                u"--heighttype"_s, u"pixel"_s, u"--height"_s, QString::number(cellPx)});
    }
    ~Tray()
    {
        _process.kill();
        _process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Tray)

private:
    QProcess _process;
};

/// Without waiting for the pointer to move: it may stand there already.
void point(const QPoint &place, const QStringList &action)
{
    QProcess::execute(u"xdotool"_s,
        QStringList{u"mousemove"_s, QString::number(place.x()), QString::number(place.y())} +
            action);
}

/// The window that the toolkit has put into the tray; null while there is none.
QWidget *itemWindow()
{
    for (auto *widget : QApplication::topLevelWidgets()) {
        if (widget->inherits("QSystemTrayIconSys") && widget->isVisible() &&
            widget->width() >= cellPx / 2)
            return widget;
    }
    return nullptr;
}

QMenu *openMenu()
{
    return qobject_cast<QMenu *>(QApplication::activePopupWidget());
}

}  // namespace

class tst_TrayItemX11 : public QObject {
    Q_OBJECT

    std::unique_ptr<Tray> _tray;
    std::unique_ptr<TrayFixture> _fixture;

    /// Where the item has come to rest: the tray moves and resizes what it takes in. Clicks
    /// `button` there until `isDone`; the first click can come while the tray still arranges its
    /// items.
    void clickItem(int button, const std::function<bool()> &isDone)
    {
        for (int attempt = 0; attempt < 10; ++attempt) {
            QTRY_VERIFY(itemWindow());
            auto *window = itemWindow();
            point(window->mapToGlobal(window->rect().center()),
                {u"click"_s, QString::number(button)});
            if (QTest::qWaitFor(isDone, 1000))
                return;
        }
        QFAIL("no click reached the item");
    }

    void openTheMenu()
    {
        clickItem(3, [] { return openMenu() != nullptr; });
    }

    void choose(const QString &text)
    {
        auto *menu = openMenu();
        QVERIFY(menu);
        for (const auto *action : menu->actions()) {
            if (action->text() != text)
                continue;
            auto *entry = const_cast<QAction *>(action);
            const auto place = menu->mapToGlobal(menu->actionGeometry(entry).center());
            // The pointer must have moved over the menu before a release counts there.
            point(place - QPoint(3, 0), {});
            point(place, {});
            QTRY_COMPARE(menu->activeAction(), entry);
            point(place, {u"click"_s, u"1"_s});
        }
        QTRY_VERIFY(!openMenu());
    }

private Q_SLOTS:
    void init()
    {
        _tray = std::make_unique<Tray>();
        _fixture = std::make_unique<TrayFixture>();
        QTRY_VERIFY(itemWindow());
    }
    void cleanup()
    {
        if (auto *menu = openMenu())
            menu->close();
        _fixture.reset();
        _tray.reset();
    }

    void theItemAppearsInItsCell()
    {
        QVERIFY(_fixture->item.isShown());
        QTRY_VERIFY(itemWindow() && itemWindow()->height() <= cellPx);
    }

    void theOtherButtonOpensTheMenu()
    {
        openTheMenu();

        QCOMPARE(_fixture->menuEvents, QStringList{u"begin"_s});
        QCOMPARE(openMenu()->actions().size(), 9);
        QProcess::execute(u"xdotool"_s, {u"key"_s, u"Escape"_s});
        QTRY_VERIFY(!openMenu());
        QCOMPARE(_fixture->menuEvents, (QStringList{u"begin"_s, u"end"_s}));
        QCOMPARE(_fixture->done, QStringList());
    }

    void aRowIsChosenWithThePointer_data()
    {
        QTest::addColumn<QString>("row");
        QTest::addColumn<QString>("done");
        QTest::newRow("open") << u"Open Vellumhound"_s << u"present"_s;
        QTest::newRow("settings") << u"Settings"_s << u"tab 0"_s;
        QTest::newRow("update") << u"Update Available"_s << u"check"_s;
        QTest::newRow("about") << u"About Vellumhound"_s << u"tab 5"_s;
        QTest::newRow("quit") << u"Quit"_s << u"terminate"_s;
    }
    void aRowIsChosenWithThePointer()
    {
        QFETCH(QString, row);
        QFETCH(QString, done);
        _fixture->state.updateAvailable = true;
        openTheMenu();

        choose(row);

        QTRY_COMPARE(_fixture->done, QStringList{done});
        QCOMPARE(_fixture->menuEvents, (QStringList{u"begin"_s, u"end"_s}));
    }

    void aClickPresentsThePanel()
    {
        clickItem(1, [this] { return !_fixture->done.isEmpty(); });

        QCOMPARE(_fixture->done.constFirst(), u"present"_s);
        QCOMPARE(openMenu(), nullptr);
        QCOMPARE(_fixture->menuEvents, QStringList());
    }

    void theSettingTakesTheItemAwayAndBringsItBack()
    {
        _fixture->settings.setShowMenuBarIcon(false);
        QVERIFY(!_fixture->item.isShown());
        QCOMPARE(itemWindow(), nullptr);

        _fixture->settings.setShowMenuBarIcon(true);

        QTRY_VERIFY(itemWindow());
        openTheMenu();
        choose(u"Quit"_s);
        QTRY_COMPARE(_fixture->done, QStringList{u"terminate"_s});
    }

    void anOpenMenuGoesWithTheItem()
    {
        openTheMenu();

        _fixture->settings.setShowMenuBarIcon(false);

        QTRY_VERIFY(!openMenu());
        QCOMPARE(_fixture->menuEvents, (QStringList{u"begin"_s, u"end"_s}));
    }

    void aTrayThatComesAgainGetsTheItemAgain()
    {
        _tray.reset();
        QTRY_COMPARE(itemWindow(), nullptr);

        _tray = std::make_unique<Tray>();

        QTRY_VERIFY(itemWindow());
        openTheMenu();
        QCOMPARE(_fixture->menuEvents, QStringList{u"begin"_s});
    }
};

QTEST_MAIN(tst_TrayItemX11)
#include "tst_TrayItemX11.moc"
