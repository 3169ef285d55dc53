// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/ManualTimer.h"
#include "platform/linux/FileManagerReveal.h"
#include "support/Peer.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFile>
#include <QJsonArray>
#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using platform::FileManagerReveal;
using support::Peer;

class tst_FileManagerReveal : public QObject {
    Q_OBJECT

private:
    /// One reveal with all that it touches.
    struct Desk {
        fakes::ManualTimer timer;
        int openedFolders = 0;
        bool isFolderAccepted = true;
        std::function<void()> onFolderOpened;
        QList<bool> finished;
        std::unique_ptr<FileManagerReveal> reveal;

        void start(const QString &fileManagerId)
        {
            reveal = std::make_unique<FileManagerReveal>(QDBusConnection::sessionBus(), timer,
                FileManagerReveal::Request{u"file:///tmp/a"_s, fileManagerId, u"token"_s},
                [this](const std::function<void(bool)> &opened) {
                    ++openedFolders;
                    opened(isFolderAccepted);
                    if (onFolderOpened)
                        onFolderOpened();
                });
            reveal->start([this](bool isAccepted) { finished.append(isAccepted); });
        }
    };

    static QByteArray servicePath(const QString &name)
    {
        return qgetenv("TEST_BUS_SERVICES") + '/' + name.toUtf8() + ".service";
    }
    static bool reloadServices()
    {
        const auto message = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s,
            u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, u"ReloadConfig"_s);
        return QDBusConnection::sessionBus().call(message).type() == QDBusMessage::ReplyMessage;
    }
    /// Makes `name` one that the bus starts when it is asked for, as a recorder.
    static bool makeActivatable(const QString &name, const QString &logPath)
    {
        QFile file(QFile::decodeName(servicePath(name)));
        return file.open(QIODevice::WriteOnly) &&
               file.write("[D-BUS Service]\nName=" + name.toUtf8() +
                          "\nExec=/usr/bin/python3 " PEERS_FOLDER "/recorder.py " + name.toUtf8() +
                          ' ' + logPath.toUtf8() + '\n') > 0 &&
               file.flush() && reloadServices();
    }

private Q_SLOTS:
    void cleanup()
    {
        for (const auto &name : {u"org.gnome.Nautilus"_s, u"org.freedesktop.FileManager1"_s})
            QFile::remove(QFile::decodeName(servicePath(name)));
        QVERIFY(reloadServices());
    }

    void theUsersFileManagerIsAskedByItsOwnName_data()
    {
        QTest::addColumn<QString>("desktopId");
        QTest::addColumn<QString>("busName");
        QTest::newRow("nautilus") << u"org.gnome.Nautilus.desktop"_s << u"org.gnome.Nautilus"_s;
        QTest::newRow("nemo") << u"nemo.desktop"_s << u"org.Nemo"_s;
        QTest::newRow("caja") << u"caja-folder-handler.desktop"_s << u"org.mate.Caja"_s;
        QTest::newRow("thunar") << u"Thunar-folder-handler.desktop"_s << u"org.xfce.Thunar"_s;
        QTest::newRow("dolphin") << u"org.kde.dolphin.desktop"_s << u"org.kde.dolphin-4711"_s;
        QTest::newRow("pcmanfm-qt") << u"pcmanfm-qt.desktop"_s << u"org.pcmanfm.PCManFM"_s;
    }
    void theUsersFileManagerIsAskedByItsOwnName()
    {
        QFETCH(QString, desktopId);
        QFETCH(QString, busName);
        Peer own;
        Peer other;
        QVERIFY(own.record(busName));
        QVERIFY(other.record(u"org.freedesktop.FileManager1"_s));
        Desk desk;

        desk.start(desktopId);

        QTRY_COMPARE(desk.finished, QList<bool>{true});
        QCOMPARE(own.calls().size(), 1);
        QCOMPARE(own.calls().first()[u"path"_s].toString(), u"/org/freedesktop/FileManager1"_s);
        QCOMPARE(own.calls().first()[u"member"_s].toString(), u"ShowItems"_s);
        QCOMPARE(own.calls().first()[u"arguments"_s].toArray(),
            (QJsonArray{QJsonArray{u"file:///tmp/a"_s}, u"token"_s}));
        QVERIFY(other.calls().isEmpty());
        QCOMPARE(desk.openedFolders, 0);
    }

    void oneThatTheBusCanStartIsStartedByTheQuestion()
    {
        Peer log;
        QVERIFY(makeActivatable(u"org.gnome.Nautilus"_s, log.logPath()));
        Desk desk;

        desk.start(u"org.gnome.Nautilus.desktop"_s);

        QTRY_COMPARE(desk.finished, QList<bool>{true});
        QCOMPARE(log.calls().size(), 1);
        QCOMPARE(desk.openedFolders, 0);
    }

    void oneThatMustBeStartedIsAskedOnceItIsThere()
    {
        Peer own;
        Peer other;
        QVERIFY(other.record(u"org.freedesktop.FileManager1"_s));
        Desk desk;
        bool isStarted = false;
        desk.onFolderOpened = [&] { isStarted = own.record(u"org.pcmanfm.PCManFM"_s); };

        desk.start(u"pcmanfm-qt.desktop"_s);

        QTRY_COMPARE(desk.finished, QList<bool>{true});
        QVERIFY(isStarted);
        QCOMPARE(own.calls().size(), 1);
        QVERIFY(other.calls().isEmpty());
        QCOMPARE(desk.openedFolders, 1);
    }

    void oneThatCannotBeStartedLeavesItToWhicheverAnswers()
    {
        Peer other;
        QVERIFY(other.record(u"org.freedesktop.FileManager1"_s));
        Desk desk;
        desk.isFolderAccepted = false;

        desk.start(u"pcmanfm-qt.desktop"_s);

        QTRY_COMPARE(desk.finished, QList<bool>{true});
        QCOMPARE(other.calls().size(), 1);
    }

    void anUnknownFileManagerLeavesItToWhicheverAnswers()
    {
        Peer other;
        QVERIFY(other.record(u"org.freedesktop.FileManager1"_s));
        Desk desk;

        desk.start(u"doublecmd.desktop"_s);

        QTRY_COMPARE(desk.finished, QList<bool>{true});
        QCOMPARE(other.calls().size(), 1);
        QCOMPARE(desk.openedFolders, 0);
    }

    void oneThatRefusesIsFollowedByTheNext()
    {
        Peer own;
        Peer other;
        QVERIFY(own.record(u"org.Nemo"_s, u"error"_s));
        QVERIFY(other.record(u"org.freedesktop.FileManager1"_s));
        Desk desk;

        desk.start(u"nemo.desktop"_s);

        QTRY_COMPARE(desk.finished, QList<bool>{true});
        QCOMPARE(own.calls().size(), 1);
        QCOMPARE(other.calls().size(), 1);
        QCOMPARE(desk.openedFolders, 0);
    }

    void whenAllRefuseTheFolderIsOpened()
    {
        Peer other;
        QVERIFY(other.record(u"org.freedesktop.FileManager1"_s, u"error"_s));
        Desk desk;

        desk.start({});

        QTRY_COMPARE(desk.finished, QList<bool>{true});
        QCOMPARE(desk.openedFolders, 1);
    }

    void withNobodyThereTheFolderIsOpened()
    {
        Desk desk;
        desk.isFolderAccepted = false;

        desk.start({});

        QTRY_COMPARE(desk.finished, QList<bool>{false});
        QCOMPARE(desk.openedFolders, 1);
    }

    void oneThatHangsIsGivenUpAfterFiveSeconds()
    {
        Peer own;
        QVERIFY(own.record(u"org.Nemo"_s, u"hang"_s));
        Desk desk;
        desk.start(u"nemo.desktop"_s);
        QTRY_COMPARE(own.calls().size(), 1);

        desk.timer.advance(4999ms);
        QVERIFY(desk.finished.isEmpty());
        desk.timer.advance(1ms);

        QCOMPARE(desk.finished, QList<bool>{true});
        QCOMPARE(desk.openedFolders, 1);
        own.stop();
        QVERIFY(QDBusConnection::sessionBus().interface()->isServiceRegistered(
            u"org.freedesktop.DBus"_s));
        QCOMPARE(desk.finished.size(), 1);
    }

    void oneThatWasStartedButNeverAnswersHasItsFolderOpenOnce()
    {
        Desk desk;
        desk.start(u"pcmanfm-qt.desktop"_s);
        QTRY_COMPARE(desk.openedFolders, 1);

        desk.timer.advance(5000ms);

        QCOMPARE(desk.finished, QList<bool>{true});
        QCOMPARE(desk.openedFolders, 1);
    }

    void withoutABusTheFolderIsOpened()
    {
        fakes::ManualTimer timer;
        QList<bool> finished;
        FileManagerReveal reveal(QDBusConnection(u"no such connection"_s), timer,
            {u"file:///tmp/a"_s, {}, {}},
            [](const std::function<void(bool)> &opened) { opened(true); });

        reveal.start([&](bool isAccepted) { finished.append(isAccepted); });

        QCOMPARE(finished, QList<bool>{true});
    }
};

QTEST_GUILESS_MAIN(tst_FileManagerReveal)
#include "tst_FileManagerReveal.moc"
