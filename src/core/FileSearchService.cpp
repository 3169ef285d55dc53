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

base::Task FileSearchService::performSearch(QString text, FileBrowserModel &model,
    std::function<void()> onBatch, std::function<void()> onFinished)
{
    if (text != model.searchText()) {
        call(onFinished);
        co_return;
    }
    model.setSearchStatus(SearchStatus::searching());
    if (isPathText(text)) {
        std::function<FileList()> work = [fileSystem = _environment.fileSystem, text] {
            return pathSearch(*fileSystem, text);
        };
        const auto list = co_await _environment.background.finish<FileList>(std::move(work));
        if (list && text == model.searchText())
            model.showFiles(*list, ResultType::search);
    } else {
        const auto outcome = co_await runQuery(text, model, onBatch);
        if (!outcome) {
            base::printFailure(u"Search failed: "_s + outcome.error().description);
            model.reset(true, SearchStatus::noResults());
        } else if (text == model.searchText()) {
            model.showFiles(model.files(), ResultType::search);
        }
    }
    // A box that was emptied meanwhile stands for the home screen: no later search would take the
    // sign of this one away, nor the rows that came after the box was emptied and that home hides.
    if (model.searchText().isEmpty() && !model.searchStatus().isResults())
        model.reset(true, SearchStatus::noResults());
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
    for (;;) {
        const auto batch = co_await stream.next();
        const bool isCancelled = co_await base::isTaskCancelled();
        if (!batch || isCancelled)
            break;
        const auto files = recordsOf(*batch);
        if (std::exchange(isFirstBatch, false))
            model.reset(false, SearchStatus::searching());
        if (!files.isEmpty()) {
            model.appendFiles(files);
            call(onBatch);
        }
    }
    if (isFirstBatch)
        model.reset(false, SearchStatus::searching());
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
