// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/CodableAppStorage.h"
#include "settings/SettingsRecords.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::settings;
using namespace Qt::StringLiterals;

namespace {

/// A record whose text is its number, and which has none below zero.
struct Picky {
    int number = 0;

    bool operator==(const Picky &) const = default;

    static base::Result<Picky> decoded(const QByteArray &json)
    {
        bool isNumber = false;
        const int number = json.toInt(&isNumber);
        if (!isNumber)
            return base::Error{u"no number"_s};
        return Picky{number};
    }
    base::Result<QByteArray> encoded() const
    {
        if (number < 0)
            return base::Error{u"below zero"_s};
        return QByteArray::number(number);
    }
};

const auto key = u"picky"_s;

}  // namespace

class tst_CodableAppStorage : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> _place;
    base::EventLoopTimer _timer;
    std::unique_ptr<UserDefaults> _defaults;

private Q_SLOTS:
    void init()
    {
        _place = std::make_unique<QTemporaryDir>();
        _defaults = std::make_unique<UserDefaults>(_place->filePath(u"vellumhound"_s), _timer);
    }
    void cleanup() { _defaults.reset(); }

    void constructionAndReadingWriteNothing()
    {
        const CodableAppStorage<Picky> storage(Picky{7}, key, *_defaults);

        QCOMPARE(storage.wrappedValue(), Picky{7});
        QCOMPARE(storage.data(), "7");
        QVERIFY(!_defaults->data(key));
        QVERIFY(!QFile::exists(_place->filePath(u"vellumhound"_s)));
    }

    void emptyDataReadsAsTheDefaultAndStays()
    {
        QVERIFY(_defaults->setData(key, ""));
        const CodableAppStorage<Picky> storage(Picky{7}, key, *_defaults);

        QCOMPARE(storage.wrappedValue(), Picky{7});
        QCOMPARE(storage.data(), "");
        QCOMPARE(_defaults->data(key), std::optional<QByteArray>(""));
    }

    void damagedDataStaysUntilItIsSet()
    {
        QVERIFY(_defaults->setData(key, "damaged\n"));
        const CodableAppStorage<Picky> storage(Picky{7}, key, *_defaults);

        QCOMPARE(storage.wrappedValue(), Picky{7});
        QCOMPARE(_defaults->data(key), std::optional<QByteArray>("damaged\n"));

        storage.modify([](Picky &record) { ++record.number; });
        QCOMPARE(_defaults->data(key), std::optional<QByteArray>("8"));
    }

    void aWrongShapeIsReplacedByACompleteRecordAtTheFirstSet()
    {
        QVERIFY(_defaults->setData(u"searchSettings"_s, R"({"searchHistoryCount":"many"})"));
        const auto storage = settingsStorage<SearchSettingsData>(*_defaults);

        QCOMPARE(storage.wrappedValue(), SearchSettingsData{});
        storage.modify([](SearchSettingsData &record) { record.searchByContent = true; });

        QCOMPARE(_defaults->data(u"searchSettings"_s),
            std::optional<QByteArray>(
                R"({"startupBehavior":"Restore previous session","searchHistoryCount":5,)"
                R"("searchByContent":true,"sortResults":{"relevance":{}}})"));
    }

    void twoWrappersOnOneKeySeeEachOther()
    {
        const CodableAppStorage<Picky> one(Picky{1}, key, *_defaults);
        const CodableAppStorage<Picky> other(Picky{2}, key, *_defaults);
        QCOMPARE(one.wrappedValue(), Picky{1});
        QCOMPARE(other.wrappedValue(), Picky{2});

        one.setWrappedValue({3});
        QCOMPARE(other.wrappedValue(), Picky{3});
        other.setWrappedValue({4});
        QCOMPARE(one.wrappedValue(), Picky{4});
    }

    void aDefaultThatCannotBeEncodedIsEmptyData()
    {
        const CodableAppStorage<Picky> storage(Picky{-1}, key, *_defaults);

        QCOMPARE(storage.data(), "");
        QVERIFY(!storage.data().isNull());
        QCOMPARE(storage.wrappedValue(), Picky{-1});
        QVERIFY(!_defaults->data(key));
    }

    void aRecordThatCannotBeEncodedLeavesTheOldBytes()
    {
        const CodableAppStorage<Picky> storage(Picky{1}, key, *_defaults);
        storage.setWrappedValue({5});

        storage.setWrappedValue({-5});

        QCOMPARE(_defaults->data(key), std::optional<QByteArray>("5"));
        QCOMPARE(storage.wrappedValue(), Picky{5});
    }

    void aBindingReadsAndWritesWithoutItsWrapper()
    {
        auto storage = std::make_unique<CodableAppStorage<Picky>>(Picky{1}, key, *_defaults);
        const auto binding = storage->projectedValue();
        storage.reset();

        QCOMPARE(binding.get(), Picky{1});
        binding.set({6});

        QCOMPARE(binding.get(), Picky{6});
        QCOMPARE(_defaults->data(key), std::optional<QByteArray>("6"));
    }

    void aViewHearsOfItsKeyAloneAndWhileItLives()
    {
        const CodableAppStorage<Picky> mine(Picky{1}, key, *_defaults);
        const CodableAppStorage<Picky> sameKey(Picky{1}, key, *_defaults);
        const CodableAppStorage<Picky> otherKey(Picky{1}, u"other"_s, *_defaults);
        auto view = std::make_unique<QObject>();
        QList<int> seen;
        mine.onChange(view.get(), [&] { seen.append(mine.wrappedValue().number); });

        mine.setWrappedValue({2});
        sameKey.setWrappedValue({3});
        otherKey.setWrappedValue({4});
        view.reset();
        mine.setWrappedValue({5});

        QCOMPARE(seen, (QList<int>{2, 3}));
    }

    void aWriteInTheMiddleOfAnEditFromOutsideKeepsTheUsersRecord()
    {
        const auto storage = settingsStorage<SearchSettingsData>(*_defaults);
        storage.setWrappedValue({StartupBehavior::newSearch, 12, true, SortOption::foldersFirst});
        QFile edited(_place->filePath(u"vellumhound/searchSettings.json"_s));
        QVERIFY(edited.open(QIODevice::WriteOnly | QIODevice::Truncate));

        storage.modify([](SearchSettingsData &record) { record.searchByContent = false; });

        const SearchSettingsData expected{
            StartupBehavior::newSearch, 12, false, SortOption::foldersFirst};
        QCOMPARE(storage.wrappedValue(), expected);
    }

    void aChangeFromOutsideReachesTheView()
    {
        const CodableAppStorage<Picky> storage(Picky{1}, key, *_defaults);
        storage.setWrappedValue({2});
        int last = 0;
        storage.onChange(this, [&] { last = storage.wrappedValue().number; });

        QFile file(_place->filePath(u"vellumhound/picky.json"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("99");
        file.close();

        QTRY_COMPARE(last, 99);
    }
};

QTEST_GUILESS_MAIN(tst_CodableAppStorage)
#include "tst_CodableAppStorage.moc"
