// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/activation/Activation.h"
#include "platform/linux/activation/SingleInstance.h"
#include "support/Peer.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QGuiApplication>
#include <QJsonArray>
#include <QProcess>
#include <QTest>

#include <atomic>
#include <thread>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::SingleInstance;
using support::Peer;

namespace {

const auto busName = u"org.vellumhound.Vellumhound"_s;

/// What happened to the running instance, in order.
struct Diary {
    QStringList entries;

    SingleInstance::Handlers handlers()
    {
        const auto note = [this](const QString &entry) { return [=, this] { entries << entry; }; };
        return {note(u"activate"_s),
            [this](const QStringList &uris) { entries << u"open "_s + uris.join(u' '); },
            note(u"browse"_s), note(u"selected"_s), note(u"settings"_s), note(u"quit"_s)};
    }
};

/// A caller with a connection of its own.
void call(const QString &member, const QVariantList &arguments)
{
    auto message = QDBusMessage::createMethodCall(
        busName, u"/org/vellumhound/Vellumhound"_s, u"org.freedesktop.Application"_s, member);
    message.setArguments(arguments);
    auto caller = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"caller"_s);
    QDBusPendingCall pending = caller.asyncCall(message);
    QTRY_VERIFY(pending.isFinished());
    QVERIFY2(!pending.isError(), qPrintable(pending.error().message()));
}

/// Hands over from a thread, as this process is also the one that answers.
bool handOverMeanwhile()
{
    bool isHandedOver = false;
    std::atomic<bool> isDone = false;
    std::thread second([&] {
        isHandedOver = SingleInstance::handOver();
        isDone = true;
    });
    const bool isInTime = QTest::qWaitFor([&] { return isDone.load(); });
    second.join();
    return isInTime && isHandedOver;
}

}  // namespace

class tst_SingleInstance : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        auto bus = QDBusConnection::sessionBus();
        bus.unregisterService(busName);
        bus.unregisterObject(u"/org/vellumhound/Vellumhound"_s);
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
    }

    void withNobodyThereThereIsNobodyToHandOverTo() { QVERIFY(!SingleInstance::handOver()); }

    void aSecondStartActivatesTheFirst()
    {
        Diary diary;
        SingleInstance instance(diary.handlers());
        QCOMPARE(instance.claim(QDBusConnection::sessionBus()), SingleInstance::Claim::won);

        QVERIFY(handOverMeanwhile());

        QCOMPARE(diary.entries, QStringList{u"activate"_s});
    }

    void aSecondStartHandsOnItsLeaveToTakeTheFocus()
    {
        Peer first;
        QVERIFY(first.record(busName));
        qputenv("XDG_ACTIVATION_TOKEN", "token");
        qputenv("DESKTOP_STARTUP_ID", "id_TIME7");

        QVERIFY(SingleInstance::handOver());

        QTRY_COMPARE(first.calls().size(), 1);
        const auto seen = first.calls().first();
        QCOMPARE(seen[u"path"_s].toString(), u"/org/vellumhound/Vellumhound"_s);
        QCOMPARE(seen[u"interface"_s].toString(), u"org.freedesktop.Application"_s);
        QCOMPARE(seen[u"member"_s].toString(), u"Activate"_s);
        const auto data = seen[u"arguments"_s].toArray().first().toObject();
        QCOMPARE(data[u"activation-token"_s].toString(), u"token"_s);
        QCOMPARE(data[u"desktop-startup-id"_s].toString(), u"id_TIME7"_s);
    }

    void aFirstInstanceThatRefusesIsNone()
    {
        Peer first;
        QVERIFY(first.record(busName, u"error"_s));

        QVERIFY(!SingleInstance::handOver());
    }

    void whoLosesTheRaceIsToldSo()
    {
        Peer faster;
        QVERIFY(faster.record(busName));
        Diary diary;
        SingleInstance instance(diary.handlers());

        QCOMPARE(instance.claim(QDBusConnection::sessionBus()), SingleInstance::Claim::lost);
        QVERIFY(SingleInstance::handOver());
        QTRY_COMPARE(faster.calls().size(), 1);
    }

    void withoutABusItRunsAllTheSame()
    {
        Diary diary;
        SingleInstance instance(diary.handlers());

        QTest::ignoreMessage(QtWarningMsg, "no session bus: a second start will not find this one");
        QCOMPARE(instance.claim(QDBusConnection(u"no such connection"_s)),
            SingleInstance::Claim::withoutBus);
        const auto address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        const bool isHandedOver = SingleInstance::handOver();
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        QVERIFY(!isHandedOver);
    }

    void theEndOfTheBusIsToldOnce()
    {
        QProcess daemon;
        daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
        QVERIFY(daemon.waitForReadyRead());
        const auto address = QString::fromUtf8(daemon.readLine()).trimmed();
        const auto name = u"a bus of its own"_s;
        const auto bus = QDBusConnection::connectToBus(address, name);
        SingleInstance instance({});
        QCOMPARE(instance.claim(bus), SingleInstance::Claim::won);
        static int timesTold = 0;
        auto *const usual =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
                timesTold += text.startsWith(u"the session bus has ended"_s);
            });

        daemon.kill();
        const bool isTold = QTest::qWaitFor([] { return timesTold > 0; });

        qInstallMessageHandler(usual);
        QVERIFY(isTold);
        QCOMPARE(timesTold, 1);
        QVERIFY(!bus.isConnected());
        QTRY_COMPARE(daemon.state(), QProcess::NotRunning);
        QDBusConnection::disconnectFromBus(name);
    }

    void filesAreOpened()
    {
        Diary diary;
        SingleInstance instance(diary.handlers());
        QCOMPARE(instance.claim(QDBusConnection::sessionBus()), SingleInstance::Claim::won);

        call(u"Open"_s, {QStringList{u"file:///a"_s, u"file:///b"_s}, QVariantMap()});

        QCOMPARE(diary.entries, QStringList{u"open file:///a file:///b"_s});
    }

    void eachActionReachesItsHandler()
    {
        Diary diary;
        SingleInstance instance(diary.handlers());
        QCOMPARE(instance.claim(QDBusConnection::sessionBus()), SingleInstance::Claim::won);

        for (const auto &action :
            {u"browse-windows"_s, u"selected-files"_s, u"settings"_s, u"unheard-of"_s, u"quit"_s})
            call(u"ActivateAction"_s, {action, QVariantList(), QVariantMap()});

        QCOMPARE(
            diary.entries, (QStringList{u"browse"_s, u"selected"_s, u"settings"_s, u"quit"_s}));
    }

    void theCallersTokenIsTakenOverBeforeTheHandlerRuns()
    {
        QByteArray tokenAtTheTime;
        SingleInstance::Handlers handlers;
        handlers.activate = [&] { tokenAtTheTime = qgetenv("XDG_ACTIVATION_TOKEN"); };
        SingleInstance instance(handlers);
        QCOMPARE(instance.claim(QDBusConnection::sessionBus()), SingleInstance::Claim::won);

        call(u"Activate"_s, {QVariantMap{{u"activation-token"_s, u"token"_s}}});

        QCOMPARE(tokenAtTheTime, QByteArray("token"));
    }

    void aStartupIdHoldsItsTime_data()
    {
        QTest::addColumn<QString>("startupId");
        QTest::addColumn<qint64>("time");
        QTest::newRow("usual") << u"panel-12-host-0_TIME4711"_s << qint64(4711);
        QTest::newRow("last mark counts") << u"a_TIME1_TIME2"_s << qint64(2);
        QTest::newRow("signed") << u"a_TIME-1"_s << qint64(0xFFFFFFFF);
        QTest::newRow("no mark") << u"a"_s << qint64(-1);
        QTest::newRow("no number") << u"a_TIMEx"_s << qint64(-1);
        QTest::newRow("empty") << QString() << qint64(-1);
        QTest::newRow("too large") << u"a_TIME99999999999"_s << qint64(-1);
    }
    void aStartupIdHoldsItsTime()
    {
        QFETCH(QString, startupId);
        QFETCH(qint64, time);

        const auto found = platform::timeOfStartupId(startupId);

        QCOMPARE(found ? qint64(*found) : qint64(-1), time);
    }
};

QTEST_MAIN(tst_SingleInstance)
#include "tst_SingleInstance.moc"
