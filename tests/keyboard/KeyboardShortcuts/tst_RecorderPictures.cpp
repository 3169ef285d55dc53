// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/RecorderFixture.h"
#include "keyboard/KeyboardShortcuts/widgets/RecorderWidget.h"
#include "support/PictureSheet.h"

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;
using support::PictureHost;
using support::PictureSheet;
using support::PictureVariant;

namespace {

enum class Field { empty, withShortcut };

QImage recorder(const PictureVariant &variant, Field field, bool isRecording)
{
    RecorderFixture fixture;
    const auto name = field == Field::withShortcut
                          ? fixture.name
                          : fixture.shortcuts->createName(u"browseFinderWindows"_s);
    PictureHost host(variant, {150, 32});
    RecorderWidget widget(name, {}, fixture.environment(), variant.theme(), &host);
    widget.setGeometry(10, 4, 130, 24);
    host.present();
    fixture.mainQueue.drain();
    if (isRecording)
        widget.setFocus();
    return host.picture();
}

}  // namespace

class tst_RecorderPictures : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { PictureSheet::useItsFont(); }

    void recorder()
    {
        PictureSheet sheet(u"recorder"_s);
        sheet.add(u"empty"_s,
            [](const PictureVariant &variant) { return ::recorder(variant, Field::empty, false); });
        sheet.add(u"empty, recording"_s,
            [](const PictureVariant &variant) { return ::recorder(variant, Field::empty, true); });
        sheet.add(u"with a shortcut"_s, [](const PictureVariant &variant) {
            return ::recorder(variant, Field::withShortcut, false);
        });
        sheet.add(
            u"recording, what will be replaced is marked"_s, [](const PictureVariant &variant) {
                return ::recorder(variant, Field::withShortcut, true);
            });
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }
};

QTEST_MAIN(tst_RecorderPictures)
#include "tst_RecorderPictures.moc"
