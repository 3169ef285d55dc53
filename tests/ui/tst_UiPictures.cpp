// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/PictureSheet.h"
#include "ui/widgets/FileIconView.h"
#include "ui/widgets/FileRowDelegate.h"
#include "ui/widgets/KeyCapsPainting.h"
#include "ui/widgets/RowList.h"
#include "ui/widgets/Spinner.h"
#include "ui/widgets/SymbolButton.h"
#include "ui/widgets/TooltipModifier.h"

#include <QHoverEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QStandardItemModel>

using namespace vellumhound;
using namespace vellumhound::ui;
using namespace Qt::StringLiterals;
using support::PictureHost;
using support::PictureSheet;
using support::PictureVariant;

namespace {

/// Rows of a list as the screens hand them to the delegate.
class Rows final : public QStandardItemModel {
public:
    explicit Rows(int count)
    {
        const QStringList names{u"Annual report.pdf"_s,
            u"A name that is much too long to fit.txt"_s, u"Ångström"_s, u"main.cpp"_s};
        const QList kinds{FileKind::pdf, FileKind::text, FileKind::folder, FileKind::sourceCode};
        for (int row = 0; row < count; ++row) {
            auto *item = new QStandardItem(names[row % names.size()]);
            item->setData(
                u"~/Documents/Work/"_s + names[row % names.size()], FileRole::displayPath);
            item->setData(QVariant::fromValue(iconInfo(kinds[row % kinds.size()])), FileRole::icon);
            appendRow(item);
        }
    }
};

struct ListScene {
    ListScene(const PictureVariant &variant, QSize size, int count, FileRowDelegate::Height height)
        : host(variant, size)
        , rows(count)
        , list(new RowList(&host))
        , other(new QWidget(&host))
    {
        other->setFocusPolicy(Qt::StrongFocus);
        delegate.setTheme(variant.theme());
        delegate.setHeight(height);
        list->setItemDelegate(&delegate);
        list->setModel(&rows);
        list->setTheme(variant.theme());
        list->setGeometry(QRect(QPoint(0, 0), size));
        host.present();
    }
    void hover(int row)
    {
        const QPointF at = list->visualRect(rows.index(row, 0)).center();
        QHoverEvent event(QEvent::HoverMove, at, at, QPointF(-1, -1));
        QCoreApplication::sendEvent(list->viewport(), &event);
    }

    FileRowDelegate delegate;
    PictureHost host;
    Rows rows;
    RowList *list;
    QWidget *other;
};

constexpr QSize ofTwoRows{170, 2 * metrics::resultRowPitch};
constexpr QSize ofTwoSimpleRows{170, 2 * metrics::folderRowPitch};
constexpr QSize ofScrolledList{60, 120};

/// The end of a list that is longer than its room, with the bar in a state.
QImage scrolled(
    const PictureVariant &variant, const std::function<void(RowList &, QScrollBar &)> &act)
{
    ListScene scene(variant, ofScrolledList, 8, FileRowDelegate::Height::simple);
    auto *bar = scene.list->findChild<OverlayScrollBar *>();
    act(*scene.list, *bar);
    return PictureHost::pictureOf(*bar->parentWidget()).copy();
}

QImage drawn(
    const PictureVariant &variant, QSize size, const std::function<void(QPainter &)> &paint)
{
    class Canvas final : public QWidget {
    public:
        using QWidget::QWidget;
        std::function<void(QPainter &)> paint;

    protected:
        void paintEvent(QPaintEvent *) override
        {
            QPainter painter(this);
            paint(painter);
        }
    };
    PictureHost host(variant, size);
    Canvas canvas(&host);
    canvas.paint = paint;
    canvas.resize(size);
    return host.picture();
}

QImage button(const PictureVariant &variant, const QString &symbol,
    const std::function<void(SymbolButton &)> &act)
{
    PictureHost host(variant, {24, 24});
    SymbolButton button(symbol, u"Back"_s, &host);
    button.setColors(variant.theme().secondaryText, variant.theme().primaryText);
    button.move(2, 2);
    act(button);
    return host.picture();
}

QImage tooltip(const PictureVariant &variant, const std::function<void(TooltipModifier &)> &act)
{
    PictureHost host(variant, {140, 24});
    TooltipModifier modifier(
        new QLabel(u"Folders first"_s), u"Folders stand above files."_s, variant.theme(), &host);
    modifier.move(2, 2);
    QWidget other(&host);
    other.setFocusPolicy(Qt::StrongFocus);
    host.present();
    other.setFocus();
    act(modifier);
    return host.picture();
}

}  // namespace

class tst_UiPictures : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { PictureSheet::useItsFont(); }

    void rowsOfAList()
    {
        PictureSheet sheet(u"rows"_s);
        const auto withPath = FileRowDelegate::Height::withPath;
        const auto simple = FileRowDelegate::Height::simple;
        sheet.add(u"nothing selected, one row hovered"_s, [&](const PictureVariant &variant) {
            ListScene scene(variant, ofTwoRows, 2, withPath);
            scene.other->setFocus();
            scene.hover(1);
            return scene.host.picture();
        });
        sheet.add(u"selected with focus"_s, [&](const PictureVariant &variant) {
            ListScene scene(variant, ofTwoRows, 2, withPath);
            scene.list->selectRow(0);
            scene.list->setFocus();
            return scene.host.picture();
        });
        sheet.add(u"selected without focus, another hovered"_s, [&](const PictureVariant &variant) {
            ListScene scene(variant, ofTwoRows, 2, withPath);
            scene.other->setFocus();
            scene.list->selectRow(0);
            scene.hover(1);
            return scene.host.picture();
        });
        sheet.add(u"simple rows, the hovered one selected with focus"_s,
            [&](const PictureVariant &variant) {
                ListScene scene(variant, ofTwoSimpleRows, 2, simple);
                scene.list->setFocus();
                scene.list->selectRow(1);
                scene.hover(1);
                return scene.host.picture();
            });
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }

    void scrollBar()
    {
        PictureSheet sheet(u"scroll-bar"_s);
        sheet.add(u"at the beginning"_s, [](const PictureVariant &variant) {
            return scrolled(variant, [](RowList &, QScrollBar &) {});
        });
        sheet.add(u"at the end, under the pointer"_s, [](const PictureVariant &variant) {
            return scrolled(variant, [](RowList &list, QScrollBar &bar) {
                list.scrollToBottom();
                bar.setAttribute(Qt::WA_UnderMouse);
            });
        });
        sheet.add(u"held in the middle"_s, [](const PictureVariant &variant) {
            return scrolled(variant, [](RowList &, QScrollBar &bar) {
                bar.setValue(bar.maximum() / 2);
                const QPointF middle = QRectF(bar.rect()).center();
                QMouseEvent press(QEvent::MouseButtonPress, middle, bar.mapToGlobal(middle),
                    Qt::LeftButton, Qt::LeftButton, {});
                QCoreApplication::sendEvent(&bar, &press);
            });
        });
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }

    void symbolButton()
    {
        PictureSheet sheet(u"symbol-button"_s);
        for (const auto &symbol : {u"arrowshape.backward.fill"_s, u"xmark.circle.fill"_s}) {
            sheet.add(symbol + u", at rest"_s, [&](const PictureVariant &variant) {
                return button(variant, symbol, [](SymbolButton &) {});
            });
            sheet.add(symbol + u", under the pointer"_s, [&](const PictureVariant &variant) {
                return button(variant, symbol,
                    [](SymbolButton &button) { button.setAttribute(Qt::WA_UnderMouse); });
            });
            sheet.add(symbol + u", pressed"_s, [&](const PictureVariant &variant) {
                return button(variant, symbol, [](SymbolButton &button) { button.setDown(true); });
            });
        }
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }

    void spinner()
    {
        PictureSheet sheet(u"spinner"_s);
        sheet.add(u"at its start"_s, [](const PictureVariant &variant) {
            PictureHost host(variant, {24, 24});
            Spinner spinner(&host);
            spinner.setColor(variant.theme().secondaryText);
            spinner.move(2, 2);
            return host.picture();
        });
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }

    void tooltips()
    {
        PictureSheet sheet(u"tooltip"_s);
        sheet.add(u"at rest"_s, [](const PictureVariant &variant) {
            return tooltip(variant, [](TooltipModifier &) {});
        });
        sheet.add(u"with focus"_s, [](const PictureVariant &variant) {
            return tooltip(
                variant, [](TooltipModifier &modifier) { modifier.button().setFocus(); });
        });
        sheet.add(u"pressed"_s, [](const PictureVariant &variant) {
            return tooltip(
                variant, [](TooltipModifier &modifier) { modifier.button().setDown(true); });
        });
        sheet.add(u"the text"_s, [](const PictureVariant &variant) {
            QImage text;
            tooltip(variant, [&](TooltipModifier &modifier) {
                modifier.setTooltipVisible(true);
                text = PictureHost::pictureOf(*QApplication::activePopupWidget());
                modifier.setTooltipVisible(false);
            });
            return text;
        });
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }

    void keyCaps()
    {
        PictureSheet sheet(u"key-caps"_s);
        const auto caps = [&](const QString &name, const QStringList &signs, double charWidth) {
            sheet.add(name, [=](const PictureVariant &variant) {
                const auto scheme = variant.isDark ? ColorScheme::dark : ColorScheme::light;
                return drawn(variant, {84, 24}, [&](QPainter &painter) {
                    paintKeyCaps(painter, {2, 2, 80, 20},
                        {signs, charWidth, keyCapText(scheme), keyCapFill(scheme)}, variant.theme(),
                        variant.direction);
                });
            });
        };
        caps(u"three signs"_s, {u"⌃"_s, u"⌘"_s, u"K"_s}, 12);
        caps(u"a word"_s, {u"⌥"_s, u"Space"_s}, 12);
        caps(u"narrow"_s, {u"I"_s}, 0);
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }

    void fileIcons()
    {
        PictureSheet sheet(u"file-icons"_s);
        for (const auto &[name, kind] : {std::pair{u"folder"_s, FileKind::folder},
                 {u"source code, lifted on dark"_s, FileKind::sourceCode},
                 {u"spreadsheet"_s, FileKind::excel}}) {
            sheet.add(name, [kind = kind](const PictureVariant &variant) {
                PictureHost host(variant, {44, 24});
                FileIconView small(&host);
                small.setIcon(iconInfo(kind));
                small.setGeometry(2, 4, 16, 16);
                FileIconView large(&host);
                large.setBackgroundColor(variant.theme().panelBackground);
                large.setIcon(iconInfo(kind));
                large.setGeometry(20, 2, 20, 20);
                return host.picture();
            });
        }
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }
};

QTEST_MAIN(tst_UiPictures)
#include "tst_UiPictures.moc"
