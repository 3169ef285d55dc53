// SPDX-License-Identifier: GPL-3.0-or-later
// What keys print, on the layouts that people use and on a real X server.
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/XkbKeyCharacters.h"
#include "support/RunProgram.h"

#include <QGuiApplication>
#include <QTest>

using namespace vellumhound::platform;
using namespace Qt::StringLiterals;
using vellumhound::support::run;

class tst_XkbKeyCharacters : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aKeyPrintsWhatItsCapShows_data()
    {
        QTest::addColumn<QString>("layout");
        QTest::addColumn<QString>("variant");
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<QString>("text");
        QTest::newRow("us s") << u"us"_s << QString() << 1 << u"s"_s;
        QTest::newRow("us comma") << u"us"_s << QString() << 43 << u","_s;
        QTest::newRow("de, key of z") << u"de"_s << QString() << 6 << u"y"_s;
        QTest::newRow("de, umlaut") << u"de"_s << QString() << 41 << u"ö"_s;
        QTest::newRow("de, dead circumflex") << u"de"_s << QString() << 50 << u"^"_s;
        QTest::newRow("de, dead acute") << u"de"_s << QString() << 24 << u"´"_s;
        QTest::newRow("fr, key of q") << u"fr"_s << QString() << 12 << u"a"_s;
        QTest::newRow("fr, first digit") << u"fr"_s << QString() << 18 << u"&"_s;
        QTest::newRow("dvorak, key of s") << u"us"_s << u"dvorak"_s << 1 << u"o"_s;
        QTest::newRow("ru alone, key of s") << u"ru"_s << QString() << 1 << u"s"_s;
        QTest::newRow("ru before de, key of z") << u"ru,de"_s << u","_s << 6 << u"y"_s;
    }
    void aKeyPrintsWhatItsCapShows()
    {
        QFETCH(QString, layout);
        QFETCH(QString, variant);
        QFETCH(int, keyCode);
        QFETCH(QString, text);

        const XkbKeyCharacters characters(
            KeyboardLayout::named(layout.toStdString(), variant.toStdString()));

        QCOMPARE(characters.charactersOf(keyCode), text);
    }

    void keysThatPrintNothingHaveNoText()
    {
        const XkbKeyCharacters characters(KeyboardLayout::named("us", ""));

        for (const int keyCode : {36, 53, 96, 126, 56, 72, -1, 1000})
            QVERIFY2(!characters.charactersOf(keyCode), qPrintable(QString::number(keyCode)));
    }

    void theLayoutInUseCounts()
    {
        const XkbKeyCharacters characters(KeyboardLayout::ofSession());
        QVERIFY(run(u"setxkbmap"_s, {u"us"_s}));
        QTRY_COMPARE(characters.charactersOf(6), u"z"_s);

        QVERIFY(run(u"setxkbmap"_s, {u"de"_s}));
        QTRY_COMPARE(characters.charactersOf(6), u"y"_s);

        QVERIFY(run(u"setxkbmap"_s, {u"us,de"_s}));
        QTRY_COMPARE(characters.charactersOf(6), u"z"_s);
        QVERIFY(run(QStringLiteral(XKB_GROUP), {u"1"_s}));
        QTRY_COMPARE(characters.charactersOf(6), u"y"_s);
        QVERIFY(run(QStringLiteral(XKB_GROUP), {u"0"_s}));
    }

    void theServersLayoutCountsWhereNoneAreInstalled()
    {
        qputenv("XKB_CONFIG_ROOT", "/nonexistent");
        const XkbKeyCharacters characters(KeyboardLayout::ofSession());
        qunsetenv("XKB_CONFIG_ROOT");
        QCOMPARE(characters.charactersOf(1), u"s"_s);

        QVERIFY(run(u"setxkbmap"_s, {u"de"_s}));
        QTRY_COMPARE(characters.charactersOf(6), u"y"_s);

        QVERIFY(run(u"setxkbmap"_s, {u"us"_s}));
        QTRY_COMPARE(characters.charactersOf(6), u"z"_s);
    }

    void whereTheServersKeysHaveNoNamesThoseOfAUsKeyboardCount()
    {
        const XkbKeyCharacters characters(KeyboardLayout::ofSession());
        QVERIFY(run(u"setxkbmap"_s, {u"de"_s}));
        QTRY_COMPARE(characters.charactersOf(6), u"y"_s);
        QStringList emptied;
        for (int code = 8; code < 256; ++code)
            emptied << u"-e"_s << u"keycode %1 ="_s.arg(code);

        QVERIFY(run(u"xmodmap"_s, emptied));

        QTRY_COMPARE(characters.charactersOf(6), u"z"_s);
        QCOMPARE(characters.charactersOf(1), u"s"_s);
        QVERIFY(!characters.charactersOf(53));
        QVERIFY(run(u"setxkbmap"_s, {u"us"_s}));
    }
};

QTEST_MAIN(tst_XkbKeyCharacters)
#include "tst_XkbKeyCharacters.moc"
