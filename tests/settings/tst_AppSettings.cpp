// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/AppSettings.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace vellumhound::settings;
using namespace Qt::StringLiterals;

class tst_AppSettings : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> _place;
    vellumhound::base::EventLoopTimer _timer;
    std::unique_ptr<UserDefaults> _defaults;
    std::unique_ptr<AppSettings> _settings;

    QByteArray stored(const QString &key) const { return _defaults->data(key).value_or("absent"); }

private Q_SLOTS:
    void initTestCase() { qputenv("HOME", "/home/tester"); }
    void init()
    {
        _place = std::make_unique<QTemporaryDir>();
        _defaults = std::make_unique<UserDefaults>(_place->filePath(u"vellumhound"_s), _timer);
        _settings = std::make_unique<AppSettings>(*_defaults);
    }
    void cleanup()
    {
        _settings.reset();
        _defaults.reset();
    }

    void aNewUserHasTheDefaultsAndNoFile()
    {
        QVERIFY(_settings->showMenuBarIcon());
        QCOMPARE(_settings->onboarding(), OnboardingStep::start);
        QCOMPARE(_settings->selectedSettingsTab(), SettingsTab::general);
        QCOMPARE(_settings->startupBehavior(), StartupBehavior::restorePreviousSession);
        QCOMPARE(_settings->searchHistoryCount(), 5);
        QVERIFY(!_settings->searchByContent());
        QCOMPARE(_settings->sortResults(), SortOption::relevance);
        QCOMPARE(_settings->pathRules(), defaultPathRules());
        QCOMPARE(_settings->sortContents(), SortOption::name);
        QCOMPARE(_settings->favoritesCount(), 3);
        QVERIFY(!QFile::exists(_place->filePath(u"vellumhound"_s)));
    }

    void everyPropertyIsWrittenToItsOwnRecord()
    {
        _settings->setShowMenuBarIcon(false);
        _settings->setOnboarding(OnboardingStep::done);
        _settings->setSelectedSettingsTab(SettingsTab::about);
        _settings->setStartupBehavior(StartupBehavior::newSearch);
        _settings->setSearchHistoryCount(12);
        _settings->setSearchByContent(true);
        _settings->setSortResults(SortOption::foldersFirst);
        _settings->setSortContents(SortOption::kind);
        _settings->setFavoritesCount(9);

        QCOMPARE(stored(u"appSettings"_s),
            R"({"showMenuBarIcon":false,"onboarding":5,"selectedSettingsTab":5})");
        QCOMPARE(stored(u"searchSettings"_s),
            R"({"startupBehavior":"Start new search","searchHistoryCount":12,)"
            R"("searchByContent":true,"sortResults":{"foldersFirst":{}}})");
        QCOMPARE(stored(u"fileSystemSettings"_s), R"({"sortContents":{"kind":{}}})");
        QCOMPARE(stored(u"homeScreenSettings"_s), R"({"favoritesCount":9})");
        QCOMPARE(stored(u"searchFiltersSettings"_s), "absent");

        const AppSettings again(*_defaults);
        QVERIFY(!again.showMenuBarIcon());
        QCOMPARE(again.onboarding(), OnboardingStep::done);
        QCOMPARE(again.selectedSettingsTab(), SettingsTab::about);
        QCOMPARE(again.startupBehavior(), StartupBehavior::newSearch);
        QCOMPARE(again.searchHistoryCount(), 12);
        QVERIFY(again.searchByContent());
        QCOMPARE(again.sortResults(), SortOption::foldersFirst);
        QCOMPARE(again.sortContents(), SortOption::kind);
        QCOMPARE(again.favoritesCount(), 9);
    }

    void theChangeIsAnnouncedBeforeTheWrite()
    {
        _settings->setFavoritesCount(4);
        QList<std::int64_t> before;
        QList<std::int64_t> after;
        connect(_settings.get(), &AppSettings::objectWillChange, this,
            [&] { before.append(_settings->favoritesCount()); });
        connect(_settings.get(), &AppSettings::didChange, this,
            [&] { after.append(_settings->favoritesCount()); });

        _settings->setFavoritesCount(5);
        _settings->setFavoritesCount(5);

        QCOMPARE(before, (QList<std::int64_t>{4, 5}));
        QCOMPARE(after, (QList<std::int64_t>{5}));
    }

    void pathRulesAreAnnouncedBeforeTheWriteToo()
    {
        PathRules before;
        connect(_settings.get(), &AppSettings::objectWillChange, this,
            [&] { before = _settings->pathRules(); });

        _settings->setPathRules(fullDiskPathRules());

        QCOMPARE(before, defaultPathRules());
        QCOMPARE(_settings->pathRules(), fullDiskPathRules());
    }

    void rulesAreSortedAndDerivedInOneRecord()
    {
        _settings->setPathRules({{u"/b10"_s, true}, {u"/b2/x"_s, false}, {u"/b2"_s, true}});

        QCOMPARE(stored(u"searchFiltersSettings"_s),
            R"({"pathRules":[{"path":"/b2","isIncluded":true},{"path":"/b2/x","isIncluded":false},)"
            R"({"path":"/b10","isIncluded":true}],"queryScopes":["/b2","/b10"],)"
            R"("appliedFilters":[{"path":"/b2/x","isIncluded":false}]})");
        const auto record = _settings->searchFiltersSettings.wrappedValue();
        QCOMPARE(record.queryScopes, (QStringList{u"/b2"_s, u"/b10"_s}));
        QCOMPARE(record.appliedFilters, (PathRules{{u"/b2/x"_s, false}}));
    }

    void settingTheRulesMakesStaleScopesGoodAgain()
    {
        QVERIFY(_defaults->setData(u"searchFiltersSettings"_s,
            R"({"pathRules":[{"path":"/a","isIncluded":true}],"queryScopes":["/stale"]})"));

        _settings->setPathRules(_settings->pathRules());

        QCOMPARE(_settings->searchFiltersSettings.wrappedValue().queryScopes, QStringList{u"/a"_s});
    }

    void aRecordWithABadStepReadsAsItsDefaultAsAWhole()
    {
        const QByteArray bytes(R"({"showMenuBarIcon":false,"onboarding":9})");
        QVERIFY(_defaults->setData(u"appSettings"_s, bytes));

        QVERIFY(_settings->showMenuBarIcon());
        QCOMPARE(_settings->onboarding(), OnboardingStep::start);
        QCOMPARE(stored(u"appSettings"_s), bytes);

        _settings->setSelectedSettingsTab(SettingsTab::search);
        QCOMPARE(stored(u"appSettings"_s),
            R"({"showMenuBarIcon":true,"onboarding":1,"selectedSettingsTab":1})");
    }

    void aBadSortOptionReadsAsTheDefault()
    {
        QVERIFY(_defaults->setData(u"fileSystemSettings"_s, R"({"sortContents":{}})"));

        QCOMPARE(_settings->sortContents(), SortOption::name);
    }

    void anotherFieldSetMeanwhileIsKept()
    {
        const auto other = settingsStorage<SearchSettingsData>(*_defaults);
        _settings->setSearchHistoryCount(9);
        other.modify([](SearchSettingsData &record) { record.searchByContent = true; });

        _settings->setSortResults(SortOption::foldersFirst);

        QCOMPARE(_settings->searchHistoryCount(), 9);
        QVERIFY(_settings->searchByContent());
    }

    void aWriterBesideIsHeardOf()
    {
        const auto other = settingsStorage<AppSettingsData>(*_defaults);
        QSignalSpy spy(_settings.get(), &AppSettings::didChange);

        other.modify([](AppSettingsData &record) { record.showMenuBarIcon = false; });

        QCOMPARE(spy.count(), 1);
        QVERIFY(!_settings->showMenuBarIcon());
    }
};

QTEST_GUILESS_MAIN(tst_AppSettings)
#include "tst_AppSettings.moc"
