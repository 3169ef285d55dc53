// SPDX-License-Identifier: GPL-3.0-or-later
#include "ScreenFixture.h"
#include "screens/widgets/FileBrowserWidget.h"
#include "screens/widgets/FileSearchWidget.h"
#include "support/PictureSheet.h"

using namespace vellumhound;
using namespace vellumhound::screens;
using namespace Qt::StringLiterals;
using core::CoreFixture;
using core::ResultType;
using core::SearchStatus;
using support::PictureHost;
using support::PictureSheet;
using support::PictureVariant;

namespace {

core::FilePtr fileOf(const QString &path, std::optional<qint64> size)
{
    return std::make_shared<core::File>(path.section(u'/', -1), path, false, size, std::nullopt);
}

/// The search row, with a caret that does not blink.
struct SearchRowScene {
    explicit SearchRowScene(const PictureVariant &variant)
        : host(variant, {200, ui::metrics::searchRowHeight + 4})
        , row(new FileSearchWidget(screen.search, *screen.model, screen.focus, &host))
    {
        QApplication::setCursorFlashTime(0);
        row->setGeometry(0, 2, 200, ui::metrics::searchRowHeight);
        row->setTheme(variant.theme());
    }
    QImage picture() { return host.picture(); }

    ScreenFixture screen;
    PictureHost host;
    FileSearchWidget *row;
};

QImage info(const PictureVariant &variant, const core::FilePtr &file)
{
    PictureHost host(variant, {200, 250});
    FileInfoWidget widget(&host);
    widget.setTheme(variant.theme());
    widget.showFile(file);
    widget.setGeometry(0, 0, 200, 250);
    return host.picture();
}

QImage browser(const PictureVariant &variant, const core::FileList &files, bool hasFocus)
{
    ScreenFixture screen;
    PictureHost host(variant, {460, 210});
    FileBrowserWidget widget(screen.browser, *screen.model, screen.focus, &host);
    widget.setTheme(variant.theme());
    widget.setGeometry(0, 0, 460, 210);
    host.present();
    screen.model->showFiles(files, ResultType::search);
    screen.queue.drain();
    host.setFocusPolicy(Qt::StrongFocus);
    if (hasFocus)
        widget.list().setFocus();
    else
        host.setFocus();
    return host.picture();
}

}  // namespace

class tst_ScreenPictures : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { PictureSheet::useItsFont(); }

    void searchRow()
    {
        PictureSheet sheet(u"search-row"_s);
        sheet.add(u"empty"_s,
            [](const PictureVariant &variant) { return SearchRowScene(variant).picture(); });
        sheet.add(u"with a text"_s, [](const PictureVariant &variant) {
            SearchRowScene scene(variant);
            scene.screen.model->setSearchText(u"annual report"_s);
            return scene.picture();
        });
        sheet.add(u"with focus"_s, [](const PictureVariant &variant) {
            SearchRowScene scene(variant);
            scene.host.present();
            scene.screen.model->setSearchText(u"annual"_s);
            scene.row->field().setFocus();
            return scene.picture();
        });
        sheet.add(u"searching"_s, [](const PictureVariant &variant) {
            SearchRowScene scene(variant);
            scene.screen.model->setSearchText(u"annual"_s);
            scene.screen.model->setSearchStatus(SearchStatus::searching());
            return scene.picture();
        });
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }

    void fileInfo()
    {
        PictureSheet sheet(u"file-info"_s);
        sheet.add(u"a file"_s, [](const PictureVariant &variant) {
            return info(variant, fileOf(u"/data/Work/report.txt"_s, 1'234'567));
        });
        sheet.add(u"without a size, its names too long"_s, [](const PictureVariant &variant) {
            return info(variant,
                fileOf(
                    u"/data/Some folder/of a depth/that has no end/A name that is much too long.txt"_s,
                    std::nullopt));
        });
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }

    void browser()
    {
        PictureSheet sheet(u"browser"_s);
        const auto files = [] {
            return core::FileList{fileOf(u"/data/report.txt"_s, 1), fileOf(u"/data/song.ogg"_s, 2)};
        };
        sheet.add(u"a file is selected, the list has the focus"_s,
            [&](const PictureVariant &variant) { return ::browser(variant, files(), true); });
        sheet.add(u"the box has the focus"_s,
            [&](const PictureVariant &variant) { return ::browser(variant, files(), false); });
        sheet.add(u"nothing was found"_s,
            [&](const PictureVariant &variant) { return ::browser(variant, {}, true); });
        QVERIFY2(sheet.difference().isEmpty(), qPrintable(sheet.difference()));
    }
};

QTEST_MAIN(tst_ScreenPictures)
#include "tst_ScreenPictures.moc"
