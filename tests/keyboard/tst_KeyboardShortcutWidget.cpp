// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/widgets/Symbols.h"
#include "keyboard/widgets/KeyboardShortcutWidget.h"

#include <QImage>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard;
using namespace Qt::StringLiterals;
using keyboard::KeyCharacter::space;
namespace Flags = base::ModifierFlags;

namespace {

constexpr double charWidth = 16;
constexpr int capWidth = int(charWidth) + 2 * ui::metrics::keyCapPadding;
const QColor backgroundColor(0x20, 0x80, 0x40);

QImage rendered(KeyboardShortcutWidget &widget)
{
    widget.resize(widget.sizeHint());
    QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(backgroundColor);
    widget.render(&image, {}, {}, QWidget::RenderFlags());
    return image;
}

/// What a translucent colour makes of the background, within what rounding may change.
bool looksLike(const QColor &seen, const base::Color &painted)
{
    const auto mixed = [&](double channel, float under) {
        return painted.alpha * channel + (1 - painted.alpha) * double(under);
    };
    const auto isNear = [](double a, float b) { return std::abs(a - double(b)) < 0.02; };
    return isNear(mixed(painted.red, backgroundColor.redF()), seen.redF()) &&
           isNear(mixed(painted.green, backgroundColor.greenF()), seen.greenF()) &&
           isNear(mixed(painted.blue, backgroundColor.blueF()), seen.blueF());
}

}  // namespace

class tst_KeyboardShortcutWidget : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachSignHasACapOfItsOwn()
    {
        KeyboardShortcutWidget widget(
            {U'w', Flags::command | Flags::shift}, charWidth, ui::Theme::light());

        QCOMPARE(widget.caps().signs, (QStringList{u"⌘"_s, u"⇧"_s, u"W"_s}));
        QCOMPARE(widget.accessibleName(), u"⌘⇧W"_s);
        QCOMPARE(widget.sizeHint().width(), 3 * capWidth + 2 * ui::metrics::keyCapSpacing);
    }

    void capsAreFilledAndApart()
    {
        KeyboardShortcutWidget widget({U'.', Flags::command}, charWidth, ui::Theme::dark());

        const auto image = rendered(widget);

        const int y = image.height() / 2;
        const auto fill = ui::keyCapFill(ui::ColorScheme::dark);
        QVERIFY(looksLike(image.pixelColor(1, y), fill));
        QVERIFY(looksLike(image.pixelColor(capWidth - 2, y), fill));
        QCOMPARE(image.pixelColor(capWidth, y), backgroundColor);
        QVERIFY(looksLike(image.pixelColor(capWidth + 2, y), fill));
        QCOMPARE(image.pixelColor(0, 0), image.pixelColor(image.width() - 1, 0));
        QVERIFY(!looksLike(image.pixelColor(0, 0), fill));  // a rounded corner
    }

    void aWordMakesItsCapWider()
    {
        KeyboardShortcutWidget widget({space, 0}, charWidth, ui::Theme::light());

        QCOMPARE(widget.caps().signs, QStringList{u"Space"_s});
        QVERIFY(widget.sizeHint().width() > capWidth);
    }

    void capsFollowTheAppearanceAtOnce()
    {
        KeyboardShortcutWidget widget({U'.', 0}, charWidth, ui::Theme::light());
        const auto before = rendered(widget);

        widget.setTheme(ui::Theme::dark());
        const auto after = rendered(widget);

        const QPoint inside(3, before.height() / 2);
        using ui::ColorScheme;
        QVERIFY(looksLike(before.pixelColor(inside), ui::keyCapFill(ColorScheme::light)));
        QVERIFY(looksLike(after.pixelColor(inside), ui::keyCapFill(ColorScheme::dark)));
        QCOMPARE(widget.caps().text, ui::keyCapText(ColorScheme::dark));
    }

    void aNewShortcutTakesItsRoom()
    {
        KeyboardShortcutWidget widget({U'.', 0}, charWidth, ui::Theme::light());

        widget.setShortcut({U'k', Flags::command});

        QCOMPARE(widget.accessibleName(), u"⌘K"_s);
        QCOMPARE(widget.sizeHint().width(), 2 * capWidth + ui::metrics::keyCapSpacing);
    }

    void theRowRunsInReadingDirection()
    {
        KeyboardShortcutWidget widget({space, Flags::command}, charWidth, ui::Theme::dark());
        const auto leftToRight = rendered(widget);
        const int gap = capWidth;
        const int y = leftToRight.height() / 2;
        QCOMPARE(leftToRight.pixelColor(gap, y), backgroundColor);

        widget.setLayoutDirection(Qt::RightToLeft);
        const auto rightToLeft = rendered(widget);

        QCOMPARE(rightToLeft.pixelColor(rightToLeft.width() - 1 - gap, y), backgroundColor);
        QVERIFY(rightToLeft.pixelColor(gap, y) != backgroundColor);
    }
};

QTEST_MAIN(tst_KeyboardShortcutWidget)
#include "tst_KeyboardShortcutWidget.moc"
