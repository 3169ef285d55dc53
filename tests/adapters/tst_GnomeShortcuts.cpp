// SPDX-License-Identifier: GPL-3.0-or-later
// GNOME's own schemas, with the settings in memory.
#include "platform/linux/shortcuts/GnomeSettings.h"
#include "platform/linux/shortcuts/GnomeShortcuts.h"
#include "support/ShortcutFixture.h"

#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::GnomeSettings;
using support::told;

namespace {

constexpr char mediaKeys[] = "org.gnome.settings-daemon.plugins.media-keys";
constexpr char customKey[] = "org.gnome.settings-daemon.plugins.media-keys.custom-keybinding";
constexpr char windowKeys[] = "org.gnome.desktop.wm.keybindings";
const auto customFolder = u"/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/"_s;

QStringList read(const QStringList &desktops = {u"ubuntu"_s, u"GNOME"_s})
{
    return told(platform::gnomeShortcuts(desktops, support::usLayout()));
}

bool setCustom(const QString &entry, const QString &name, const QString &binding)
{
    GnomeSettings custom(customKey, customFolder + entry + u'/');
    return custom.setText(u"name"_s, name) && custom.setText(u"binding"_s, binding);
}

}  // namespace

class tst_GnomeShortcuts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(qgetenv("GSETTINGS_BACKEND"), "memory");
        QVERIFY(GnomeSettings(mediaKeys).isPresent());
        QVERIFY(GnomeSettings(windowKeys).isPresent());
    }

    void cleanup()
    {
        GnomeSettings(mediaKeys).reset(u"custom-keybindings"_s);
        GnomeSettings(windowKeys).reset(u"switch-windows"_s);
    }

    void theDesktopsKeysAreReadWithWhatTheyAreFor()
    {
        const auto lines = read();

        QVERIFY2(lines.contains(u"Alt+Space GNOME: Activate the window menu"_s),
            qPrintable(lines.join(u'\n')));
        QVERIFY(lines.contains(u"Meta+L GNOME: Lock screen"_s));
        QVERIFY(lines.contains(u"Alt+F2 GNOME: Show the run command prompt"_s));
        QVERIFY(lines.contains(u"Meta+Space GNOME: Switch input source"_s));
    }

    void aChangedKeyIsReadAsItIsNow()
    {
        GnomeSettings keys(windowKeys);
        QVERIFY(keys.setTexts(u"switch-windows"_s, {u"<Control>space"_s, u"<Alt>s"_s, u"junk"_s}));

        const auto lines = read();

        QVERIFY2(
            lines.contains(u"Ctrl+Space GNOME: Switch windows"_s), qPrintable(lines.join(u'\n')));
        QVERIFY(lines.contains(u"Alt+S GNOME: Switch windows"_s));
    }

    void theUsersOwnKeysAreAmongThemButOursAreNot()
    {
        QVERIFY(setCustom(u"custom0"_s, u"Mail  program"_s, u"<Super>j"_s));
        QVERIFY(setCustom(u"custom1"_s, QString(), u"<Super>k"_s));
        QVERIFY(setCustom(u"vellumhound-launchVellumhound"_s, u"Vellumhound"_s, u"<Super>y"_s));
        QVERIFY(GnomeSettings(mediaKeys).setTexts(
            u"custom-keybindings"_s, {customFolder + u"custom0/"_s, customFolder + u"custom1"_s,
                                         customFolder + u"vellumhound-launchVellumhound/"_s,
                                         u"/no//path/"_s, QString(), u"nonsense"_s}));

        const auto lines = read();

        QVERIFY2(lines.contains(u"Meta+J GNOME: Mail program"_s), qPrintable(lines.join(u'\n')));
        QVERIFY(lines.contains(u"Meta+K GNOME"_s));
        QVERIFY(!lines.join(u'\n').contains(u"Meta+Y"_s));
    }

    void relativesOfGnomeHaveTheirOwnName()
    {
        QVERIFY(read({u"Budgie"_s, u"GNOME"_s}).contains(u"Meta+L Budgie: Lock screen"_s));
        QVERIFY(read({u"Unity"_s}).contains(u"Meta+L Unity: Lock screen"_s));
    }

    void otherDesktopsAreNotAsked_data()
    {
        QTest::addColumn<QStringList>("desktops");
        QTest::newRow("none") << QStringList();
        QTest::newRow("KDE") << QStringList{u"KDE"_s};
        QTest::newRow("Cinnamon without its schemas") << QStringList{u"X-Cinnamon"_s};
    }
    void otherDesktopsAreNotAsked()
    {
        QFETCH(QStringList, desktops);

        QCOMPARE(read(desktops), QStringList());
    }

    void whatIsNotThereEndsNoProgram()
    {
        GnomeSettings missing("org.example.no.such.schema");
        QVERIFY(!missing.isPresent());
        QCOMPARE(missing.keys(), QStringList());
        QCOMPARE(missing.texts(u"a"_s), QStringList());
        QVERIFY(!missing.setText(u"a"_s, u"b"_s));
        missing.reset(u"a"_s);

        GnomeSettings keys(mediaKeys);
        QCOMPARE(keys.texts(u"no-such-key"_s), QStringList());
        QCOMPARE(keys.texts(QString()), QStringList());
        QCOMPARE(keys.texts(u"max-screencast-length"_s), QStringList());
        QCOMPARE(keys.summary(u"no-such-key"_s), QString());
        QVERIFY(!keys.setText(u"terminal"_s, u"a list is wanted"_s));
        QVERIFY(!keys.setTexts(u"no-such-key"_s, {}));
        keys.reset(u"no-such-key"_s);
    }

    void aPathIsGivenWhereOneIsNeededAndNowhereElse()
    {
        QVERIFY(!GnomeSettings(customKey).isPresent());
        QVERIFY(!GnomeSettings(customKey, u"no/slashes"_s).isPresent());
        QVERIFY(!GnomeSettings(customKey, u"/two//slashes/"_s).isPresent());
        QVERIFY(!GnomeSettings(mediaKeys, u"/a/"_s).isPresent());
        QVERIFY(GnomeSettings(customKey, u"/a/"_s).isPresent());
    }
};

QTEST_GUILESS_MAIN(tst_GnomeShortcuts)
#include "tst_GnomeShortcuts.moc"
