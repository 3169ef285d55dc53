// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/MainQueue.h"
#include "base/NativePath.h"
#include "fakes/ManualTimer.h"
#include "platform/linux/GioWorkspace.h"
#include "support/Peer.h"

#include <QDBusInterface>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <unistd.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::GioWorkspace;
using support::Peer;

namespace {

bool write(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The value of `name` in what a started program wrote down; null if it had none.
QByteArray valueOf(const QByteArray &record, const QByteArray &name)
{
    for (const auto &line : record.split('\n')) {
        if (line.startsWith(name + '='))
            return line.mid(name.size() + 1);
    }
    return {};
}

constexpr char handler[] = R"sh(#!/bin/sh
exec 9>&1 >"$0.tmp"
for argument in "$@"; do echo "argument=$argument"; done
echo "session=$(cut -d' ' -f6 /proc/$$/stat)"
echo "output=$(readlink /proc/$$/fd/9)"
env
mv "$0.tmp" "$0.record"
)sh";

}  // namespace

class tst_GioWorkspace : public QObject {
    Q_OBJECT

private:
    struct Desk {
        base::MainQueue queue;
        base::Background background{queue};
        fakes::ManualTimer timer;
        GioWorkspace workspace;
        QList<bool> accepted;
        QStringList opened;

        explicit Desk(platform::ApplicationEntryName applicationName = {})
            : workspace(
                  background, timer, QDBusConnection::sessionBus(), std::move(applicationName))
        {
            workspace.setAcceptedHandler([this](bool isAccepted) { accepted.append(isAccepted); });
            workspace.setOpenedHandler([this](const QString &path) { opened.append(path); });
        }
    };

    QTemporaryDir _folder;
    QString _applications;

    QString path(const QString &name) const { return _folder.filePath(name); }
    QString addHandler(const QString &name) const
    {
        write(path(name), handler);
        QFile::setPermissions(path(name), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path(name);
    }
    void addEntry(const QString &id, const QString &exec, const QByteArray &more = {}) const
    {
        write(_applications + u'/' + id, "[Desktop Entry]\nType=Application\nName=" + id.toUtf8() +
                                             "\nExec=" + exec.toUtf8() + "\n" + more);
    }
    QByteArray recordOf(const QString &name) const { return read(path(name + u".record"_s)); }

private Q_SLOTS:
    void initTestCase()
    {
        _applications = qEnvironmentVariable("XDG_DATA_HOME") + u"/applications"_s;
        for (const auto *name : {"editor", "folders", "launched", "quiet"})
            QVERIFY(!addHandler(QString::fromLatin1(name)).isEmpty());
        addEntry(u"test-editor.desktop"_s, path(u"editor"_s) + u" %U"_s,
            "StartupNotify=true\nMimeType=text/plain;application/x-desktop;\n");
        addEntry(u"test-folders.desktop"_s, path(u"folders"_s) + u" %F"_s,
            "MimeType=inode/directory;\n");
        addEntry(u"test-launched.desktop"_s, path(u"launched"_s));
        addEntry(u"test-missing.desktop"_s, path(u"not-there"_s));
        addEntry(u"org.example.Activated.desktop"_s, u"/bin/false"_s,
            "DBusActivatable=true\nStartupNotify=true\n");
        QVERIFY(write(qEnvironmentVariable("XDG_CONFIG_HOME") + u"/mimeapps.list"_s,
            "[Default Applications]\ntext/plain=test-editor.desktop\n"
            "application/x-desktop=test-editor.desktop\n"
            "inode/directory=test-folders.desktop\n"));
    }
    void init()
    {
        for (const auto *name : {"editor", "folders", "launched"})
            QFile::remove(path(QString::fromLatin1(name) + u".record"_s));
    }

    void aFileIsOpenedByItsDefaultApplication()
    {
        QVERIFY(write(path(u"note one.txt"_s), "text"));
        Desk desk;

        desk.workspace.openURL(path(u"note one.txt"_s));

        QTRY_COMPARE(desk.accepted, QList<bool>{true});
        QTRY_VERIFY(!recordOf(u"editor"_s).isEmpty());
        QCOMPARE(valueOf(recordOf(u"editor"_s), "argument"), path(u"note one.txt"_s).toUtf8());
        QCOMPARE(desk.opened, QStringList{path(u"note one.txt"_s)});
    }

    void aFolderIsOpenedByTheFileManager()
    {
        Desk desk;

        desk.workspace.openURL(_folder.path());

        QTRY_COMPARE(desk.accepted, QList<bool>{true});
        QTRY_COMPARE(valueOf(recordOf(u"folders"_s), "argument"), _folder.path().toUtf8());
    }

    void aNameThatIsNoTextArrivesByteForByte()
    {
        const auto name = base::pathFromBytes("caf\xe9.txt");
        const auto file = base::appendingPathComponent(_folder.path(), name);
        const int fd = ::open(base::pathToBytes(file).constData(), O_CREAT | O_WRONLY, 0600);
        QVERIFY(fd >= 0);
        ::close(fd);
        Desk desk;

        desk.workspace.openURL(file);

        QTRY_VERIFY(!recordOf(u"editor"_s).isEmpty());
        ::unlink(base::pathToBytes(file).constData());  // the temporary folder's own removal cannot
        QCOMPARE(valueOf(recordOf(u"editor"_s), "argument"), base::pathToBytes(file));
    }

    void theProgramLeavesOurSessionAndWritesNowhere()
    {
        QVERIFY(write(path(u"a.txt"_s), "text"));
        Desk desk;

        desk.workspace.openURL(path(u"a.txt"_s));

        QTRY_VERIFY(!recordOf(u"editor"_s).isEmpty());
        const auto session = valueOf(recordOf(u"editor"_s), "session").toInt();
        QVERIFY(session > 0);
        QVERIFY(session != ::getsid(0));
        QCOMPARE(valueOf(recordOf(u"editor"_s), "output"), QByteArray("/dev/null"));
    }

    void theProgramGetsTheTokenButNotOurOwnVariables()
    {
        QVERIFY(write(path(u"a.txt"_s), "text"));
        qputenv("QT_TEST_OWN", "1");
        qputenv("QT_TEST_OF_THE_USER", "2");
        Desk desk;
        desk.workspace.setOwnVariables({"QT_TEST_OWN"});
        desk.workspace.setTokenSource([] { return QByteArray("token_TIME42"); });

        desk.workspace.openURL(path(u"a.txt"_s));

        QTRY_VERIFY(!recordOf(u"editor"_s).isEmpty());
        const auto record = recordOf(u"editor"_s);
        QCOMPARE(valueOf(record, "XDG_ACTIVATION_TOKEN"), QByteArray("token_TIME42"));
        QCOMPARE(valueOf(record, "DESKTOP_STARTUP_ID"), QByteArray("token_TIME42"));
        QVERIFY(valueOf(record, "QT_TEST_OWN").isNull());
        QCOMPARE(valueOf(record, "QT_TEST_OF_THE_USER"), QByteArray("2"));
    }

    void aStaleTokenOfOurOwnStartIsNotHandedOn()
    {
        QVERIFY(write(path(u"a.txt"_s), "text"));
        qputenv("XDG_ACTIVATION_TOKEN", "stale");
        qputenv("DESKTOP_STARTUP_ID", "stale");
        Desk desk;

        desk.workspace.openURL(path(u"a.txt"_s));

        QTRY_VERIFY(!recordOf(u"editor"_s).isEmpty());
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
        QVERIFY(valueOf(recordOf(u"editor"_s), "XDG_ACTIVATION_TOKEN").isNull());
        QVERIFY(valueOf(recordOf(u"editor"_s), "DESKTOP_STARTUP_ID").isNull());
    }

    void anEntryOfTheApplicationFoldersIsLaunched()
    {
        const auto entry = _applications + u"/test-launched.desktop"_s;
        Desk desk([&](const QString &asked) -> std::optional<QString> {
            return asked == entry ? std::optional(u"Launched"_s) : std::nullopt;
        });

        desk.workspace.openURL(entry);

        QTRY_COMPARE(desk.accepted, QList<bool>{true});
        QTRY_VERIFY(!recordOf(u"launched"_s).isEmpty());
        QVERIFY(recordOf(u"editor"_s).isEmpty());
    }

    void anyOtherDesktopFileOpensAsAFile()
    {
        QVERIFY(write(path(u"loose.desktop"_s),
            "[Desktop Entry]\nType=Application\nName=Loose\nExec=" + path(u"launched"_s).toUtf8() +
                "\n"));
        Desk desk([](const QString &) { return std::nullopt; });

        desk.workspace.openURL(path(u"loose.desktop"_s));

        QTRY_VERIFY(!recordOf(u"editor"_s).isEmpty());
        QVERIFY(recordOf(u"launched"_s).isEmpty());
    }

    void anApplicationThatActivatesOverTheBusGetsTheToken()
    {
        Peer peer;
        QVERIFY(peer.record(u"org.example.Activated"_s));
        Desk desk([](const QString &) { return u"Activated"_s; });
        desk.workspace.setTokenSource([] { return QByteArray("token"); });

        desk.workspace.openURL(_applications + u"/org.example.Activated.desktop"_s);

        QTRY_COMPARE(desk.accepted, QList<bool>{true});
        QTRY_COMPARE(peer.calls().size(), 1);
        const auto call = peer.calls().first();
        QCOMPARE(call[u"interface"_s].toString(), u"org.freedesktop.Application"_s);
        QCOMPARE(call[u"member"_s].toString(), u"Activate"_s);
        QCOMPARE(call[u"path"_s].toString(), u"/org/example/Activated"_s);
        const auto data = call[u"arguments"_s].toArray().first().toObject();
        QCOMPARE(data[u"desktop-startup-id"_s].toString(), u"token"_s);
    }

    void whatCannotBeOpenedIsRefused_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("gone") << path(u"gone.txt"_s);
        QTest::newRow("no application for the type") << path(u"odd.vellumtest"_s);
        QTest::newRow("program not there") << _applications + u"/test-missing.desktop"_s;
        QTest::newRow("empty") << QString();
    }
    void whatCannotBeOpenedIsRefused()
    {
        QFETCH(QString, file);
        QVERIFY(write(path(u"odd.vellumtest"_s), QByteArray("\0\1\2\3", 4)));
        Desk desk([](const QString &asked) -> std::optional<QString> {
            return asked.endsWith(u"missing.desktop"_s) ? std::optional(u"Missing"_s)
                                                        : std::nullopt;
        });

        desk.workspace.openURL(file);

        QTRY_COMPARE(desk.accepted, QList<bool>{false});
        QVERIFY(desk.opened.isEmpty());
    }

    void revealingAsksTheFileManagerThatAnswers()
    {
        Peer peer;
        QVERIFY(peer.record(u"org.freedesktop.FileManager1"_s));
        Desk desk;
        desk.workspace.setTokenSource([] { return QByteArray("token"); });

        desk.workspace.selectFile(path(u"a b.txt"_s), _folder.path());

        QTRY_COMPARE(desk.accepted, QList<bool>{true});
        QCOMPARE(peer.calls().size(), 1);
        const auto arguments = peer.calls().first()[u"arguments"_s].toArray();
        QCOMPARE(arguments[0].toArray(), QJsonArray{QString(u"file://"_s + path(u"a%20b.txt"_s))});
        QCOMPARE(arguments[1].toString(), u"token"_s);
        QVERIFY(recordOf(u"folders"_s).isEmpty());
    }

    void revealingWithoutAFileManagerOnTheBusOpensTheFolder()
    {
        Desk desk;

        desk.workspace.selectFile(path(u"a.txt"_s), _folder.path());

        QTRY_COMPARE(desk.accepted, QList<bool>{true});
        QTRY_COMPARE(valueOf(recordOf(u"folders"_s), "argument"), _folder.path().toUtf8());
    }

    void aWorkspaceThatHasGoneReportsNothing()
    {
        base::MainQueue queue;
        base::Background background(queue);
        fakes::ManualTimer timer;
        bool isReported = false;
        bool isAfter = false;
        {
            GioWorkspace workspace(background, timer, QDBusConnection::sessionBus(), {});
            workspace.setAcceptedHandler([&](bool) { isReported = true; });
            workspace.openURL(path(u"gone.txt"_s));
        }
        background.run<bool>([] { return true; }, [&](bool) { isAfter = true; });

        QTRY_VERIFY(isAfter);
        QVERIFY(!isReported);
    }
};

QTEST_GUILESS_MAIN(tst_GioWorkspace)
#include "tst_GioWorkspace.moc"
