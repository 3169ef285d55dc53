// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/MenuIconView.h"

#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::shell;
using namespace Qt::StringLiterals;
using keyboard::KeyShortcut;
using settings::SettingsTab;

namespace {

MenuState usualState()
{
    MenuState state;
    state.launchShortcut = KeyShortcut{U' ', base::ModifierFlags::control};
    state.bundle = {u"1.2.3"_s, u"45"_s};
    return state;
}

/// One line a row: "text" or "text [symbol]"; a divider is "-", a row that does nothing "(text)".
QStringList dump(const MenuState &state)
{
    QStringList lines;
    for (const auto &row : describeMenu(state)) {
        if (row.kind == MenuRow::Kind::divider) {
            lines.append(u"-"_s);
            continue;
        }
        auto line = row.isEnabled ? row.text : u'(' + row.text + u')';
        if (!row.symbol.isEmpty())
            line += u" ["_s + row.symbol + u']';
        lines.append(line);
    }
    return lines;
}

std::optional<KeyShortcut> keyOf(const MenuState &state, MenuRow::Kind kind)
{
    for (const auto &row : describeMenu(state)) {
        if (row.kind == kind)
            return row.key;
    }
    return std::nullopt;
}

base::KeyEvent press(const QString &letter, std::uint32_t modifiers)
{
    base::KeyEvent event;
    event.equivalent = letter;
    event.modifierFlags = modifiers;
    return event;
}

}  // namespace

class tst_MenuIconView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theRowsStandInTheirOrder()
    {
        auto state = usualState();
        state.canOpenSettings = true;
        state.canCheckForUpdates = true;

        QCOMPARE(dump(state), (QStringList{u"Open Vellumhound"_s, u"-"_s, u"Settings"_s, u"-"_s,
                                  u"(Version 1.2.3 (45))"_s, u"Check for Updates"_s,
                                  u"About Vellumhound"_s, u"-"_s, u"Quit"_s}));
    }

    void whatTheProgramDoesNotHaveCannotBeChosen()
    {
        QCOMPARE(
            dump(usualState()), (QStringList{u"Open Vellumhound"_s, u"-"_s, u"(Settings)"_s, u"-"_s,
                                    u"(Version 1.2.3 (45))"_s, u"(Check for Updates)"_s,
                                    u"(About Vellumhound)"_s, u"-"_s, u"Quit"_s}));
    }

    void theVersionLineNeedsBothParts()
    {
        for (const auto &bundle :
            {base::BundleInfo{u"1.2.3"_s, {}}, base::BundleInfo{{}, u"45"_s}, base::BundleInfo{}}) {
            auto state = usualState();
            state.bundle = bundle;

            QCOMPARE(versionLine(bundle), std::nullopt);
            QCOMPARE(dump(state),
                (QStringList{u"Open Vellumhound"_s, u"-"_s, u"(Settings)"_s, u"-"_s,
                    u"(Check for Updates)"_s, u"(About Vellumhound)"_s, u"-"_s, u"Quit"_s}));
        }
    }

    void theProgramKnowsItsVersion()
    {
        const auto line = versionLine(base::mainBundle());

        QVERIFY(line);
        static const QRegularExpression pattern(u"^Version \\d+\\.\\d+\\.\\d+ \\(\\d+\\)$"_s);
        QVERIFY2(pattern.match(*line).hasMatch(), qPrintable(*line));
    }

    void anUpdateIsOfferedWhetherOrNotACheckCanStart_data()
    {
        QTest::addColumn<bool>("canCheck");
        QTest::newRow("it can") << true;
        QTest::newRow("it runs") << false;
    }
    void anUpdateIsOfferedWhetherOrNotACheckCanStart()
    {
        QFETCH(bool, canCheck);
        auto state = usualState();
        state.updateAvailable = true;
        state.canCheckForUpdates = canCheck;

        const auto rows = dump(state);

        QCOMPARE(rows.value(5), u"Update Available [square.and.arrow.down.fill]"_s);
        QVERIFY(!rows.contains(u"Check for Updates"_s));
    }

    void theKeysAreTheUsersAndTheTwoFixedOnes()
    {
        const auto state = usualState();

        QCOMPARE(keyOf(state, MenuRow::Kind::openVellumhound), state.launchShortcut);
        QCOMPARE(keyOf(state, MenuRow::Kind::settings),
            std::optional(KeyShortcut{U',', base::ModifierFlags::command}));
        QCOMPARE(keyOf(state, MenuRow::Kind::quit),
            std::optional(KeyShortcut{U'q', base::ModifierFlags::command}));
        QCOMPARE(keyOf(state, MenuRow::Kind::about), std::nullopt);
        QCOMPARE(keyOf(state, MenuRow::Kind::checkForUpdates), std::nullopt);
    }

    void withoutAShortcutTheFirstRowHasNoKey()
    {
        auto state = usualState();
        state.launchShortcut.reset();

        QCOMPARE(keyOf(state, MenuRow::Kind::openVellumhound), std::nullopt);
        QCOMPARE(describeMenu(state).constFirst().text, u"Open Vellumhound"_s);
    }

    void eachRowDoesItsOwn()
    {
        QStringList done;
        const MenuActions actions{[&] { done.append(u"present"_s); },
            [&](SettingsTab tab) { done.append(u"tab %1"_s.arg(int(tab))); },
            [&] { done.append(u"check"_s); }, [&] { done.append(u"terminate"_s); }};

        for (const auto &row : describeMenu(usualState()))
            actions.perform(row.kind);

        QCOMPARE(done, (QStringList{u"present"_s, u"tab %1"_s.arg(int(SettingsTab::general)),
                           u"check"_s, u"tab %1"_s.arg(int(SettingsTab::about)), u"terminate"_s}));
    }

    void aRowWithoutAnActionDoesNothing()
    {
        int count = 0;
        const MenuActions actions{[&] { ++count; }, {}, {}, {}};

        for (const auto &row : describeMenu(usualState()))
            actions.perform(row.kind);

        QCOMPARE(count, 1);
    }

    void theMenusKeysHoldInTheWindows()
    {
        QStringList done;
        keyboard::KeyEquivalents keys;
        const MenuActions actions{{},
            [&](SettingsTab tab) { done.append(u"tab %1"_s.arg(int(tab))); }, {},
            [&] { done.append(u"terminate"_s); }};
        const MenuKeys menuKeys(keys, actions);

        QVERIFY(keys.perform(press(u","_s, base::ModifierFlags::command)));
        QVERIFY(keys.perform(press(u"q"_s, base::ModifierFlags::command)));
        QVERIFY(!keys.perform(press(u"q"_s, 0)));
        QVERIFY(!keys.perform(
            press(u"q"_s, base::ModifierFlags::command | base::ModifierFlags::shift)));

        QCOMPARE(done, (QStringList{u"tab %1"_s.arg(int(SettingsTab::general)), u"terminate"_s}));
    }

    void theKeyOfARowThatCanDoNothingGoesOn()
    {
        int ended = 0;
        keyboard::KeyEquivalents keys;
        const MenuActions actions{{}, {}, {}, [&] { ++ended; }};
        const MenuKeys menuKeys(keys, actions);

        QVERIFY(!keys.perform(press(u","_s, base::ModifierFlags::command)));
        QVERIFY(keys.perform(press(u"q"_s, base::ModifierFlags::command)));
        QCOMPARE(ended, 1);
    }

    void aButtonHasItsKeyBeforeTheMenu()
    {
        QStringList done;
        keyboard::KeyEquivalents keys;
        const auto button = keys.add(
            {u"q"_s, base::KeyCode::unknown, base::ModifierFlags::command}, [] { return true; },
            [&] { done.append(u"button"_s); });
        const MenuActions actions{{}, {}, {}, [&] { done.append(u"terminate"_s); }};
        const MenuKeys menuKeys(keys, actions);

        QVERIFY(keys.perform(press(u"q"_s, base::ModifierFlags::command)));

        QCOMPARE(done, QStringList{u"button"_s});
    }

    void thePictureIsEighteenHighAndKeepsItsShape()
    {
        QCOMPARE(MenuIconView::shownSize({100, 50}), QSizeF(36, 18));
        QCOMPARE(MenuIconView::shownSize({9, 36}), QSizeF(4.5, 18));
        QCOMPARE(MenuIconView::shownSize({0, 36}), QSizeF());
    }

    void thePictureFitsTheCellOfTheTray()
    {
        QCOMPARE(MenuIconView::heightInCell(16), 16.0);
        QCOMPARE(MenuIconView::heightInCell(18), 18.0);
        QCOMPARE(MenuIconView::heightInCell(22), 18.0);
        QCOMPARE(MenuIconView::heightInCell(24), 20.0);
        QCOMPARE(MenuIconView::heightInCell(44), 36.0);
    }
};

QTEST_GUILESS_MAIN(tst_MenuIconView)
#include "tst_MenuIconView.moc"
