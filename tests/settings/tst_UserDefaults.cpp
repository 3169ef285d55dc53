// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"
#include "fakes/ManualTimer.h"
#include "settings/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace vellumhound;
using namespace vellumhound::settings;
using namespace Qt::StringLiterals;

namespace {

void put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

/// While it lives the process can open no further file.
class NoDescriptorsLeft {
public:
    NoDescriptorsLeft()
    {
        ::getrlimit(RLIMIT_NOFILE, &_before);
        const int lowestFree = ::dup(0);
        ::close(lowestFree);
        const rlimit none{rlim_t(lowestFree), _before.rlim_max};
        if (::setrlimit(RLIMIT_NOFILE, &none) != 0)
            qFatal("the limit cannot be set");
    }
    ~NoDescriptorsLeft() { ::setrlimit(RLIMIT_NOFILE, &_before); }
    Q_DISABLE_COPY_MOVE(NoDescriptorsLeft)

private:
    rlimit _before{};
};

QByteArray get(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

}  // namespace

class tst_UserDefaults : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> _place;
    fakes::ManualTimer _timer;
    QString folder() const { return _place->filePath(u"deep/down/vellumhound"_s); }
    QString file(const QString &key) const { return folder() + u'/' + key + u".json"_s; }

    /// The events of what was done outside have come, and the folder has rested.
    void settle()
    {
        QTRY_VERIFY(_timer.pendingCount() > 0);
        _timer.advance(UserDefaults::settleTime);
    }
    mode_t modeOf(const QString &path) const
    {
        struct stat status {};
        return ::stat(base::pathToBytes(path).constData(), &status) == 0 ? status.st_mode & 0777U
                                                                         : 0;
    }

private Q_SLOTS:
    void init()
    {
        _place = std::make_unique<QTemporaryDir>();
        QVERIFY(_place->isValid());
    }

    void nothingIsMadeBeforeTheFirstWrite()
    {
        UserDefaults defaults(folder(), _timer);

        QVERIFY(!defaults.data(u"appSettings"_s));
        QVERIFY(!QDir(_place->path()).exists(u"deep"_s));

        QVERIFY(defaults.setData(u"appSettings"_s, "{}"));
        QCOMPARE(get(file(u"appSettings"_s)), "{}");
        QCOMPARE(QDir(folder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            QStringList{u"appSettings.json"_s});
    }

    void folderAndFileAreForTheirOwnerAlone()
    {
        UserDefaults defaults(folder(), _timer);
        QVERIFY(defaults.setData(u"a"_s, "1"));

        QCOMPARE(modeOf(folder()), mode_t(0700));
        QCOMPARE(modeOf(file(u"a"_s)), mode_t(0600));
    }

    void aFileThatOthersMayReadIsForItsOwnerAloneAfterAWrite()
    {
        QVERIFY(QDir().mkpath(folder()));
        put(file(u"a"_s), "old");
        QVERIFY(QFile::setPermissions(
            file(u"a"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther));
        UserDefaults defaults(folder(), _timer);

        QVERIFY(defaults.setData(u"a"_s, "new"));

        QCOMPARE(modeOf(file(u"a"_s)), mode_t(0600));
    }

    void bytesComeBackAsTheyWere_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("json") << QByteArray(R"({"a":"\u00e4/"})");
        QTest::newRow("binary") << QByteArray("\0\r\n\xFF\0", 5);
        QTest::newRow("long") << QByteArray(3'000'000, 'x');
    }
    void bytesComeBackAsTheyWere()
    {
        QFETCH(QByteArray, bytes);
        UserDefaults defaults(folder(), _timer);

        QVERIFY(defaults.setData(u"key"_s, bytes));

        QCOMPARE(defaults.data(u"key"_s), std::optional(bytes));
        QCOMPARE(get(file(u"key"_s)), bytes);
        QCOMPARE(UserDefaults(folder(), _timer).data(u"key"_s), std::optional(bytes));
    }

    void aWriteIsToldAtOnceAndOnlyIfItDiffers()
    {
        UserDefaults defaults(folder(), _timer);
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        QVERIFY(defaults.setData(u"a"_s, "1"));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.first().first().toString(), u"a"_s);
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QCOMPARE(spy.count(), 1);
        QVERIFY(defaults.setData(u"b"_s, "1"));
        QVERIFY(defaults.setData(u"a"_s, "2"));
        QCOMPARE(spy.count(), 3);

        // What the watch reports of these writes tells nobody again.
        put(file(u"end"_s), "end");
        settle();
        QCOMPARE(spy.count(), 4);
        QCOMPARE(spy.last().first().toString(), u"end"_s);
    }

    void theNewBytesStandWhenTheChangeIsTold()
    {
        UserDefaults defaults(folder(), _timer);
        std::optional<QByteArray> seen;
        connect(&defaults, &UserDefaults::valueChanged, this,
            [&](const QString &key) { seen = defaults.data(key); });

        QVERIFY(defaults.setData(u"a"_s, "new"));

        QCOMPARE(seen, std::optional<QByteArray>("new"));
    }

    void aChangeFromOutsideIsTold()
    {
        UserDefaults defaults(folder(), _timer);
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QVERIFY(defaults.setData(u"b"_s, "1"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        put(file(u"a"_s), "2");

        settle();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.first().first().toString(), u"a"_s);
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("2"));
    }

    void whatIsStillBeingEditedDoesNotCount()
    {
        UserDefaults defaults(folder(), _timer);
        QVERIFY(defaults.setData(u"a"_s, "before"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);
        QFile edited(file(u"a"_s));

        QVERIFY(edited.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered));
        QTRY_VERIFY(_timer.pendingCount() > 0);
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("before"));
        _timer.advance(UserDefaults::settleTime - std::chrono::milliseconds(1));
        QCOMPARE(edited.write("af"), 2);
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("before"));
        QCOMPARE(spy.count(), 0);
        QCOMPARE(edited.write("ter"), 3);
        edited.close();

        settle();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("after"));
    }

    void eachFurtherTouchBeginsTheRestAnew()
    {
        UserDefaults defaults(folder(), _timer);
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);
        put(file(u"a"_s), "2");
        QTRY_VERIFY(_timer.pendingCount() > 0);
        _timer.advance(UserDefaults::settleTime - std::chrono::milliseconds(1));
        put(file(u"a"_s), "3");
        QCoreApplication::processEvents();

        _timer.advance(UserDefaults::settleTime - std::chrono::milliseconds(1));
        QCOMPARE(spy.count(), 0);
        _timer.advance(std::chrono::milliseconds(1));

        QCOMPARE(spy.count(), 1);
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("3"));
    }

    void anEmptiedFileIsNoChangeYet()
    {
        UserDefaults defaults(folder(), _timer);
        QVERIFY(defaults.setData(u"a"_s, "before"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        put(file(u"a"_s), "");
        settle();

        QCOMPARE(spy.count(), 0);
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("before"));
        QCOMPARE(get(file(u"a"_s)), "");
        put(file(u"a"_s), "after");
        settle();
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("after"));
    }

    void aFileThatCanNoLongerBeReadIsNoChangeAndIsNotWrittenOver_data()
    {
        QTest::addColumn<bool>("isLarge");
        QTest::newRow("over sixteen megabytes") << true;
        QTest::newRow("no regular file") << false;
    }
    void aFileThatCanNoLongerBeReadIsNoChangeAndIsNotWrittenOver()
    {
        QFETCH(bool, isLarge);
        UserDefaults defaults(folder(), _timer);
        QVERIFY(defaults.setData(u"a"_s, "before"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);
        if (isLarge) {
            QVERIFY(QFile::resize(file(u"a"_s), UserDefaults::mostBytes + 1));
        } else {
            QVERIFY(QFile::remove(file(u"a"_s)));
            QVERIFY(QDir().mkpath(file(u"a"_s)));
        }
        settle();

        QCOMPARE(spy.count(), 0);
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("before"));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"cannot be read: a "_s));
        QVERIFY(!defaults.setData(u"a"_s, "new"));
        QCOMPARE(QFileInfo(file(u"a"_s)).isDir(), !isLarge);
        if (isLarge)
            QCOMPARE(QFileInfo(file(u"a"_s)).size(), UserDefaults::mostBytes + 1);
    }

    void withoutADescriptorLeftAValueIsNeitherLostNorWrittenOver()
    {
        UserDefaults defaults(folder(), _timer);
        QVERIFY(defaults.setData(u"a"_s, "before"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);
        put(file(u"a"_s), "after");
        QTRY_VERIFY(_timer.pendingCount() > 0);
        {
            const NoDescriptorsLeft shortage;
            _timer.advance(UserDefaults::settleTime);
            QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("before"));
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"cannot be read: a "_s));
            QVERIFY(!defaults.setData(u"a"_s, "new"));
        }
        QCOMPARE(spy.count(), 0);
        QCOMPARE(get(file(u"a"_s)), "after");
    }

    void aFileReplacedFromOutsideIsToldEachTime()
    {
        UserDefaults defaults(folder(), _timer);
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        for (int round = 1; round <= 3; ++round) {
            const auto other = folder() + u"/.a.swp"_s;
            put(other, "round " + QByteArray::number(round));
            QCOMPARE(std::rename(QFile::encodeName(other).constData(),
                         QFile::encodeName(file(u"a"_s)).constData()),
                0);
            settle();
            QCOMPARE(spy.count(), round);
        }
    }

    void aTouchFromOutsideIsNotTold()
    {
        UserDefaults defaults(folder(), _timer);
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        QFile same(file(u"a"_s));
        QVERIFY(same.open(QIODevice::ReadWrite));
        QCOMPARE(same.write("1"), 1);
        same.close();
        QVERIFY(same.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup));
        put(file(u"end"_s), "end");

        settle();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.first().first().toString(), u"end"_s);
    }

    void aFolderMadeFromOutsideIsNoticed()
    {
        UserDefaults defaults(folder(), _timer);
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        QVERIFY(QDir().mkpath(folder()));
        put(file(u"a"_s), "1");

        settle();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("1"));
    }

    void whatOthersDoInTheFolderAboveIsNoMatter()
    {
        QVERIFY(QDir().mkpath(_place->filePath(u"deep/down"_s)));
        UserDefaults defaults(folder(), _timer);

        put(_place->filePath(u"deep/down/other.json"_s), "1");
        QVERIFY(QDir().mkpath(_place->filePath(u"deep/down/other"_s)));
        QCoreApplication::processEvents();
        QCOMPARE(_timer.pendingCount(), 0);

        QVERIFY(QDir().mkpath(folder()));
        QTRY_VERIFY(_timer.pendingCount() > 0);
    }

    void aFileThatALinkLeadsToIsFollowed()
    {
        QVERIFY(QDir().mkpath(folder()));
        const auto real = _place->filePath(u"dotfile"_s);
        put(real, "1");
        QVERIFY(QFile::link(real, file(u"a"_s)));
        UserDefaults defaults(folder(), _timer);
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("1"));

        put(real, "2");
        settle();
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("2"));
        put(_place->filePath(u"dotfile.new"_s), "3");
        QCOMPARE(std::rename(QFile::encodeName(_place->filePath(u"dotfile.new"_s)).constData(),
                     QFile::encodeName(real).constData()),
            0);
        settle();
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("3"));
        put(real, "4");
        settle();

        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("4"));
    }

    void aRemovalIsTold()
    {
        UserDefaults defaults(folder(), _timer);
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QVERIFY(defaults.setData(u"b"_s, "1"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        QVERIFY(defaults.removeData(u"a"_s));
        QCOMPARE(spy.count(), 1);
        QVERIFY(!defaults.data(u"a"_s));
        QVERIFY(defaults.removeData(u"a"_s));
        QCOMPARE(spy.count(), 1);

        QVERIFY(QDir(folder()).removeRecursively());
        settle();
        QCOMPARE(spy.count(), 2);
        QCOMPARE(spy.last().first().toString(), u"b"_s);

        QVERIFY(defaults.setData(u"b"_s, "2"));
        QCOMPARE(spy.count(), 3);
        QCOMPARE(defaults.data(u"b"_s), std::optional<QByteArray>("2"));
    }

    void whatIsNoRegularFileIsAbsentAndDoesNotBlock()
    {
        QVERIFY(QDir().mkpath(file(u"folder"_s)));
        QCOMPARE(::mkfifo(QFile::encodeName(file(u"pipe"_s)).constData(), 0600), 0);
        QVERIFY(QFile::link(u"/dev/zero"_s, file(u"device"_s)));
        QVERIFY(QFile::link(u"/nowhere/at/all"_s, file(u"broken"_s)));

        UserDefaults defaults(folder(), _timer);

        QVERIFY(!defaults.data(u"folder"_s));
        QVERIFY(!defaults.data(u"pipe"_s));
        QVERIFY(!defaults.data(u"device"_s));
        QVERIFY(!defaults.data(u"broken"_s));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"cannot be read: folder "_s));
        QVERIFY(!defaults.setData(u"folder"_s, "1"));
        QVERIFY(!defaults.removeData(u"folder"_s));
    }

    void aFileBeyondAllSenseIsAbsent()
    {
        QVERIFY(QDir().mkpath(folder()));
        put(file(u"a"_s), "1");
        QVERIFY(QFile::resize(file(u"a"_s), UserDefaults::mostBytes + 1));
        UserDefaults defaults(folder(), _timer);

        QVERIFY(!defaults.data(u"a"_s));
        QVERIFY(QFile::resize(file(u"a"_s), UserDefaults::mostBytes));
        settle();
        QVERIFY(defaults.data(u"a"_s).has_value());
    }

    void aFolderOfUndecodableBytesIsUsedAsItIs()
    {
        const auto odd = base::pathFromBytes(
            (QFile::encodeName(_place->path()) + "/caf\xE9/vellumhound").toStdString());
        UserDefaults defaults(odd, _timer);

        QVERIFY(defaults.setData(u"a"_s, "1"));

        QCOMPARE(modeOf(odd + u"/a.json"_s), mode_t(0600));
        QCOMPARE(UserDefaults(odd, _timer).data(u"a"_s), std::optional<QByteArray>("1"));
        // Such names are none to the toolkit, but a sibling of another name would be.
        QCOMPARE(QDir(_place->path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList());
        QCOMPARE(::unlink(base::pathToBytes(odd + u"/a.json"_s).constData()), 0);
        settle();
        QVERIFY(!defaults.data(u"a"_s));
        QCOMPARE(::rmdir(base::pathToBytes(odd).constData()), 0);
        QCOMPARE(::rmdir(base::pathToBytes(base::deletingLastPathComponent(odd)).constData()), 0);
    }

    void aFolderThatCannotBeMadeFailsTheWriteAlone()
    {
        put(_place->filePath(u"deep"_s), "a file in the way");
        UserDefaults defaults(folder(), _timer);
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"cannot be made: a"_s));
        QVERIFY(!defaults.setData(u"a"_s, "1"));
        QVERIFY(!defaults.data(u"a"_s));
        QCOMPARE(spy.count(), 0);
        QCOMPARE(get(_place->filePath(u"deep"_s)), "a file in the way");
    }

    void aLinkedFileIsWrittenWhereItLeads()
    {
        QVERIFY(QDir().mkpath(folder()));
        const auto real = _place->filePath(u"dotfile"_s);
        put(real, "old");
        QVERIFY(QFile::link(real, file(u"a"_s)));
        UserDefaults defaults(folder(), _timer);

        QVERIFY(defaults.setData(u"a"_s, "new"));

        QVERIFY(QFileInfo(file(u"a"_s)).isSymLink());
        QCOMPARE(get(real), "new");
    }

    void aKeyCannotLeadOutOfTheFolder()
    {
        UserDefaults defaults(folder(), _timer);
        for (const auto &key : {u""_s, u"../a"_s, u"/a"_s, u"a/b"_s, u"."_s, u".hidden"_s}) {
            QVERIFY(!defaults.setData(key, "1"));
            QVERIFY(!defaults.data(key));
            QVERIFY(!defaults.removeData(key));
        }
    }

    void booleansArePlainWords()
    {
        UserDefaults defaults(folder(), _timer);
        QVERIFY(!defaults.boolean(u"fda_suppressed"_s));

        QVERIFY(defaults.setBoolean(u"fda_suppressed"_s, true));
        QCOMPARE(get(file(u"fda_suppressed"_s)), "true");
        QVERIFY(defaults.boolean(u"fda_suppressed"_s));
        QVERIFY(defaults.setBoolean(u"fda_suppressed"_s, false));
        QCOMPARE(get(file(u"fda_suppressed"_s)), "false");
        QVERIFY(!defaults.boolean(u"fda_suppressed"_s));

        put(file(u"fda_suppressed"_s), "true\n");
        settle();
        QVERIFY(defaults.boolean(u"fda_suppressed"_s));
        put(file(u"fda_suppressed"_s), "1");
        settle();
        QVERIFY(!defaults.boolean(u"fda_suppressed"_s));
    }

    void aReaderOnAnotherThreadSeesWholeValues()
    {
        UserDefaults defaults(folder(), _timer);
        const QByteArray a(50'000, 'a');
        const QByteArray b(50'000, 'b');
        QVERIFY(defaults.setData(u"key"_s, a));
        int torn = 0;

        std::thread reader([&] {
            for (int i = 0; i < 300; ++i) {
                const auto bytes = defaults.data(u"key"_s);
                torn += bytes != a && bytes != b;
            }
        });
        for (int i = 0; i < 30; ++i)
            defaults.setData(u"key"_s, i % 2 ? a : b);
        reader.join();

        QCOMPARE(torn, 0);
    }

    void theStandardFolderFollowsTheEnvironment()
    {
        qputenv("HOME", "/home/tester");
        qputenv("XDG_CONFIG_HOME", "/etc/elsewhere/");
        QCOMPARE(UserDefaults::standardFolder(), u"/etc/elsewhere/vellumhound"_s);
        qputenv("XDG_CONFIG_HOME", "relative");
        QCOMPARE(UserDefaults::standardFolder(), u"/home/tester/.config/vellumhound"_s);
        qputenv("XDG_CONFIG_HOME", "/etc/caf\xE9");
        QCOMPARE(base::pathToBytes(UserDefaults::standardFolder()), "/etc/caf\xE9/vellumhound");
        qunsetenv("XDG_CONFIG_HOME");
        QCOMPARE(UserDefaults::standardFolder(), u"/home/tester/.config/vellumhound"_s);
    }
};

QTEST_GUILESS_MAIN(tst_UserDefaults)
#include "tst_UserDefaults.moc"
