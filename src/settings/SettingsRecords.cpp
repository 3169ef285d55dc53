// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/SettingsRecords.h"

#include "settings/JsonFields.h"

#include <array>

using namespace Qt::StringLiterals;

namespace vellumhound::settings {

namespace {

constexpr std::array allStartupBehaviors{
    StartupBehavior::newSearch, StartupBehavior::restorePreviousSession};
constexpr std::array allSortOptions{
    SortOption::relevance, SortOption::foldersFirst, SortOption::name, SortOption::kind};
constexpr std::array allSettingsTabs{SettingsTab::general, SettingsTab::search,
    SettingsTab::searchFilters, SettingsTab::fileSystem, SettingsTab::about,
    SettingsTab::homeScreen};
constexpr std::array allOnboardingSteps{
    OnboardingStep::start, OnboardingStep::preferences, OnboardingStep::demo, OnboardingStep::done};

/// The case of `all` whose stored number this is.
template <class Case, std::size_t count>
ReadFailure readNumbered(const JsonValue &json, Case &into, const std::array<Case, count> &all,
    const QString &unknownNumber)
{
    std::int64_t number = 0;
    if (auto failure = readJson(json, number))
        return failure;
    for (const auto candidate : all) {
        if (std::int64_t(candidate) == number) {
            into = candidate;
            return std::nullopt;
        }
    }
    return base::Error{unknownNumber};
}

/// Parses `json` and lets `read(reader, record)` take its fields into `record`.
template <class Record, class Read>
base::Result<Record> decodedBy(const QByteArray &json, Read read, Record record = {})
{
    const auto parsed = parsedJson(json);
    if (!parsed)
        return parsed.error();
    FieldReader reader(parsed.value());
    read(reader, record);
    if (reader.failure())
        return *reader.failure();
    return record;
}

}  // namespace

// Found through the type of their argument by the readers and writers of fields and lists.

static ReadFailure readJson(const JsonValue &json, StartupBehavior &into)
{
    QString text;
    if (auto failure = readJson(json, text))
        return failure;
    for (const auto candidate : allStartupBehaviors) {
        if (storedText(candidate) == text) {
            into = candidate;
            return std::nullopt;
        }
    }
    return base::Error{u"Invalid StartupBehavior raw value"_s};
}

static ReadFailure readJson(const JsonValue &json, SortOption &into)
{
    if (!json.is_object())
        return base::Error{u"Expected an object."_s};
    if (json.size() != 1)
        return base::Error{u"Invalid number of keys found, expected one."_s};
    for (const auto candidate : allSortOptions) {
        const auto payload = json.find(caseName(candidate).toStdString());
        if (payload == json.end())
            continue;
        if (!payload->is_object())
            return base::Error{u"Expected an object."_s};
        into = candidate;
        return std::nullopt;
    }
    return base::Error{u"Invalid SortOption key"_s};
}

static ReadFailure readJson(const JsonValue &json, SettingsTab &into)
{
    return readNumbered(json, into, allSettingsTabs, u"Invalid SettingsTab raw value"_s);
}

static ReadFailure readJson(const JsonValue &json, OnboardingStep &into)
{
    return readNumbered(json, into, allOnboardingSteps, u"Invalid OnboardingStep raw value"_s);
}

static ReadFailure readJson(const JsonValue &json, PathRule &into)
{
    FieldReader reader(json);
    PathRule rule;
    reader.required("path", rule.path);
    reader.required("isIncluded", rule.isIncluded);
    if (!reader.failure())
        into = std::move(rule);
    return reader.failure();
}

static OrderedJson toJson(SortOption option)
{
    return OrderedJson::object({{caseName(option).toStdString(), OrderedJson::object()}});
}

static OrderedJson toJson(const PathRule &rule)
{
    return OrderedJson::object({{"path", toJson(rule.path)}, {"isIncluded", rule.isIncluded}});
}

QString storedText(StartupBehavior behavior)
{
    switch (behavior) {
    case StartupBehavior::newSearch:
        return u"Start new search"_s;
    case StartupBehavior::restorePreviousSession:
        return u"Restore previous session"_s;
    }
    Q_UNREACHABLE();
}

QString label(SortOption option)
{
    switch (option) {
    case SortOption::relevance:
        return u"By relevance"_s;
    case SortOption::foldersFirst:
        return u"Folders first"_s;
    case SortOption::name:
        return u"By name"_s;
    case SortOption::kind:
        return u"By kind"_s;
    }
    Q_UNREACHABLE();
}

QString caseName(SortOption option)
{
    switch (option) {
    case SortOption::relevance:
        return u"relevance"_s;
    case SortOption::foldersFirst:
        return u"foldersFirst"_s;
    case SortOption::name:
        return u"name"_s;
    case SortOption::kind:
        return u"kind"_s;
    }
    Q_UNREACHABLE();
}

QString identifier(OnboardingStep step)
{
    switch (step) {
    case OnboardingStep::start:
        return u"Welcome"_s;
    case OnboardingStep::preferences:
        return u"Setup"_s;
    case OnboardingStep::demo:
        return u"Finish"_s;
    case OnboardingStep::done:
        return u"Completed"_s;
    }
    Q_UNREACHABLE();
}

base::Result<AppSettingsData> AppSettingsData::decoded(const QByteArray &json)
{
    return decodedBy<AppSettingsData>(json, [](FieldReader &reader, AppSettingsData &record) {
        reader.optional("showMenuBarIcon", record.showMenuBarIcon);
        if (bool isStillToBeShown = true; reader.readsAs("onboarding", isStillToBeShown))
            record.onboarding = isStillToBeShown ? OnboardingStep::start : OnboardingStep::done;
        else
            reader.optional("onboarding", record.onboarding);
        reader.optional("selectedSettingsTab", record.selectedSettingsTab);
    });
}

base::Result<QByteArray> AppSettingsData::encoded() const
{
    return writtenJson(OrderedJson::object({
        {"showMenuBarIcon", showMenuBarIcon},
        {"onboarding", int(onboarding)},
        {"selectedSettingsTab", int(selectedSettingsTab)},
    }));
}

base::Result<SearchSettingsData> SearchSettingsData::decoded(const QByteArray &json)
{
    return decodedBy<SearchSettingsData>(json, [](FieldReader &reader, SearchSettingsData &record) {
        reader.optional("startupBehavior", record.startupBehavior);
        reader.optional("searchHistoryCount", record.searchHistoryCount);
        reader.optional("searchByContent", record.searchByContent);
        reader.optional("sortResults", record.sortResults);
    });
}

base::Result<QByteArray> SearchSettingsData::encoded() const
{
    return writtenJson(OrderedJson::object({
        {"startupBehavior", toJson(storedText(startupBehavior))},
        {"searchHistoryCount", searchHistoryCount},
        {"searchByContent", searchByContent},
        {"sortResults", toJson(sortResults)},
    }));
}

SearchFiltersSettingsData::SearchFiltersSettingsData()
    : SearchFiltersSettingsData(defaultPathRules())
{
}

SearchFiltersSettingsData::SearchFiltersSettingsData(PathRules rules)
    : pathRules(std::move(rules))
{
    auto derived = deriveFilters(pathRules);
    queryScopes = std::move(derived.queryScopes);
    appliedFilters = std::move(derived.appliedFilters);
}

SearchFiltersSettingsData::SearchFiltersSettingsData(
    PathRules rules, QStringList scopes, PathRules filters)
    : pathRules(std::move(rules))
    , queryScopes(std::move(scopes))
    , appliedFilters(std::move(filters))
{
}

base::Result<SearchFiltersSettingsData> SearchFiltersSettingsData::decoded(const QByteArray &json)
{
    using Record = SearchFiltersSettingsData;
    const auto read = [](FieldReader &reader, Record &record) {
        reader.optional("pathRules", record.pathRules);
        // A record that was stored whole has them; deriving costs more than all the rest.
        if (!reader.has("queryScopes") || !reader.has("appliedFilters"))
            record = Record(std::move(record.pathRules));
        reader.optional("queryScopes", record.queryScopes);
        reader.optional("appliedFilters", record.appliedFilters);
    };
    return decodedBy<Record>(json, read, Record(defaultPathRules(), {}, {}));
}

base::Result<QByteArray> SearchFiltersSettingsData::encoded() const
{
    return writtenJson(OrderedJson::object({
        {"pathRules", toJson(pathRules)},
        {"queryScopes", toJson(queryScopes)},
        {"appliedFilters", toJson(appliedFilters)},
    }));
}

base::Result<FileSystemSettingsData> FileSystemSettingsData::decoded(const QByteArray &json)
{
    using Record = FileSystemSettingsData;
    return decodedBy<Record>(json, [](FieldReader &reader, Record &record) {
        reader.optional("sortContents", record.sortContents);
    });
}

base::Result<QByteArray> FileSystemSettingsData::encoded() const
{
    return writtenJson(OrderedJson::object({{"sortContents", toJson(sortContents)}}));
}

base::Result<HomeScreenSettingsData> HomeScreenSettingsData::decoded(const QByteArray &json)
{
    using Record = HomeScreenSettingsData;
    return decodedBy<Record>(json, [](FieldReader &reader, Record &record) {
        reader.optional("favoritesCount", record.favoritesCount);
    });
}

base::Result<QByteArray> HomeScreenSettingsData::encoded() const
{
    return writtenJson(OrderedJson::object({{"favoritesCount", favoritesCount}}));
}

}  // namespace vellumhound::settings
