// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakePreviewPanel.h"
#include "fakes/ManualTimer.h"
#include "shell/widgets/FloatingPanel.h"
#include "support/PictureSheet.h"

using namespace vellumhound;
using namespace Qt::StringLiterals;
using support::PictureHost;
using support::PictureSheet;
using support::PictureVariant;

namespace {

class Content final : public QWidget {
public:
    QSize sizeHint() const override { return {150, 140}; }
};

/// The panel with its edge and shadow, over a background as a desktop may have.
QImage panel(const PictureVariant &variant, bool isBlurred)
{
    base::NotificationCenter notifications;
    base::MainQueue queue;
    fakes::ManualTimer timer;
    fakes::FakePreviewPanel preview;
    shell::FloatingPanel panel(new Content,
        {notifications, queue, timer, preview, [] {}, [](bool) {}, [] { return true; }, {}});
    const auto screens = QGuiApplication::screens();
    for (auto *screen : screens) {
        if (screen->devicePixelRatio() == variant.scale)
            panel.windowHandle()->setScreen(screen);
    }
    panel.setTheme(isBlurred ? variant.theme().overBlur() : variant.theme());
    const auto seen = panel.grab().toImage();
    QImage picture(seen.size(), QImage::Format_RGB32);
    picture.fill(QColor(0x3A, 0x65, 0x91));
    QPainter(&picture).drawImage(picture.rect(), seen);
    return picture;
}

}  // namespace

class tst_PanelPictures : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { PictureSheet::useItsFont(); }

    void panel()
    {
        PictureSheet sheet(u"panel"_s);
        sheet.add(
            u"opaque"_s, [](const PictureVariant &variant) { return ::panel(variant, false); });
        sheet.add(
            u"over a blur"_s, [](const PictureVariant &variant) { return ::panel(variant, true); });
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }
};

QTEST_MAIN(tst_PanelPictures)
#include "tst_PanelPictures.moc"
