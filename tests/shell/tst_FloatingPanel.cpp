// SPDX-License-Identifier: GPL-3.0-or-later
// How the panel's own window looks, where translucent windows are shown as such.
#include "fakes/FakePreviewPanel.h"
#include "fakes/ManualTimer.h"
#include "shell/widgets/FloatingPanel.h"

#include <QAccessible>
#include <QImage>
#include <QPainter>
#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using shell::FloatingPanel;
using ui::Theme;

namespace {

/// Fills the whole panel with one colour, corners included; transparent for none.
class Content final : public QWidget {
public:
    QSize sizeHint() const override { return {300, 200}; }
    QColor color = Qt::transparent;

protected:
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), color); }
};

struct Desk {
    base::NotificationCenter notifications;
    base::MainQueue queue;
    fakes::ManualTimer timer;
    fakes::FakePreviewPanel preview;
    Content *content = new Content;
    FloatingPanel panel{content,
        {notifications, queue, timer, preview, [] {}, [](bool) {}, [] { return true; }, {}}};

    QRect place() const { return panel.panelRect(); }
    QColor colorAt(QPoint point) { return picture().pixelColor(point); }
    QImage picture() { return panel.grab().toImage().convertToFormat(QImage::Format_ARGB32); }
};

}  // namespace

class tst_FloatingPanel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theBorderIsThatOfTheAppearanceKnownAtTheFirstShowing()
    {
        Desk desk;
        desk.panel.setTheme(Theme::light());
        desk.panel.setTheme(Theme::dark());
        const auto edge = [&] {
            return desk.colorAt({desk.place().center().x(), desk.place().top()}).rgba();
        };
        QCOMPARE(edge(), Theme::dark().panelLine.rgba());

        desk.panel.makeKeyAndOrderFront();
        desk.panel.setTheme(Theme::light());

        QCOMPARE(edge(), Theme::dark().panelLine.rgba());
        QCOMPARE(desk.colorAt(desk.place().center()).rgba(), Theme::light().panelSurface.rgba());
    }

    void aLineOfHalfAPixelIsMixedWithTheSurface()
    {
        Desk desk;
        desk.panel.setTheme(Theme::light());

        const auto edge =
            desk.picture().pixelColor(desk.place().center().x(), desk.place().bottom());

        QVERIFY(edge.lightness() < Theme::light().panelSurface.lightness());
        QVERIFY(edge.lightness() > Theme::light().panelLine.lightness());
    }

    void whatThePanelHoldsIsClippedToItsRoundedCorners()
    {
        Desk desk;
        desk.panel.setTheme(Theme::light());
        desk.content->color = Qt::red;

        const auto picture = desk.picture();

        const auto place = desk.place();
        for (const int x : {place.left(), place.right()}) {
            for (const int y : {place.top(), place.bottom()}) {
                const auto corner = picture.pixelColor(x, y);
                QCOMPARE(corner.red(), 0);  // nothing but shadow
                QVERIFY(corner.alpha() > 0 && corner.alpha() < 128);
            }
        }
        // Four pixels from both edges the curve of radius 10 and its line have been passed.
        QCOMPARE(picture.pixelColor(place.topLeft() + QPoint(4, 4)).rgba(), qRgb(255, 0, 0));
        QCOMPARE(picture.pixelColor(place.bottomRight() - QPoint(4, 4)).rgba(), qRgb(255, 0, 0));
        QVERIFY(picture.pixelColor(place.topLeft() + QPoint(1, 2)).alpha() < 255);
    }

    void aTranslucentSurfaceIsNotDarkenedByTheShadow()
    {
        Desk desk;
        const auto theme = Theme::light().overBlur();
        desk.panel.setTheme(theme);

        const auto seen = desk.colorAt(desk.place().center());
        QCOMPARE(seen.alpha(), theme.panelSurface.alpha());
        QVERIFY(qAbs(seen.red() - theme.panelSurface.red()) <= 2);
    }

    void theShadowFadesOutOnTheMarginAndFallsDownwards()
    {
        Desk desk;
        desk.panel.setTheme(Theme::light());

        const auto picture = desk.picture();

        const auto alphaAt = [&](int x, int y) { return picture.pixelColor(x, y).alpha(); };
        const auto place = desk.place();
        const int middle = place.center().x();
        const int below = alphaAt(middle, place.bottom() + 1);
        QVERIFY(below > alphaAt(middle, place.bottom() + 20));
        QVERIFY(alphaAt(middle, place.bottom() + 20) > alphaAt(middle, picture.height() - 1));
        QVERIFY(alphaAt(middle, picture.height() - 1) <= 2);
        QVERIFY(below > alphaAt(middle, place.top() - 1));
        QVERIFY(below <= qRound(0.38 * 255));
        // The same at both sides.
        QVERIFY(qAbs(alphaAt(place.left() - 5, place.center().y()) -
                     alphaAt(place.right() + 5, place.center().y())) <= 1);
        QVERIFY(alphaAt(0, place.center().y()) <= 2);
    }

    void aScreenReaderSeesAWindow()
    {
        Desk desk;

        const auto *panel = QAccessible::queryAccessibleInterface(&desk.panel);

        QCOMPARE(panel->role(), QAccessible::Window);
        QCOMPARE(panel->text(QAccessible::Name), u"Vellumhound"_s);
    }

    void theRegionOfRoundedCornersHasNoPixelBeyondTheCurve()
    {
        const auto region = shell::roundedRegion({10, 20, 100, 60}, 10);

        QCOMPARE(region.boundingRect(), QRect(10, 20, 100, 60));
        for (const auto &corner :
            {QPoint(10, 20), QPoint(109, 20), QPoint(10, 79), QPoint(109, 79)})
            QVERIFY(!region.contains(corner));
        QVERIFY(region.contains(QPoint(13, 23)));
        QVERIFY(region.contains(QPoint(106, 76)));
        QVERIFY(!region.contains(QPoint(11, 22)));
        QVERIFY(region.contains(QPoint(10, 30)));
        QVERIFY(region.contains(QPoint(20, 20)));
        QVERIFY(!region.contains(QPoint(14, 20)));
    }
};

QTEST_MAIN(tst_FloatingPanel)
#include "tst_FloatingPanel.moc"
