// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "base/Task.h"
#include "core/FileSystemQuery.h"
#include "settings/CodableAppStorage.h"
#include "settings/SettingsRecords.h"

#include <functional>
#include <memory>
#include <optional>

namespace vellumhound::base {
class Background;
}
namespace vellumhound::platform {
class FileSystem;
}

namespace vellumhound::core {

class FileBrowserModel;

/// Turns a text into rows of the model: a text that begins with "/" or "~" is listed as a path,
/// every other one is a query of the index. One for the whole process, owned by the composition
/// root; main thread. It and the model outlive every search: whoever takes one of them down ends
/// the search first.
class FileSearchService {
public:
    /// All of it outlives the service; the file system is shared with workers that may hang in it
    /// beyond that.
    struct Environment {
        base::MainQueue &mainQueue;
        base::Background &background;
        base::NotificationCenter &notificationCenter;
        platform::MetadataQuery &metadataQuery;
        std::shared_ptr<const platform::FileSystem> fileSystem;
        settings::UserDefaults &defaults;
    };

    explicit FileSearchService(Environment environment);
    ~FileSearchService();
    Q_DISABLE_COPY_MOVE(FileSearchService)

    /// The search that started last. Whoever starts one cancels it and puts the new one in its
    /// place; it keeps its value after its end.
    std::optional<base::Task> searchTask;

    /// Cancels the search that runs, and has it and all else that waits in the main queue come to
    /// its end before this returns.
    void endSearch();

    /// Searches for `text`, which must be the model's whole text: one that differs from it, be it
    /// by a blank at the end, is out of date and ends without a trace. `onBatch` runs after each
    /// batch of a query, `onFinished` once at the end; either may be empty. A search that was
    /// cancelled shows no final list. A failure goes to standard output as "Search failed: " and
    /// its reason, and leads home.
    base::Task performSearch(QString text, FileBrowserModel &model, std::function<void()> onBatch,
        std::function<void()> onFinished);

    /// Queries the index and feeds the model batch by batch. The rows of the search before stay
    /// until the first batch, or the end, comes. Fails if the index cannot begin.
    base::Step<base::Outcome> runQuery(
        QString text, FileBrowserModel &model, std::function<void()> onBatch);

    base::MainQueue &mainQueue() const { return _environment.mainQueue; }

private:
    void prepareQuery(const QString &text, const QStringList &scopes);

    Environment _environment;
    settings::CodableAppStorage<settings::SearchSettingsData> _searchSettings;
    settings::CodableAppStorage<settings::SearchFiltersSettingsData> _searchFiltersSettings;
    FileSystemQuery _query;
};

}  // namespace vellumhound::core
