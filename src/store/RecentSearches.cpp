// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/RecentSearches.h"

#include "base/FailureLine.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vellumhound::store {

namespace {

FetchRequest<FileSearch> newestFirst()
{
    return FetchRequest<FileSearch>().sortedBy(&FileSearch::searchDate, SortDirection::descending);
}

Date momentOf(const platform::Clock &clock)
{
    return std::chrono::floor<std::chrono::microseconds>(clock.now());
}

void insertSearch(ManagedObjectContext &context, const QString &text, Date date)
{
    const auto search = context.insert<FileSearch>();
    search->searchText = text;
    search->searchDate = date;
}

/// Everything about recording but the report of a failure.
base::Outcome recorded(
    const QString &text, ManagedObjectContext &context, std::int64_t limit, Date moment)
{
    const auto fetched = context.fetch(newestFirst());
    if (!fetched)
        return fetched.error();
    const auto &searches = fetched.value();
    if (!searches.isEmpty() && searches.first()->searchText == text)
        return std::monostate{};
    insertSearch(context, text, moment);
    for (qsizetype i = std::max<std::int64_t>(0, limit); i < searches.size(); ++i)
        context.remove(searches[i]);
    return context.save();
}

}  // namespace

void recordSearch(const QString &text, ManagedObjectContext &viewContext, std::int64_t limit,
    const platform::Clock &clock)
{
    const auto outcome = recorded(text, viewContext, limit, momentOf(clock));
    if (!outcome)
        base::printFailure(
            u"Failed to manage file search records: "_s + outcome.error().description);
}

RecentSearchViewModel::RecentSearchViewModel(ManagedObjectContext &viewContext,
    const platform::Clock &clock, const SeededSearches &seeds, QObject *parent)
    : QObject(parent)
    , _viewContext(viewContext)
{
    seed(seeds, clock);
}

void RecentSearchViewModel::seed(const SeededSearches &seeds, const platform::Clock &clock)
{
    const auto report = [](const base::Error &error) {
        base::printFailure(u"Error checking/saving default searches: "_s + error.description);
    };
    const auto present = _viewContext.fetch<FileSearch>();
    if (!present)
        return report(present.error());
    if (!present.value().isEmpty())
        return;
    const auto aMinuteAgo = momentOf(clock) - std::chrono::minutes(1);
    insertSearch(_viewContext, seeds.downloads, aMinuteAgo);
    insertSearch(_viewContext, seeds.desktop, aMinuteAgo);
    if (const auto saved = _viewContext.save(); !saved)
        return report(saved.error());
    loadFileSearches(2);
}

void RecentSearchViewModel::loadFileSearches(std::int64_t limit)
{
    auto fetched = _viewContext.fetch(newestFirst().limitedTo(limit));
    if (!fetched) {
        base::printFailure(u"Error fetching file searches: "_s + fetched.error().description);
        return;
    }
    auto searches = std::move(fetched).value();
    if (searches == _fileSearches)
        return;
    _fileSearches = std::move(searches);
    Q_EMIT fileSearchesChanged();
}

}  // namespace vellumhound::store
