// SPDX-License-Identifier: GPL-3.0-or-later
#include "actions/SelectedFilesView.h"

#include <QtTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;

class TestSelectedFilesView : public QObject {
    Q_OBJECT

    const core::FilePtr _file =
        std::make_shared<core::File>(u"a.txt"_s, u"/tmp/a.txt"_s, false, 1, std::nullopt);

private Q_SLOTS:
    void withThePaletteClosedItTakesNoRoom()
    {
        QVERIFY(!actions::describeSelectedFiles(false, _file));
    }

    void withThePaletteOpenItShowsTheFileBelowADivider()
    {
        const auto description = actions::describeSelectedFiles(true, _file);

        QVERIFY(description);
        QCOMPARE(description->file, _file);
        QVERIFY(description->hasDivider);
    }

    void withThePaletteOpenAndNothingSelectedItShowsNothing()
    {
        QVERIFY(!actions::describeSelectedFiles(true, nullptr));
    }
};

QTEST_APPLESS_MAIN(TestSelectedFilesView)
#include "tst_SelectedFilesView.moc"
