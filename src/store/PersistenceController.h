// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "store/ManagedObjectContext.h"
#include "store/SqliteFile.h"

#include <QString>

#include <memory>

namespace vellumhound::store {

/// The store's file and its one context.
class PersistentContainer {
public:
    explicit PersistentContainer(std::unique_ptr<SqliteFile> file);
    ~PersistentContainer();
    Q_DISABLE_COPY_MOVE(PersistentContainer)

    QString name() const;
    /// Every read and write of favorites and searches goes through this one.
    ManagedObjectContext &viewContext() { return _viewContext; }

private:
    std::unique_ptr<SqliteFile> _file;
    ManagedObjectContext _viewContext;
};

/// Owner of the store of favorites and recent searches. Made once, at the start, by the application
/// delegate, and handed down by reference; main thread only; needs the application object.
class PersistenceController {
public:
    /// `vellumhound/DataModel.sqlite` in $XDG_DATA_HOME if that is absolute, else in ".local/share"
    /// of the home folder.
    static QString standardStorePath();

    /// Opens the store, or makes an empty one with its folder. The error says which file and why;
    /// the file is untouched then, and the program cannot go on: see the two texts below.
    static base::Result<std::unique_ptr<PersistenceController>> load(
        const QString &storePath, StoreAccess access = StoreAccess::asPermitted);

    PersistentContainer &container() { return *_container; }

private:
    explicit PersistenceController(std::unique_ptr<PersistentContainer> container);

    std::unique_ptr<PersistentContainer> _container;
};

/// What the user is told when the store does not load.
QString fatalErrorTitle();
QString fatalErrorMessage(const base::Error &error);

}  // namespace vellumhound::store
