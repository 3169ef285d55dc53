// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakeKeyCharacters.h"
#include "keyboard/KeyboardShortcuts/KeyNames.h"

#include <QCoreApplication>
#include <QTest>
#include <QTranslator>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;

namespace {

/// A language in which the space bar has a name of two words.
class OtherLanguage final : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *text, const char *, int) const override
    {
        return QByteArrayView(context) == "KeyboardShortcuts" && QByteArrayView(text) == "Space"
                   ? u"barre d’espace"_s
                   : QString();
    }
};

}  // namespace

class tst_KeyNames : public QObject {
    Q_OBJECT

private:
    fakes::FakeKeyCharacters _layout;

private Q_SLOTS:
    void init() { _layout.printed = {{1, u"s"_s}, {6, u"z"_s}, {16, u"y"_s}}; }

    void fixedNamesWinOverTheLayout_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<QString>("name");
        const std::pair<int, const char16_t *> names[] = {{36, u"↩"}, {51, u"⌫"}, {117, u"⌦"},
            {119, u"↘"}, {53, u"⎋"}, {114, u"?\u20DD"}, {115, u"↖"}, {49, u"Space"}, {48, u"⇥"},
            {116, u"⇞"}, {121, u"⇟"}, {126, u"↑"}, {124, u"→"}, {125, u"↓"}, {123, u"←"},
            {122, u"F1"}, {120, u"F2"}, {99, u"F3"}, {118, u"F4"}, {96, u"F5"}, {97, u"F6"},
            {98, u"F7"}, {100, u"F8"}, {101, u"F9"}, {109, u"F10"}, {103, u"F11"}, {111, u"F12"},
            {105, u"F13"}, {107, u"F14"}, {113, u"F15"}, {106, u"F16"}, {64, u"F17"}, {79, u"F18"},
            {80, u"F19"}, {90, u"F20"}, {82, u"0\u20E3"}, {83, u"1\u20E3"}, {84, u"2\u20E3"},
            {85, u"3\u20E3"}, {86, u"4\u20E3"}, {87, u"5\u20E3"}, {88, u"6\u20E3"},
            {89, u"7\u20E3"}, {91, u"8\u20E3"}, {92, u"9\u20E3"}, {71, u"☒\u20E3"},
            {65, u".\u20E3"}, {75, u"/\u20E3"}, {76, u"↩\u20E3"}, {81, u"=\u20E3"},
            {78, u"-\u20E3"}, {67, u"*\u20E3"}, {69, u"+\u20E3"}};
        QCOMPARE(int(std::size(names)), fixedKeyNameCount);
        for (const auto &[keyCode, name] : names)
            QTest::addRow("%d", keyCode) << keyCode << QString::fromUtf16(name);
    }
    void fixedNamesWinOverTheLayout()
    {
        QFETCH(int, keyCode);
        QFETCH(QString, name);
        _layout.printed = {{keyCode, u"from the layout"_s}};

        QCOMPARE(keyName(keyCode, _layout), name);
    }

    void noOtherKeyHasAFixedName()
    {
        int fixed = 0;
        for (int keyCode = -1; keyCode < 256; ++keyCode)
            fixed += keyName(keyCode, fakes::FakeKeyCharacters()).has_value();

        QCOMPARE(fixed, fixedKeyNameCount);
    }

    void modifiersComeInAFixedOrder()
    {
        const Shortcut all(Key::s, Flags::mask);

        QCOMPARE(description(all, _layout), u"⌃⌥⇧⌘S"_s);
        QCOMPARE(description({1, 0}, _layout), u"S"_s);
        QCOMPARE(modifierText(Flags::mask | Flags::function | Flags::capsLock), u"⌃⌥⇧⌘🌐\uFE0E"_s);
    }

    void aStoredFunctionFlagIsNotShown()
    {
        QCOMPARE(description({1, int(Flags::function) | 0x100}, _layout), u"⌘S"_s);
    }

    void theSpaceBarIsAWordOfTheUsersLanguage()
    {
        const Shortcut controlSpace(Key::space, Flags::control);
        QCOMPARE(description(controlSpace, _layout), u"⌃Space"_s);
        OtherLanguage french;
        QVERIFY(QCoreApplication::installTranslator(&french));

        QCOMPARE(keyName(49, _layout), u"barre d’espace"_s);
        QCOMPARE(description(controlSpace, _layout), u"⌃Barre D’espace"_s);

        QCoreApplication::removeTranslator(&french);
    }

    void aKeyWithoutANameIsAQuestionToTheReader()
    {
        _layout.printed = {{93, QString()}};

        QCOMPARE(description({7, 0x100}, _layout), u"⌘�"_s);
        QCOMPARE(description({93, 0x1000}, _layout), u"⌃�"_s);
        QCOMPARE(description({1, 0x800}, fakes::FakeKeyCharacters()), u"⌥�"_s);
    }

    void aLetterIsReadByTheActiveLayout()
    {
        const Shortcut shortcut(Key::z, Flags::command);
        QCOMPARE(description(shortcut, _layout), u"⌘Z"_s);

        _layout.printed = {{6, u"y"_s}, {16, u"z"_s}};

        QCOMPARE(description(shortcut, _layout), u"⌘Y"_s);
    }

    void lettersBeyondAsciiAreCapitalsToo()
    {
        _layout.printed = {{41, u"ö"_s}, {44, u"𐐨"_s}, {27, u"ß"_s}};

        QCOMPARE(description({41, 0}, _layout), u"Ö"_s);
        QCOMPARE(description({44, 0}, _layout), u"𐐀"_s);
        QCOMPARE(description({27, 0}, _layout), u"ß"_s);
    }
};

QTEST_GUILESS_MAIN(tst_KeyNames)
#include "tst_KeyNames.moc"
