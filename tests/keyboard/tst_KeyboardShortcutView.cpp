// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcutView.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::keyboard;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;

class tst_KeyboardShortcutView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void signsComeInAFixedOrder_data()
    {
        QTest::addColumn<KeyShortcut>("shortcut");
        QTest::addColumn<QStringList>("signs");
        QTest::newRow("command shift w") << KeyShortcut{U'w', Flags::command | Flags::shift}
                                         << QStringList{u"⌘"_s, u"⇧"_s, u"W"_s};
        QTest::newRow("shift first") << KeyShortcut{U'w', Flags::shift | Flags::command}
                                     << QStringList{u"⌘"_s, u"⇧"_s, u"W"_s};
        QTest::newRow("command return")
            << KeyShortcut{KeyCharacter::returnKey, Flags::command} << QStringList{u"⌘"_s, u"↩"_s};
        QTest::newRow("command control t") << KeyShortcut{U't', Flags::command | Flags::control}
                                           << QStringList{u"⌘"_s, u"⌃"_s, u"T"_s};
        QTest::newRow("all") << KeyShortcut{U'k', Flags::mask}
                             << QStringList{u"⌘"_s, u"⌥"_s, u"⌃"_s, u"⇧"_s, u"K"_s};
        QTest::newRow("none") << KeyShortcut{U'k', 0} << QStringList{u"K"_s};
        QTest::newRow("other flags")
            << KeyShortcut{U'k', Flags::function | Flags::capsLock} << QStringList{u"K"_s};
    }
    void signsComeInAFixedOrder()
    {
        QFETCH(KeyShortcut, shortcut);
        QFETCH(QStringList, signs);

        QCOMPARE(keySigns(shortcut), signs);
    }

    void aKeyHasASign_data()
    {
        QTest::addColumn<uint>("key");
        QTest::addColumn<QString>("sign");
        const std::pair<uint, const char16_t *> signs[] = {{0xF700, u"↑"}, {0xF701, u"↓"},
            {0xF702, u"←"}, {0xF703, u"→"}, {0xF728, u"⌦"}, {0xF729, u"\u2196\uFE0E"},
            {0xF72B, u"\u2198\uFE0E"}, {0xF72C, u"⇞"}, {0xF72D, u"⇟"}, {0xF739, u"⌧"}, {0x08, u"⌫"},
            {0x09, u"⇥"}, {0x0D, u"↩"}, {0x1B, u"⎋"}, {0x20, u"Space"},
            // What is in no table is a capital, if it has one.
            {'a', u"A"}, {'7', u"7"}, {',', u","}, {0xE4, u"Ä"}, {0xF704, u"\uF704"},
            {0x10428, u"\U00010400"}};
        for (const auto &[key, sign] : signs)
            QTest::addRow("%x", key) << key << QString::fromUtf16(sign);
    }
    void aKeyHasASign()
    {
        QFETCH(uint, key);
        QFETCH(QString, sign);

        QCOMPARE(keySigns({char32_t(key), 0}), QStringList{sign});
    }

    void theDescriptionFollowsTheAppearance()
    {
        KeyboardShortcutView view{{U'w', Flags::command}, ui::ColorScheme::light, 16};

        QCOMPARE(view.describe(),
            (ui::KeyCaps{{u"⌘"_s, u"W"_s}, 16, {0, 0, 0, 1}, {0.98, 0.98, 0.98, 1}}));

        view.colorScheme = ui::ColorScheme::dark;
        QCOMPARE(view.describe(),
            (ui::KeyCaps{{u"⌘"_s, u"W"_s}, 16, {1, 1, 1, 1}, {0.3, 0.3, 0.3, 0.8}}));
    }
};

QTEST_GUILESS_MAIN(tst_KeyboardShortcutView)
#include "tst_KeyboardShortcutView.moc"
