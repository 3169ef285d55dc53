// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace vellumhound::store {

/// A moment as the store keeps it.
using Date = std::chrono::sys_time<std::chrono::microseconds>;

/// A row shared by reference: whoever fetches it gets the same object, and a change of a member is
/// seen by all at once, saved or not. Equality is identity. Made by ManagedObjectContext alone;
/// main thread only.
class ManagedObject {
public:
    Q_DISABLE_COPY_MOVE(ManagedObject)

    /// A text that names the row for good: `x-vellumhound://Favorite/p7`. Until the first save it
    /// is a temporary one, `x-vellumhound:///Favorite/t1`. No row gets the id of an earlier one.
    QString uriRepresentation() const;

protected:
    explicit ManagedObject(QLatin1StringView entityName)
        : _entityName(entityName)
    {
    }
    ~ManagedObject() = default;

private:
    friend class ManagedObjectContext;
    QLatin1StringView _entityName;
    qint64 _rowId = 0;        // 0 until saved
    qint64 _temporaryId = 0;  // counts the insertions of this run
};

struct FavoriteValues {
    std::optional<QString> path;  ///< absolute; a row without one is passed over by readers
    std::optional<QString> type;  ///< "file" or "folder", as it was when the favorite was made
    qint32 order = 0;             ///< place in the user's arrangement, the highest first

    bool operator==(const FavoriteValues &) const = default;
};

/// A file or folder that the user has starred.
class Favorite final : public ManagedObject, public FavoriteValues {
public:
    using Values = FavoriteValues;

private:
    friend class ManagedObjectContext;
    Favorite()
        : ManagedObject(QLatin1StringView("Favorite"))
    {
    }
};

struct FileSearchValues {
    /// What was typed, or a folder in tilde form; a row without one is passed over by readers.
    std::optional<QString> searchText;
    std::optional<Date> searchDate;

    bool operator==(const FileSearchValues &) const = default;
};

/// A search that was made.
class FileSearch final : public ManagedObject, public FileSearchValues {
public:
    using Values = FileSearchValues;

private:
    friend class ManagedObjectContext;
    FileSearch()
        : ManagedObject(QLatin1StringView("FileSearch"))
    {
    }
};

}  // namespace vellumhound::store
