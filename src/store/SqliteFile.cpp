// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/SqliteFile.h"

#include "base/NativePath.h"

#include <QDeadlineTimer>
#include <QLoggingCategory>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>
#include <QUuid>
#include <QVariant>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace vellumhound::store {

Q_LOGGING_CATEGORY(log, "vellumhound.store")

namespace {

/// What another start does to the file at the same moment takes far less.
constexpr std::chrono::milliseconds openingPatience{5000};
constexpr std::chrono::milliseconds writingPatience{500};
constexpr std::chrono::milliseconds switchPause{5};
constexpr int busy = 5;  // SQLITE_BUSY

base::Error failure(const QString &path, const QString &reason)
{
    return {base::printablePath(path) + u": "_s + reason};
}

base::Error systemFailure(const QString &path, int number)
{
    return failure(path, QString::fromLocal8Bit(std::strerror(number)));
}

/// Missing folders are made for their owner alone, as told for the XDG base directories.
int makeFolder(const QString &folder)
{
    const auto bytes = base::pathToBytes(folder);
    if (::mkdir(bytes.constData(), 0700) == 0 || errno == EEXIST)
        return 0;
    const auto parent = base::deletingLastPathComponent(folder);
    if (errno != ENOENT || parent.isEmpty() || parent == folder)
        return errno;
    if (const int number = makeFolder(parent))
        return number;
    return ::mkdir(bytes.constData(), 0700) == 0 || errno == EEXIST ? 0 : errno;
}

struct FileOnDisk {
    bool exists = false;
    qint64 sizeBytes = 0;
};

base::Result<FileOnDisk> inspected(const QString &path)
{
    struct stat status {};
    if (::stat(base::pathToBytes(path).constData(), &status) != 0) {
        if (errno != ENOENT)
            return systemFailure(path, errno);
        if (const int number = makeFolder(base::deletingLastPathComponent(path)))
            return systemFailure(base::deletingLastPathComponent(path), number);
        return FileOnDisk{};
    }
    if (S_ISDIR(status.st_mode))
        return failure(path, u"is a directory"_s);
    if (!S_ISREG(status.st_mode))
        return failure(path, u"is not a regular file"_s);
    return FileOnDisk{true, qint64(status.st_size)};
}

/// Looks at the first bytes of the file before the engine does: opening it for writing could
/// already change a file that is not ours to change.
base::Outcome checkHeader(const QString &path)
{
    constexpr std::string_view magic("SQLite format 3\0", 16);
    constexpr std::size_t versionOffset = 60;  // user_version, four bytes, the highest first
    std::array<unsigned char, 100> header{};
    const int fd = ::open(base::pathToBytes(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return systemFailure(path, errno);
    const auto count = ::read(fd, header.data(), header.size());
    const int number = errno;
    ::close(fd);
    if (count < 0)
        return systemFailure(path, number);
    if (std::size_t(count) < header.size() ||
        std::memcmp(header.data(), magic.data(), magic.size()) != 0)
        return failure(path, u"file is not a database"_s);
    std::uint32_t version = 0;
    for (std::size_t i = 0; i < 4; ++i)
        version = version << 8 | header[versionOffset + i];
    if (qint32(version) > SqliteFile::schemaVersion)
        return failure(path, u"was written by a newer version of this program"_s);
    return std::monostate{};
}

bool isWritable(const QString &path)
{
    return ::faccessat(AT_FDCWD, base::pathToBytes(path).constData(), W_OK, AT_EACCESS) == 0;
}

/// Any bytes of a path survive in a URI, but not in a plain file name handed to the driver.
QString uriOf(const QString &path, const QString &query)
{
    const auto encoded = base::pathToBytes(path).toPercentEncoding("/");
    return u"file://"_s + QString::fromLatin1(encoded) + u'?' + query;
}

/// The ways of opening, the first that works. Immutable means that the engine needs to write
/// nothing beside the file either, but it does not see a log that was left by a crash; such a log
/// is tried first.
QStringList urisFor(const QString &path, bool isForWriting)
{
    if (isForWriting)
        return {uriOf(path, u"mode=rwc"_s)};
    QStringList uris{uriOf(path, u"mode=ro&immutable=1"_s)};
    struct stat log {};
    const auto logPath = base::pathToBytes(path) + "-wal";
    if (::stat(logPath.constData(), &log) == 0 && log.st_size > 0)
        uris.prepend(uriOf(path, u"mode=ro"_s));
    return uris;
}

}  // namespace

base::Error reasonOf(const QSqlError &error)
{
    return {error.databaseText().isEmpty() ? error.driverText() : error.databaseText()};
}

base::Result<std::unique_ptr<SqliteFile>> SqliteFile::open(const QString &path, StoreAccess access)
{
    const auto onDisk = inspected(path);
    if (!onDisk)
        return onDisk.error();
    // A file without a byte is what a crash leaves between making the file and its first table.
    if (onDisk.value().sizeBytes > 0) {
        if (const auto header = checkHeader(path); !header)
            return header.error();
    }
    const bool isPermitted = (!onDisk.value().exists || isWritable(path)) &&
                             isWritable(base::deletingLastPathComponent(path));
    const bool isForWriting = isPermitted && access == StoreAccess::asPermitted;
    if (!isForWriting)
        qCWarning(log) << "the store cannot be written; nothing will be saved";
    base::Error reason;
    const auto uris = urisFor(path, isForWriting);
    for (const auto &uri : uris) {
        std::unique_ptr<SqliteFile> file(new SqliteFile);
        auto outcome = file->connectTo(uri);
        if (outcome)
            outcome = file->check();
        if (outcome)
            outcome = file->prepare(isForWriting);
        if (outcome)
            return file;
        reason = failure(path, outcome.error().description);
    }
    return reason;
}

SqliteFile::SqliteFile()
    : _connectionName(QUuid::createUuid().toString())
{
}

SqliteFile::~SqliteFile()
{
    connection().close();
    QSqlDatabase::removeDatabase(_connectionName);
}

QSqlDatabase SqliteFile::connection() const
{
    return QSqlDatabase::database(_connectionName, /*open=*/false);
}

base::Outcome SqliteFile::connectTo(const QString &uri)
{
    auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, _connectionName);
    database.setDatabaseName(uri);
    database.setConnectOptions(
        u"QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=%1"_s.arg(openingPatience.count()));
    if (!database.open())
        return reasonOf(database.lastError());
    return std::monostate{};
}

/// Reads alone. Opening succeeds on anything; damage shows when the pages are looked at.
base::Outcome SqliteFile::check()
{
    const auto soundness = valueOf(u"PRAGMA quick_check(1)"_s);
    if (!soundness)
        return soundness.error();
    if (const auto text = soundness.value().toString(); text != u"ok")
        return base::Error{text};
    // Another first start may make the tables at this moment: version and tables are read as one.
    if (const auto begun = run(u"BEGIN"_s); !begun)
        return begun;
    const auto number = version();
    run(u"COMMIT"_s);
    return number ? base::Outcome(std::monostate{}) : number.error();
}

base::Result<int> SqliteFile::version()
{
    const auto version = valueOf(u"PRAGMA user_version"_s);
    if (!version)
        return version.error();
    const int number = version.value().toInt();
    if (number > schemaVersion)
        return base::Error{u"was written by a newer version of this program"_s};
    const auto tables = valueOf(u"SELECT count(*) FROM sqlite_master"_s);
    if (!tables)
        return tables.error();
    if (number != schemaVersion && (number != 0 || tables.value().toInt() != 0))
        return base::Error{u"belongs to another program"_s};
    return number;
}

base::Outcome SqliteFile::prepare(bool isWritable)
{
    if (isWritable) {
        for (const auto step : {&SqliteFile::switchToLog, &SqliteFile::makeTables}) {
            if (const auto outcome = (this->*step)(); !outcome)
                return outcome;
        }
    }
    return runAll({
        // The tables must be there, whoever made them.
        u"SELECT id, path, type, \"order\" FROM Favorite LIMIT 0"_s,
        u"SELECT id, searchText, searchDate FROM FileSearch LIMIT 0"_s,
        // From here on nobody else writes but a curious person with a tool, and it is the panel
        // that waits.
        u"PRAGMA busy_timeout = %1"_s.arg(writingPatience.count()),
    });
}

/// The engine does not wait by itself for the others that this switch has to shut out.
base::Outcome SqliteFile::switchToLog()
{
    const QDeadlineTimer deadline(openingPatience);
    for (;;) {
        QSqlQuery query(connection());
        if (query.exec(u"PRAGMA journal_mode = WAL"_s))
            return run(u"PRAGMA synchronous = FULL"_s);
        if (query.lastError().nativeErrorCode().toInt() != busy || deadline.hasExpired())
            return reasonOf(query.lastError());
        query.clear();
        QThread::msleep(static_cast<unsigned long>(switchPause.count()));
    }
}

/// The version counts as it reads once writing is ours alone: the tables may have come since.
base::Outcome SqliteFile::makeTables()
{
    if (const auto begun = run(u"BEGIN IMMEDIATE"_s); !begun)
        return begun;
    const auto number = version();
    auto outcome = number ? base::Outcome(std::monostate{}) : base::Outcome(number.error());
    if (number && number.value() == 0)
        outcome = runAll({
            u"CREATE TABLE Favorite (id INTEGER PRIMARY KEY AUTOINCREMENT, path TEXT, "
            "type TEXT, \"order\" INTEGER NOT NULL DEFAULT 0)"_s,
            // searchDate: microseconds since 1970
            u"CREATE TABLE FileSearch (id INTEGER PRIMARY KEY AUTOINCREMENT, "
            "searchText TEXT, searchDate INTEGER)"_s,
            u"PRAGMA user_version = %1"_s.arg(schemaVersion),
        });
    if (outcome)
        return run(u"COMMIT"_s);
    run(u"ROLLBACK"_s);
    return outcome;
}

base::Outcome SqliteFile::runAll(const QStringList &statements)
{
    for (const auto &statement : statements) {
        if (const auto outcome = run(statement); !outcome)
            return outcome;
    }
    return std::monostate{};
}

base::Outcome SqliteFile::run(const QString &statement)
{
    QSqlQuery query(connection());
    if (!query.exec(statement))
        return reasonOf(query.lastError());
    return std::monostate{};
}

base::Result<QVariant> SqliteFile::valueOf(const QString &statement)
{
    QSqlQuery query(connection());
    query.setForwardOnly(true);
    if (!query.exec(statement) || !query.next())
        return reasonOf(query.lastError());
    return query.value(0);
}

}  // namespace vellumhound::store
