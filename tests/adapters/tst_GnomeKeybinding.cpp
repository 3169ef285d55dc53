// SPDX-License-Identifier: GPL-3.0-or-later
// GNOME's own schemas: our entries in memory, and the commands that a user is told, run by a shell.
#include "fakes/FakeDesktopSession.h"
#include "keyboard/DesktopKeyInstructions.h"
#include "platform/linux/shortcuts/GnomeKeybinding.h"
#include "platform/linux/shortcuts/GnomeSettings.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::GnomeKeybinding;
using platform::GnomeSettings;

namespace {

constexpr char mediaKeys[] = "org.gnome.settings-daemon.plugins.media-keys";
constexpr char customKey[] = "org.gnome.settings-daemon.plugins.media-keys.custom-keybinding";
const auto folder = u"/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/"_s;
const auto ourPath = folder + u"vellumhound-launchVellumhound/"_s;

const platform::KeySetting::Entry entry{u"launchVellumhound"_s, u"Vellumhound: Show the panel"_s,
    u"<Control>space"_s, u"vellumhound"_s};

QStringList list()
{
    return GnomeSettings(mediaKeys).texts(u"custom-keybindings"_s);
}

QString valueOf(const QString &path, const char *key)
{
    return GnomeSettings(customKey, path).texts(QLatin1StringView(key)).value(0);
}

/// A user's settings in a folder of their own, as a shell sees them.
class Shell {
public:
    QString run(const QString &command)
    {
        QProcess process;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"GSETTINGS_BACKEND"_s, u"keyfile"_s);
        environment.insert(u"XDG_CONFIG_HOME"_s, _folder.path());
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(u"/bin/sh"_s, {u"-c"_s, command});
        process.waitForFinished();
        return QString::fromUtf8(process.readAll()).trimmed();
    }
    QString list()
    {
        return run(u"gsettings get %1 custom-keybindings"_s.arg(QLatin1StringView(mediaKeys)));
    }

private:
    QTemporaryDir _folder;
};

}  // namespace

class tst_GnomeKeybinding : public QObject {
    Q_OBJECT

private:
    fakes::FakeDesktopSession _session;

private Q_SLOTS:
    void initTestCase() { QCOMPARE(qgetenv("GSETTINGS_BACKEND"), "memory"); }
    void init()
    {
        _session.names = QStringList{u"ubuntu"_s, u"GNOME"_s};
        GnomeSettings(mediaKeys).reset(u"custom-keybindings"_s);
        GnomeSettings own(customKey, ourPath);
        for (const auto &key : {u"name"_s, u"command"_s, u"binding"_s})
            own.reset(key);
    }

    void anEntryIsAddedBehindThoseOfTheUser()
    {
        const auto users = folder + u"custom0/"_s;
        QVERIFY(GnomeSettings(mediaKeys).setTexts(u"custom-keybindings"_s, {users}));
        QVERIFY(GnomeSettings(customKey, users).setText(u"binding"_s, u"<Super>e"_s));
        GnomeKeybinding keybinding(_session);
        QVERIFY(keybinding.isOffered());
        QVERIFY(!keybinding.isSet(entry.name));

        QVERIFY(bool(keybinding.set(entry)));

        QVERIFY(keybinding.isSet(entry.name));
        QCOMPARE(list(), (QStringList{users, ourPath}));
        QCOMPARE(valueOf(ourPath, "name"), entry.label);
        QCOMPARE(valueOf(ourPath, "command"), entry.command);
        QCOMPARE(valueOf(ourPath, "binding"), entry.trigger);
        QCOMPARE(valueOf(users, "binding"), u"<Super>e"_s);
    }

    void doingItTwiceIsDoingItOnce()
    {
        GnomeKeybinding keybinding(_session);
        QVERIFY(bool(keybinding.set(entry)));
        auto other = entry;
        other.trigger = u"<Alt>space"_s;

        QVERIFY(bool(keybinding.set(other)));

        QCOMPARE(list(), QStringList{ourPath});
        QCOMPARE(valueOf(ourPath, "binding"), u"<Alt>space"_s);
    }

    void removingLeavesTheOthers()
    {
        GnomeKeybinding keybinding(_session);
        const auto users = QStringList{folder + u"custom0/"_s, u"/somewhere/else/"_s};
        QVERIFY(bool(keybinding.set(entry)));
        QVERIFY(GnomeSettings(mediaKeys).setTexts(
            u"custom-keybindings"_s, {users[0], ourPath, users[1]}));

        keybinding.remove(entry.name);
        keybinding.remove(entry.name);
        keybinding.remove(u"another"_s);

        QVERIFY(!keybinding.isSet(entry.name));
        QCOMPARE(list(), users);
        QCOMPARE(valueOf(ourPath, "command"), QString());
        QCOMPARE(valueOf(ourPath, "binding"), QString());
    }

    void anEntryOutsideTheListIsNotSet()
    {
        GnomeKeybinding keybinding(_session);
        QVERIFY(bool(keybinding.set(entry)));

        GnomeSettings(mediaKeys).reset(u"custom-keybindings"_s);

        QVERIFY(!keybinding.isSet(entry.name));
    }

    void whatCannotBeWrittenIsRefused_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("trigger");
        QTest::addColumn<QString>("command");
        QTest::newRow("no name") << QString() << u"<Alt>a"_s << u"a"_s;
        QTest::newRow("a path for a name") << u"../custom0"_s << u"<Alt>a"_s << u"a"_s;
        QTest::newRow("a quote in the name") << u"a'"_s << u"<Alt>a"_s << u"a"_s;
        QTest::newRow("no key") << u"a"_s << QString() << u"a"_s;
        QTest::newRow("no command") << u"a"_s << u"<Alt>a"_s << QString();
    }
    void whatCannotBeWrittenIsRefused()
    {
        QFETCH(QString, name);
        QFETCH(QString, trigger);
        QFETCH(QString, command);
        GnomeKeybinding keybinding(_session);

        QVERIFY(!keybinding.set({name, u"label"_s, trigger, command}));

        QCOMPARE(list(), QStringList());
    }

    void otherDesktopsAreNotOfferedIt()
    {
        GnomeKeybinding keybinding(_session);
        for (const auto &names :
            {QStringList(), QStringList{u"KDE"_s}, QStringList{u"X-Cinnamon"_s}}) {
            _session.names = names;
            QVERIFY(!keybinding.isOffered());
            QVERIFY(!keybinding.set(entry));
            QVERIFY(!keybinding.isSet(entry.name));
            keybinding.remove(entry.name);
        }
        QCOMPARE(list(), QStringList());
    }

    void theCommandsDoWhatTheyPromise_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        const auto a = u"'"_s + folder + u"custom0/'"_s;
        const auto b = u"'"_s + folder + u"custom1/'"_s;
        const auto ours = u"'"_s + ourPath + u"'"_s;
        QTest::newRow("none") << QString() << u"[%1]"_s.arg(ours);
        QTest::newRow("one") << u"[%1]"_s.arg(a) << u"[%1, %2]"_s.arg(a, ours);
        QTest::newRow("two") << u"[%1, %2]"_s.arg(a, b) << u"[%1, %2, %3]"_s.arg(a, b, ours);
        QTest::newRow("ours") << u"[%1]"_s.arg(ours) << u"[%1]"_s.arg(ours);
        QTest::newRow("ours first") << u"[%1, %2]"_s.arg(ours, a) << u"[%1, %2]"_s.arg(a, ours);
        QTest::newRow("ours between")
            << u"[%1, %2, %3]"_s.arg(a, ours, b) << u"[%1, %2, %3]"_s.arg(a, b, ours);
        QTest::newRow("ours last") << u"[%1, %2]"_s.arg(a, ours) << u"[%1, %2]"_s.arg(a, ours);
    }
    void theCommandsDoWhatTheyPromise()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        Shell shell;
        const auto schema = QLatin1StringView(mediaKeys);
        if (!before.isEmpty())
            QCOMPARE(shell.run(u"gsettings set %1 custom-keybindings \"%2\""_s.arg(schema, before)),
                QString());
        keyboard::DesktopKeyBinding binding{u"launchVellumhound"_s, u"Show the panel"_s, 0x1000,
            {u"Ctrl+Space"_s, u"<Control>space"_s, {}, {}, u"space"_s},
            u"'/opt/it'\\''s mine/vellumhound'"_s, false};

        for (const auto &line :
            keyboard::describeDesktopKeyInstructions({u"GNOME"_s}, binding).lines)
            QCOMPARE(shell.run(line), QString());

        QCOMPARE(shell.list(), after);
        const auto get = u"gsettings get %1.custom-keybinding:%2 "_s.arg(schema, ourPath);
        QCOMPARE(shell.run(get + u"name"_s), u"'Vellumhound: Show the panel'"_s);
        QCOMPARE(shell.run(get + u"binding"_s), u"'<Control>space'"_s);
        QCOMPARE(shell.run(get + u"command"_s), u"\"'/opt/it'\\\\''s mine/vellumhound'\""_s);
    }
};

QTEST_GUILESS_MAIN(tst_GnomeKeybinding)
#include "tst_GnomeKeybinding.moc"
