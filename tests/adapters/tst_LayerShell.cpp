// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/LayerShell.h"

#include <QApplication>
#include <QDialog>
#include <QMenu>
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

bool isOnScreen(const QWidget &widget)
{
    return widget.isVisible() && widget.windowHandle() && widget.windowHandle()->isExposed();
}

}  // namespace

class tst_LayerShell : public QObject {
    Q_OBJECT

private Q_SLOTS:
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
