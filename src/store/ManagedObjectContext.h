// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "store/ManagedObject.h"

#include <QList>

#include <concepts>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace vellumhound::store {

class SqliteFile;

template <class Object>
concept Entity = std::same_as<Object, Favorite> || std::same_as<Object, FileSearch>;

enum class SortDirection {
    ascending,
    descending,
};

/// Which rows of an entity, and in which order. As it is made: all, in the order of insertion.
template <Entity Object> struct FetchRequest {
    /// Rows equal by `member` follow the order of insertion, turned around if descending: of two
    /// searches of one moment the later one is the newer one. A row without a value comes lowest.
    template <class Value, class Holder>
    FetchRequest &sortedBy(Value Holder::*member, SortDirection sortDirection)
    {
        isLess = [member](const Object &a, const Object &b) { return a.*member < b.*member; };
        direction = sortDirection;
        return *this;
    }
    /// At most so many rows; none at 0 and below.
    FetchRequest &limitedTo(std::int64_t count)
    {
        limit = count;
        return *this;
    }

    std::function<bool(const Object &, const Object &)> isLess;
    SortDirection direction = SortDirection::ascending;
    std::optional<std::int64_t> limit;
};

/// The objects of one store with the changes that are not saved yet. Fetches see these changes:
/// inserted objects are among the results, deleted ones are not.
///
/// Belongs to its PersistentContainer, which outlives it; main thread only. Failures are values
/// with the engine's own words. A failed save changes nothing on disk and keeps every pending
/// change for the next one.
class ManagedObjectContext {
public:
    explicit ManagedObjectContext(SqliteFile &file);
    ~ManagedObjectContext();
    Q_DISABLE_COPY_MOVE(ManagedObjectContext)

    template <Entity Object> std::shared_ptr<Object> insert();
    /// Without effect on an object that is deleted already or belongs to another context. The
    /// object itself stays readable for whoever holds it.
    template <Entity Object> void remove(const std::shared_ptr<Object> &object);
    template <Entity Object>
    base::Result<QList<std::shared_ptr<Object>>> fetch(const FetchRequest<Object> &request = {});

    /// Whether save() would write anything.
    bool hasChanges() const;
    /// Writes all pending changes in one transaction; they are on the disk when this returns.
    base::Outcome save();

private:
    template <class Object> struct Entry {
        std::shared_ptr<Object> object;
        typename Object::Values saved;
        bool isDeleted = false;

        bool isChanged() const
        {
            return !isDeleted && static_cast<const typename Object::Values &>(*object) != saved;
        }
    };
    /// What the context knows of one entity.
    template <class Object> struct Known {
        std::map<qint64, Entry<Object>> rows;           // by row id
        std::vector<std::shared_ptr<Object>> inserted;  // in the order of insertion
        std::vector<qint64> newRowIds;                  // of `inserted`, while a save runs

        bool hasChanges() const;
        void settle();
    };

    template <class Object> Known<Object> &known();
    template <class Object> base::Outcome refresh();
    template <class Object> base::Outcome write();
    base::Outcome writeAll();

    SqliteFile &_file;
    Known<Favorite> _favorites;
    Known<FileSearch> _fileSearches;
    qint64 _insertionCount = 0;
};

}  // namespace vellumhound::store
