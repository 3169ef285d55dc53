// SPDX-License-Identifier: GPL-3.0-or-later
// How the desktops write keys, on real layouts and against the toolkits' own names.
#include "base/KeyTable.h"
#include "fakes/FakeKeyCharacters.h"
#include "platform/HotKeyCenter.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/ShortcutText.h"
#include "platform/linux/keyboard/XkbKeyCharacters.h"

#include <QTest>

#include <functional>

using namespace vellumhound::platform;
using namespace Qt::StringLiterals;
namespace KeyTable = vellumhound::base::KeyTable;
namespace Modifiers = HotKeyModifiers;

namespace {

constexpr int all = Modifiers::control | Modifiers::option | Modifiers::shift | Modifiers::command;

XkbKeyCharacters layout(const char *name)
{
    return XkbKeyCharacters(KeyboardLayout::named(name, {}));
}

using Reading = std::function<std::optional<KeyCombination>(QStringView, const KeyCharacters &)>;
using Writing = std::function<QString(const KeyCombination &, const KeyCharacters &)>;

struct Way {
    const char *name;
    Writing write;
    Reading read;  // empty where nobody reads what the desktop has
};

const QList<Way> &ways()
{
    static const QList<Way> list{
        {"Qt", ShortcutText::toQtText, ShortcutText::fromQtText},
        {"GTK", ShortcutText::toGtk, ShortcutText::fromGtk},
        {"portal", ShortcutText::toPortal, {}},
        {"sway", ShortcutText::toSway, ShortcutText::fromSway},
        {"Hyprland", ShortcutText::toHyprland, {}},
    };
    return list;
}

/// "49 4096", or "-" for nothing.
QString told(const std::optional<KeyCombination> &combination)
{
    return combination ? u"%1 %2"_s.arg(combination->keyCode).arg(combination->modifiers, 0, 16)
                       : u"-"_s;
}

}  // namespace

class tst_ShortcutText : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyDesktopWritesAKeyInItsWay_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QStringList>("texts");  // Qt, GTK, portal, sway, Hyprland
        const auto row = [](const char *name, int keyCode, int modifiers,
                             const QStringList &texts) {
            QTest::newRow(name) << keyCode << modifiers << texts;
        };
        row("Control Space", 49, Modifiers::control,
            {u"Ctrl+Space"_s, u"<Control>space"_s, u"CTRL+space"_s, u"Ctrl+space"_s,
                u"CTRL, space"_s});
        row("Option S", 1, Modifiers::option,
            {u"Alt+S"_s, u"<Alt>s"_s, u"ALT+s"_s, u"Mod1+s"_s, u"ALT, s"_s});
        row("Command L", 37, Modifiers::command,
            {u"Meta+L"_s, u"<Super>l"_s, u"LOGO+l"_s, u"Mod4+l"_s, u"SUPER, l"_s});
        row("all and a digit", 18, all,
            {u"Meta+Ctrl+Alt+Shift+1"_s, u"<Control><Alt><Shift><Super>1"_s,
                u"CTRL+ALT+SHIFT+LOGO+1"_s, u"Ctrl+Mod1+Shift+Mod4+1"_s,
                u"CTRL ALT SHIFT SUPER, 1"_s});
        row("F12 alone", 111, 0, {u"F12"_s, u"F12"_s, u"F12"_s, u"F12"_s, u", F12"_s});
        row("F20", 90, Modifiers::shift,
            {u"Shift+F20"_s, u"<Shift>F20"_s, u"SHIFT+F20"_s, u"Shift+F20"_s, u"SHIFT, F20"_s});
        row("plus-minus row", 27, Modifiers::control,
            {u"Ctrl+-"_s, u"<Control>minus"_s, u"CTRL+minus"_s, u"Ctrl+minus"_s, u"CTRL, minus"_s});
        row("comma", 43, Modifiers::control,
            {u"Ctrl+,"_s, u"<Control>comma"_s, u"CTRL+comma"_s, u"Ctrl+comma"_s, u"CTRL, comma"_s});
        row("page up", 116, Modifiers::control,
            {u"Ctrl+PgUp"_s, u"<Control>Prior"_s, u"CTRL+Prior"_s, u"Ctrl+Prior"_s,
                u"CTRL, Prior"_s});
        row("tab with Shift", 48, Modifiers::option | Modifiers::shift,
            {u"Alt+Shift+Tab"_s, u"<Alt><Shift>Tab"_s, u"ALT+SHIFT+Tab"_s, u"Mod1+Shift+Tab"_s,
                u"ALT SHIFT, Tab"_s});
        row("keypad 7", 89, Modifiers::control,
            {u"Ctrl+Num+7"_s, u"<Control>KP_7"_s, u"CTRL+KP_7"_s, u"Ctrl+KP_7"_s, u"CTRL, KP_7"_s});
        row("volume", 72, 0,
            {u"Volume Up"_s, u"XF86AudioRaiseVolume"_s, u"XF86AudioRaiseVolume"_s,
                u"XF86AudioRaiseVolume"_s, u", XF86AudioRaiseVolume"_s});
    }
    void everyDesktopWritesAKeyInItsWay()
    {
        QFETCH(int, keyCode);
        QFETCH(int, modifiers);
        QFETCH(QStringList, texts);
        const auto us = layout("us");

        QStringList written;
        for (const auto &way : ways())
            written.append(way.write({keyCode, modifiers}, us));

        QCOMPARE(written, texts);
    }

    void whatIsWrittenReadsBack_data()
    {
        QTest::addColumn<QByteArray>("name");
        for (const char *name : {"us", "de", "fr", "ru", "gr", "tr", "jp"})
            QTest::newRow(name) << QByteArray(name);
    }
    void whatIsWrittenReadsBack()
    {
        QFETCH(QByteArray, name);
        const auto characters = layout(name.constData());
        int compared = 0;

        for (const auto &key : KeyTable::keys) {
            for (const int modifiers : {0, int(Modifiers::control), int(Modifiers::option), all}) {
                const KeyCombination combination{key.keyCode, modifiers};
                // Where two keys print the same, the first of them is read.
                const auto text = characters.charactersOf(key.keyCode);
                const bool isPrinting = key.kind == KeyTable::Kind::printing;
                const auto *first = std::find_if(
                    std::begin(KeyTable::keys), std::end(KeyTable::keys), [&](const auto &other) {
                        return other.kind == KeyTable::Kind::printing &&
                               characters.charactersOf(other.keyCode) == text;
                    });
                const int expected = isPrinting && text ? first->keyCode : key.keyCode;
                for (const auto &way : ways()) {
                    const auto written = way.write(combination, characters);
                    if (written.isEmpty() || !way.read)
                        continue;
                    QCOMPARE(qPrintable(u"%1 %2: "_s.arg(QLatin1StringView(way.name), written) +
                                        told(way.read(written, characters))),
                        qPrintable(u"%1 %2: "_s.arg(QLatin1StringView(way.name), written) +
                                   told(KeyCombination{expected, modifiers})));
                    ++compared;
                }
                if (const auto number = ShortcutText::toQt(combination, characters)) {
                    QCOMPARE(told(ShortcutText::fromQt(*number, characters)),
                        told(KeyCombination{expected, modifiers}));
                }
            }
        }

        QVERIFY(compared > 900);
    }

    void everyKeyButTheModifiersCanBeWritten()
    {
        // Between them the two have every key.
        const auto us = layout("us");
        const auto japanese = layout("jp");
        QStringList missing;

        for (const auto &key : KeyTable::keys) {
            const KeyCombination combination{key.keyCode, Modifiers::control};
            const bool isExpected = key.kind != KeyTable::Kind::modifier;
            for (const auto &way : ways()) {
                const auto written = way.write(combination, us) + way.write(combination, japanese);
                if (written.isEmpty() == isExpected)
                    missing.append(u"%1 %2"_s.arg(QLatin1StringView(way.name)).arg(key.keyCode));
            }
        }

        QCOMPARE(missing, QStringList());
    }

    void lettersThatShareACapitalAreNotMistakenForEachOther()
    {
        const auto turkish = layout("tr");

        QCOMPARE(turkish.charactersOf(34), u"ı"_s);
        QCOMPARE(ShortcutText::toQt({34, Modifiers::control}, turkish), std::nullopt);
        QCOMPARE(ShortcutText::toQtText({34, Modifiers::control}, turkish), QString());
        QCOMPARE(told(ShortcutText::fromQtText(u"Ctrl+I", turkish)), u"39 1000"_s);
        QCOMPARE(ShortcutText::toGtk({34, Modifiers::control}, turkish), u"<Control>idotless"_s);
    }

    void numbersOfQtAreAsKGlobalAccelWantsThem()
    {
        const auto us = layout("us");

        QCOMPARE(ShortcutText::toQt({49, Modifiers::control}, us), 0x04000020);
        QCOMPARE(ShortcutText::toQt({1, Modifiers::option}, us), 0x08000053);
        QCOMPARE(ShortcutText::toQt({122, Modifiers::command | Modifiers::shift}, us), 0x13000030);
        QCOMPARE(ShortcutText::toQt({89, 0}, us), 0x20000037);
        QCOMPARE(ShortcutText::toQt({55, Modifiers::control}, us), std::nullopt);
        QCOMPARE(ShortcutText::toQt({-1, Modifiers::control}, us), std::nullopt);
        QCOMPARE(told(ShortcutText::fromQt(0x04000020, us)), u"49 1000"_s);
        QCOMPARE(told(ShortcutText::fromQt(
                     int(Qt::AltModifier | Qt::ShiftModifier) | int(Qt::Key_Backtab), us)),
            u"48 a00"_s);
        QCOMPARE(told(ShortcutText::fromQt(int(Qt::KeypadModifier) | int(Qt::Key_Enter), us)),
            u"76 0"_s);
        QCOMPARE(told(ShortcutText::fromQt(int(Qt::Key_Enter), us)), u"76 0"_s);
    }

    void numbersThatAreNoKeyAreNothing()
    {
        const auto us = layout("us");

        for (const int number : {0, -1, 0x20 - 1, int(Qt::Key_Control), int(Qt::Key_Meta),
                 int(Qt::Key_F35), int(Qt::Key_unknown), int(Qt::ControlModifier),
                 int(Qt::GroupSwitchModifier) | 0x41, int(Qt::KeypadModifier) | 0x41, 0x10FFFF,
                 0x7FFFFFFF, int(0x80000000), 0xFF, 0xD800})
            QCOMPARE(told(ShortcutText::fromQt(number, us)), u"-"_s);
    }

    void aKeyIsFoundWhereTheLayoutHasIt_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("us z") << QByteArray("us") << u"Ctrl+Z"_s << u"6 1000"_s;
        QTest::newRow("de z") << QByteArray("de") << u"Ctrl+Z"_s << u"16 1000"_s;
        QTest::newRow("fr a") << QByteArray("fr") << u"Ctrl+A"_s << u"12 1000"_s;
        QTest::newRow("ru s") << QByteArray("ru") << u"Ctrl+S"_s << u"1 1000"_s;
        QTest::newRow("de umlaut") << QByteArray("de") << u"Ctrl+Ö"_s << u"41 1000"_s;
        QTest::newRow("us has no umlaut") << QByteArray("us") << u"Ctrl+Ö"_s << u"-"_s;
        QTest::newRow("fr digits need Shift") << QByteArray("fr") << u"Ctrl+1"_s << u"-"_s;
        QTest::newRow("fr sign") << QByteArray("fr") << u"Ctrl+&"_s << u"18 1000"_s;
    }
    void aKeyIsFoundWhereTheLayoutHasIt()
    {
        QFETCH(QByteArray, name);
        QFETCH(QString, text);
        QFETCH(QString, expected);

        QCOMPARE(told(ShortcutText::fromQtText(text, layout(name.constData()))), expected);
    }

    void withoutALayoutOnlyNamedKeysAreKnown()
    {
        const vellumhound::fakes::FakeKeyCharacters none;

        QCOMPARE(ShortcutText::toGtk({49, Modifiers::control}, none), u"<Control>space"_s);
        QCOMPARE(ShortcutText::toGtk({1, Modifiers::control}, none), QString());
        QCOMPARE(told(ShortcutText::fromGtk(u"<Alt>F4", none)), u"118 800"_s);
        QCOMPARE(told(ShortcutText::fromGtk(u"<Alt>s", none)), u"-"_s);
    }

    void namesThatDesktopsUseAreRead_data()
    {
        QTest::addColumn<QString>("way");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *way, const char16_t *text, const char *expected) {
            QTest::addRow("%s %s", way, qPrintable(QString::fromUtf16(text)))
                << QString::fromLatin1(way) << QString::fromUtf16(text)
                << QString::fromLatin1(expected);
        };
        row("GTK", u"<Primary><Alt>t", "17 1800");
        row("GTK", u"<primary><SHIFT>T", "17 1200");
        row("GTK", u"<Ctrl><Mod1><Mod4>Page_Up", "116 1900");
        row("GTK", u"<Super>Above_Tab", "50 100");
        row("GTK", u"<Shift><Alt>ISO_Left_Tab", "48 a00");
        row("GTK", u"Print", "-");
        row("GTK", u"XF86AudioMute", "74 0");
        row("GTK", u"XF86Calculator", "-");
        row("GTK", u"XF86NoSuchKey", "-");
        row("GTK", u"disabled", "-");
        row("GTK", u"<Hyper>a", "-");
        row("GTK", u"<Release>a", "-");
        row("GTK", u"<Super>", "-");
        row("GTK", u"<Super>Super_L", "-");
        row("GTK", u"<Super>parenleft", "-");
        row("sway", u"mod4+SHIFT+Q", "12 300");
        row("sway", u"q+Mod4", "12 100");
        row("sway", u"Control+Alt+BackSpace", "51 1800");
        row("sway", u"Group1+Mod4+q", "12 100");
        row("sway", u"$mod+q", "-");
        row("sway", u"Mod4+q+w", "-");
        row("sway", u"Mod3+q", "-");
        row("sway", u"Mod5+q", "-");
        row("sway", u"Mod4", "-");
        row("sway", u"Mod4+button1", "-");
        row("sway", u"Mod4+0x71", "-");
        row("sway", u"Mod4+KP_Enter", "76 100");
        row("Qt", u"Ctrl+Num+0", "82 1000");
        row("Qt", u"Alt+Shift+Backtab", "48 a00");
        row("Qt", u"Ctrl+X, Ctrl+S", "-");
        row("Qt", u"none", "-");
        row("Qt", u"Meta", "-");
    }
    void namesThatDesktopsUseAreRead()
    {
        QFETCH(QString, way);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const auto us = layout("us");
        const auto found = std::find_if(ways().cbegin(), ways().cend(),
            [&](const Way &known) { return way == QLatin1StringView(known.name); });
        QVERIFY(found != ways().cend());

        QCOMPARE(told(found->read(text, us)), expected);
    }

    void hardwareCodesArePlaces()
    {
        QCOMPARE(told(ShortcutText::fromSwayCode(u"Ctrl+65")), u"49 1000"_s);
        QCOMPARE(told(ShortcutText::fromSwayCode(u"65")), u"49 0"_s);
        for (const auto *text : {u"Ctrl+space", u"Ctrl+133", u"Ctrl+8", u"Ctrl+-1", u"Ctrl+",
                 u"99999999999999999999", u"Ctrl+65+66", u""})
            QCOMPARE(told(ShortcutText::fromSwayCode(text)), u"-"_s);
    }

    void whatIsNoCombinationIsNothing_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QTest::newRow("close bracket") << u">"_s;
        QTest::newRow("empty bracket") << u"<>a"_s;
        QTest::newRow("bracket never closed") << u"<Control"_s;
        QTest::newRow("brackets in brackets") << u"<<Control>>a"_s;
        QTest::newRow("modifier alone") << u"Ctrl"_s;
        QTest::newRow("two pluses") << u"++"_s;
        QTest::newRow("two pluses and a key") << u"Ctrl++a+"_s;
        QTest::newRow("commas") << u",,,,"_s;
        QTest::newRow("a zero inside") << (u"a"_s + QChar(u'\0') + u"b"_s);
        QTest::newRow("half a pair") << QString(QChar(0xD800));
        QTest::newRow("beyond the first plane") << u"🌐"_s;
        QTest::newRow("control characters") << u"\u0001\u0002\n"_s;
        QTest::newRow("number of a symbol") << u"0x20"_s;
        QTest::newRow("long") << QString(10'000, u'a');
        QTest::newRow("many modifiers") << u"Ctrl+"_s.repeated(5'000) + u"a"_s;
        QTest::newRow("many brackets") << u"<Control>"_s.repeated(5'000) + u"a"_s;
        QTest::newRow("many commas") << QString(10'000, u',');
    }
    void whatIsNoCombinationIsNothing()
    {
        QFETCH(QString, text);
        const auto us = layout("us");

        for (const auto &way : ways()) {
            if (way.read)
                QCOMPARE(told(way.read(text, us)), u"-"_s);
        }
        QCOMPARE(told(ShortcutText::fromSwayCode(text)), u"-"_s);
    }

    void signsAreKeysForQtAlone()
    {
        const auto us = layout("us");

        for (const auto &way : ways()) {
            if (!way.read)
                continue;
            const bool isQt = QLatin1StringView(way.name) == "Qt"_L1;
            QCOMPARE(told(way.read(u" ", us)), isQt ? u"49 0"_s : u"-"_s);
            QCOMPARE(told(way.read(u"<", us)), isQt ? u"10 0"_s : u"-"_s);
        }
    }

    void aPlusAloneIsNoKeyButForQt()
    {
        // Given a layout that prints a plus without Shift.
        const auto german = layout("de");

        QCOMPARE(told(ShortcutText::fromQtText(u"Ctrl++", german)), u"30 1000"_s);
        QCOMPARE(told(ShortcutText::fromGtk(u"<Control>plus", german)), u"30 1000"_s);
        QCOMPARE(told(ShortcutText::fromGtk(u"+", german)), u"-"_s);
        QCOMPARE(told(ShortcutText::fromSway(u"+", german)), u"-"_s);
    }
};

QTEST_GUILESS_MAIN(tst_ShortcutText)
#include "tst_ShortcutText.moc"
