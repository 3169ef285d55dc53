// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NativePath.h"
#include "platform/Clock.h"
#include "store/PersistenceController.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

namespace vellumhound::tests {

using namespace Qt::StringLiterals;

/// A clock that stands until it is moved.
class ManualClock final : public platform::Clock {
public:
    std::chrono::system_clock::time_point now() const override { return time; }
    std::chrono::system_clock::time_point time{std::chrono::seconds(1'700'000'000)};
};

/// A second connection to the store's file, as another program would have one.
class OtherConnection {
public:
    explicit OtherConnection(const QString &path)
        : _name(QUuid::createUuid().toString())
    {
        auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, _name);
        database.setDatabaseName(path);
        if (!database.open())
            qFatal("the second connection does not open");
    }
    ~OtherConnection()
    {
        QSqlDatabase::database(_name).close();
        QSqlDatabase::removeDatabase(_name);
    }
    Q_DISABLE_COPY_MOVE(OtherConnection)

    /// Runs the statement; the first column of its rows.
    QStringList run(const QString &statement)
    {
        QSqlQuery query(QSqlDatabase::database(_name));
        if (!query.exec(statement))
            qFatal("%s", qPrintable(query.lastError().text()));
        QStringList rows;
        while (query.next())
            rows.append(query.value(0).toString());
        return rows;
    }

private:
    QString _name;
};

/// A store in a folder of its own that is not there yet.
class StorePlace {
public:
    QString folder() const { return _place.filePath(u"share/vellumhound"_s); }
    QString path() const { return folder() + u"/DataModel.sqlite"_s; }
    QString root() const { return _place.path(); }

    std::unique_ptr<store::PersistenceController> load(
        store::StoreAccess access = store::StoreAccess::asPermitted) const
    {
        auto result = store::PersistenceController::load(path(), access);
        if (!result)
            qFatal("%s", qPrintable(result.error().description));
        return std::move(result).value();
    }
    /// Why the store does not load; empty if it does.
    QString failure() const
    {
        const auto result = store::PersistenceController::load(path());
        return result ? QString() : result.error().description;
    }

    void put(const QByteArray &bytes) const
    {
        QFile file(path());
        QVERIFY(QDir().mkpath(folder()));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(file.write(bytes), bytes.size());
    }
    QByteArray bytes() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }

private:
    QTemporaryDir _place;
};

}  // namespace vellumhound::tests
