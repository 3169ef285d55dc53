// SPDX-License-Identifier: GPL-3.0-or-later
#include "StoreFixture.h"

#include <QDir>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <latch>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace vellumhound;
using namespace vellumhound::store;
using namespace vellumhound::tests;

namespace {

/// Takes root's rights away while it lives, so that file modes count.
class AsNobody {
public:
    explicit AsNobody(const QString &ownedFolder)
    {
        if (::geteuid() != 0)
            return;
        give(ownedFolder);
        _isRoot = ::seteuid(nobody) == 0;
    }
    ~AsNobody()
    {
        if (_isRoot && ::seteuid(0) != 0)
            std::abort();
    }
    Q_DISABLE_COPY_MOVE(AsNobody)

private:
    static constexpr uid_t nobody = 65534;

    static void give(const QString &folder)
    {
        QStringList paths{folder};
        for (qsizetype i = 0; i < paths.size(); ++i) {
            if (::chown(QFile::encodeName(paths[i]).constData(), nobody, gid_t(-1)) != 0)
                std::abort();
            const auto entries =
                QDir(paths[i]).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot);
            for (const auto &entry : entries)
                paths.append(entry.filePath());
        }
    }
    bool _isRoot = false;
};

QStringList pathsIn(PersistenceController &controller)
{
    QStringList paths;
    const auto favorites = controller.container().viewContext().fetch<Favorite>();
    if (!favorites)
        return {favorites.error().description};
    for (const auto &favorite : favorites.value())
        paths.append(favorite->path.value_or(u"(none)"_s));
    return paths;
}

void addFavorite(PersistenceController &controller, const QString &path)
{
    controller.container().viewContext().insert<Favorite>()->path = path;
}

/// What the one connection that is open answers.
QStringList answersOfOwnConnection(const QString &statement)
{
    const auto names = QSqlDatabase::connectionNames();
    if (names.size() != 1)
        return {u"%1 connections"_s.arg(names.size())};
    QSqlQuery query(QSqlDatabase::database(names.first()));
    QStringList rows;
    for (query.exec(statement); query.next();)
        rows.append(query.value(0).toString());
    return rows;
}

/// Why any of `count` openings at the same moment failed.
QStringList failuresOfOpeningAtOnce(const QString &path, int count)
{
    QStringList failures;
    std::mutex mutex;
    std::latch start(count);
    std::vector<std::thread> openings;
    for (int i = 0; i < count; ++i)
        openings.emplace_back([&] {
            start.arrive_and_wait();
            if (const auto opened = PersistenceController::load(path); !opened) {
                const std::lock_guard lock(mutex);
                failures.append(opened.error().description);
            }
        });
    for (auto &opening : openings)
        opening.join();
    return failures;
}

/// A good, closed store with one favorite.
void makeStore(const StorePlace &place)
{
    const auto controller = place.load();
    addFavorite(*controller, u"/a"_s);
    QVERIFY(bool(controller->container().viewContext().save()));
}

}  // namespace

class tst_PersistenceController : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aMissingStoreIsMadeForItsOwnerAlone()
    {
        const StorePlace place;
        const auto controller = place.load();

        QCOMPARE(controller->container().name(), u"DataModel"_s);
        QVERIFY(pathsIn(*controller).isEmpty());
        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(place.folder()).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777U, 0700U);
    }

    void everyCommitIsFullyOnTheDisk()
    {
        const StorePlace place;
        const auto controller = place.load();
        QCOMPARE(answersOfOwnConnection(u"PRAGMA synchronous"_s), QStringList{u"2"_s});  // FULL

        OtherConnection other(place.path());
        QCOMPARE(other.run(u"PRAGMA journal_mode"_s), QStringList{u"wal"_s});
        QCOMPARE(other.run(u"PRAGMA user_version"_s), QStringList{u"1"_s});
        addFavorite(*controller, u"/a"_s);
        QVERIFY(bool(controller->container().viewContext().save()));
        QCOMPARE(other.run(u"SELECT path FROM Favorite"_s), QStringList{u"/a"_s});
    }

    void aStoreIsThereAgainAtTheNextStart()
    {
        const StorePlace place;
        makeStore(place);

        QCOMPARE(pathsIn(*place.load()), QStringList{u"/a"_s});
    }

    void theTextsOfTheFatalErrorAreTheGivenOnes()
    {
        QCOMPARE(fatalErrorTitle(), u"Fatal error"_s);
        QCOMPARE(fatalErrorMessage({u"why"_s}), u"Error: why"_s);
    }

    void aDirectoryInThePlaceOfTheFileFails()
    {
        const StorePlace place;
        QVERIFY(QDir().mkpath(place.path() + u"/inside"_s));

        QVERIFY(place.failure().contains(u"is a directory"_s));
        QVERIFY(QDir(place.path()).exists(u"inside"_s));
    }

    void aPipeInThePlaceOfTheFileFailsAtOnce()
    {
        const StorePlace place;
        QVERIFY(QDir().mkpath(place.folder()));
        QCOMPARE(::mkfifo(QFile::encodeName(place.path()).constData(), 0600), 0);

        QVERIFY(place.failure().contains(u"is not a regular file"_s));
    }

    void aFileInThePlaceOfTheFolderFails()
    {
        const StorePlace place;
        QFile file(place.root() + u"/share"_s);
        QVERIFY(file.open(QIODevice::WriteOnly));

        QVERIFY(place.failure().contains(u"Not a directory"_s));
    }

    void anEmptyFileIsAnEmptyStore()
    {
        const StorePlace place;
        place.put({});

        QVERIFY(pathsIn(*place.load()).isEmpty());
    }

    void garbageFailsAndStaysAsItIs_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("text") << QByteArray("hello\n");
        QTest::newRow("long text") << QByteArray("hello\n").repeated(5000);
        QTest::newRow("zeros") << QByteArray(8192, '\0');
        QTest::newRow("magic alone") << QByteArray("SQLite format 3\0", 16);
        QTest::newRow("magic and noise") << QByteArray("SQLite format 3\0", 16) +
                                                QByteArray(44, 'x') + QByteArray(4, '\0') +
                                                QByteArray(8128, 'x');
        QTest::newRow("magic and zeros")
            << QByteArray("SQLite format 3\0", 16) + QByteArray(8176, '\0');
    }
    void garbageFailsAndStaysAsItIs()
    {
        QFETCH(QByteArray, bytes);
        const StorePlace place;
        place.put(bytes);

        QVERIFY(!place.failure().isEmpty());
        QVERIFY(place.failure().startsWith(place.path() + u": "_s));
        QCOMPARE(place.bytes(), bytes);
    }

    void aCutFileFailsAndStaysAsItIs()
    {
        const StorePlace place;
        makeStore(place);
        const auto whole = place.bytes();
        QVERIFY(whole.size() > 8192);

        for (const qsizetype length : {qsizetype(1), qsizetype(99), qsizetype(100), qsizetype(4096),
                 qsizetype(5000), whole.size() - 4096}) {
            place.put(whole.left(length));
            QVERIFY2(!place.failure().isEmpty(), QByteArray::number(length).constData());
            QCOMPARE(place.bytes(), whole.left(length));
        }
        place.put(whole);
        QCOMPARE(place.failure(), QString());
    }

    void aDamagedPageFailsAndStaysAsItIs()
    {
        const StorePlace place;
        makeStore(place);
        auto bytes = place.bytes();
        bytes.replace(4096, 200, QByteArray(200, '\xAA'));
        place.put(bytes);

        QVERIFY(!place.failure().isEmpty());
        QCOMPARE(place.bytes(), bytes);
    }

    void aNewerVersionFailsAndStaysAsItIs()
    {
        const StorePlace place;
        makeStore(place);
        OtherConnection(place.path()).run(u"PRAGMA user_version = 2"_s);
        const auto bytes = place.bytes();

        QVERIFY(place.failure().contains(u"newer version"_s));
        QCOMPARE(place.bytes(), bytes);
    }

    void aNewerVersionThatIsStillInTheLogFails()
    {
        const StorePlace place;
        makeStore(place);
        OtherConnection other(place.path());
        other.run(u"PRAGMA user_version = 2"_s);

        QVERIFY(place.failure().contains(u"newer version"_s));
    }

    void aStoreOfAnotherProgramFails()
    {
        const StorePlace place;
        QVERIFY(QDir().mkpath(place.folder()));
        OtherConnection(place.path()).run(u"CREATE TABLE t (a)"_s);
        const auto bytes = place.bytes();

        QVERIFY(place.failure().contains(u"belongs to another program"_s));
        QCOMPARE(place.bytes(), bytes);
    }

    void aStoreWithoutItsTablesFails()
    {
        const StorePlace place;
        makeStore(place);
        OtherConnection(place.path()).run(u"DROP TABLE FileSearch"_s);

        QVERIFY(place.failure().contains(u"FileSearch"_s));
    }

    void aReadOnlyStoreIsReadAndItsSavesFail()
    {
        const StorePlace place;
        makeStore(place);
        const auto bytes = place.bytes();
        {
            const auto controller = place.load(StoreAccess::readOnly);
            QCOMPARE(pathsIn(*controller), QStringList{u"/a"_s});

            addFavorite(*controller, u"/b"_s);
            const auto saved = controller->container().viewContext().save();

            QVERIFY(!saved);
            QVERIFY(saved.error().description.contains(u"readonly"_s));
            QCOMPARE(pathsIn(*controller), (QStringList{u"/a"_s, u"/b"_s}));
        }
        QCOMPARE(place.bytes(), bytes);
        QCOMPARE(QDir(place.folder()).entryList(QDir::Files), QStringList{u"DataModel.sqlite"_s});
    }

    void aFileWithoutWriteRightIsReadAndItsSavesFail()
    {
        const StorePlace place;
        makeStore(place);
        const AsNobody user(place.root());
        QVERIFY(QFile::setPermissions(place.path(), QFile::ReadOwner));

        const auto controller = place.load();
        QCOMPARE(pathsIn(*controller), QStringList{u"/a"_s});
        addFavorite(*controller, u"/b"_s);
        QVERIFY(!controller->container().viewContext().save());
    }

    void aFolderWithoutWriteRightIsReadAndItsSavesFail()
    {
        const StorePlace place;
        makeStore(place);
        const AsNobody user(place.root());
        QVERIFY(QFile::setPermissions(place.folder(), QFile::ReadOwner | QFile::ExeOwner));
        {
            const auto controller = place.load();
            QCOMPARE(pathsIn(*controller), QStringList{u"/a"_s});
            addFavorite(*controller, u"/b"_s);
            QVERIFY(!controller->container().viewContext().save());
        }
        QVERIFY(QFile::setPermissions(
            place.folder(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    void aStoreThatCannotBeMadeFails()
    {
        const StorePlace place;
        const AsNobody user(place.root());
        QVERIFY(QFile::setPermissions(place.root(), QFile::ReadOwner | QFile::ExeOwner));

        QVERIFY(place.failure().contains(u"Permission denied"_s));

        QVERIFY(QFile::setPermissions(
            place.root(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    void anUnreadableFileFails()
    {
        const StorePlace place;
        makeStore(place);
        const AsNobody user(place.root());
        QVERIFY(QFile::setPermissions(place.path(), {}));

        QVERIFY(place.failure().contains(u"Permission denied"_s));
    }

    void whatACrashLeftInTheLogIsThereAgain()
    {
        const StorePlace place;
        const StorePlace afterCrash;
        QVERIFY(QDir().mkpath(afterCrash.folder()));
        {
            const auto controller = place.load();
            addFavorite(*controller, u"/a"_s);
            QVERIFY(bool(controller->container().viewContext().save()));
            // A copy of the files of a running store is what a crash leaves.
            for (const auto &suffix : {u""_s, u"-wal"_s})
                QVERIFY(QFile::copy(place.path() + suffix, afterCrash.path() + suffix));
        }

        QCOMPARE(pathsIn(*afterCrash.load(StoreAccess::readOnly)), QStringList{u"/a"_s});
        QCOMPARE(pathsIn(*afterCrash.load()), QStringList{u"/a"_s});
    }

    void thePathMayHoldAnyBytes()
    {
        const StorePlace place;
        const QByteArray folder = QFile::encodeName(place.root()) + "/a ?#%41\xFF\xC3\xA4";
        const auto path = base::pathFromBytes((folder + "/DataModel.sqlite").toStdString());

        {
            auto controller = PersistenceController::load(path);
            QVERIFY(bool(controller));
        }

        struct stat status {};
        QCOMPARE(::stat((folder + "/DataModel.sqlite").constData(), &status), 0);
        QCOMPARE(::unlink((folder + "/DataModel.sqlite").constData()), 0);
        QCOMPARE(::rmdir(folder.constData()), 0);
    }

    void twoControllersStandBesideEachOther()
    {
        const StorePlace place;
        const auto one = place.load();
        const auto other = place.load();
        addFavorite(*one, u"/a"_s);

        QVERIFY(bool(one->container().viewContext().save()));

        QCOMPARE(pathsIn(*other), QStringList{u"/a"_s});
    }

    void severalFirstOpeningsAtOnceAllSucceed()
    {
        for (int round = 0; round < 25; ++round) {
            const StorePlace place;

            QCOMPARE(failuresOfOpeningAtOnce(place.path(), 4), QStringList());

            OtherConnection other(place.path());
            QCOMPARE(other.run(u"PRAGMA journal_mode"_s), QStringList{u"wal"_s});
            QCOMPARE(other.run(u"SELECT count(*) FROM sqlite_master WHERE name IN "
                               "('Favorite', 'FileSearch')"_s),
                QStringList{u"2"_s});
        }
    }

    void theSwitchToTheLogWaitsForWhoeverHoldsTheFile()
    {
        const StorePlace place;
        makeStore(place);
        OtherConnection other(place.path());
        QCOMPARE(other.run(u"PRAGMA journal_mode = DELETE"_s), QStringList{u"delete"_s});
        other.run(u"BEGIN IMMEDIATE"_s);
        QString failure = u"still waiting"_s;
        std::thread opening([&] { failure = place.failure(); });
        // Nothing tells when the opening has come to the switch.
        std::mutex mutex;
        std::condition_variable never;
        std::unique_lock lock(mutex);
        never.wait_for(lock, std::chrono::milliseconds(200));

        other.run(u"COMMIT"_s);
        opening.join();

        QCOMPARE(failure, QString());
    }

    void theStandardPathFollowsTheEnvironment()
    {
        qputenv("HOME", "/home/tester");
        qputenv("XDG_DATA_HOME", "/mnt/data");
        QCOMPARE(PersistenceController::standardStorePath(),
            u"/mnt/data/vellumhound/DataModel.sqlite"_s);
        qputenv("XDG_DATA_HOME", "data");
        QCOMPARE(PersistenceController::standardStorePath(),
            u"/home/tester/.local/share/vellumhound/DataModel.sqlite"_s);
        qunsetenv("XDG_DATA_HOME");
        QCOMPARE(PersistenceController::standardStorePath(),
            u"/home/tester/.local/share/vellumhound/DataModel.sqlite"_s);
    }
};

QTEST_GUILESS_MAIN(tst_PersistenceController)
#include "tst_PersistenceController.moc"
