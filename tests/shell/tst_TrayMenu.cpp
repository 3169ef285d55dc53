// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/TrayMenu.h"

#include <QAction>
#include <QLineEdit>
#include <QSignalSpy>
#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::shell;
using namespace Qt::StringLiterals;
using keyboard::KeyShortcut;
namespace ModifierFlags = base::ModifierFlags;

namespace {

MenuState usualState()
{
    MenuState state;
    state.launchShortcut = KeyShortcut{U' ', ModifierFlags::control};
    state.bundle = {u"1.2.3"_s, u"45"_s};
    state.canOpenSettings = true;
    return state;
}

}  // namespace

class tst_TrayMenu : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anActionShowsWhatItsRowSays()
    {
        TrayMenu menu;
        auto state = usualState();
        state.updateAvailable = true;

        menu.setRows(describeMenu(state));

        const auto actions = menu.actions();
        QCOMPARE(actions.size(), 9);
        QCOMPARE(actions[0]->text(), u"Open Vellumhound"_s);
        QCOMPARE(actions[0]->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Space));
        QVERIFY(actions[1]->isSeparator());
        QCOMPARE(actions[2]->shortcut(), QKeySequence(Qt::META | Qt::Key_Comma));
        QVERIFY(!actions[4]->isEnabled());
        QCOMPARE(actions[4]->text(), u"Version 1.2.3 (45)"_s);
        QVERIFY(!actions[5]->icon().isNull());
        QCOMPARE(actions[8]->shortcut(), QKeySequence(Qt::META | Qt::Key_Q));
    }

    void theActionsStayWhileTheirRowsChange()
    {
        TrayMenu menu;
        menu.setRows(describeMenu(usualState()));
        const auto before = menu.actions();
        MenuState changed = usualState();
        changed.launchShortcut.reset();
        changed.canOpenSettings = false;

        menu.setRows(describeMenu(changed));

        QCOMPARE(menu.actions(), before);
        QVERIFY(before[0]->shortcut().isEmpty());
        QVERIFY(!before[2]->isEnabled());
    }

    void otherRowsGetActionsOfTheirOwn()
    {
        TrayMenu menu;
        menu.setRows(describeMenu(usualState()));
        auto withoutVersion = usualState();
        withoutVersion.bundle = {};

        menu.setRows(describeMenu(withoutVersion));

        QCOMPARE(menu.actions().size(), 8);
        QCOMPARE(menu.actions().at(4)->text(), u"Check for Updates"_s);
    }

    void aKeyIsWrittenAsTheToolkitWritesIt_data()
    {
        QTest::addColumn<quint32>("key");
        QTest::addColumn<quint32>("modifiers");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, char32_t key, std::uint32_t modifiers) {
            QTest::newRow(name) << quint32(key) << quint32(modifiers) << QString::fromLatin1(name);
        };
        row("Ctrl+Space", U' ', ModifierFlags::control);
        row("Meta+,", U',', ModifierFlags::command);
        row("Alt+S", U's', ModifierFlags::option);
        row("Meta+Ctrl+Alt+Shift+7", U'7', ModifierFlags::mask);
        row("Ctrl+Backspace", keyboard::KeyCharacter::deleteKey, ModifierFlags::control);
        row("Ctrl+Return", keyboard::KeyCharacter::returnKey, ModifierFlags::control);
        row("Alt+PgDown", keyboard::KeyCharacter::pageDown, ModifierFlags::option);
    }
    void aKeyIsWrittenAsTheToolkitWritesIt()
    {
        QFETCH(quint32, key);
        QFETCH(quint32, modifiers);
        QFETCH(QString, text);

        const auto sequence = toKeySequence({char32_t(key), modifiers});

        QCOMPARE(sequence, QKeySequence(text, QKeySequence::PortableText));
    }

    void aKeyOfTheMenuIsNoShortcutOfOurWindows()
    {
        TrayMenu menu;
        menu.setRows(describeMenu(usualState()));
        QSignalSpy chosen(&menu, &TrayMenu::chosen);
        QLineEdit field;
        field.show();
        QVERIFY(QTest::qWaitForWindowActive(&field));

        QTest::keyClick(field.windowHandle(), Qt::Key_Q, Qt::MetaModifier);
        QTest::keyClick(field.windowHandle(), Qt::Key_Comma, Qt::MetaModifier);
        QTest::keyClick(field.windowHandle(), Qt::Key_Space, Qt::ControlModifier);
        // The last one has come through when its letter is there.
        QTest::keyClick(field.windowHandle(), Qt::Key_X);

        QTRY_VERIFY(field.text().endsWith(u'x'));
        QCOMPARE(chosen.size(), 0);
    }
};

QTEST_MAIN(tst_TrayMenu)
#include "tst_TrayMenu.moc"
