// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"

#include <QSqlDatabase>
#include <QString>

#include <memory>

class QSqlError;

namespace vellumhound::store {

/// How a store is opened. Production asks for what the file system permits.
enum class StoreAccess {
    asPermitted,
    readOnly,
};

/// The one connection to the one file of the store, opened and checked. Every change is on the disk
/// when its transaction ends. Main thread only; every query on the connection ends before this
/// object does.
class SqliteFile {
public:
    /// Makes the file, and folders above it, if there is none; another program that does so at the
    /// same moment is waited for. Fails with the reason, leaving what
    /// is there untouched, if the file is no sound store of ours or was written by a newer version.
    /// A file that may not be written is opened for reading alone; writing then fails.
    static base::Result<std::unique_ptr<SqliteFile>> open(
        const QString &path, StoreAccess access = StoreAccess::asPermitted);
    ~SqliteFile();
    Q_DISABLE_COPY_MOVE(SqliteFile)

    QSqlDatabase connection() const;

    /// The version of the tables that this program writes.
    static constexpr int schemaVersion = 1;

private:
    SqliteFile();

    base::Outcome connectTo(const QString &uri);
    base::Outcome check();
    /// Of the tables in the file, 0 for none; an error if they are not ours.
    base::Result<int> version();
    base::Outcome prepare(bool isWritable);
    base::Outcome switchToLog();
    base::Outcome makeTables();
    base::Outcome run(const QString &statement);
    base::Outcome runAll(const QStringList &statements);
    /// The first column of the first row.
    base::Result<QVariant> valueOf(const QString &statement);

    QString _connectionName;
};

/// The engine's own words for a failure.
base::Error reasonOf(const QSqlError &error);

}  // namespace vellumhound::store
