// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/SettingsRecords.h"

#include <QObject>

namespace vellumhound::settings {

/// The observable owner of the settings records: one property for each field that the screens edit.
/// Made once by the application delegate and handed to all screens; main thread only; the defaults
/// outlive it. It holds no copy of a record: each get reads the store, each set replaces one field
/// of the record as it is stored at that moment. No failure of either is told.
class AppSettings final : public QObject {
    Q_OBJECT

public:
    explicit AppSettings(UserDefaults &store, QObject *parent = nullptr);

    const CodableAppStorage<AppSettingsData> appSettings;
    const CodableAppStorage<SearchSettingsData> searchSettings;
    const CodableAppStorage<SearchFiltersSettingsData> searchFiltersSettings;
    const CodableAppStorage<FileSystemSettingsData> fileSystemSettings;
    const CodableAppStorage<HomeScreenSettingsData> homeScreenSettings;

    bool showMenuBarIcon() const;
    void setShowMenuBarIcon(bool isShown);
    OnboardingStep onboarding() const;
    void setOnboarding(OnboardingStep step);
    SettingsTab selectedSettingsTab() const;
    void setSelectedSettingsTab(SettingsTab tab);
    StartupBehavior startupBehavior() const;
    void setStartupBehavior(StartupBehavior behavior);
    std::int64_t searchHistoryCount() const;
    void setSearchHistoryCount(std::int64_t count);
    bool searchByContent() const;
    void setSearchByContent(bool isByContent);
    SortOption sortResults() const;
    void setSortResults(SortOption option);
    PathRules pathRules() const;
    /// Sorts the rules and stores them together with the scopes and filters that follow from them.
    void setPathRules(const PathRules &rules);
    SortOption sortContents() const;
    void setSortContents(SortOption option);
    std::int64_t favoritesCount() const;
    void setFavoritesCount(std::int64_t count);

Q_SIGNALS:
    /// Before each write through a property, also of an equal value: the old value can still be
    /// read. Whoever draws the new one uses didChange().
    void objectWillChange();
    /// One of the five records differs now, by whichever writer.
    void didChange();

private:
    template <class Record, class Change>
    void write(const CodableAppStorage<Record> &storage, Change change);
};

}  // namespace vellumhound::settings
