// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PathRules.h"

#include <QTest>

using namespace vellumhound::settings;
using namespace Qt::StringLiterals;

namespace {

const auto home = u"/home/tester"_s;

/// "+/a -/a/b" is: /a included, /a/b excluded.
PathRules rulesOf(const QString &text)
{
    PathRules rules;
    const auto words = text.split(u' ', Qt::SkipEmptyParts);
    for (const auto &word : words)
        rules.append({word.mid(1), word.startsWith(u'+')});
    return rules;
}

QString textOf(const PathRules &rules)
{
    QStringList words;
    for (const auto &rule : rules)
        words.append((rule.isIncluded ? u'+' : u'-') + rule.path);
    return words.join(u' ');
}

}  // namespace

class tst_PathRules : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("HOME", home.toUtf8()); }

    void aFolderIsBelowAnotherByComponents_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<bool>("isBelow");
        const auto row = [](const char *name, const QString &path, const QString &parent,
                             bool isBelow) { QTest::newRow(name) << path << parent << isBelow; };
        row("child", u"/a/b"_s, u"/a"_s, true);
        row("far below", u"/a/b/c/d"_s, u"/a"_s, true);
        row("everything is below the root", u"/a"_s, u"/"_s, true);
        row("not below itself", u"/a/b"_s, u"/a/b"_s, false);
        row("the root is not below itself", u"/"_s, u"/"_s, false);
        row("same beginning of a name", u"/a/bc"_s, u"/a/b"_s, false);
        row("trailing slash is the same folder", u"/a/b/"_s, u"/a/b"_s, false);
        row("trailing slash at the parent", u"/a/b"_s, u"/a/"_s, true);
        row("single dot", u"/a/./b"_s, u"/a/b"_s, false);
        row("two dots", u"/a/x/../b/c"_s, u"/a/b"_s, true);
        row("two dots lead out", u"/a/b/../../c"_s, u"/a"_s, false);
        row("parent is longer", u"/a"_s, u"/a/b"_s, false);
        row("tilde below home", u"~/x"_s, home, true);
        row("home below the tilde's child", home, u"~/x"_s, false);
        row("tilde is home", u"~"_s, home, false);
        row("case counts", u"/A/b"_s, u"/a"_s, false);
        row("tilde name is a folder at home", u"~other/x"_s, home + u"/other"_s, true);
    }
    void aFolderIsBelowAnotherByComponents()
    {
        QFETCH(QString, path);
        QFETCH(QString, parent);
        QFETCH(bool, isBelow);

        QCOMPARE(isSubFolder(path, parent), isBelow);
    }

    void aRuleBetweenMakesAChildIndirect()
    {
        const auto rules = rulesOf(u"+/a +/a/x -/a/x/b"_s);

        QVERIFY(isDirectSubFolder(u"/a/x"_s, u"/a"_s, rules));
        QVERIFY(isDirectSubFolder(u"/a/x/b"_s, u"/a/x"_s, rules));
        QVERIFY(!isDirectSubFolder(u"/a/x/b"_s, u"/a"_s, rules));
        QVERIFY(isDirectSubFolder(u"/a/y/z"_s, u"/a"_s, rules));
        QVERIFY(!isDirectSubFolder(u"/b"_s, u"/a"_s, rules));
        QVERIFY(!isDirectSubFolder(u"/a"_s, u"/a"_s, rules));
    }

    void theDefaultRulesSpellHomeOut()
    {
        QCOMPARE(textOf(defaultPathRules()).replace(u"Mobile Documents"_s, u"Mobile_Documents"_s),
            u"+/Applications +/home/tester -/home/tester/Library "
            "+/home/tester/Library/CloudStorage "
            "+/home/tester/Library/Mobile_Documents"_s);
        QCOMPARE(textOf(fullDiskPathRules()), u"+/"_s);
    }

    void theDefaultRulesGiveTwoScopesAndThreeFilters()
    {
        const auto derived = deriveFilters(defaultPathRules());

        QCOMPARE(derived.queryScopes, (QStringList{u"/Applications"_s, home}));
        QCOMPARE(derived.appliedFilters, defaultPathRules().mid(2));
    }

    void rulesBecomeScopesAndFilters_data()
    {
        QTest::addColumn<QString>("rules");
        QTest::addColumn<QString>("scopes");
        QTest::addColumn<QString>("filters");
        const auto row = [](const char *name, const QString &rules, const QString &scopes,
                             const QString &filters) {
            QTest::newRow(name) << rules << scopes << filters;
        };
        const auto computer = u"NSMetadataQueryLocalComputerScope"_s;
        row("no rules", u""_s, u""_s, u""_s);
        row("root alone", u"+/"_s, computer, u""_s);
        row("root without the library", u"+/ -~/Library"_s, computer, u"-~/Library"_s);
        row("root and a folder in it", u"+/ +/a"_s, computer, u""_s);
        row("root excluded", u"-/ +/a"_s, u""_s, u"-/ +/a"_s);
        row("same sense below", u"+/a +/a/b"_s, u"/a"_s, u""_s);
        row("turned around twice", u"+/a -/a/b +/a/b/c"_s, u"/a"_s, u"-/a/b +/a/b/c"_s);
        row("excluded without ancestor", u"-/a"_s, u""_s, u"-/a"_s);
        row("no child by its name's beginning", u"+/a/b -/a/bc"_s, u"/a/b"_s, u"-/a/bc"_s);
        row("two scopes in list order", u"+/b +/a"_s, u"/b /a"_s, u""_s);
        row("a later parent does not take the scope back", u"+/a/b +/a"_s, u"/a/b /a"_s, u""_s);
        row("included below an excluded one", u"-/a +/a/b"_s, u""_s, u"-/a +/a/b"_s);
        row("excluded twice", u"+/a -/a/b -/a/b/c"_s, u"/a"_s, u"-/a/b"_s);
        row("tilde kept as stored", u"+~/x -~/x/y"_s, u"~/x"_s, u"-~/x/y"_s);
        row("the same folder in two spellings", u"+/a/ +/a"_s, u"/a/ /a"_s, u""_s);
        row("the longest stored path is the nearest", u"+/a -/a/b +/a/b/./c -/a/b/c/d"_s, u"/a"_s,
            u"-/a/b +/a/b/./c -/a/b/c/d"_s);
        row("the first of equals is the nearest", u"+/a -/a/b/ +/a//b -/a/b/c"_s, u"/a"_s,
            u"-/a/b/"_s);
    }
    void rulesBecomeScopesAndFilters()
    {
        QFETCH(QString, rules);
        QFETCH(QString, scopes);
        QFETCH(QString, filters);

        const auto derived = deriveFilters(rulesOf(rules));

        QCOMPARE(derived.queryScopes.join(u' '), scopes);
        QCOMPARE(textOf(derived.appliedFilters), filters);
    }

    void rulesSortLikeNames()
    {
        const auto sorted = sortedPathRules(rulesOf(u"+/b10 +/B2 -/a +/b2 +/A"_s));

        QCOMPARE(textOf(sorted), u"-/a +/A +/B2 +/b2 +/b10"_s);
    }

    void aTildeSortsAsItIsStored()
    {
        // Spelled out, the home folder would go ahead of "/zzz"; a tilde goes behind a slash.
        const auto sorted = sortedPathRules(rulesOf(u"+~/a +/zzz"_s));

        QCOMPARE(textOf(sorted), u"+/zzz +~/a"_s);
    }

    void homeIsShownAsATilde()
    {
        QCOMPARE(displayForm(home), u"~"_s);
        QCOMPARE(displayForm(home + u"/Library"_s), u"~/Library"_s);
        QCOMPARE(displayForm(u"/Applications"_s), u"/Applications"_s);
        QCOMPARE(displayForm(u"/x"_s + home), u"/x"_s + home);
    }

    void excludingIsChecked_data()
    {
        QTest::addColumn<QString>("rules");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("alert");
        const auto one = u"At least one folder must be included"_s;
        const auto sub = u"Only sub folders of another filter can be excluded"_s;
        QTest::newRow("the only included") << u"+/a"_s << u"/a"_s << one;
        QTest::newRow("the only included below an excluded") << u"-/a +/a/b"_s << u"/a/b"_s << one;
        QTest::newRow("a top folder") << u"+/a +/b"_s << u"/a"_s << sub;
        QTest::newRow("an excluded top folder again") << u"-/a +/b"_s << u"/a"_s << sub;
    }
    void excludingIsChecked()
    {
        QFETCH(QString, rules);
        QFETCH(QString, path);
        QFETCH(QString, alert);

        const auto edit = settingIncluded(rulesOf(rules), path, false);

        QVERIFY(!edit.rules);
        QCOMPARE(edit.alert, alert);
    }

    void aFolderBelowAnyOtherRuleMayBeExcluded()
    {
        const auto edit = settingIncluded(rulesOf(u"+/x -/a +/a/b"_s), u"/a/b"_s, false);

        QCOMPARE(edit, (PathRulesEdit{rulesOf(u"+/x -/a -/a/b"_s), {}}));
    }

    void excludingWhatIsExcludedPassesTheCountOfIncluded()
    {
        const auto edit = settingIncluded(rulesOf(u"+/a -/a/b"_s), u"/a/b"_s, false);

        QCOMPARE(edit, (PathRulesEdit{rulesOf(u"+/a -/a/b"_s), {}}));
    }

    void includingIsNeverRefused()
    {
        const auto edit = settingIncluded(rulesOf(u"-/a +/b"_s), u"/a"_s, true);

        QCOMPARE(edit, (PathRulesEdit{rulesOf(u"+/a +/b"_s), {}}));
    }

    void anUnknownPathChangesNothing()
    {
        const auto rules = rulesOf(u"+/a -/a/b"_s);

        QCOMPARE(settingIncluded(rules, u"/a/b/"_s, true), PathRulesEdit{});
        QCOMPARE(settingIncluded({}, u"/a"_s, false), PathRulesEdit{});
    }

    void deletingIsChecked_data()
    {
        QTest::addColumn<QString>("rules");
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("alert");
        const auto one = u"At least one folder must be included"_s;
        const auto sub =
            u"Cannot delete a folder when any of its direct sub folders are excluded"_s;
        QTest::newRow("excluded child") << u"+/a -/a/b +/c"_s << 0 << sub;
        QTest::newRow("excluded grandchild, nothing between") << u"+/a -/a/x/b +/c"_s << 0 << sub;
        QTest::newRow("included between") << u"+/a +/a/x -/a/x/b +/c"_s << 0 << u""_s;
        QTest::newRow("the child is told before the count") << u"+/a -/a/b"_s << 0 << sub;
        QTest::newRow("the only included") << u"+/a -/b"_s << 0 << one;
        QTest::newRow("an excluded one beside the only included") << u"+/a -/a/b"_s << 1 << u""_s;
        QTest::newRow("included child") << u"+/a +/a/b"_s << 0 << u""_s;
        QTest::newRow("excluded below excluded") << u"+/x -/a -/a/b"_s << 1 << sub;
    }
    void deletingIsChecked()
    {
        QFETCH(QString, rules);
        QFETCH(int, index);
        QFETCH(QString, alert);

        const auto edit = deletingRules(rulesOf(rules), {index});

        QCOMPARE(edit.alert, alert);
        QCOMPARE(edit.rules.has_value(), alert.isEmpty());
        if (edit.rules) {
            auto left = rulesOf(rules);
            left.removeAt(index);
            QCOMPARE(*edit.rules, left);
        }
    }

    void oneRefusedDeletionStopsAll()
    {
        const auto rules = rulesOf(u"+/a +/b -/b/c +/d"_s);

        QVERIFY(!deletingRules(rules, {0, 1, 3}).rules);
        QCOMPARE(deletingRules(rules, {0, 3}).rules, std::optional(rulesOf(u"+/b -/b/c"_s)));
    }

    void everyDeletionIsTestedAgainstTheListAsItStands()
    {
        // Two included rules pass the count one by one, although none is left afterwards.
        QCOMPARE(deletingRules(rulesOf(u"+/a +/b"_s), {0, 1}).rules, std::optional(PathRules{}));
        // A child that goes in the same deletion still counts.
        QVERIFY(!deletingRules(rulesOf(u"+/a -/a/b +/c"_s), {0, 1}).rules);
    }

    void placesOutsideTheListArePassedOver()
    {
        const auto rules = rulesOf(u"+/a +/b"_s);

        QCOMPARE(deletingRules(rules, {-1, 2, 99}), PathRulesEdit{});
        QCOMPARE(deletingRules(rules, {}), PathRulesEdit{});
        QCOMPARE(deletingRules(rules, {-1, 1}).rules, std::optional(rulesOf(u"+/a"_s)));
    }

    void anAddedFolderIsIncludedAndExpanded()
    {
        const auto edit = addingFolder(rulesOf(u"+/b"_s), u"~/x"_s);

        QCOMPARE(edit.rules, std::optional(rulesOf(u"+/b +/home/tester/x"_s)));
    }

    void aFolderIsAddedOnceByItsText()
    {
        const auto rules = rulesOf(u"+/a -/a/b"_s);

        QCOMPARE(addingFolder(rules, u"/a/b"_s).alert, u"This folder is already in the list"_s);
        QVERIFY(!addingFolder(rules, u"/a/b"_s).rules);
        QVERIFY(addingFolder(rules, u"/a/b/"_s).rules.has_value());
    }
};

QTEST_GUILESS_MAIN(tst_PathRules)
#include "tst_PathRules.moc"
