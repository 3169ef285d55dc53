// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"
#include "settings/SettingsRecords.h"

#include <QTest>

#include <limits>

using namespace vellumhound;
using namespace vellumhound::settings;
using namespace Qt::StringLiterals;

namespace {

template <class Record> std::optional<Record> read(const QByteArray &json)
{
    auto result = Record::decoded(json);
    return result ? std::optional(std::move(result).value()) : std::nullopt;
}

template <class Record> QString failureOf(const QByteArray &json)
{
    const auto result = Record::decoded(json);
    return result ? QString() : result.error().description;
}

template <class Record> QByteArray written(const Record &record)
{
    const auto result = record.encoded();
    return result ? result.value() : QByteArray("not encoded");
}

std::optional<OnboardingStep> onboardingIn(const QByteArray &json)
{
    const auto record = read<AppSettingsData>(json);
    return record ? std::optional(record->onboarding) : std::nullopt;
}

}  // namespace

class tst_SettingsRecords : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("HOME", "/home/tester"); }

    void recordsAreWrittenInTheOrderOfTheirFields()
    {
        QCOMPARE(written(AppSettingsData{}),
            R"({"showMenuBarIcon":true,"onboarding":1,"selectedSettingsTab":0})");
        QCOMPARE(written(SearchSettingsData{}),
            R"({"startupBehavior":"Restore previous session","searchHistoryCount":5,)"
            R"("searchByContent":false,"sortResults":{"relevance":{}}})");
        QCOMPARE(written(FileSystemSettingsData{}), R"({"sortContents":{"name":{}}})");
        QCOMPARE(written(HomeScreenSettingsData{}), R"({"favoritesCount":3})");
        QCOMPARE(written(SearchFiltersSettingsData(PathRules{{u"/ä\"\\"_s, true}})),
            "{\"pathRules\":[{\"path\":\"/\xC3\xA4\\\"\\\\\",\"isIncluded\":true}],"
            "\"queryScopes\":[\"/\xC3\xA4\\\"\\\\\"],\"appliedFilters\":[]}");
    }

    void everyRecordMakesTheRoundTrip()
    {
        const AppSettingsData app{false, OnboardingStep::demo, SettingsTab::homeScreen};
        const SearchSettingsData search{
            StartupBehavior::newSearch, 20, true, SortOption::foldersFirst};
        const FileSystemSettingsData fileSystem{SortOption::kind};
        const HomeScreenSettingsData homeScreen{50};
        const SearchFiltersSettingsData filters(
            PathRules{{u"/"_s, true}, {u"~/Musik 🎵"_s, false}, {u"/x\u0000y"_s, false}});

        QCOMPARE(read<AppSettingsData>(written(app)), app);
        QCOMPARE(read<SearchSettingsData>(written(search)), search);
        QCOMPARE(read<FileSystemSettingsData>(written(fileSystem)), fileSystem);
        QCOMPARE(read<HomeScreenSettingsData>(written(homeScreen)), homeScreen);
        QCOMPARE(read<SearchFiltersSettingsData>(written(filters)), filters);
        QCOMPARE(read<SearchFiltersSettingsData>(written(SearchFiltersSettingsData())),
            SearchFiltersSettingsData());
    }

    void anEmptyObjectIsTheDefaultRecord()
    {
        QCOMPARE(read<AppSettingsData>("{}"), AppSettingsData{});
        QCOMPARE(read<SearchSettingsData>("{}"), SearchSettingsData{});
        QCOMPARE(read<SearchFiltersSettingsData>("{}"), SearchFiltersSettingsData());
        QCOMPARE(read<FileSystemSettingsData>("{}"), FileSystemSettingsData{});
        QCOMPARE(read<HomeScreenSettingsData>("{}"), HomeScreenSettingsData{});
    }

    void theDefaultsAreTheGivenOnes()
    {
        const AppSettingsData app;
        QVERIFY(app.showMenuBarIcon);
        QCOMPARE(app.onboarding, OnboardingStep::start);
        QCOMPARE(app.selectedSettingsTab, SettingsTab::general);
        const SearchSettingsData search;
        QCOMPARE(search.startupBehavior, StartupBehavior::restorePreviousSession);
        QCOMPARE(search.searchHistoryCount, 5);
        QVERIFY(!search.searchByContent);
        QCOMPARE(search.sortResults, SortOption::relevance);
        const SearchFiltersSettingsData filters;
        QCOMPARE(filters.pathRules, defaultPathRules());
        QCOMPARE(filters.queryScopes, (QStringList{u"/Applications"_s, u"/home/tester"_s}));
        QCOMPARE(filters.appliedFilters, defaultPathRules().mid(2));
        QCOMPARE(FileSystemSettingsData().sortContents, SortOption::name);
        QCOMPARE(HomeScreenSettingsData().favoritesCount, 3);
    }

    void onboardingReadsTheOlderBoolean()
    {
        QCOMPARE(onboardingIn(R"({"onboarding":true})"), OnboardingStep::start);
        QCOMPARE(onboardingIn(R"({"onboarding":false})"), OnboardingStep::done);
        QCOMPARE(onboardingIn(R"({"onboarding":1})"), OnboardingStep::start);
        QCOMPARE(onboardingIn(R"({"onboarding":2})"), OnboardingStep::preferences);
        QCOMPARE(onboardingIn(R"({"onboarding":4})"), OnboardingStep::demo);
        QCOMPARE(onboardingIn(R"({"onboarding":5})"), OnboardingStep::done);
        QCOMPARE(onboardingIn("{}"), OnboardingStep::start);
        QCOMPARE(onboardingIn(R"({"onboarding":null})"), OnboardingStep::start);
    }

    void aNumberThatIsNoStepFailsTheRecord()
    {
        QCOMPARE(failureOf<AppSettingsData>(R"({"onboarding":9})"),
            u"Invalid OnboardingStep raw value"_s);
        QCOMPARE(failureOf<AppSettingsData>(R"({"showMenuBarIcon":false,"onboarding":3})"),
            u"Invalid OnboardingStep raw value"_s);
        QCOMPARE(failureOf<AppSettingsData>(R"({"onboarding":0})"),
            u"Invalid OnboardingStep raw value"_s);
    }

    void aMigratedRecordIsWrittenWithTheNumber()
    {
        const auto record = read<AppSettingsData>(R"({"onboarding":false})");

        QVERIFY(record.has_value());
        QCOMPARE(
            written(*record), R"({"showMenuBarIcon":true,"onboarding":5,"selectedSettingsTab":0})");
    }

    void stepsAreOrderedByTheirNumbers()
    {
        QVERIFY(OnboardingStep::start < OnboardingStep::preferences);
        QVERIFY(OnboardingStep::preferences < OnboardingStep::demo);
        QVERIFY(OnboardingStep::demo < OnboardingStep::done);
    }

    void textsAreTheGivenOnes()
    {
        QCOMPARE(identifier(OnboardingStep::start), u"Welcome"_s);
        QCOMPARE(identifier(OnboardingStep::preferences), u"Setup"_s);
        QCOMPARE(identifier(OnboardingStep::demo), u"Finish"_s);
        QCOMPARE(identifier(OnboardingStep::done), u"Completed"_s);
        QCOMPARE(label(SortOption::relevance), u"By relevance"_s);
        QCOMPARE(label(SortOption::foldersFirst), u"Folders first"_s);
        QCOMPARE(label(SortOption::name), u"By name"_s);
        QCOMPARE(label(SortOption::kind), u"By kind"_s);
        QCOMPARE(storedText(StartupBehavior::newSearch), u"Start new search"_s);
        QCOMPARE(
            storedText(StartupBehavior::restorePreviousSession), u"Restore previous session"_s);
    }

    void everyTabHasItsNumber()
    {
        const QList<std::pair<int, SettingsTab>> tabs{{0, SettingsTab::general},
            {1, SettingsTab::search}, {2, SettingsTab::searchFilters}, {3, SettingsTab::fileSystem},
            {5, SettingsTab::about}, {6, SettingsTab::homeScreen}};
        for (const auto &[number, tab] : tabs) {
            const auto json = "{\"selectedSettingsTab\":" + QByteArray::number(number) + '}';
            QCOMPARE(read<AppSettingsData>(json)->selectedSettingsTab, tab);
        }
        QVERIFY(!read<AppSettingsData>(R"({"selectedSettingsTab":4})"));
        QVERIFY(!read<AppSettingsData>(R"({"selectedSettingsTab":7})"));
        QVERIFY(!read<AppSettingsData>(R"({"selectedSettingsTab":-1})"));
    }

    void rulesAloneDeriveTheRest()
    {
        const auto record =
            read<SearchFiltersSettingsData>(R"({"pathRules":[{"path":"/","isIncluded":true}]})");

        QVERIFY(record.has_value());
        QCOMPARE(record->queryScopes, QStringList{u"NSMetadataQueryLocalComputerScope"_s});
        QVERIFY(record->appliedFilters.isEmpty());
    }

    void onlyWhatIsMissingIsDerived()
    {
        const auto record = read<SearchFiltersSettingsData>(
            R"({"pathRules":[{"path":"/a","isIncluded":true},{"path":"/a/b","isIncluded":false}],)"
            R"("queryScopes":["/elsewhere"]})");

        QVERIFY(record.has_value());
        QCOMPARE(record->queryScopes, QStringList{u"/elsewhere"_s});
        QCOMPARE(record->appliedFilters, (PathRules{{u"/a/b"_s, false}}));
    }

    void missingRulesAreTheDefaultOnesAndStoredScopesStay()
    {
        const auto record = read<SearchFiltersSettingsData>(R"({"queryScopes":[]})");

        QVERIFY(record.has_value());
        QCOMPARE(record->pathRules, defaultPathRules());
        QVERIFY(record->queryScopes.isEmpty());
        QCOMPARE(record->appliedFilters, defaultPathRules().mid(2));
    }

    void anEmptyRuleListIsAList()
    {
        const auto record = read<SearchFiltersSettingsData>(R"({"pathRules":[]})");

        QVERIFY(record.has_value());
        QVERIFY(record->pathRules.isEmpty());
        QVERIFY(record->queryScopes.isEmpty());
        QVERIFY(record->appliedFilters.isEmpty());
    }

    void everySortOptionIsAcceptedEverywhere()
    {
        QCOMPARE(read<SearchSettingsData>(R"({"sortResults":{"name":{}}})")->sortResults,
            SortOption::name);
        QCOMPARE(read<FileSystemSettingsData>(R"({"sortContents":{"relevance":{}}})")->sortContents,
            SortOption::relevance);
        QCOMPARE(
            read<FileSystemSettingsData>(R"({"sortContents":{"foldersFirst":{}}})")->sortContents,
            SortOption::foldersFirst);
        QCOMPARE(read<FileSystemSettingsData>(R"({"sortContents":{"kind":{}}})")->sortContents,
            SortOption::kind);
    }

    void aSortOptionHasExactlyOneKey()
    {
        const auto text = u"Invalid number of keys found, expected one."_s;
        QCOMPARE(failureOf<FileSystemSettingsData>(R"({"sortContents":{}})"), text);
        QCOMPARE(
            failureOf<FileSystemSettingsData>(R"({"sortContents":{"name":{},"kind":{}}})"), text);
        QVERIFY(!read<FileSystemSettingsData>(R"({"sortContents":{"size":{}}})"));
    }

    void aCountOutsideTheScreensRangeIsKept()
    {
        QCOMPARE(
            read<SearchSettingsData>(R"({"searchHistoryCount":500})")->searchHistoryCount, 500);
        QCOMPARE(read<HomeScreenSettingsData>(R"({"favoritesCount":-1})")->favoritesCount, -1);
        QCOMPARE(read<HomeScreenSettingsData>(R"({"favoritesCount":5.0})")->favoritesCount, 5);
    }

    void aCountBeyondThirtyTwoBitsIsKept()
    {
        for (const std::int64_t count : {std::int64_t(2'147'483'648), std::int64_t(-2'147'483'649),
                 std::numeric_limits<std::int64_t>::max(),
                 std::numeric_limits<std::int64_t>::min()}) {
            const auto json = "{\"favoritesCount\":" + QByteArray::number(count) + '}';

            const auto record = read<HomeScreenSettingsData>(json);

            QVERIFY(record);
            QCOMPARE(record->favoritesCount, count);
            QCOMPARE(written(*record), json);
        }
        QCOMPARE(read<SearchSettingsData>(R"({"searchHistoryCount":5e9})")->searchHistoryCount,
            5'000'000'000);
    }

    void oneBadFieldFailsTheRecord_data()
    {
        QTest::addColumn<QByteArray>("json");
        const auto bad = [](const QByteArray &json) {
            QTest::newRow(json.left(60).constData()) << json;
        };
        bad(R"({"showMenuBarIcon":1})");
        bad(R"({"showMenuBarIcon":"true"})");
        bad(R"({"onboarding":"done"})");
        bad(R"({"onboarding":1.5})");
        bad(R"({"onboarding":[]})");
        bad(R"({"selectedSettingsTab":true})");
        bad(R"({"selectedSettingsTab":{}})");
        bad(R"({"startupBehavior":"start new search"})");
        bad(R"({"startupBehavior":0})");
        bad(R"({"searchHistoryCount":1.5})");
        bad(R"({"searchHistoryCount":"5"})");
        bad(R"({"searchHistoryCount":true})");
        bad(R"({"searchHistoryCount":9223372036854775808})");
        bad(R"({"searchHistoryCount":-1e19})");
        bad(R"({"onboarding":4294967297})");
        bad(R"({"searchHistoryCount":99999999999999999999999})");
        bad(R"({"searchHistoryCount":1e300})");
        bad(R"({"searchByContent":0})");
        bad(R"({"sortResults":"relevance"})");
        bad(R"({"sortResults":{"relevance":1}})");
        bad(R"({"sortResults":[]})");
        bad(R"({"pathRules":{}})");
        bad(R"({"pathRules":[{"path":"/a"}]})");
        bad(R"({"pathRules":[{"isIncluded":true}]})");
        bad(R"({"pathRules":[{"path":null,"isIncluded":true}]})");
        bad(R"({"pathRules":[{"path":"/a","isIncluded":1}]})");
        bad(R"({"pathRules":[{"path":1,"isIncluded":true}]})");
        bad(R"({"pathRules":["/a"]})");
        bad(R"({"pathRules":[null]})");
        bad(R"({"queryScopes":[1]})");
        bad(R"({"queryScopes":"/a"})");
        bad(R"({"appliedFilters":[{}]})");
        bad(R"({"favoritesCount":"3"})");
        bad(R"({"sortContents":{"Name":{}}})");
    }
    void oneBadFieldFailsTheRecord()
    {
        QFETCH(QByteArray, json);

        const bool isAnyFailed = !read<AppSettingsData>(json) || !read<SearchSettingsData>(json) ||
                                 !read<SearchFiltersSettingsData>(json) ||
                                 !read<FileSystemSettingsData>(json) ||
                                 !read<HomeScreenSettingsData>(json);
        QVERIFY(isAnyFailed);
    }

    void whatIsNoObjectFails_data()
    {
        QTest::addColumn<QByteArray>("json");
        const QByteArrayList texts{"", " ", "{", "}", "[]", "null", "true", "1", "\"{}\"", "{}{}",
            "{} x", "{\"showMenuBarIcon\":true", "{\"showMenuBarIcon\":true,}", "{'a':1}",
            "{\"showMenuBarIcon\":tru", "{\"a\":\"\xFF\"}", "{\"a\":\"\\ud800\"}",
            "{\"a\":\"\\udc7f\"}", "{\"a\":\"\\udd00\"}", QByteArray("{\"a\":1}\0", 8),
            QByteArray("\0\0\0\0", 4), "{\"a\":NaN}", "{/**/}", "\xFF\xFE{\0}\0"};
        for (qsizetype i = 0; i < texts.size(); ++i)
            QTest::addRow("%d", int(i)) << texts[i];
    }
    void whatIsNoObjectFails()
    {
        QFETCH(QByteArray, json);

        QVERIFY(!read<AppSettingsData>(json));
        QVERIFY(!read<SearchSettingsData>(json));
        QVERIFY(!read<SearchFiltersSettingsData>(json));
        QVERIFY(!read<FileSystemSettingsData>(json));
        QVERIFY(!read<HomeScreenSettingsData>(json));
    }

    void everyCutOfAGoodRecordFails()
    {
        const auto json = written(SearchFiltersSettingsData());
        for (qsizetype length = 0; length < json.size(); ++length)
            QVERIFY(!read<SearchFiltersSettingsData>(json.left(length)));
    }

    void unknownFieldsArePassedOver()
    {
        const auto record = read<HomeScreenSettingsData>(
            R"({"later":{"a":[1,2,{"b":null}]},"favoritesCount":7,"x":1e400000})");

        // A number beyond all range is no JSON of ours, whoever's field it stands in.
        QVERIFY(!record);
        QCOMPARE(
            read<HomeScreenSettingsData>(R"({"later":[{}],"favoritesCount":7})")->favoritesCount,
            7);
    }

    void ofTwoFieldsWithOneNameTheLaterCounts()
    {
        QCOMPARE(read<HomeScreenSettingsData>(R"({"favoritesCount":1,"favoritesCount":2})")
                     ->favoritesCount,
            2);
    }

    void blanksOrderAndAByteOrderMarkDoNotMatter()
    {
        const auto record = read<AppSettingsData>(
            "\xEF\xBB\xBF\r\n{ \"selectedSettingsTab\" : 6 ,\n\"showMenuBarIcon\":false }\n");

        QCOMPARE(record, (AppSettingsData{false, OnboardingStep::start, SettingsTab::homeScreen}));
    }

    void deepNestingIsHarmless()
    {
        constexpr int depth = 1'000'000;
        const QByteArray opened(depth, '[');
        const QByteArray closed(depth, ']');

        QVERIFY(!read<AppSettingsData>(opened));
        QVERIFY(!read<AppSettingsData>(opened + closed));
        QVERIFY(!read<SearchFiltersSettingsData>("{\"pathRules\":" + opened + closed + '}'));
        QVERIFY(!read<SearchFiltersSettingsData>("{\"pathRules\":" + opened));
        QVERIFY(!read<AppSettingsData>(QByteArray("{\"onboarding\":").repeated(500'000)));
        QCOMPARE(
            read<HomeScreenSettingsData>("{\"x\":" + opened + closed + ",\"favoritesCount\":9}")
                ->favoritesCount,
            9);
    }

    void manyFieldsAndLongTextsAreHarmless()
    {
        QByteArray wide("{");
        for (int i = 0; wide.size() < 10'000'000; ++i)
            wide += "\"k" + QByteArray::number(i) + "\":0,";
        wide += "\"favoritesCount\":8}";
        const QByteArray longText(10'000'000, 'x');

        QCOMPARE(read<HomeScreenSettingsData>(wide)->favoritesCount, 8);
        QVERIFY(!read<SearchSettingsData>("{\"startupBehavior\":\"" + longText + "\"}"));
        QVERIFY(!read<SearchSettingsData>(longText));
    }

    void aPathOfUndecodableBytesMakesTheRoundTrip()
    {
        const auto path = base::pathFromBytes("/caf\xE9/\xF0\x9F\x8E\xB5\x80\xFF\xC3\xA9");
        const SearchFiltersSettingsData record(PathRules{{path, true}});

        const auto json = written(record);

        const QByteArray text("\"/caf\\udce9/\xF0\x9F\x8E\xB5\\udc80\\udcff\xC3\xA9\"");
        QCOMPARE(json, "{\"pathRules\":[{\"path\":" + text + ",\"isIncluded\":true}]," +
                           "\"queryScopes\":[" + text + "],\"appliedFilters\":[]}");
        QCOMPARE(read<SearchFiltersSettingsData>(json), record);
        QCOMPARE(
            read<SearchFiltersSettingsData>(QByteArray(json).replace("udce9", "uDCE9")), record);
    }

    void escapesThatAreNoUndecodableBytesReadAsTheyAlwaysDid_data()
    {
        QTest::addColumn<QByteArray>("escaped");
        QTest::addColumn<QString>("path");
        QTest::newRow("a pair") << QByteArray("\\ud83c\\udfb5") << u"🎵"_s;
        QTest::newRow("a pair, then a byte")
            << QByteArray("\\ud83c\\udfb5\\udcff") << u"🎵"_s + QChar(0xDCFF);
        QTest::newRow("a pair whose second half looks like a byte")
            << QByteArray("\\ud800\\udcff") << QString::fromUcs4(U"\U000100FF");
        QTest::newRow("an escaped backslash") << QByteArray("\\\\udcff") << u"\\udcff"_s;
        QTest::newRow("zero and a letter") << QByteArray("\\u0000\\u00e9") << u"\0\u00E9"_s;
        QTest::newRow("two zeros") << QByteArray("\\u0000\\u0000") << u"\0\0"_s;
        QTest::newRow("controls") << QByteArray("\\n\\t\\u001f\\b\\f\\r") << u"\n\t\u001F\b\f\r"_s;
    }
    void escapesThatAreNoUndecodableBytesReadAsTheyAlwaysDid()
    {
        QFETCH(QByteArray, escaped);
        QFETCH(QString, path);
        const auto record = read<SearchFiltersSettingsData>(
            "{\"pathRules\":[{\"path\":\"/" + escaped + "\",\"isIncluded\":true}]}");

        QVERIFY(record);
        QCOMPARE(record->pathRules.first().path, u'/' + path);
        QCOMPARE(read<SearchFiltersSettingsData>(written(*record)), record);
    }
};

QTEST_GUILESS_MAIN(tst_SettingsRecords)
#include "tst_SettingsRecords.moc"
