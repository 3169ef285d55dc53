// SPDX-License-Identifier: GPL-3.0-or-later
// What a running sway says of its configuration.
#include "fakes/FakeDesktopSession.h"
#include "platform/linux/shortcuts/SwayConnection.h"
#include "platform/linux/shortcuts/SystemShortcutReader.h"
#include "support/ShortcutFixture.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;

namespace {

/// Beside the one for windows.
QString swaySocket()
{
    const QDir folder(QFileInfo(qEnvironmentVariable("WAYLAND_DISPLAY")).path());
    const auto names = folder.entryList({u"sway-ipc.*.sock"_s}, QDir::System);
    return names.isEmpty() ? QString() : folder.filePath(names.first());
}

}  // namespace

class tst_SwayConnection : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void swayTellsTheConfigurationThatItWasStartedWith()
    {
        const auto socket = swaySocket();
        QVERIFY(!socket.isEmpty());

        const auto running = platform::runningConfiguration(socket, std::chrono::seconds(20));

        QVERIFY(running);
        QFile file(running->path);
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(running->path));
        const auto written = file.readAll();
        QVERIFY(!written.isEmpty());
        QVERIFY(running->text.startsWith(written.trimmed()));
    }

    void theKeysAreThoseOfThatConfigurationAndNoFile()
    {
        // Given a file that sway was not started with.
        const QTemporaryDir folder;
        QVERIFY(support::writeFile(folder.filePath(u"sway/config"_s), "bindsym Mod4+q kill\n"));
        fakes::FakeDesktopSession session;
        session.names = QStringList{u"sway"_s};
        platform::SystemShortcutReader::Places places;
        places.home = folder.path();
        places.configHome = folder.path();
        places.swaySocket = swaySocket();
        const auto layout = support::usLayout();
        const platform::SystemShortcutReader shortcuts(
            session, layout, nullptr, QDBusConnection(u"none"_s), places);

        QTRY_VERIFY(
            !support::told(shortcuts.copySymbolicHotKeys()).contains(u"Meta+Q sway: kill"_s));
    }
};

QTEST_GUILESS_MAIN(tst_SwayConnection)
#include "tst_SwayConnection.moc"
