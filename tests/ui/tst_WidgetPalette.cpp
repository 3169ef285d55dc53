// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/Theme.h"
#include "ui/widgets/WidgetPalette.h"

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QToolTip>

using namespace vellumhound::ui;

namespace {

QPalette paletteOf(const QColor &window, const QColor &text)
{
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    return palette;
}

QColor windowColorOf(const QWidget &widget)
{
    widget.ensurePolished();
    return widget.palette().color(QPalette::Window);
}

}  // namespace

class tst_WidgetPalette : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QApplication::setPalette(paletteOf(Qt::white, Qt::black)); }

    void theWidgetsWearItAndTheDesktopsOwnStaysReadable()
    {
        const auto ours = Theme::dark().palette();
        WidgetPalette palette;
        QLabel before;

        palette.set(ours);

        const QPushButton after;
        const QMenu menu;
        QWidget parent;
        const QLabel child(&parent);
        for (const QWidget *widget :
            {static_cast<const QWidget *>(&before), static_cast<const QWidget *>(&after),
                static_cast<const QWidget *>(&menu), static_cast<const QWidget *>(&child)})
            QCOMPARE(windowColorOf(*widget), ours.color(QPalette::Window));
        QCOMPARE(
            QToolTip::palette().color(QPalette::ToolTipBase), ours.color(QPalette::ToolTipBase));
        QCOMPARE(QApplication::palette().color(QPalette::Window), QColor(Qt::white));
    }

    void aNewPaletteOfTheDesktopDoesNotReplaceIt()
    {
        const auto ours = Theme::light().palette();
        WidgetPalette palette;
        palette.set(ours);
        QLabel label;

        QApplication::setPalette(paletteOf(Qt::black, Qt::white));

        QCOMPARE(windowColorOf(label), ours.color(QPalette::Window));
        QCOMPARE(windowColorOf(QLabel()), ours.color(QPalette::Window));
        QCOMPARE(QApplication::palette().color(QPalette::Window), QColor(Qt::black));
    }
};

QTEST_MAIN(tst_WidgetPalette)
#include "tst_WidgetPalette.moc"
