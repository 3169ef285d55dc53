// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/wayland/LayerShell.h"

#include <QApplication>
#include <QDialog>
#include <QImage>
#include <QMenu>
#include <QProcess>
#include <QScreen>
#include <QTest>
#include <QWindow>

#include <functional>

using namespace vellumhound::platform;
using namespace Qt::StringLiterals;

namespace {

/// A panel as the launcher's is to the layer-shell.
class Panel final : public QWidget {
public:
    Panel()
        : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint)
    {
        setFixedSize(400, 300);
        winId();
        layerShell->setPanel(windowHandle());
    }
    ~Panel() override { layerShell->setPanel(nullptr); }
    Q_DISABLE_COPY_MOVE(Panel)

    void present()
    {
        show();
        layerShell->placePanel();
    }
    bool hasKeyboard() const { return QGuiApplication::focusWindow() == windowHandle(); }

    std::unique_ptr<LayerShell> layerShell = LayerShell::create({});
};

void paint(QWidget &widget, Qt::GlobalColor colour)
{
    widget.setPalette(QPalette(QColor(colour)));
    widget.setAutoFillBackground(true);
}

/// As the compositor shows it; no colour if it gives no picture.
QColor colourInTheMiddle()
{
    const auto middle = QGuiApplication::primaryScreen()->geometry().center();
    QProcess grim;
    grim.start(u"grim"_s,
        {u"-g"_s, u"%1,%2 1x1"_s.arg(middle.x()).arg(middle.y()), u"-t"_s, u"ppm"_s, u"-"_s});
    grim.waitForFinished();
    const auto picture = QImage::fromData(grim.readAllStandardOutput(), "ppm");
    return picture.isNull() ? QColor() : QColor(picture.pixel(0, 0));
}

bool isOnScreen(const QWidget &widget)
{
    return widget.isVisible() && widget.windowHandle() && widget.windowHandle()->isExposed();
}

}  // namespace

class tst_LayerShell : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theProcessHasOneConnectionAsLongAsSomebodyUsesIt()
    {
        auto connection = WaylandConnection::open();
        QVERIFY(connection);
        const std::weak_ptr<WaylandConnection> first = connection;

        QCOMPARE(WaylandConnection::open(), connection);

        connection.reset();
        QVERIFY(first.expired());
        QVERIFY(WaylandConnection::open());
    }

    void thePanelHasTheKeyboardAtEachShowing()
    {
        Panel panel;

        for (int showing = 0; showing < 20; ++showing) {
            panel.present();

            QTRY_VERIFY(panel.hasKeyboard());
            panel.hide();
            QTRY_VERIFY(!QGuiApplication::focusWindow());
        }
    }

    void aPanelThatIsHiddenBeforeItIsDrawnComesBack()
    {
        Panel panel;
        for (int showing = 0; showing < 20; ++showing) {
            panel.present();
            panel.hide();
        }

        panel.present();

        QTRY_VERIFY(panel.hasKeyboard());
    }

    void aTokenIsUsedUpByAShowing()
    {
        Panel panel;
        qputenv("XDG_ACTIVATION_TOKEN", "of-this-showing");

        panel.present();

        QVERIFY(qEnvironmentVariableIsEmpty("XDG_ACTIVATION_TOKEN"));
        QTRY_VERIFY(panel.hasKeyboard());
    }

    void aDialogOfThePanelTakesTheKeyboardAndGivesItBack()
    {
        Panel panel;
        panel.present();
        QTRY_VERIFY(panel.hasKeyboard());

        QDialog dialog(&panel);
        dialog.resize(200, 100);
        dialog.show();
        QTRY_COMPARE(QGuiApplication::focusWindow(), dialog.windowHandle());
        dialog.close();

        QTRY_VERIFY(panel.hasKeyboard());
    }

    void aWindowOfThePanelInFullScreenFillsTheOutput()
    {
        Panel panel;
        panel.present();
        QTRY_VERIFY(panel.hasKeyboard());
        QWidget preview(&panel, Qt::Window);

        preview.showFullScreen();

        QTRY_COMPARE(preview.size(), preview.screen()->size());
        QTRY_COMPARE(QGuiApplication::focusWindow(), preview.windowHandle());
        preview.close();
        QTRY_VERIFY(panel.hasKeyboard());
    }

    void aMenuAndItsSubmenuStandOnThePanelAndLeaveItTheKeyboard()
    {
        Panel panel;
        panel.present();
        QTRY_VERIFY(panel.hasKeyboard());
        QMenu menu(&panel);
        auto *submenu = menu.addMenu(u"More"_s);
        submenu->addAction(u"Something"_s);

        menu.popup(panel.mapToGlobal(QPoint(350, 250)));
        QTRY_VERIFY(isOnScreen(menu));
        QTest::keyClick(&menu, Qt::Key_Down);
        QTest::keyClick(&menu, Qt::Key_Right);

        QTRY_VERIFY(isOnScreen(*submenu));
        QVERIFY(panel.hasKeyboard());
        menu.close();
        QTRY_VERIFY(!submenu->isVisible());
        QVERIFY(panel.hasKeyboard());
    }

    void whatStandsOnThePanelGoesWithIt()
    {
        Panel panel;
        panel.present();
        QMenu menu(&panel);
        auto *submenu = menu.addMenu(u"More"_s);
        submenu->addAction(u"Something"_s);
        QTRY_VERIFY(panel.hasKeyboard());
        menu.popup(panel.mapToGlobal(QPoint(50, 50)));
        QTest::keyClick(&menu, Qt::Key_Down);
        QTest::keyClick(&menu, Qt::Key_Right);
        QTRY_VERIFY(isOnScreen(*submenu));

        panel.hide();

        QTRY_VERIFY(!menu.isVisible());
        panel.present();
        QTRY_VERIFY(panel.hasKeyboard());
    }

    void aWindowThatIsNotOfThePanelIsAnOrdinaryOne()
    {
        Panel panel;
        panel.present();
        QTRY_VERIFY(panel.hasKeyboard());
        panel.hide();
        QWidget settings;

        settings.show();

        QTRY_COMPARE(QGuiApplication::focusWindow(), settings.windowHandle());
    }

    void aPanelThatSteppedBackTakesTheKeyboardWhenItIsAsked()
    {
        Panel panel;
        panel.present();
        QTRY_VERIFY(panel.hasKeyboard());
        panel.layerShell->stepBack();
        QTRY_VERIFY(!QGuiApplication::focusWindow());

        panel.layerShell->askForKeyboard();

        QTRY_VERIFY(panel.hasKeyboard());
    }

    void whatIsOfThePanelIsSeenAboveIt_data()
    {
        QTest::addColumn<Qt::WindowFlags>("flags");
        QTest::newRow("preview") << Qt::WindowFlags(Qt::Window | Qt::FramelessWindowHint);
        QTest::newRow("dialog") << Qt::WindowFlags(Qt::Dialog);
        QTest::newRow("menu") << Qt::WindowFlags(Qt::Popup);
        QTest::newRow("tooltip") << Qt::WindowFlags(Qt::ToolTip);
    }
    void whatIsOfThePanelIsSeenAboveIt()
    {
        QFETCH(Qt::WindowFlags, flags);
        Panel panel;
        paint(panel, Qt::blue);
        panel.present();
        QTRY_COMPARE(colourInTheMiddle(), QColor(Qt::blue));
        QWidget above(&panel, flags);
        paint(above, Qt::red);
        above.setFixedSize(200, 150);
        above.move(panel.pos() + QPoint(100, 75));  // only popups are where they say

        above.show();

        QTRY_COMPARE(colourInTheMiddle(), QColor(Qt::red));
        QVERIFY(panel.isVisible());
        above.hide();
        QTRY_COMPARE(colourInTheMiddle(), QColor(Qt::blue));
        QTRY_VERIFY(panel.hasKeyboard());
    }

    void aWindowInFullScreenIsSeenAboveThePanel()
    {
        Panel panel;
        paint(panel, Qt::blue);
        panel.present();
        QTRY_COMPARE(colourInTheMiddle(), QColor(Qt::blue));
        QWidget preview(&panel, Qt::Window);
        paint(preview, Qt::red);

        preview.showFullScreen();

        QTRY_COMPARE(colourInTheMiddle(), QColor(Qt::red));
    }
};

int main(int argc, char **argv)
{
    LayerShell::prepare();
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    tst_LayerShell test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_LayerShell.moc"
