// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/AppSettings.h"

namespace vellumhound::settings {

AppSettings::AppSettings(UserDefaults &store, QObject *parent)
    : QObject(parent)
    , appSettings(settingsStorage<AppSettingsData>(store))
    , searchSettings(settingsStorage<SearchSettingsData>(store))
    , searchFiltersSettings(settingsStorage<SearchFiltersSettingsData>(store))
    , fileSystemSettings(settingsStorage<FileSystemSettingsData>(store))
    , homeScreenSettings(settingsStorage<HomeScreenSettingsData>(store))
{
    const auto tell = [this] { Q_EMIT didChange(); };
    appSettings.onChange(this, tell);
    searchSettings.onChange(this, tell);
    searchFiltersSettings.onChange(this, tell);
    fileSystemSettings.onChange(this, tell);
    homeScreenSettings.onChange(this, tell);
}

template <class Record, class Change>
void AppSettings::write(const CodableAppStorage<Record> &storage, Change change)
{
    Q_EMIT objectWillChange();
    storage.modify(change);
}

bool AppSettings::showMenuBarIcon() const
{
    return appSettings.wrappedValue().showMenuBarIcon;
}

void AppSettings::setShowMenuBarIcon(bool isShown)
{
    write(appSettings, [&](AppSettingsData &record) { record.showMenuBarIcon = isShown; });
}

OnboardingStep AppSettings::onboarding() const
{
    return appSettings.wrappedValue().onboarding;
}

void AppSettings::setOnboarding(OnboardingStep step)
{
    write(appSettings, [&](AppSettingsData &record) { record.onboarding = step; });
}

SettingsTab AppSettings::selectedSettingsTab() const
{
    return appSettings.wrappedValue().selectedSettingsTab;
}

void AppSettings::setSelectedSettingsTab(SettingsTab tab)
{
    write(appSettings, [&](AppSettingsData &record) { record.selectedSettingsTab = tab; });
}

StartupBehavior AppSettings::startupBehavior() const
{
    return searchSettings.wrappedValue().startupBehavior;
}

void AppSettings::setStartupBehavior(StartupBehavior behavior)
{
    write(searchSettings, [&](SearchSettingsData &record) { record.startupBehavior = behavior; });
}

std::int64_t AppSettings::searchHistoryCount() const
{
    return searchSettings.wrappedValue().searchHistoryCount;
}

void AppSettings::setSearchHistoryCount(std::int64_t count)
{
    write(searchSettings, [&](SearchSettingsData &record) { record.searchHistoryCount = count; });
}

bool AppSettings::searchByContent() const
{
    return searchSettings.wrappedValue().searchByContent;
}

void AppSettings::setSearchByContent(bool isByContent)
{
    write(
        searchSettings, [&](SearchSettingsData &record) { record.searchByContent = isByContent; });
}

SortOption AppSettings::sortResults() const
{
    return searchSettings.wrappedValue().sortResults;
}

void AppSettings::setSortResults(SortOption option)
{
    write(searchSettings, [&](SearchSettingsData &record) { record.sortResults = option; });
}

PathRules AppSettings::pathRules() const
{
    return searchFiltersSettings.wrappedValue().pathRules;
}

void AppSettings::setPathRules(const PathRules &rules)
{
    write(searchFiltersSettings, [&](SearchFiltersSettingsData &record) {
        record = SearchFiltersSettingsData(sortedPathRules(rules));
    });
}

SortOption AppSettings::sortContents() const
{
    return fileSystemSettings.wrappedValue().sortContents;
}

void AppSettings::setSortContents(SortOption option)
{
    write(
        fileSystemSettings, [&](FileSystemSettingsData &record) { record.sortContents = option; });
}

std::int64_t AppSettings::favoritesCount() const
{
    return homeScreenSettings.wrappedValue().favoritesCount;
}

void AppSettings::setFavoritesCount(std::int64_t count)
{
    write(
        homeScreenSettings, [&](HomeScreenSettingsData &record) { record.favoritesCount = count; });
}

}  // namespace vellumhound::settings
