// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/FileSearchService.h"

#include "base/Background.h"
#include "base/FailureLine.h"
#include "core/FileBrowserModel.h"
#include "core/PathSearch.h"

#include <QLoggingCategory>

#include <utility>

using namespace Qt::StringLiterals;

namespace vellumhound::core {

Q_LOGGING_CATEGORY(searchLog, "vellumhound.search", QtInfoMsg)

namespace {

FileList recordsOf(const FileSystemQuery::Batch &batch)
{
    FileList files;
    files.reserve(batch.size());
    for (const auto &entry : batch)
        files.append(std::make_shared<File>(entry.fileName.value_or(QString()),
            entry.path.value_or(QString()), entry.isDirectory, entry.fileSize, entry.contentType));
    return files;
}

void call(const std::function<void()> &closure)
{
    if (closure)
        closure();
}

}  // namespace

FileSearchService::FileSearchService(Environment environment)
    : _environment(std::move(environment))
    , _searchSettings(
          settings::settingsStorage<settings::SearchSettingsData>(_environment.defaults))
    , _searchFiltersSettings(
          settings::settingsStorage<settings::SearchFiltersSettingsData>(_environment.defaults))
    , _query(_environment.metadataQuery, _environment.notificationCenter)
{
}

FileSearchService::~FileSearchService()
{
    endSearch();
}

void FileSearchService::endSearch()
{
    if (searchTask)
        searchTask->cancel();
    mainQueue().drain();
}

base::Task FileSearchService::performSearch(QString text, FileBrowserModel &model,
    std::function<void()> onBatch, std::function<void()> onFinished)
{
    if (text != model.searchText()) {
        call(onFinished);
        co_return;
    }
    model.setSearchStatus(SearchStatus::searching());
    base::Result<FileList> found = FileList();
    if (isPathText(text)) {
        std::function<FileList()> work = [fileSystem = _environment.fileSystem, text] {
            return pathSearch(*fileSystem, text);
        };
        const auto list = co_await _environment.background.finish<FileList>(std::move(work));
        found = list.value_or(FileList());
    } else {
        const auto outcome = co_await runQuery(text, model, onBatch);
        if (outcome)
            found = model.results();
        else
            found = outcome.error();
    }
    const bool isCancelled = co_await base::isTaskCancelled();
    if (!found) {
        base::printFailure(u"Search failed: "_s + found.error().description);
        model.reset(ClearText::yes, SearchStatus::noResults());
    } else if (!isCancelled) {
        model.endResults(found.value(), text);
    }
    call(onFinished);
}

base::Step<base::Outcome> FileSearchService::runQuery(
    QString text, FileBrowserModel &model, std::function<void()> onBatch)
{
    const auto filters = _searchFiltersSettings.wrappedValue();
    prepareQuery(text, filters.queryScopes);
    bool hasBegun = false;
    base::Stream<FileSystemQuery::Batch> stream(
        mainQueue(), [&](const FileSystemQuery::Continuation &continuation) {
            hasBegun = _query.start(continuation, filters.appliedFilters);
        });
    if (!hasBegun)
        co_return base::Error{u"The file index could not begin the query."_s};
    bool isFirstBatch = true;
    bool isCancelled = false;
    for (;;) {
        const auto batch = co_await stream.next();
        isCancelled = co_await base::isTaskCancelled();
        if (!batch || isCancelled)
            break;
        const auto files = recordsOf(*batch);
        if (std::exchange(isFirstBatch, false))
            model.beginResults(text);
        if (!files.isEmpty()) {
            model.appendFiles(files);
            call(onBatch);
        }
    }
    const bool isOldListLeft = isFirstBatch && !model.isBoxEmptied();
    if (isOldListLeft && !isCancelled)
        model.beginResults(text);
    else if (isOldListLeft && model.root())
        model.reset(ClearText::no, SearchStatus::searching());
    co_return std::monostate{};
}

void FileSearchService::prepareQuery(const QString &text, const QStringList &scopes)
{
    using Contains = platform::MetadataPredicate::Contains;
    const bool searchByContent = _searchSettings.wrappedValue().searchByContent;
    platform::MetadataPredicate predicate;
    predicate.anyOf.append(
        Contains{QString::fromUtf16(platform::NSMetadataItemDisplayNameKey), text});
    if (searchByContent)
        predicate.anyOf.append(
            Contains{QString::fromUtf16(platform::NSMetadataItemTextContentKey), text});
    qCDebug(searchLog) << "query starts: characters" << text.size() << "scopes" << scopes.size()
                       << "searchByContent" << searchByContent;
    _environment.metadataQuery.setSearchScopes(scopes);
    _environment.metadataQuery.setSortDescriptors({});
    _environment.metadataQuery.setPredicate(predicate);
}

}  // namespace vellumhound::core
