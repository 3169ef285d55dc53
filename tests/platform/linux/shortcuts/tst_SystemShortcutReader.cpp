// SPDX-License-Identifier: GPL-3.0-or-later
// The keys of KDE, Xfce, sway and i3 from files as those desktops write them, and from files that
// no desktop would write.
#include "fakes/FakeDesktopSession.h"
#include "platform/linux/shortcuts/KdeShortcuts.h"
#include "platform/linux/shortcuts/SettingsFile.h"
#include "platform/linux/shortcuts/SystemShortcutReader.h"
#include "platform/linux/shortcuts/XfceShortcuts.h"
#include "support/ShortcutFixture.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <sys/stat.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using support::told;
using support::writeFile;

namespace {

const QByteArray kdeFile = R"([ActivityManager]
_k_friendly_name=Activity Manager
switch-to-activity-1=none,none,Switch to activity "Default"

[kwin]
ExposeAll=Ctrl+F10\tLaunch (C),Ctrl+F10\tLaunch (C),Toggle Present Windows (All desktops)
Walk Through Windows=Alt+Tab,Alt+Tab,Walk Through Windows
Walk Through Windows (Reverse)=Alt+Shift+Backtab,Alt+Shift+Backtab,Walk Through Windows (Reverse)
Window Close=Alt+F4\tMeta+Q,Alt+F4,Close Window
view_zoom_in=Meta+\\,,Meta+=,Zoom In\\, a little
Kill Window=,Ctrl+Alt+Esc,Kill Window
_k_friendly_name=KWin

[org.vellumhound.Vellumhound.desktop]
_k_friendly_name=Vellumhound
launchVellumhound=Ctrl+Space,Ctrl+Space,Show the panel

[services][org.kde.krunner.desktop]
_k_friendly_name=KRunner
_launch=Alt+Space\tAlt+F2\tSearch,Alt+Space,KRunner

[services][org.kde.spectacle.desktop]
_launch=Meta+Print\tMeta+P
)";

const QByteArray xfceFile = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-keyboard-shortcuts" version="1.0">
  <property name="commands" type="empty">
    <property name="default" type="empty">
      <property name="&lt;Alt&gt;F1" type="string" value="xfce4-popup-applicationsmenu"/>
    </property>
    <property name="custom" type="empty">
      <property name="&lt;Alt&gt;F2" type="string" value="xfce4-appfinder --collapsed">
        <property name="startup-notify" type="bool" value="true"/>
      </property>
      <property name="&lt;Primary&gt;space" type="string" value="vellumhound"/>
      <property name="&lt;Super&gt;e" type="string" value=""/>
      <property name="override" type="bool" value="true"/>
    </property>
  </property>
  <property name="xfwm4" type="empty">
    <property name="default" type="empty">
      <property name="&lt;Alt&gt;Tab" type="string" value="cycle_windows_key"/>
      <property name="&lt;Alt&gt;Insert" type="string" value="add_workspace_key"/>
    </property>
  </property>
  <property name="providers" type="array">
    <value type="string" value="xfwm4"/>
  </property>
</channel>
)";

QByteArray noise(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator generator(7);
    for (auto &byte : bytes)
        byte = char(generator.bounded(1, 256));
    return bytes;
}

}  // namespace

class tst_SystemShortcutReader : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> _folder;
    fakes::FakeDesktopSession _session;
    platform::SystemShortcutReader::Places _places;
    platform::XkbKeyCharacters _layout = support::usLayout();

    QString path(const QString &name) const { return _folder->filePath(name); }
    QList<platform::SystemShortcut> found() const
    {
        const platform::SystemShortcutReader shortcuts(
            _session, _layout, nullptr, QDBusConnection(u"none"_s), _places);
        return shortcuts.copySymbolicHotKeys();
    }

private Q_SLOTS:
    void init()
    {
        _folder = std::make_unique<QTemporaryDir>();
        _session = {};
        _places = {};
        _places.home = path(u"home"_s);
        _places.configHome = path(u"config"_s);
        _places.configFolders = {path(u"none"_s), path(u"xdg"_s)};
        _places.systemFolder = path(u"etc"_s);
    }

    void keysOfKdeAreReadWithTheirHolders()
    {
        _session.names = QStringList{u"KDE"_s};
        QVERIFY(writeFile(path(u"config/kglobalshortcutsrc"_s), kdeFile));

        QCOMPARE(told(found()), (QStringList{u"Alt+F2 KRunner"_s, u"Alt+F4 KWin: Close Window"_s,
                                    u"Alt+Shift+Tab KWin: Walk Through Windows (Reverse)"_s,
                                    u"Alt+Space KRunner"_s, u"Alt+Tab KWin: Walk Through Windows"_s,
                                    u"Ctrl+F10 KWin: Toggle Present Windows (All desktops)"_s,
                                    u"Meta+, KWin: Zoom In, a little"_s, u"Meta+P Spectacle"_s,
                                    u"Meta+Q KWin: Close Window"_s}));
    }

    void theFileOfADesktopThatDoesNotRunIsLeftAlone()
    {
        _session.names = QStringList{u"labwc"_s};
        QVERIFY(writeFile(path(u"config/kglobalshortcutsrc"_s), kdeFile));
        QVERIFY(writeFile(path(u"config/sway/config"_s), "bindsym Mod4+q kill\n"));

        QCOMPARE(told(found()), QStringList());
    }

    void keysOfXfceAreTheUsersOwnWhereThereAreAny()
    {
        _session.names = QStringList{u"XFCE"_s};
        const auto channel = u"/xfce4/xfconf/xfce-perchannel-xml/xfce4-keyboard-shortcuts.xml"_s;
        QVERIFY(writeFile(path(u"config"_s) + channel, xfceFile));

        QCOMPARE(told(found()),
            (QStringList{u"Alt+F2 Xfce: xfce4-appfinder --collapsed"_s,
                u"Alt+Ins Xfce: Add workspace"_s, u"Alt+Tab Xfce: Cycle windows"_s}));
    }

    void keysOfXfceThatNobodyChangedAreTheSystems()
    {
        _session.names = QStringList{u"XFCE"_s};
        _places.configFolders = QStringList{u"/etc/xdg"_s};

        const auto lines = told(found());

        QVERIFY2(lines.contains(u"Ctrl+Alt+T Xfce: exo-open --launch TerminalEmulator"_s),
            qPrintable(lines.join(u'\n')));
        QVERIFY(lines.contains(u"Alt+Tab Xfce: Cycle windows"_s));
        QVERIFY(!lines.contains(u"Alt+F2 Xfce: xfce4-appfinder"_s));
    }

    void anEmptyListOfTheUsersReplacesTheDefaults()
    {
        const QByteArray user = "<channel><property name='commands'><property name='custom'>"
                                "<property name='override' type='bool' value='true'/>"
                                "</property></property></channel>";

        QCOMPARE(told(platform::xfceShortcuts(user, xfceFile, _layout)),
            (QStringList{u"Alt+Ins Xfce: Add workspace"_s, u"Alt+Tab Xfce: Cycle windows"_s}));
    }

    void keysOfSwayAreReadFromItsFileWhereItDoesNotAnswer()
    {
        _session.names = QStringList{u"sway"_s};
        _places.swaySocket = path(u"no-socket"_s);
        QVERIFY(writeFile(path(u"config/sway/config"_s),
            "set $mod Mod4\ninclude more/*.conf\nbindsym $mod+Return exec foot\n"));
        QVERIFY(writeFile(path(u"config/sway/more/a.conf"_s), "bindsym $mod+d exec dmenu\n"));

        QCOMPARE(told(found()),
            (QStringList{u"Meta+D sway: exec dmenu"_s, u"Meta+Return sway: exec foot"_s}));
    }

    void aSocketIsEnoughToKnowTheDesktop()
    {
        _places.i3Socket = path(u"no-socket"_s);
        QVERIFY(writeFile(path(u"home/.i3/config"_s), "bindsym Mod1+q kill\n"));

        QCOMPARE(told(found()), QStringList{u"Alt+Q i3: kill"_s});
    }

    void theFirstFileThereIsCounts()
    {
        _session.names = QStringList{u"sway"_s};
        QVERIFY(writeFile(path(u"etc/sway/config"_s), "bindsym Mod4+q kill\n"));
        QCOMPARE(told(found()), QStringList{u"Meta+Q sway: kill"_s});

        QVERIFY(writeFile(path(u"config/sway/config"_s), "bindsym Mod4+w kill\n"));
        QCOMPARE(told(found()), QStringList{u"Meta+W sway: kill"_s});
    }

    void filesThatAreNoSettingsGiveNothing_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("noise") << noise(100'000);
        QTest::newRow("zeros") << QByteArray(1000, '\0');
        QTest::newRow("too large") << QByteArray(10'000'000, 'a');
        QTest::newRow("one long line") << QByteArray(1'900'000, '=');
        QTest::newRow("brackets") << QByteArray(100'000, '[');
        QTest::newRow("backslashes") << QByteArray(100'000, '\\');
        QTest::newRow("commas") << "[a]\nb=" + QByteArray(100'000, ',') + "\n";
        QTest::newRow("tabs") << "[a]\nb=" + QByteArray("\\t").repeated(100'000) + "\n";
        QTest::newRow("deep elements") << QByteArray("<property name='a'>").repeated(50'000);
        QTest::newRow("growing entities") << QByteArray(
            "<!DOCTYPE a [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">"
            "<!ENTITY c \"&b;&b;&b;&b;\">]><channel><property name='&c;'/></channel>");
    }
    void filesThatAreNoSettingsGiveNothing()
    {
        QFETCH(QByteArray, contents);
        const auto channel = u"/xfce4/xfconf/xfce-perchannel-xml/xfce4-keyboard-shortcuts.xml"_s;
        for (const auto &file :
            {u"config/kglobalshortcutsrc"_s, u"config/sway/config"_s, u"config"_s + channel})
            QVERIFY(writeFile(path(file), contents));

        _session.names = QStringList{u"KDE"_s, u"XFCE"_s, u"sway"_s};

        QCOMPARE(told(found()), QStringList());
    }

    void aBrokenFileCountsUpToWhereItBreaks()
    {
        const auto half = xfceFile.first(xfceFile.indexOf("add_workspace"));

        QCOMPARE(told(platform::xfceShortcuts(half, {}, _layout)),
            (QStringList{
                u"Alt+F2 Xfce: xfce4-appfinder --collapsed"_s, u"Alt+Tab Xfce: Cycle windows"_s}));
    }

    void everyBeginningOfAFileCanBeRead()
    {
        qsizetype most = 0;
        for (qsizetype size = 0; size <= kdeFile.size(); ++size) {
            const auto count = platform::kdeShortcuts(kdeFile.first(size), _layout).size();
            QVERIFY(count <= 9);
            most = std::max(most, count);
        }
        for (qsizetype size = 0; size <= xfceFile.size(); ++size)
            QVERIFY(platform::xfceShortcuts(xfceFile.first(size), {}, _layout).size() <= 3);

        QCOMPARE(most, 9);
    }

    void whatIsNoFileIsNotWaitedFor()
    {
        // A pipe that nobody writes into would hold a plain open for ever.
        const auto pipe = path(u"pipe"_s);
        QCOMPARE(::mkfifo(pipe.toLocal8Bit().constData(), 0600), 0);

        QCOMPARE(platform::settingsFileContents(pipe), std::nullopt);
        QCOMPARE(platform::settingsFileContents(_folder->path()), std::nullopt);
        QCOMPARE(platform::settingsFileContents(u"/dev/zero"_s), std::nullopt);
        QCOMPARE(platform::settingsFileContents(path(u"missing"_s)), std::nullopt);
        QCOMPARE(platform::settingsFileContents(QString()), std::nullopt);
    }

    void aFileOfTheLargestSizeIsReadWhole()
    {
        QVERIFY(writeFile(path(u"a"_s), QByteArray(2'000'000, 'a')));
        QVERIFY(writeFile(path(u"b"_s), QByteArray(2'000'001, 'a')));

        QCOMPARE(platform::settingsFileContents(path(u"a"_s))->size(), 2'000'000);
        QCOMPARE(platform::settingsFileContents(path(u"b"_s)), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(tst_SystemShortcutReader)
#include "tst_SystemShortcutReader.moc"
