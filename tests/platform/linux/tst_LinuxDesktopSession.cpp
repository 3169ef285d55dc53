// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/LinuxDesktopSession.h"
#include "support/ShortcutFixture.h"

#include <QTemporaryDir>
#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::LinuxDesktopSession;
using platform::SessionType;

namespace {

QProcessEnvironment environmentOf(const QStringList &assignments)
{
    QProcessEnvironment environment;
    for (const auto &assignment : assignments)
        environment.insert(assignment.section(u'=', 0, 0), assignment.section(u'=', 1));
    return environment;
}

LinuxDesktopSession session(const QStringList &assignments)
{
    return LinuxDesktopSession(environmentOf(assignments), u"/opt/vellumhound"_s, u"/nowhere"_s);
}

bool makeProgram(const QString &path)
{
    return support::writeFile(path, "#!/bin/sh\n") &&
           QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

}  // namespace

class tst_LinuxDesktopSession : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theDesktopSaysItsNames_data()
    {
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("nothing") << QStringList() << QStringList();
        QTest::newRow("GNOME of Ubuntu") << QStringList{u"XDG_CURRENT_DESKTOP=ubuntu:GNOME"_s}
                                         << QStringList{u"ubuntu"_s, u"GNOME"_s};
        QTest::newRow("sway without a name")
            << QStringList{u"SWAYSOCK=/run/sway"_s} << QStringList{u"sway"_s};
        QTest::newRow("i3 without a name")
            << QStringList{u"I3SOCK=/run/i3"_s} << QStringList{u"i3"_s};
        QTest::newRow("sway, which sets both")
            << QStringList{u"I3SOCK=/run/sway"_s, u"SWAYSOCK=/run/sway"_s}
            << QStringList{u"sway"_s};
        QTest::newRow("the name goes before the marks")
            << QStringList{u"XDG_CURRENT_DESKTOP=KDE"_s, u"SWAYSOCK=/run/sway"_s}
            << QStringList{u"KDE"_s};
        QTest::newRow("Hyprland") << QStringList{u"HYPRLAND_INSTANCE_SIGNATURE=x"_s}
                                  << QStringList{u"Hyprland"_s};
        QTest::newRow("labwc") << QStringList{u"LABWC_PID=7"_s} << QStringList{u"labwc"_s};
    }
    void theDesktopSaysItsNames()
    {
        QFETCH(QStringList, environment);
        QFETCH(QStringList, names);

        QCOMPARE(session(environment).desktopNames(), names);
    }

    void theSessionHasAType_data()
    {
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<SessionType>("type");
        QTest::newRow("nothing") << QStringList() << SessionType::unknown;
        QTest::newRow("x11") << QStringList{u"XDG_SESSION_TYPE=x11"_s} << SessionType::x11;
        QTest::newRow("wayland") << QStringList{u"XDG_SESSION_TYPE=wayland"_s, u"DISPLAY=:0"_s}
                                 << SessionType::wayland;
        QTest::newRow("from a terminal")
            << QStringList{u"XDG_SESSION_TYPE=tty"_s, u"WAYLAND_DISPLAY=wayland-1"_s}
            << SessionType::wayland;
        QTest::newRow("display alone") << QStringList{u"DISPLAY=:0"_s} << SessionType::x11;
    }
    void theSessionHasAType()
    {
        QFETCH(QStringList, environment);
        QFETCH(SessionType, type);

        QCOMPARE(session(environment).sessionType(), type);
    }

    void aProgramOnThePathIsCalledByItsName()
    {
        const QTemporaryDir folder;
        const auto program = folder.filePath(u"bin/vellumhound"_s);
        QVERIFY(makeProgram(program));
        const auto path = u"PATH=/none:"_s + folder.filePath(u"bin"_s);

        QCOMPARE(
            LinuxDesktopSession(environmentOf({path}), program, {}).command(), u"vellumhound"_s);
    }

    void anyOtherProgramIsCalledByItsPath()
    {
        const QTemporaryDir folder;
        const auto installed = folder.filePath(u"bin/vellumhound"_s);
        const auto other = folder.filePath(u"it's mine/vellumhound"_s);
        QVERIFY(makeProgram(installed) && makeProgram(other));
        const auto path = u"PATH="_s + folder.filePath(u"bin"_s);

        QCOMPARE(LinuxDesktopSession(environmentOf({path}), other, {}).command(),
            u"'%1/it'\\''s mine/vellumhound'"_s.arg(folder.path()));
        QCOMPARE(LinuxDesktopSession(environmentOf({}), installed, {}).command(), installed);
    }

    void aFlatpakIsCalledAsOne()
    {
        const QTemporaryDir folder;
        const auto info = folder.filePath(u"info"_s);
        QVERIFY(support::writeFile(info, "[Application]\n"));
        const LinuxDesktopSession flatpak(environmentOf({}), u"/app/bin/vellumhound"_s, info);

        QCOMPARE(flatpak.command(), u"flatpak run org.vellumhound.Vellumhound"_s);
        QVERIFY(flatpak.isDesktopEntryInstalled());
    }

    void anActionIsAskedOfTheRunningProgram()
    {
        QCOMPARE(session({}).command(u"selected-files"_s),
            u"gapplication action org.vellumhound.Vellumhound selected-files"_s);
    }

    void theDesktopEntryIsLookedForWhereDesktopsLook()
    {
        const QTemporaryDir folder;
        const auto entry = u"/applications/org.vellumhound.Vellumhound.desktop"_s;
        const auto home = u"HOME="_s + folder.filePath(u"home"_s);
        const auto own = u"XDG_DATA_HOME="_s + folder.filePath(u"own"_s);
        const auto system = u"XDG_DATA_DIRS=/none:"_s + folder.filePath(u"system"_s);
        const auto bySystem = session({home, system});
        const auto byOwn = session({home, own, u"XDG_DATA_DIRS=/none"_s});
        const auto byHome = session({home, u"XDG_DATA_DIRS=/none"_s});
        QVERIFY(!bySystem.isDesktopEntryInstalled() && !byOwn.isDesktopEntryInstalled() &&
                !byHome.isDesktopEntryInstalled());

        QVERIFY(support::writeFile(folder.filePath(u"system"_s) + entry, "x"));
        QVERIFY(bySystem.isDesktopEntryInstalled() && !byOwn.isDesktopEntryInstalled());
        QVERIFY(support::writeFile(folder.filePath(u"own"_s) + entry, "x"));
        QVERIFY(byOwn.isDesktopEntryInstalled() && !byHome.isDesktopEntryInstalled());
        QVERIFY(support::writeFile(folder.filePath(u"home/.local/share"_s) + entry, "x"));
        QVERIFY(byHome.isDesktopEntryInstalled());
    }
};

QTEST_GUILESS_MAIN(tst_LinuxDesktopSession)
#include "tst_LinuxDesktopSession.moc"
