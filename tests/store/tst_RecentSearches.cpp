// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/RecentSearches.h"
#include "StoreFixture.h"
#include "support/CapturedOutput.h"

#include <QSignalSpy>

using namespace vellumhound;
using namespace vellumhound::store;
using namespace vellumhound::tests;

namespace {

QStringList textsOf(const QList<std::shared_ptr<FileSearch>> &searches)
{
    QStringList texts;
    for (const auto &search : searches)
        texts.append(search->searchText.value_or(u"(none)"_s));
    return texts;
}

}  // namespace

class tst_RecentSearches : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<StorePlace> _place;
    std::unique_ptr<PersistenceController> _controller;
    ManualClock _clock;

    ManagedObjectContext &context() { return _controller->container().viewContext(); }
    void record(const QString &text, int limit = 20)
    {
        _clock.time += std::chrono::seconds(1);
        recordSearch(text, context(), limit, _clock);
    }
    /// Newest first, as they stand on the disk.
    QStringList stored() const
    {
        return OtherConnection(_place->path())
            .run(u"SELECT searchText FROM FileSearch ORDER BY searchDate DESC, id DESC"_s);
    }
    void breakSaving()
    {
        run(u"CREATE TRIGGER t BEFORE INSERT ON FileSearch BEGIN "
            "SELECT RAISE(ABORT, 'disk\nfull'); END"_s);
    }
    QStringList run(const QString &statement) const
    {
        return OtherConnection(_place->path()).run(statement);
    }

private Q_SLOTS:
    void init()
    {
        _place = std::make_unique<StorePlace>();
        _controller = _place->load();
        _clock = {};
    }
    void cleanup() { _controller.reset(); }

    void aFirstSearchIsOneRowWithItsMoment()
    {
        record(u"invoice"_s);

        QCOMPARE(stored(), QStringList{u"invoice"_s});
        QCOMPARE(run(u"SELECT searchDate FROM FileSearch"_s), QStringList{u"1700000001000000"_s});
    }

    void aRepeatedSearchKeepsItsRowAndDate()
    {
        record(u"invoice"_s);
        record(u"invoice"_s);

        QCOMPARE(run(u"SELECT searchDate FROM FileSearch"_s), QStringList{u"1700000001000000"_s});
    }

    void anOlderDuplicateStaysBesideTheNewRow()
    {
        record(u"A"_s);
        record(u"B"_s);
        record(u"A"_s);

        QCOMPARE(stored(), (QStringList{u"A"_s, u"B"_s, u"A"_s}));
    }

    void searchesOfOneMomentKeepTheirOrder()
    {
        recordSearch(u"A"_s, context(), 20, _clock);
        recordSearch(u"B"_s, context(), 20, _clock);
        recordSearch(u"A"_s, context(), 20, _clock);
        recordSearch(u"A"_s, context(), 20, _clock);

        QCOMPARE(stored(), (QStringList{u"A"_s, u"B"_s, u"A"_s}));
    }

    void theWholeTextIsCompared()
    {
        record(u"a"_s);
        record(u"A"_s);
        record(u"A "_s);

        QCOMPARE(stored(), (QStringList{u"A "_s, u"A"_s, u"a"_s}));
    }

    void atTheLimitTheOldOnesAreTrimmedToIt()
    {
        record(u"1"_s);
        record(u"2"_s);
        record(u"3"_s);

        record(u"new"_s, 1);

        QCOMPARE(stored(), (QStringList{u"new"_s, u"3"_s}));
    }

    void theStoreHoldsOneMoreThanTheLimit()
    {
        for (int i = 0; i < 10; ++i)
            record(QString::number(i), 3);

        QCOMPARE(stored(), (QStringList{u"9"_s, u"8"_s, u"7"_s, u"6"_s}));
    }

    void aLimitOfNothingKeepsTheNewRowAlone()
    {
        record(u"1"_s);
        record(u"2"_s, 0);
        QCOMPARE(stored(), QStringList{u"2"_s});
        record(u"3"_s, -5);
        QCOMPARE(stored(), QStringList{u"3"_s});
    }

    void aTextWithUndecodableBytesIsRecorded()
    {
        const auto text = u"/tmp/"_s + QChar(0xDCFE);
        record(text);
        record(text);

        _controller.reset();
        _controller = _place->load();
        const auto searches = context().fetch<FileSearch>();
        QCOMPARE(textsOf(searches.value()), QStringList{text});
    }

    void aFailedRecordingIsOneLineAndIsSavedWithTheNext()
    {
        breakSaving();
        support::CapturedOutput output;
        record(u"A"_s);
        const auto text = output.text();

        QCOMPARE(text, "Failed to manage file search records: disk full\n");
        QVERIFY(stored().isEmpty());
        QVERIFY(context().hasChanges());

        run(u"DROP TRIGGER t"_s);
        record(u"B"_s);
        QCOMPARE(stored(), (QStringList{u"B"_s, u"A"_s}));
    }

    void aFailedFetchIsOneLineToo()
    {
        run(u"DROP TABLE FileSearch"_s);
        support::CapturedOutput output;
        record(u"A"_s);

        QCOMPARE(
            output.text(), "Failed to manage file search records: no such table: FileSearch\n");
    }

    void anEmptyHistoryIsSeeded()
    {
        const RecentSearchViewModel model(context(), _clock);

        auto texts = textsOf(model.fileSearches());
        texts.sort();
        QCOMPARE(texts, (QStringList{u"~/Desktop"_s, u"~/Downloads"_s}));
        QCOMPARE(run(u"SELECT searchText FROM FileSearch ORDER BY id"_s),
            (QStringList{u"~/Downloads"_s, u"~/Desktop"_s}));
        QCOMPARE(run(u"SELECT DISTINCT searchDate FROM FileSearch"_s),
            QStringList{u"1699999940000000"_s});
    }

    void theUsersOwnFoldersAreSeeded()
    {
        const RecentSearchViewModel model(
            context(), _clock, {u"~/Téléchargements"_s, u"~/Bureau"_s});

        QCOMPARE(run(u"SELECT searchText FROM FileSearch ORDER BY id"_s),
            (QStringList{u"~/Téléchargements"_s, u"~/Bureau"_s}));
    }

    void aHistoryWithOneRowIsNotSeeded()
    {
        record(u"A"_s);

        const RecentSearchViewModel model(context(), _clock);

        QVERIFY(model.fileSearches().isEmpty());
        QCOMPARE(stored(), QStringList{u"A"_s});
    }

    void anEmptiedHistoryIsSeededAgain()
    {
        {
            const RecentSearchViewModel model(context(), _clock);
        }
        run(u"DELETE FROM FileSearch"_s);

        const RecentSearchViewModel model(context(), _clock);

        QCOMPARE(model.fileSearches().size(), 2);
    }

    void loadingGivesTheNewestUpToTheLimit()
    {
        RecentSearchViewModel model(context(), _clock);
        QSignalSpy spy(&model, &RecentSearchViewModel::fileSearchesChanged);

        model.loadFileSearches(1);
        QCOMPARE(model.fileSearches().size(), 1);
        record(u"A"_s);
        record(u"B"_s);
        model.loadFileSearches(2);
        QCOMPARE(textsOf(model.fileSearches()), (QStringList{u"B"_s, u"A"_s}));
        model.loadFileSearches(99);
        QCOMPARE(model.fileSearches().size(), 4);
        QCOMPARE(spy.count(), 3);
        model.loadFileSearches(99);
        QCOMPARE(spy.count(), 3);
    }

    void aFailedSeedingIsOneLineAndLeavesTheListEmpty()
    {
        breakSaving();
        support::CapturedOutput output;
        const RecentSearchViewModel model(context(), _clock);
        const auto text = output.text();

        QCOMPARE(text, "Error checking/saving default searches: disk full\n");
        QVERIFY(model.fileSearches().isEmpty());
    }

    void aFailedCountIsOneLine()
    {
        run(u"DROP TABLE FileSearch"_s);
        support::CapturedOutput output;
        const RecentSearchViewModel model(context(), _clock);
        const auto text = output.text();

        QCOMPARE(text, "Error checking/saving default searches: no such table: FileSearch\n");
    }

    void aFailedLoadingIsOneLineAndKeepsTheList()
    {
        RecentSearchViewModel model(context(), _clock);
        run(u"DROP TABLE FileSearch"_s);
        support::CapturedOutput output;
        model.loadFileSearches(5);
        const auto text = output.text();

        QCOMPARE(text, "Error fetching file searches: no such table: FileSearch\n");
        QCOMPARE(model.fileSearches().size(), 2);
    }

    void aReadOnlyStoreRecordsNothingAndSaysSo()
    {
        record(u"A"_s);
        _controller.reset();
        _controller = _place->load(StoreAccess::readOnly);
        support::CapturedOutput output;
        record(u"B"_s);
        const auto text = output.text();

        QVERIFY(text.startsWith("Failed to manage file search records: "));
        QCOMPARE(text.count('\n'), 1);
        QCOMPARE(stored(), QStringList{u"A"_s});
    }
};

QTEST_GUILESS_MAIN(tst_RecentSearches)
#include "tst_RecentSearches.moc"
