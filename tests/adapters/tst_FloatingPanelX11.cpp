// SPDX-License-Identifier: GPL-3.0-or-later
// The panel on a real X server, with a window manager and a second program.
#include "fakes/ManualTimer.h"
#include "platform/linux/x11/X11Desktop.h"
#include "shell/widgets/FloatingPanel.h"
#include "support/RunProgram.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QProcess>
#include <QScopeGuard>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>
#include <QWindow>

#include <optional>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using shell::FloatingPanel;
using support::xdotool;

namespace {

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished() ? process.readAllStandardOutput() : QByteArray();
}

/// A window of another program, which takes the keyboard when it starts.
class OtherProgram {
public:
    explicit OtherProgram(const QRect &place)
    {
        _process.start(QStringLiteral(OTHER_WINDOW),
            {QString::number(place.x()), QString::number(place.y()), QString::number(place.width()),
                QString::number(place.height())});
    }
    ~OtherProgram()
    {
        _process.kill();
        _process.waitForFinished();
    }
    bool isReady() { return _process.canReadLine() || _process.waitForReadyRead(); }

private:
    QProcess _process;
};

/// What the panel shows in these tests: a field, and background to drag it by.
class Content final : public QWidget {
public:
    Content()
    {
        auto *layout = new QVBoxLayout(this);
        field = new QLineEdit(this);
        layout->addWidget(field);
        layout->addStretch();
    }
    QSize sizeHint() const override { return {800, 500}; }
    QLineEdit *field = nullptr;
};

struct Desk {
    QStringList log;
    base::NotificationCenter notifications;
    base::MainQueue queue;
    base::EventLoopTimer timer;
    platform::NullPreviewPanel preview;
    Content *content = new Content;
    FloatingPanel panel;
    std::vector<base::NotificationCenter::Token> tokens;

    Desk()
        : panel(content,
              {notifications, queue, timer, preview, [this] { log << u"cleared"_s; },
                  [this](bool isPaused) { log << (isPaused ? u"paused"_s : u"watched"_s); },
                  [] { return true; }, {}})
    {
        panel.setTheme(ui::Theme::light());
        const auto observe = [this](const char16_t *name, const QString &entry) {
            tokens.push_back(notifications.addObserver(
                QStringView(name).toString(), nullptr, [=, this] { log << entry; }));
        };
        observe(base::Notifications::FloatingPanelDidBecomeKeyNotification, u"became key"_s);
        observe(base::Notifications::FloatingPanelDidResignKeyNotification, u"resigned key"_s);
    }
    bool present()
    {
        panel.centerOnScreen();
        panel.makeKeyAndOrderFront();
        panel.becomeKeyWindow();
        return QTest::qWaitForWindowActive(&panel) && QTest::qWaitFor([&] {
            return QGuiApplication::focusWindow() == panel.windowHandle();
        });
    }
    bool isGivenUpByWindowManager() const
    {
        const auto state =
            outputOf(u"xprop"_s, {u"-id"_s, QString::number(panel.winId()), u"WM_STATE"_s});
        return state.contains("not found") || state.contains("Withdrawn");
    }
    /// The panel itself, without the room for its shadow, in pixels of the X server.
    QRect placeOnScreen() const
    {
        const auto ratio = panel.devicePixelRatioF();
        const auto inside = panel.panelRect();
        const QByteArray text = outputOf(
            u"xdotool"_s, {u"getwindowgeometry"_s, u"--shell"_s, QString::number(panel.winId())});
        int x = 0;
        int y = 0;
        for (const auto &line : text.split('\n')) {
            if (line.startsWith("X="))
                x = line.mid(2).toInt();
            if (line.startsWith("Y="))
                y = line.mid(2).toInt();
        }
        return {x + int(inside.x() * ratio), y + int(inside.y() * ratio),
            int(inside.width() * ratio), int(inside.height() * ratio)};
    }
};

}  // namespace

class tst_FloatingPanelX11 : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void thePanelHasTheKeyboardWhenItIsShown()
    {
        Desk desk;

        QVERIFY(desk.present());

        desk.content->field->setFocus();
        xdotool({u"type"_s, u"abc"_s});
        QTRY_COMPARE(desk.content->field->text(), u"abc"_s);
        QCOMPARE(desk.log.count(u"became key"_s), 1);
    }

    void thePanelTakesTheKeyboardFromAnotherProgram()
    {
        OtherProgram other({100, 100, 300, 200});
        QVERIFY(other.isReady());
        Desk desk;

        QVERIFY(desk.present());
    }

    void anotherProgramThatTakesTheKeyboardPutsThePanelAway()
    {
        Desk desk;
        QVERIFY(desk.present());
        desk.log.clear();

        OtherProgram other({100, 100, 300, 200});
        QVERIFY(other.isReady());

        QTRY_VERIFY(!desk.panel.isVisible());
        QCOMPARE(desk.log, (QStringList{u"resigned key"_s, u"cleared"_s, u"paused"_s}));
        QVERIFY(!desk.panel.isKeyWindow());
    }

    void anotherWindowOfOursPutsThePanelAway()
    {
        Desk desk;
        QVERIFY(desk.present());
        desk.log.clear();
        QWidget settings;
        settings.resize(200, 100);

        settings.show();
        settings.activateWindow();

        QTRY_VERIFY(!desk.panel.isVisible());
        QCOMPARE(desk.log.count(u"resigned key"_s), 1);
    }

    void thePanelStandsInTheMiddleAgainAfterEachShowing()
    {
        Desk desk;
        QVERIFY(desk.present());
        const auto screen = desk.panel.screen()->geometry();
        const double ratio = desk.panel.devicePixelRatioF();
        const QPoint middle = (QPointF(screen.topLeft()) +
                               QPointF(screen.width() * ratio / 2, screen.height() * ratio / 2))
                                  .toPoint();
        QTRY_VERIFY((desk.placeOnScreen().center() - middle).manhattanLength() <= 4);
        // A busy window manager may still be placing the window and undo the first move.
        const auto isMovedAway = [&] {
            desk.panel.move(0, 0);
            return (desk.placeOnScreen().center() - middle).manhattanLength() > 4;
        };
        QTRY_VERIFY(isMovedAway());
        desk.panel.giveUpKey();
        QTRY_VERIFY(!desk.panel.isVisible());
        // A window manager that lets go of a window puts it where it last was: KWin does so even if
        // the window has asked for another place since.
        QTRY_VERIFY(desk.isGivenUpByWindowManager());

        QVERIFY(desk.present());

        QTRY_VERIFY((desk.placeOnScreen().center() - middle).manhattanLength() <= 4);
    }

    void thePanelIsInNoTaskListAndAboveAtEachShowing()
    {
        Desk desk;
        for (int i = 0; i < 2; ++i) {
            QVERIFY(desk.present());
            const auto state = [&] {
                return outputOf(u"xprop"_s,
                    {u"-id"_s, QString::number(desk.panel.winId()), u"_NET_WM_STATE"_s});
            };
            QTRY_VERIFY(state().contains("_NET_WM_STATE_SKIP_TASKBAR"));
            QVERIFY(state().contains("_NET_WM_STATE_SKIP_PAGER"));
            QVERIFY(state().contains("_NET_WM_STATE_ABOVE"));
            desk.panel.giveUpKey();
            QTRY_VERIFY(!desk.panel.isVisible());
        }
    }

    void aMenuDoesNotPutThePanelAway()
    {
        Desk desk;
        QVERIFY(desk.present());
        desk.log.clear();
        QMenu menu;
        menu.addAction(u"One"_s);

        menu.popup(desk.panel.mapToGlobal(desk.panel.panelRect().center()));
        QVERIFY(QTest::qWaitForWindowExposed(&menu));
        // Exposed does not mean that the menu has the keyboard yet: the key is pressed until the
        // menu answers, which one more press does not change in a menu of one row.
        QTRY_VERIFY((xdotool({u"key"_s, u"Down"_s}), menu.activeAction()));
        menu.close();
        xdotool({u"key"_s, u"x"_s});

        QTRY_VERIFY(desk.panel.isVisible() && desk.panel.isActiveWindow());
        QVERIFY(desk.log.isEmpty());
    }

    void draggingByTheBackgroundMovesThePanelAndKeepsIt()
    {
        Desk desk;
        QVERIFY(desk.present());
        QTRY_VERIFY(desk.placeOnScreen().x() > 0);
        const auto before = desk.placeOnScreen();
        desk.log.clear();
        const auto start = before.center();

        xdotool({u"mousemove"_s, QString::number(start.x()), QString::number(start.y()),
            u"mousedown"_s, u"1"_s});
        for (int step = 1; step <= 12; ++step) {
            QTest::qWait(20);  // style: the window manager takes the pointer over between two moves
            xdotool({u"mousemove_relative"_s, u"--"_s, u"-4"_s, u"-3"_s});
        }
        QTRY_VERIFY(desk.placeOnScreen().x() < before.x());
        // A loss of the keyboard would be told a tenth of a second later.
        QTest::qWait(300);  // style: nothing must happen now, and nothing announces itself
        xdotool({u"mouseup"_s, u"1"_s});

        QTRY_VERIFY(desk.panel.isActiveWindow());
        QVERIFY(desk.panel.isVisible());
        QVERIFY(desk.log.isEmpty());
    }

    void aPressOutsideThePanelsEdgePutsItAway()
    {
        if (!platform::isComposited()) {
            // Nothing is outside the edge: the window ends there.
            Desk desk;
            QVERIFY(desk.present());
            QCOMPARE(desk.panel.panelRect(), desk.panel.rect());
            QVERIFY(!desk.panel.mask().isEmpty());
            return;
        }
        Desk desk;
        QVERIFY(desk.present());
        QVERIFY(desk.panel.mask().isEmpty());
        if (desk.panel.panelRect() == desk.panel.rect())
            return;  // a screen so small that no room is left

        QTest::mouseClick(&desk.panel, Qt::LeftButton, {}, QPoint(desk.panel.width() / 2, 2));

        QVERIFY(!desk.panel.isVisible());
    }

    void theBlurIsAskedForAsLongAsItIsAnnounced()
    {
        const auto name = u"_KDE_NET_WM_BLUR_BEHIND_REGION"_s;
        const auto announce = [&] {
            outputOf(u"xprop"_s, {u"-root"_s, u"-f"_s, name, u"32c"_s, u"-set"_s, name, u"0"_s});
        };
        const auto takeBack = [&] { outputOf(u"xprop"_s, {u"-root"_s, u"-remove"_s, name}); };
        announce();
        const auto atTheEnd = qScopeGuard(takeBack);
        Desk desk;
        QSignalSpy changes(&desk.panel, &FloatingPanel::blurChanged);
        QVERIFY(desk.panel.isBlurred());
        QVERIFY(desk.present());
        const auto region = [&] {
            const auto text =
                outputOf(u"xprop"_s, {u"-id"_s, QString::number(desk.panel.winId()), name});
            QList<int> numbers;
            for (const auto &number : text.mid(text.indexOf('=') + 1).split(','))
                numbers.append(number.trimmed().toInt());
            return text.contains('=') ? numbers : QList<int>();
        };
        const auto whole = [&] {
            QRect bounds;
            const auto numbers = region();
            for (qsizetype i = 0; i + 3 < numbers.size(); i += 4)
                bounds |= QRect(numbers[i], numbers[i + 1], numbers[i + 2], numbers[i + 3]);
            return bounds;
        };
        const double ratio = desk.panel.devicePixelRatioF();
        const auto inside = desk.panel.panelRect();
        QTRY_COMPARE(whole(), QRectF(inside.x() * ratio, inside.y() * ratio, inside.width() * ratio,
                                  inside.height() * ratio)
                                  .toRect());
        QVERIFY(region().size() > 4);  // without the corners it is no single rectangle

        takeBack();
        QTRY_VERIFY(!desk.panel.isBlurred());
        QTRY_VERIFY(region().isEmpty());
        announce();
        QTRY_VERIFY(desk.panel.isBlurred());
        QTRY_VERIFY(!region().isEmpty());
        QCOMPARE(changes.size(), 2);
    }

    void onlyUnderACompositorIsTheWholeWindowATraceTranslucent()
    {
        Desk desk;
        QVERIFY(desk.present());

        const auto opacity = [&] {
            return outputOf(u"xprop"_s,
                {u"-id"_s, QString::number(desk.panel.winId()), u"_NET_WM_WINDOW_OPACITY"_s});
        };
        if (!platform::isComposited()) {
            QVERIFY(!opacity().contains('='));
            return;
        }
        const auto share =
            opacity().mid(opacity().indexOf('=') + 1).trimmed().toDouble() / 0xFFFFFFFFu;
        QCOMPARE(qRound(share * 100), 99);
    }

    void thePanelIsNoLargerThanItsScreen()
    {
        Desk desk;
        QVERIFY(desk.present());

        const auto screen = desk.panel.screen()->geometry().size();
        QVERIFY(desk.panel.width() <= screen.width());
        QVERIFY(desk.panel.height() <= screen.height());
        QCOMPARE(desk.panel.panelRect().size(), QSize(800, 500).boundedTo(screen));
    }

    void thePanelComesUpOnTheScreenOfTheActiveWindow()
    {
        if (QGuiApplication::screens().size() < 2) {
            outputOf(
                u"xrandr"_s, {u"--setmonitor"_s, u"left"_s, u"800/200x900/200+0+0"_s, u"screen"_s});
            outputOf(u"xrandr"_s,
                {u"--setmonitor"_s, u"right"_s, u"800/200x900/200+800+0"_s, u"none"_s});
            QTRY_COMPARE(QGuiApplication::screens().size(), 2);
        }
        for (auto *screen : QGuiApplication::screens()) {
            const auto area = screen->geometry();
            OtherProgram other({area.x() + 100, area.y() + 100, 200, 100});
            QVERIFY(other.isReady());

            QTRY_COMPARE(platform::mainScreen(), screen);
        }
    }
};

QTEST_MAIN(tst_FloatingPanelX11)
#include "tst_FloatingPanelX11.moc"
