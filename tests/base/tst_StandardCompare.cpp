// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/StandardCompare.h"

#include <QStringList>
#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;

namespace {
struct Named {
    QString name;
    int place = 0;
};
QString nameOf(const Named &named)
{
    return named.name;
}
}  // namespace

class tst_StandardCompare : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void digitRunsCompareByValue()
    {
        const base::StandardCompare order;

        QVERIFY(order.isLess(u"file2"_s, u"file10"_s));
        QVERIFY(order.isLess(u"file9 part 10"_s, u"file10 part 9"_s));
        QVERIFY(!order.isLess(u"file10"_s, u"file2"_s));
    }

    void caseIsIgnored()
    {
        const base::StandardCompare order;

        QCOMPARE(order.compare(u"README"_s, u"readme"_s), 0);
        QVERIFY(order.isLess(u"alpha"_s, u"Beta"_s));
        QVERIFY(order.isLess(u"Alpha"_s, u"beta"_s));
    }

    void theCLocaleGivesWayToOneThatHasAnOrder()
    {
        const base::StandardCompare order{QLocale::c()};

        QVERIFY(order.isLess(u"file2"_s, u"file10"_s));
        QVERIFY(order.isLess(u"éclair"_s, u"zebra"_s));
    }

    void lettersStandAsTheLocaleHasThem()
    {
        const base::StandardCompare german{QLocale(u"de_DE"_s)};
        const base::StandardCompare swedish{QLocale(u"sv_SE"_s)};

        QVERIFY(german.isLess(u"ä"_s, u"z"_s));
        QVERIFY(swedish.isLess(u"z"_s, u"ä"_s));
    }

    void signsCount()
    {
        const base::StandardCompare order;

        QVERIFY(order.compare(u".x"_s, u"x"_s) != 0);
        QVERIFY(order.compare(u"a b"_s, u"ab"_s) != 0);
    }

    void sortKeysOrderAsTheTextsDo()
    {
        const base::StandardCompare order;
        const QStringList names{u"b"_s, u"B"_s, u"a10"_s, u"a9"_s, u""_s, u".x"_s, u"é"_s, u"z"_s,
            u"Zebra 007"_s, u"zebra 7"_s, u"/a/b"_s, u"~"_s};

        for (const auto &a : names) {
            for (const auto &b : names) {
                const int byText = order.compare(a, b);
                const int byKey = order.sortKey(a).compare(order.sortKey(b));
                QCOMPARE((byText > 0) - (byText < 0), (byKey > 0) - (byKey < 0));
            }
        }
    }

    void equalNamesKeepTheirOrderInASort()
    {
        const base::StandardCompare order;
        QList<Named> list{{u"b"_s, 0}, {u"A"_s, 1}, {u"a"_s, 2}, {u"B"_s, 3}, {u"a"_s, 4}};

        order.sort(list, nameOf);

        QList<int> places;
        for (const auto &named : list)
            places.append(named.place);
        QCOMPARE(places, (QList<int>{1, 2, 4, 0, 3}));
    }

    void anEmptyListStaysEmpty()
    {
        const base::StandardCompare order;
        std::vector<Named> list;

        order.sort(list, nameOf);

        QVERIFY(list.empty());
    }
};

QTEST_GUILESS_MAIN(tst_StandardCompare)
#include "tst_StandardCompare.moc"
