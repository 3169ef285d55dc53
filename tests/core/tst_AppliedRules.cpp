// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"
#include "core/AppliedRules.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vellumhound;
using namespace vellumhound::core;
using settings::PathRule;
using settings::PathRules;

class tst_AppliedRules final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aRuleMatchesByComponents_data();
    void aRuleMatchesByComponents();
    void withoutRulesEverythingIsKept();
    void withoutAMatchAPathIsKept();
    void aSingleMatchDecides();
    void aLongerRuleWinsOverAShorterOne();
    void theLengthIsThatOfTheStoredText();
    void ofEqualRulesTheFirstDecides();
    void aHundredThousandVerdictsAreQuick();
};

void tst_AppliedRules::aRuleMatchesByComponents_data()
{
    const auto home = base::homeDirectoryPath();
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("rule");
    QTest::addColumn<bool>("matches");
    QTest::newRow("below") << u"/a/b/c"_s << u"/a/b"_s << true;
    QTest::newRow("itself") << u"/a/b"_s << u"/a/b"_s << true;
    QTest::newRow("above") << u"/a"_s << u"/a/b"_s << false;
    QTest::newRow("same beginning of a name") << u"/a/bc"_s << u"/a/b"_s << false;
    QTest::newRow("case counts") << u"/A/b"_s << u"/a"_s << false;
    QTest::newRow("slash at the end") << u"/a/b"_s << u"/a/b/"_s << true;
    QTest::newRow("dots in the rule") << u"/a/b/c"_s << u"/a/./x/../b"_s << true;
    QTest::newRow("dots in the path") << u"/a/b/../c"_s << u"/a/b"_s << false;
    QTest::newRow("root") << u"/a"_s << u"/"_s << true;
    QTest::newRow("tilde in the rule") << home + u"/x/y"_s << u"~/x"_s << true;
    QTest::newRow("tilde in the path") << u"~/x/y"_s << home + u"/x"_s << true;
    QTest::newRow("tilde alone") << home + u"/x"_s << u"~"_s << true;
}

void tst_AppliedRules::aRuleMatchesByComponents()
{
    QFETCH(QString, path);
    QFETCH(QString, rule);
    QFETCH(bool, matches);

    QCOMPARE(ruleMatches(path, rule), matches);
    QCOMPARE(appliesRules({PathRule{rule, false}}, path), !matches);
}

void tst_AppliedRules::withoutRulesEverythingIsKept()
{
    QVERIFY(appliesRules({}, u"/a"_s));
}

void tst_AppliedRules::withoutAMatchAPathIsKept()
{
    QVERIFY(appliesRules({PathRule{u"/b"_s, false}, PathRule{u"/c"_s, true}}, u"/a/x"_s));
}

void tst_AppliedRules::aSingleMatchDecides()
{
    QVERIFY(appliesRules({PathRule{u"/a"_s, true}}, u"/a/x"_s));
    QVERIFY(!appliesRules({PathRule{u"/a"_s, false}}, u"/a/x"_s));
}

void tst_AppliedRules::aLongerRuleWinsOverAShorterOne()
{
    const PathRules rules{{u"/Users/a"_s, true}, {u"/Users/a/b"_s, false}};
    const PathRules turned{{u"/Users/a/b"_s, false}, {u"/Users/a"_s, true}};

    for (const auto &order : {rules, turned}) {
        QVERIFY(!appliesRules(order, u"/Users/a/b/c"_s));
        QVERIFY(appliesRules(order, u"/Users/a/c"_s));
    }
}

void tst_AppliedRules::theLengthIsThatOfTheStoredText()
{
    // The rule of the deeper folder is the shorter text.
    const PathRules rules{{u"~/x"_s, false}, {base::homeDirectoryPath() + u"/././."_s, true}};

    QVERIFY(appliesRules(rules, base::homeDirectoryPath() + u"/x/y"_s));
}

void tst_AppliedRules::ofEqualRulesTheFirstDecides()
{
    QVERIFY(appliesRules({PathRule{u"/a"_s, true}, PathRule{u"/a"_s, false}}, u"/a/x"_s));
    QVERIFY(!appliesRules({PathRule{u"/a"_s, false}, PathRule{u"/a"_s, true}}, u"/a/x"_s));
}

void tst_AppliedRules::aHundredThousandVerdictsAreQuick()
{
    const AppliedRules rules({{u"~/Library"_s, false}, {u"/d/e"_s, false}, {u"/d/e/f"_s, true}});
    int kept = 0;

    for (int i = 0; i < 100'000; ++i)
        kept += rules.keeps(i % 2 == 0 ? u"/d/e/f/g/h/a.txt"_s : u"/d/e/g/h/a.txt"_s) ? 1 : 0;

    QCOMPARE(kept, 50'000);
}

QTEST_GUILESS_MAIN(tst_AppliedRules)
#include "tst_AppliedRules.moc"
