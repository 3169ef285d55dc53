// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakeKeyCharacters.h"
#include "keyboard/KeyboardShortcuts/MainMenu.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;

class tst_MainMenu : public QObject {
    Q_OBJECT

private:
    fakes::FakeKeyCharacters _layout;

    QString found(const QList<MenuItem> &items, Key key, std::uint32_t flags) const
    {
        const auto item = menuItemWithShortcut(items, Shortcut(key, flags), _layout);
        return item ? item->title : u"none"_s;
    }

private Q_SLOTS:
    void initTestCase() { _layout.printed = {{12, u"q"_s}, {43, u","_s}, {41, u"Ö"_s}}; }

    void anItemMatchesByItsKeyAndExactlyItsModifiers_data()
    {
        QTest::addColumn<QString>("equivalent");
        QTest::addColumn<quint32>("mask");
        QTest::addColumn<quint32>("pressed");
        QTest::addColumn<bool>("isMatch");

        const quint32 command = Flags::command;
        const quint32 shift = Flags::shift;
        const quint32 control = Flags::control;
        QTest::newRow("same") << u"q"_s << command << command << true;
        QTest::newRow("another key") << u"w"_s << command << command << false;
        QTest::newRow("a modifier more") << u"q"_s << command << (command | control) << false;
        QTest::newRow("a modifier less") << u"q"_s << (command | control) << command << false;
        QTest::newRow("an item without a key") << QString() << command << command << false;
        QTest::newRow("upper case is Shift") << u"Q"_s << command << (command | shift) << true;
        QTest::newRow("upper case that says Shift too")
            << u"Q"_s << (command | shift) << (command | shift) << true;
        QTest::newRow("lower case that says Shift")
            << u"q"_s << (command | shift) << (command | shift) << true;
        QTest::newRow("lower case without Shift")
            << u"q"_s << command << (command | shift) << false;
        QTest::newRow("upper case, Command without Shift") << u"Q"_s << command << command << false;
        QTest::newRow("upper case, Control and Shift")
            << u"Q"_s << control << (control | shift) << true;
        QTest::newRow("upper case, Control alone") << u"Q"_s << control << control << false;
    }
    void anItemMatchesByItsKeyAndExactlyItsModifiers()
    {
        QFETCH(QString, equivalent);
        QFETCH(quint32, mask);
        QFETCH(quint32, pressed);
        QFETCH(bool, isMatch);

        const QList<MenuItem> items{{u"Item"_s, equivalent, mask, {}}};

        QCOMPARE(found(items, Key::q, pressed), isMatch ? u"Item"_s : u"none"_s);
    }

    void theKeyIsNamedAsItReadsBeforeItIsCapitalised()
    {
        const QList<MenuItem> items{{u"By sign"_s, u"⎋"_s, Flags::command, {}},
            {u"By word"_s, u"Space"_s, Flags::control | Flags::shift, {}}};

        QCOMPARE(found(items, Key::escape, Flags::command), u"By sign"_s);
        QCOMPARE(found(items, Key::space, Flags::control | Flags::shift), u"none"_s);
    }

    void aKeyWithoutANameMatchesNothing()
    {
        const QList<MenuItem> items{{u"No key"_s, QString(), Flags::command, {}}};

        QCOMPARE(found(items, Key::a, Flags::command), u"none"_s);
    }

    void theFirstHitInDepthEndsTheSearch()
    {
        const QList<MenuItem> items{
            {u"File"_s, {}, 0,
                {{u"Recent"_s, {}, 0, {{u"Deep"_s, u"q"_s, Flags::command, {}}}},
                    {u"Shallow"_s, u"q"_s, Flags::command, {}}}},
            {u"Last"_s, u"q"_s, Flags::command, {}}};

        QCOMPARE(found(items, Key::q, Flags::command), u"Deep"_s);
        QCOMPARE(found({items[0].submenu[1], items[1]}, Key::q, Flags::command), u"Shallow"_s);
    }

    void anItemComesBeforeItsOwnSubmenu()
    {
        const QList<MenuItem> items{
            {u"Outer"_s, u","_s, Flags::command, {{u"Inner"_s, u","_s, Flags::command, {}}}}};

        QCOMPARE(found(items, Key::comma, Flags::command), u"Outer"_s);
    }
};

QTEST_GUILESS_MAIN(tst_MainMenu)
#include "tst_MainMenu.moc"
