// SPDX-License-Identifier: GPL-3.0-or-later
// What is made of the window system's news of the keyboard, in the orders in which they come.
#include "platform/linux/activation/ActivationWatcher.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <qpa/qwindowsysteminterface.h>
#include <QStringList>
#include <QTest>
#include <QWindow>

using namespace vellumhound::platform;
using namespace Qt::StringLiterals;

class tst_ActivationWatcher : public QObject {
    Q_OBJECT

    QStringList _told;
    std::unique_ptr<ActivationWatcher> _watcher;
    std::unique_ptr<QWindow> _panel;

    /// As the window system does it: at once, and never by itself.
    static void giveKeyboardTo(QWindow *window)
    {
        QWindowSystemInterface::handleWindowActivated<QWindowSystemInterface::SynchronousDelivery>(
            window, Qt::ActiveWindowFocusReason);
        QWindowSystemInterface::handleApplicationStateChanged<
            QWindowSystemInterface::SynchronousDelivery>(
            window ? Qt::ApplicationActive : Qt::ApplicationInactive);
    }

    /// The panel is not really shown: the platform would give it the keyboard by itself.
    void present()
    {
        QShowEvent event;
        QCoreApplication::sendEvent(_panel.get(), &event);
    }

private Q_SLOTS:
    void init()
    {
        _told.clear();
        _watcher = std::make_unique<ActivationWatcher>(ActivationWatcher::Handlers{
            [this] { _told.append(u"gained"_s); }, [this] { _told.append(u"lost"_s); },
            [this] { _told.append(u"inactive"_s); }, [] {}, [] {}});
        _panel = std::make_unique<QWindow>();
        _panel->create();
        giveKeyboardTo(nullptr);
        QCoreApplication::processEvents();
        _watcher->setPanel(_panel.get());
        _told.clear();
    }
    void cleanup()
    {
        _watcher.reset();
        _panel.reset();
    }

    void aPanelThatLosesTheKeyboardToAnotherProgramHearsOfIt()
    {
        present();
        giveKeyboardTo(_panel.get());

        giveKeyboardTo(nullptr);

        QTRY_COMPARE(_told, (QStringList{u"gained"_s, u"inactive"_s}));
    }

    void aLossThatWasOfTheLastShowingSaysNothing()
    {
        present();
        giveKeyboardTo(_panel.get());

        present();
        giveKeyboardTo(nullptr);
        QCoreApplication::processEvents();
        giveKeyboardTo(_panel.get());

        QCOMPARE(_told, (QStringList{u"gained"_s, u"gained"_s}));
        giveKeyboardTo(nullptr);
        QTRY_COMPARE(_told, (QStringList{u"gained"_s, u"gained"_s, u"inactive"_s}));
    }

    void aShowingThatDoesNotGetTheKeyboardAfterSuchALossHearsOfIt()
    {
        present();
        giveKeyboardTo(_panel.get());

        present();
        giveKeyboardTo(nullptr);

        QTRY_COMPARE(_told, (QStringList{u"gained"_s, u"inactive"_s}));
    }

    void aKeyIsProofOfTheKeyboard()
    {
        present();
        QKeyEvent press(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier);

        QCoreApplication::sendEvent(_panel.get(), &press);

        QCOMPARE(_told, QStringList{u"gained"_s});
    }
};

QTEST_MAIN(tst_ActivationWatcher)
#include "tst_ActivationWatcher.moc"
