// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/SearchEnd.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vellumhound::core;

class tst_SearchEnd final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theEndOfASearchFollowsTheBoxAndThePlace_data();
    void theEndOfASearchFollowsTheBoxAndThePlace();
};

void tst_SearchEnd::theEndOfASearchFollowsTheBoxAndThePlace_data()
{
    QTest::addColumn<QString>("box");
    QTest::addColumn<bool>("isBoxTextOfRows");
    QTest::addColumn<bool>("isAtRoot");
    QTest::addColumn<SearchEnd>("end");
    const bool typed = false;
    const bool ofRows = true;
    const bool top = true;
    const bool below = false;
    const auto row = [](const char *name, const QString &box, bool writer, bool place,
                         SearchEnd end) { QTest::newRow(name) << box << writer << place << end; };
    row("the same text", u"ab"_s, typed, top, SearchEnd::showList);
    row("blanks around it", u" ab\t"_s, typed, top, SearchEnd::showList);
    row("typed on", u"abc"_s, typed, top, SearchEnd::leaveToTheNext);
    row("typed on, with a blank", u"abc "_s, typed, top, SearchEnd::showList);
    row("nothing but blanks", u"  "_s, typed, top, SearchEnd::showList);
    row("emptied", u""_s, typed, top, SearchEnd::goHome);
    row("emptied below", u""_s, typed, below, SearchEnd::goHome);
    row("typed below", u"ab"_s, typed, below, SearchEnd::showList);
    row("typed on below", u"/d/x"_s, typed, below, SearchEnd::leaveToTheNext);
    row("typed on below, with a blank", u"/d/x "_s, typed, below, SearchEnd::fillTopLevel);
    row("a folder's path", u"/d/"_s, ofRows, below, SearchEnd::fillTopLevel);
    row("a folder's path that was searched too", u"ab"_s, ofRows, below, SearchEnd::fillTopLevel);
    row("the text of other rows", u"a"_s, ofRows, top, SearchEnd::showList);
    row("rows without a text", u""_s, ofRows, top, SearchEnd::showList);
}

void tst_SearchEnd::theEndOfASearchFollowsTheBoxAndThePlace()
{
    QFETCH(QString, box);
    QFETCH(bool, isBoxTextOfRows);
    QFETCH(bool, isAtRoot);

    const auto end = describeSearchEnd({u"ab"_s, box, isBoxTextOfRows, isAtRoot});

    QTEST(end, "end");
}

QTEST_GUILESS_MAIN(tst_SearchEnd)
#include "tst_SearchEnd.moc"
