// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <thread>

using namespace vellumhound::settings;
using namespace Qt::StringLiterals;

namespace {

void put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

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
    QString folder() const { return _place->filePath(u"deep/down/vellumhound"_s); }
    QString file(const QString &key) const { return folder() + u'/' + key + u".json"_s; }

private Q_SLOTS:
    void init()
    {
        _place = std::make_unique<QTemporaryDir>();
        QVERIFY(_place->isValid());
    }

    void nothingIsMadeBeforeTheFirstWrite()
    {
        UserDefaults defaults(folder());

        QVERIFY(!defaults.data(u"appSettings"_s));
        QVERIFY(!QDir(_place->path()).exists(u"deep"_s));

        QVERIFY(defaults.setData(u"appSettings"_s, "{}"));
        QCOMPARE(get(file(u"appSettings"_s)), "{}");
        QCOMPARE(QDir(folder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            QStringList{u"appSettings.json"_s});
    }

    void theFolderIsForItsOwnerAlone()
    {
        UserDefaults defaults(folder());
        QVERIFY(defaults.setData(u"a"_s, "1"));

        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(folder()).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777U, 0700U);
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
        UserDefaults defaults(folder());

        QVERIFY(defaults.setData(u"key"_s, bytes));

        QCOMPARE(defaults.data(u"key"_s), std::optional(bytes));
        QCOMPARE(get(file(u"key"_s)), bytes);
        QCOMPARE(UserDefaults(folder()).data(u"key"_s), std::optional(bytes));
    }

    void aWriteIsToldAtOnceAndOnlyIfItDiffers()
    {
        UserDefaults defaults(folder());
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
        QTRY_COMPARE(spy.count(), 4);
        QCOMPARE(spy.last().first().toString(), u"end"_s);
    }

    void theNewBytesStandWhenTheChangeIsTold()
    {
        UserDefaults defaults(folder());
        std::optional<QByteArray> seen;
        connect(&defaults, &UserDefaults::valueChanged, this,
            [&](const QString &key) { seen = defaults.data(key); });

        QVERIFY(defaults.setData(u"a"_s, "new"));

        QCOMPARE(seen, std::optional<QByteArray>("new"));
    }

    void aChangeFromOutsideIsTold()
    {
        UserDefaults defaults(folder());
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QVERIFY(defaults.setData(u"b"_s, "1"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        put(file(u"a"_s), "2");

        QTRY_VERIFY(spy.count() > 0);
        for (const auto &change : std::as_const(spy))
            QCOMPARE(change.first().toString(), u"a"_s);
        QCOMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("2"));
    }

    void aFileReplacedFromOutsideIsToldEachTime()
    {
        UserDefaults defaults(folder());
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        for (int round = 1; round <= 3; ++round) {
            const auto other = folder() + u"/.a.swp"_s;
            put(other, "round " + QByteArray::number(round));
            QCOMPARE(std::rename(QFile::encodeName(other).constData(),
                         QFile::encodeName(file(u"a"_s)).constData()),
                0);
            QTRY_COMPARE(spy.count(), round);
        }
    }

    void aTouchFromOutsideIsNotTold()
    {
        UserDefaults defaults(folder());
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        QFile same(file(u"a"_s));
        QVERIFY(same.open(QIODevice::ReadWrite));
        QCOMPARE(same.write("1"), 1);
        same.close();
        QVERIFY(same.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup));
        put(file(u"end"_s), "end");

        QTRY_VERIFY(spy.count() > 0);
        for (const auto &change : std::as_const(spy))
            QCOMPARE(change.first().toString(), u"end"_s);
    }

    void aFolderMadeFromOutsideIsNoticed()
    {
        UserDefaults defaults(folder());
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        QVERIFY(QDir().mkpath(folder()));
        put(file(u"a"_s), "1");

        QTRY_VERIFY(spy.count() > 0);
        QTRY_COMPARE(defaults.data(u"a"_s), std::optional<QByteArray>("1"));
    }

    void aRemovalIsTold()
    {
        UserDefaults defaults(folder());
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QVERIFY(defaults.setData(u"b"_s, "1"));
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

        QVERIFY(defaults.removeData(u"a"_s));
        QCOMPARE(spy.count(), 1);
        QVERIFY(!defaults.data(u"a"_s));
        QVERIFY(defaults.removeData(u"a"_s));
        QCOMPARE(spy.count(), 1);

        QVERIFY(QDir(folder()).removeRecursively());
        QTRY_COMPARE(spy.count(), 2);
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

        UserDefaults defaults(folder());

        QVERIFY(!defaults.data(u"folder"_s));
        QVERIFY(!defaults.data(u"pipe"_s));
        QVERIFY(!defaults.data(u"device"_s));
        QVERIFY(!defaults.data(u"broken"_s));
        QVERIFY(!defaults.setData(u"folder"_s, "1"));
        QVERIFY(!defaults.removeData(u"folder"_s));
    }

    void aFileBeyondAllSenseIsAbsent()
    {
        UserDefaults defaults(folder());
        QVERIFY(defaults.setData(u"a"_s, "1"));
        QVERIFY(QFile::resize(file(u"a"_s), UserDefaults::mostBytes + 1));

        QVERIFY(!defaults.data(u"a"_s));
        QVERIFY(QFile::resize(file(u"a"_s), UserDefaults::mostBytes));
        QVERIFY(defaults.data(u"a"_s).has_value());
    }

    void aFolderThatCannotBeMadeFailsSilently()
    {
        put(_place->filePath(u"deep"_s), "a file in the way");
        UserDefaults defaults(folder());
        QSignalSpy spy(&defaults, &UserDefaults::valueChanged);

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
        UserDefaults defaults(folder());

        QVERIFY(defaults.setData(u"a"_s, "new"));

        QVERIFY(QFileInfo(file(u"a"_s)).isSymLink());
        QCOMPARE(get(real), "new");
    }

    void aKeyCannotLeadOutOfTheFolder()
    {
        UserDefaults defaults(folder());
        for (const auto &key : {u""_s, u"../a"_s, u"/a"_s, u"a/b"_s, u"."_s, u".hidden"_s}) {
            QVERIFY(!defaults.setData(key, "1"));
            QVERIFY(!defaults.data(key));
            QVERIFY(!defaults.removeData(key));
        }
    }

    void booleansArePlainWords()
    {
        UserDefaults defaults(folder());
        QVERIFY(!defaults.boolean(u"fda_suppressed"_s));

        QVERIFY(defaults.setBoolean(u"fda_suppressed"_s, true));
        QCOMPARE(get(file(u"fda_suppressed"_s)), "true");
        QVERIFY(defaults.boolean(u"fda_suppressed"_s));
        QVERIFY(defaults.setBoolean(u"fda_suppressed"_s, false));
        QCOMPARE(get(file(u"fda_suppressed"_s)), "false");
        QVERIFY(!defaults.boolean(u"fda_suppressed"_s));

        put(file(u"fda_suppressed"_s), "true\n");
        QVERIFY(defaults.boolean(u"fda_suppressed"_s));
        put(file(u"fda_suppressed"_s), "1");
        QVERIFY(!defaults.boolean(u"fda_suppressed"_s));
    }

    void aReaderOnAnotherThreadSeesWholeValues()
    {
        UserDefaults defaults(folder());
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
        qunsetenv("XDG_CONFIG_HOME");
        QCOMPARE(UserDefaults::standardFolder(), u"/home/tester/.config/vellumhound"_s);
    }
};

QTEST_GUILESS_MAIN(tst_UserDefaults)
#include "tst_UserDefaults.moc"
