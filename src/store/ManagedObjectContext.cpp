// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/ManagedObjectContext.h"

#include "base/NativePath.h"
#include "store/SqliteFile.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>
#include <limits>
#include <set>

using namespace Qt::StringLiterals;

namespace vellumhound::store {

namespace {

/// The engine takes half of a surrogate pair for half of another character, so a path with
/// undecodable bytes goes in as the bytes that it is.
QVariant bound(const std::optional<QString> &text)
{
    if (!text)
        return QVariant(QMetaType(QMetaType::QString));
    if (text->isValidUtf16())
        return *text;
    return base::pathToBytes(*text);
}

QVariant bound(const std::optional<Date> &date)
{
    if (!date)
        return QVariant(QMetaType(QMetaType::LongLong));
    return qint64(date->time_since_epoch().count());
}

std::optional<QString> textIn(const QVariant &value)
{
    if (value.isNull())
        return std::nullopt;
    if (value.typeId() == QMetaType::QByteArray) {
        const auto bytes = value.toByteArray();
        return base::pathFromBytes({bytes.constData(), std::size_t(bytes.size())});
    }
    return value.toString();
}

std::optional<Date> dateIn(const QVariant &value)
{
    if (value.typeId() != QMetaType::LongLong)
        return std::nullopt;
    return Date(std::chrono::microseconds(value.toLongLong()));
}

/// The statements of an entity. Columns stand in one order everywhere, the row id behind them.
template <class Object> struct Sql;

template <> struct Sql<Favorite> {
    static constexpr char16_t select[] = u"SELECT path, type, \"order\", id FROM Favorite";
    static constexpr char16_t insert[] =
        u"INSERT INTO Favorite (path, type, \"order\") VALUES (?, ?, ?)";
    static constexpr char16_t update[] =
        u"UPDATE Favorite SET path = ?, type = ?, \"order\" = ? WHERE id = ?";
    static constexpr char16_t remove[] = u"DELETE FROM Favorite WHERE id = ?";
    static constexpr int idColumn = 3;

    static FavoriteValues read(const QSqlQuery &query)
    {
        constexpr qlonglong low = std::numeric_limits<qint32>::min();
        constexpr qlonglong high = std::numeric_limits<qint32>::max();
        const auto order = std::clamp(query.value(2).toLongLong(), low, high);
        return {textIn(query.value(0)), textIn(query.value(1)), qint32(order)};
    }
    static void bind(QSqlQuery &query, const FavoriteValues &values)
    {
        query.addBindValue(bound(values.path));
        query.addBindValue(bound(values.type));
        query.addBindValue(values.order);
    }
};

template <> struct Sql<FileSearch> {
    static constexpr char16_t select[] = u"SELECT searchText, searchDate, id FROM FileSearch";
    static constexpr char16_t insert[] =
        u"INSERT INTO FileSearch (searchText, searchDate) VALUES (?, ?)";
    static constexpr char16_t update[] =
        u"UPDATE FileSearch SET searchText = ?, searchDate = ? WHERE id = ?";
    static constexpr char16_t remove[] = u"DELETE FROM FileSearch WHERE id = ?";
    static constexpr int idColumn = 2;

    static FileSearchValues read(const QSqlQuery &query)
    {
        return {textIn(query.value(0)), dateIn(query.value(1))};
    }
    static void bind(QSqlQuery &query, const FileSearchValues &values)
    {
        query.addBindValue(bound(values.searchText));
        query.addBindValue(bound(values.searchDate));
    }
};

base::Outcome executed(QSqlQuery &query)
{
    if (query.exec())
        return std::monostate{};
    return reasonOf(query.lastError());
}

/// Runs one statement; `bind` puts its values in.
template <class Bind>
base::Result<qint64> runStatement(const SqliteFile &file, const char16_t *text, Bind bind)
{
    QSqlQuery query(file.connection());
    if (!query.prepare(QString::fromUtf16(text)))
        return reasonOf(query.lastError());
    bind(query);
    if (const auto outcome = executed(query); !outcome)
        return outcome.error();
    return query.lastInsertId().toLongLong();
}

}  // namespace

template <class Object> bool ManagedObjectContext::Known<Object>::hasChanges() const
{
    return !inserted.empty() || std::any_of(rows.begin(), rows.end(), [](const auto &row) {
        return row.second.isDeleted || row.second.isChanged();
    });
}

/// Everything pending has been written.
template <class Object> void ManagedObjectContext::Known<Object>::settle()
{
    std::erase_if(rows, [](const auto &row) { return row.second.isDeleted; });
    for (auto &[id, entry] : rows)
        entry.saved = *entry.object;
    for (std::size_t i = 0; i < inserted.size(); ++i) {
        inserted[i]->_rowId = newRowIds[i];
        rows[newRowIds[i]] = {inserted[i], *inserted[i], false};
    }
    inserted.clear();
}

ManagedObjectContext::ManagedObjectContext(SqliteFile &file)
    : _file(file)
{
}

ManagedObjectContext::~ManagedObjectContext() = default;

template <> ManagedObjectContext::Known<Favorite> &ManagedObjectContext::known<Favorite>()
{
    return _favorites;
}

template <> ManagedObjectContext::Known<FileSearch> &ManagedObjectContext::known<FileSearch>()
{
    return _fileSearches;
}

template <Entity Object> std::shared_ptr<Object> ManagedObjectContext::insert()
{
    const std::shared_ptr<Object> object(new Object);
    object->_temporaryId = ++_insertionCount;
    known<Object>().inserted.push_back(object);
    return object;
}

template <Entity Object> void ManagedObjectContext::remove(const std::shared_ptr<Object> &object)
{
    auto &entity = known<Object>();
    std::erase(entity.inserted, object);
    const auto row = entity.rows.find(object->_rowId);
    if (row != entity.rows.end() && row->second.object == object)
        row->second.isDeleted = true;
}

template <Entity Object>
base::Result<QList<std::shared_ptr<Object>>> ManagedObjectContext::fetch(
    const FetchRequest<Object> &request)
{
    if (const auto outcome = refresh<Object>(); !outcome)
        return outcome.error();
    const auto &entity = known<Object>();
    QList<std::shared_ptr<Object>> objects;
    for (const auto &[id, entry] : entity.rows) {
        if (!entry.isDeleted)
            objects.append(entry.object);
    }
    for (const auto &object : entity.inserted)
        objects.append(object);
    const bool isDescending = request.direction == SortDirection::descending;
    if (request.isLess) {
        if (isDescending)
            std::reverse(objects.begin(), objects.end());
        std::stable_sort(objects.begin(), objects.end(), [&](const auto &a, const auto &b) {
            return isDescending ? request.isLess(*b, *a) : request.isLess(*a, *b);
        });
    }
    if (request.limit && objects.size() > *request.limit)
        objects.resize(std::max<std::int64_t>(0, *request.limit));
    return objects;
}

/// Brings the known rows to what is on disk; a change of our own that is still pending stays.
template <class Object> base::Outcome ManagedObjectContext::refresh()
{
    QSqlQuery query(_file.connection());
    query.setForwardOnly(true);
    if (!query.prepare(QString::fromUtf16(Sql<Object>::select)))
        return reasonOf(query.lastError());
    if (const auto outcome = executed(query); !outcome)
        return outcome;
    auto &rows = known<Object>().rows;
    std::set<qint64> present;
    while (query.next()) {
        const auto id = query.value(Sql<Object>::idColumn).toLongLong();
        auto values = Sql<Object>::read(query);
        present.insert(id);
        auto &entry = rows[id];
        if (!entry.object) {
            entry.object.reset(new Object);
            entry.object->_rowId = id;
        } else if (entry.isChanged()) {
            entry.saved = std::move(values);
            continue;
        }
        static_cast<typename Object::Values &>(*entry.object) = values;
        entry.saved = std::move(values);
    }
    if (query.lastError().isValid())
        return reasonOf(query.lastError());
    std::erase_if(rows, [&](const auto &row) { return !present.contains(row.first); });
    return std::monostate{};
}

bool ManagedObjectContext::hasChanges() const
{
    return _favorites.hasChanges() || _fileSearches.hasChanges();
}

base::Outcome ManagedObjectContext::save()
{
    if (!hasChanges())
        return std::monostate{};
    const auto begin = runStatement(_file, u"BEGIN IMMEDIATE", [](auto &) {});
    if (!begin)
        return begin.error();
    auto outcome = writeAll();
    if (outcome) {
        if (const auto commit = runStatement(_file, u"COMMIT", [](auto &) {}); !commit)
            outcome = commit.error();
    }
    if (!outcome) {
        // Some failures have rolled back already; then there is nothing left to roll back.
        runStatement(_file, u"ROLLBACK", [](auto &) {});
        return outcome;
    }
    _favorites.settle();
    _fileSearches.settle();
    return outcome;
}

base::Outcome ManagedObjectContext::writeAll()
{
    auto outcome = write<Favorite>();
    return outcome ? write<FileSearch>() : outcome;
}

template <class Object> base::Outcome ManagedObjectContext::write()
{
    auto &entity = known<Object>();
    for (const auto &[id, entry] : entity.rows) {
        if (entry.isDeleted) {
            const auto removed = runStatement(
                _file, Sql<Object>::remove, [&](QSqlQuery &query) { query.addBindValue(id); });
            if (!removed)
                return removed.error();
        } else if (entry.isChanged()) {
            const auto updated = runStatement(_file, Sql<Object>::update, [&](QSqlQuery &query) {
                Sql<Object>::bind(query, *entry.object);
                query.addBindValue(id);
            });
            if (!updated)
                return updated.error();
        }
    }
    entity.newRowIds.clear();
    for (const auto &object : entity.inserted) {
        const auto rowId = runStatement(_file, Sql<Object>::insert,
            [&](QSqlQuery &query) { Sql<Object>::bind(query, *object); });
        if (!rowId)
            return rowId.error();
        entity.newRowIds.push_back(rowId.value());
    }
    return std::monostate{};
}

template std::shared_ptr<Favorite> ManagedObjectContext::insert();
template std::shared_ptr<FileSearch> ManagedObjectContext::insert();
template void ManagedObjectContext::remove(const std::shared_ptr<Favorite> &);
template void ManagedObjectContext::remove(const std::shared_ptr<FileSearch> &);
template base::Result<QList<std::shared_ptr<Favorite>>> ManagedObjectContext::fetch(
    const FetchRequest<Favorite> &);
template base::Result<QList<std::shared_ptr<FileSearch>>> ManagedObjectContext::fetch(
    const FetchRequest<FileSearch> &);

}  // namespace vellumhound::store
