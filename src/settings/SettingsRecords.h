// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "settings/CodableAppStorage.h"
#include "settings/PathRules.h"

#include <QByteArray>
#include <QString>

#include <cstdint>

/// The five records under the keys of the defaults. A default-constructed record is the default
/// record. Decoding gives each missing (or null) field its own default; a field of a wrong type or
/// with an unknown value fails the record. Fields that a record does not have are passed over.
namespace vellumhound::settings {

/// What the panel shows when it comes back.
enum class StartupBehavior {
    newSearch,
    restorePreviousSession,
};
/// The stored text, which the screen shows as well.
QString storedText(StartupBehavior behavior);

enum class SortOption {
    relevance,
    foldersFirst,
    name,
    kind,
};
/// The text on screen.
QString label(SortOption option);
/// The key under which the option is stored.
QString caseName(SortOption option);

/// The numbers are the stored ones; they say nothing about the order on screen.
enum class SettingsTab {
    general = 0,
    search = 1,
    searchFilters = 2,
    fileSystem = 3,
    about = 5,
    homeScreen = 6,
};

/// Steps of the first run, in their order; the numbers are the stored ones.
enum class OnboardingStep {
    start = 1,
    preferences = 2,
    demo = 4,
    done = 5,
};
/// "Welcome", "Setup", "Finish" or "Completed".
QString identifier(OnboardingStep step);

struct AppSettingsData {
    bool showMenuBarIcon = true;
    OnboardingStep onboarding = OnboardingStep::start;
    SettingsTab selectedSettingsTab = SettingsTab::general;

    bool operator==(const AppSettingsData &) const = default;

    static constexpr QStringView storeKey = u"appSettings";
    /// `onboarding` may be the boolean of an older record: whether the first run was still to be
    /// shown.
    static base::Result<AppSettingsData> decoded(const QByteArray &json);
    base::Result<QByteArray> encoded() const;
};

struct SearchSettingsData {
    StartupBehavior startupBehavior = StartupBehavior::restorePreviousSession;
    std::int64_t searchHistoryCount = 5;  ///< recent searches on the home screen; 1 to 20 on screen
    bool searchByContent = false;
    SortOption sortResults = SortOption::relevance;

    bool operator==(const SearchSettingsData &) const = default;

    static constexpr QStringView storeKey = u"searchSettings";
    static base::Result<SearchSettingsData> decoded(const QByteArray &json);
    base::Result<QByteArray> encoded() const;
};

struct SearchFiltersSettingsData {
    /// The default rules and what follows from them.
    SearchFiltersSettingsData();
    /// These rules as they stand, and what follows from them.
    explicit SearchFiltersSettingsData(PathRules rules);

    PathRules pathRules;
    QStringList queryScopes;   ///< derived from `pathRules`
    PathRules appliedFilters;  ///< derived from `pathRules`

    bool operator==(const SearchFiltersSettingsData &) const = default;

    static constexpr QStringView storeKey = u"searchFiltersSettings";
    /// Scopes and filters are derived where they are missing, and there alone: stored ones stay,
    /// even if they do not fit the rules.
    static base::Result<SearchFiltersSettingsData> decoded(const QByteArray &json);
    base::Result<QByteArray> encoded() const;

private:
    SearchFiltersSettingsData(PathRules rules, QStringList scopes, PathRules filters);
};

struct FileSystemSettingsData {
    SortOption sortContents = SortOption::name;

    bool operator==(const FileSystemSettingsData &) const = default;

    static constexpr QStringView storeKey = u"fileSystemSettings";
    static base::Result<FileSystemSettingsData> decoded(const QByteArray &json);
    base::Result<QByteArray> encoded() const;
};

struct HomeScreenSettingsData {
    std::int64_t favoritesCount = 3;  ///< favorites on the home screen; 1 to 50 on screen

    bool operator==(const HomeScreenSettingsData &) const = default;

    static constexpr QStringView storeKey = u"homeScreenSettings";
    static base::Result<HomeScreenSettingsData> decoded(const QByteArray &json);
    base::Result<QByteArray> encoded() const;
};

/// The wrapper of a record under its own key, with its own default.
template <class Record> CodableAppStorage<Record> settingsStorage(UserDefaults &store)
{
    return CodableAppStorage<Record>(Record(), Record::storeKey.toString(), store);
}

}  // namespace vellumhound::settings
