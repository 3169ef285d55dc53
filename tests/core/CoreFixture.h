// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Background.h"
#include "base/MainQueue.h"
#include "base/NativePath.h"
#include "base/NotificationCenter.h"
#include "core/FileBrowserModel.h"
#include "core/FileSearchService.h"
#include "fakes/FakeFileSystem.h"
#include "fakes/FakeMetadataQuery.h"
#include "settings/UserDefaults.h"
#include "store/PersistenceController.h"

#include <QTemporaryDir>

#include <memory>
#include <utility>

namespace vellumhound::core {

/// A model and a search service over a file tree in memory, an index that answers on demand, and
/// defaults and a store in a folder of their own.
class CoreFixture {
public:
    explicit CoreFixture(store::StoreAccess access = store::StoreAccess::asPermitted)
        : persistence(store::PersistenceController::load(storePath(), access))
    {
        makeModel();
    }
    Q_DISABLE_COPY_MOVE(CoreFixture)

    void makeModel()
    {
        model = std::make_unique<FileBrowserModel>(FileBrowserModel::Environment{.mainQueue = queue,
            .background = background,
            .fileSystem = disk,
            .defaults = defaults,
            .viewContext = context()});
    }
    QString storePath() const { return folder.filePath(QStringLiteral("data/DataModel.sqlite")); }
    store::ManagedObjectContext &context()
    {
        return persistence.value()->container().viewContext();
    }
    template <class Record, class Change> void change(Change apply)
    {
        settings::settingsStorage<Record>(defaults).modify(std::move(apply));
    }
    void sortResults(settings::SortOption option)
    {
        change<settings::SearchSettingsData>(
            [&](settings::SearchSettingsData &record) { record.sortResults = option; });
    }
    void sortContents(settings::SortOption option)
    {
        change<settings::FileSystemSettingsData>(
            [&](settings::FileSystemSettingsData &record) { record.sortContents = option; });
    }

    static FilePtr file(const QString &path, bool isDirectory = false)
    {
        return std::make_shared<File>(base::lastPathComponent(path), path, isDirectory,
            std::nullopt, isDirectory ? base::UTType::folder() : base::UTType::data());
    }
    static FilePtr folderAt(const QString &path) { return file(path, true); }
    static QStringList names(const FileList &files)
    {
        QStringList list;
        for (const auto &entry : files)
            list.append(entry->fileName);
        return list;
    }

    QTemporaryDir folder;
    base::MainQueue queue;
    base::NotificationCenter center;
    std::shared_ptr<fakes::FakeFileSystem> disk = std::make_shared<fakes::FakeFileSystem>();
    base::Background background{queue};
    base::EventLoopTimer eventLoop;
    settings::UserDefaults defaults{folder.filePath(QStringLiteral("config")), eventLoop};
    fakes::FakeMetadataQuery index{center};
    base::Result<std::unique_ptr<store::PersistenceController>> persistence;
    std::unique_ptr<FileBrowserModel> model;
    FileSearchService service{FileSearchService::Environment{.mainQueue = queue,
        .background = background,
        .notificationCenter = center,
        .metadataQuery = index,
        .fileSystem = disk,
        .defaults = defaults}};
};

}  // namespace vellumhound::core
