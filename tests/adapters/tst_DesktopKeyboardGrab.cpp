// SPDX-License-Identifier: GPL-3.0-or-later
// The grab of the keyboard on a real X server, with a second client that looks whether it is there.
#include "platform/linux/shortcuts/DesktopKeyboardGrab.h"
#include "platform/linux/x11/X11Connection.h"
#include "support/OtherClient.h"

#include <QGuiApplication>
#include <QRegularExpression>
#include <QTest>
#include <QWindow>

using namespace vellumhound;

namespace {

/// A window on screen.
class Shown final : public QWindow {
public:
    Shown()
    {
        resize(100, 100);
        show();
    }
};

}  // namespace

class tst_DesktopKeyboardGrab : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(platform::x11Connection()); }

    void theKeyboardIsOursAsLongAsTheTokenIs()
    {
        Shown window;
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        platform::DesktopKeyboardGrab grab;
        support::OtherClient other;

        auto token = grab.grab(&window);
        QVERIFY(token);
        QVERIFY(!other.isKeyboardFree());
        token.reset();

        QTRY_VERIFY(other.isKeyboardFree());
    }

    void aTokenOfAnEndedGrabEndsNoOtherOne()
    {
        Shown window;
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        platform::DesktopKeyboardGrab grab;
        support::OtherClient other;
        auto first = grab.grab(&window);

        const auto second = grab.grab(&window);
        first.reset();

        QVERIFY(second);
        QVERIFY(!other.isKeyboardFree());
    }

    void aGrabThatIsRefusedIsALineOnTheLog()
    {
        Shown window;
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        platform::DesktopKeyboardGrab grab;
        support::OtherClient other;
        QVERIFY(other.grabKeyboard());

        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("status 1$")));
        QVERIFY(!grab.grab(&window));

        other.ungrabKeyboard();
        QVERIFY(grab.grab(&window));
    }

    void withoutAWindowThereIsNoGrab()
    {
        platform::DesktopKeyboardGrab grab;
        support::OtherClient other;

        QVERIFY(!grab.grab(nullptr));

        QVERIFY(other.isKeyboardFree());
    }
};

QTEST_MAIN(tst_DesktopKeyboardGrab)
#include "tst_DesktopKeyboardGrab.moc"
