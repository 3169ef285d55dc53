// SPDX-License-Identifier: GPL-3.0-or-later
#include "StoreFixture.h"

using namespace vellumhound;
using namespace vellumhound::store;
using namespace vellumhound::tests;

namespace {

using Favorites = QList<std::shared_ptr<Favorite>>;

FetchRequest<Favorite> highestFirst()
{
    return FetchRequest<Favorite>().sortedBy(&Favorite::order, SortDirection::descending);
}

Favorites favoritesIn(
    ManagedObjectContext &context, const FetchRequest<Favorite> &request = highestFirst())
{
    auto result = context.fetch(request);
    if (!result)
        qFatal("%s", qPrintable(result.error().description));
    return std::move(result).value();
}

QString textOf(const Favorites &favorites)
{
    QStringList words;
    for (const auto &favorite : favorites)
        words.append(favorite->path.value_or(u"-"_s) + u':' + QString::number(favorite->order));
    return words.join(u' ');
}

std::shared_ptr<Favorite> add(ManagedObjectContext &context, const QString &path, int order)
{
    const auto favorite = context.insert<Favorite>();
    favorite->path = path;
    favorite->type = u"file"_s;
    favorite->order = order;
    return favorite;
}

}  // namespace

class tst_ManagedObjectContext : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<StorePlace> _place;
    std::unique_ptr<PersistenceController> _controller;

    ManagedObjectContext &context() { return _controller->container().viewContext(); }
    OtherConnection other() const { return OtherConnection(_place->path()); }
    void startAgain()
    {
        _controller.reset();
        _controller = _place->load();
    }

private Q_SLOTS:
    void init()
    {
        _place = std::make_unique<StorePlace>();
        _controller = _place->load();
    }
    void cleanup() { _controller.reset(); }

    void aNewContextHasNothingToSave()
    {
        QVERIFY(!context().hasChanges());
        QVERIFY(bool(context().save()));
        QVERIFY(favoritesIn(context()).isEmpty());
    }

    void insertedObjectsAreFetchedBeforeTheyAreSaved()
    {
        const auto favorite = add(context(), u"/a"_s, 0);

        QVERIFY(context().hasChanges());
        QCOMPARE(favoritesIn(context()), Favorites{favorite});
        QVERIFY(other().run(u"SELECT id FROM Favorite"_s).isEmpty());

        QVERIFY(bool(context().save()));
        QVERIFY(!context().hasChanges());
        QCOMPARE(favoritesIn(context()), Favorites{favorite});
        QCOMPARE(other().run(u"SELECT path FROM Favorite"_s), QStringList{u"/a"_s});
    }

    void everyFetchGivesTheSameObjectForARow()
    {
        add(context(), u"/a"_s, 0);
        QVERIFY(bool(context().save()));
        startAgain();

        const auto first = favoritesIn(context());
        first.first()->order = 5;

        QCOMPARE(favoritesIn(context()), first);
        QCOMPARE(textOf(favoritesIn(context())), u"/a:5"_s);
        QVERIFY(context().hasChanges());
    }

    void valuesComeBackAsTheyWere()
    {
        const auto full = add(context(), u"/a/ä 🎵"_s, -2'147'483'648);
        full->type = u"folder"_s;
        const auto empty = context().insert<Favorite>();
        empty->order = 2'147'483'647;
        const auto bytes = add(context(), u"/a/"_s + QChar(0xDCFF) + QChar(0xDC80), 1);
        const auto emptyText = add(context(), u""_s, 2);
        emptyText->type = std::nullopt;
        const auto search = context().insert<FileSearch>();
        search->searchText = u"line\nbreak \u0000 zero"_s;
        search->searchDate = Date(std::chrono::microseconds(1'700'000'000'123'456));
        context().insert<FileSearch>();
        QVERIFY(bool(context().save()));
        const QList<FavoriteValues> before{*full, *empty, *bytes, *emptyText};
        const FileSearchValues searchBefore = *search;

        startAgain();

        QList<FavoriteValues> after;
        const auto favorites = favoritesIn(context(), {});
        for (const auto &favorite : favorites)
            after.append(*favorite);
        QCOMPARE(after, before);
        const auto searches = context().fetch<FileSearch>();
        QVERIFY(bool(searches));
        QCOMPARE(searches.value().size(), 2);
        QVERIFY(static_cast<const FileSearchValues &>(*searches.value()[0]) == searchBefore);
        QVERIFY(static_cast<const FileSearchValues &>(*searches.value()[1]) == FileSearchValues{});
    }

    void fetchesSortAndLimit()
    {
        add(context(), u"/b"_s, 1);
        add(context(), u"/a"_s, 2);
        QVERIFY(bool(context().save()));
        add(context(), u"/d"_s, 0);
        add(context(), u"/c"_s, 3);

        QCOMPARE(textOf(favoritesIn(context())), u"/c:3 /a:2 /b:1 /d:0"_s);
        QCOMPARE(textOf(favoritesIn(context(),
                     FetchRequest<Favorite>().sortedBy(&Favorite::path, SortDirection::ascending))),
            u"/a:2 /b:1 /c:3 /d:0"_s);
        QCOMPARE(textOf(favoritesIn(context(), highestFirst().limitedTo(2))), u"/c:3 /a:2"_s);
        QCOMPARE(favoritesIn(context(), highestFirst().limitedTo(99)).size(), 4);
        QVERIFY(favoritesIn(context(), highestFirst().limitedTo(0)).isEmpty());
        QVERIFY(favoritesIn(context(), highestFirst().limitedTo(-3)).isEmpty());
        QCOMPARE(textOf(favoritesIn(context(), {})), u"/b:1 /a:2 /d:0 /c:3"_s);
    }

    void ofEqualRowsTheLaterIsTheNewer()
    {
        add(context(), u"/a"_s, 1);
        add(context(), u"/b"_s, 1);

        QCOMPARE(textOf(favoritesIn(context())), u"/b:1 /a:1"_s);
        QVERIFY(bool(context().save()));
        QCOMPARE(textOf(favoritesIn(context())), u"/b:1 /a:1"_s);
    }

    void aRowWithoutADateComesLast()
    {
        context().insert<FileSearch>()->searchText = u"undated"_s;
        const auto dated = context().insert<FileSearch>();
        dated->searchDate = Date{};

        const auto fetched = context().fetch(FetchRequest<FileSearch>().sortedBy(
            &FileSearch::searchDate, SortDirection::descending));

        QCOMPARE(fetched.value().first(), dated);
    }

    void deletedObjectsAreGoneAtOnceAndFromTheDiskAtTheSave()
    {
        const auto a = add(context(), u"/a"_s, 0);
        add(context(), u"/b"_s, 1);
        QVERIFY(bool(context().save()));

        context().remove(a);
        context().remove(a);
        QCOMPARE(textOf(favoritesIn(context())), u"/b:1"_s);
        QCOMPARE(other().run(u"SELECT count(*) FROM Favorite"_s), QStringList{u"2"_s});
        QVERIFY(bool(context().save()));

        QCOMPARE(textOf(favoritesIn(context())), u"/b:1"_s);
        QCOMPARE(other().run(u"SELECT path FROM Favorite"_s), QStringList{u"/b"_s});
        QCOMPARE(a->path, u"/a"_s);
        QVERIFY(!context().hasChanges());
    }

    void anObjectDeletedBeforeItsFirstSaveNeverWas()
    {
        const auto a = add(context(), u"/a"_s, 0);
        context().remove(a);

        QVERIFY(!context().hasChanges());
        QVERIFY(favoritesIn(context()).isEmpty());
    }

    void anObjectOfAnotherContextIsLeftAlone()
    {
        add(context(), u"/a"_s, 0);
        QVERIFY(bool(context().save()));
        const StorePlace elsewhere;
        const auto stranger = elsewhere.load();
        const auto theirs = add(stranger->container().viewContext(), u"/x"_s, 0);
        QVERIFY(bool(stranger->container().viewContext().save()));

        context().remove(theirs);

        QCOMPARE(textOf(favoritesIn(context())), u"/a:0"_s);
        QVERIFY(!context().hasChanges());
    }

    void changedMembersAreWritten()
    {
        const auto a = add(context(), u"/a"_s, 0);
        add(context(), u"/b"_s, 1);
        QVERIFY(bool(context().save()));

        a->order = 7;
        a->type = std::nullopt;
        QVERIFY(context().hasChanges());
        QVERIFY(bool(context().save()));

        QVERIFY(!context().hasChanges());
        startAgain();
        QCOMPARE(textOf(favoritesIn(context())), u"/a:7 /b:1"_s);
        QVERIFY(!favoritesIn(context()).first()->type);
    }

    void aChangeTakenBackIsNoChange()
    {
        const auto a = add(context(), u"/a"_s, 0);
        QVERIFY(bool(context().save()));

        a->order = 1;
        a->order = 0;

        QVERIFY(!context().hasChanges());
    }

    void idsAreUriTextsAndNeverUsedTwice()
    {
        const auto a = add(context(), u"/a"_s, 0);
        const auto b = add(context(), u"/b"_s, 1);
        QCOMPARE(a->uriRepresentation(), u"x-vellumhound:///Favorite/t1"_s);
        QVERIFY(bool(context().save()));
        QCOMPARE(a->uriRepresentation(), u"x-vellumhound://Favorite/p1"_s);
        QCOMPARE(b->uriRepresentation(), u"x-vellumhound://Favorite/p2"_s);

        context().remove(b);
        QVERIFY(bool(context().save()));
        startAgain();
        const auto c = add(context(), u"/c"_s, 1);
        QVERIFY(bool(context().save()));

        QCOMPARE(c->uriRepresentation(), u"x-vellumhound://Favorite/p3"_s);
        const auto search = context().insert<FileSearch>();
        QVERIFY(bool(context().save()));
        QCOMPARE(search->uriRepresentation(), u"x-vellumhound://FileSearch/p1"_s);
    }

    void aFailedSaveWritesNothingAndKeepsAllForTheNext()
    {
        const auto a = add(context(), u"/a"_s, 0);
        const auto b = add(context(), u"/b"_s, 1);
        QVERIFY(bool(context().save()));
        other().run(u"CREATE TRIGGER full BEFORE INSERT ON FileSearch BEGIN "
                    "SELECT RAISE(ABORT, 'database or disk is full'); END"_s);
        context().remove(a);
        b->order = 9;
        const auto c = add(context(), u"/c"_s, 2);
        context().insert<FileSearch>()->searchText = u"x"_s;

        const auto saved = context().save();

        QVERIFY(!saved);
        QCOMPARE(saved.error().description, u"database or disk is full"_s);
        QVERIFY(context().hasChanges());
        QCOMPARE(other().run(u"SELECT path || \"order\" FROM Favorite ORDER BY id"_s),
            (QStringList{u"/a0"_s, u"/b1"_s}));
        QCOMPARE(textOf(favoritesIn(context())), u"/b:9 /c:2"_s);
        QVERIFY(c->uriRepresentation().startsWith(u"x-vellumhound:///Favorite/t"_s));

        other().run(u"DROP TRIGGER full"_s);
        QVERIFY(bool(context().save()));
        QCOMPARE(other().run(u"SELECT path || \"order\" FROM Favorite ORDER BY id"_s),
            (QStringList{u"/b9"_s, u"/c2"_s}));
        QCOMPARE(other().run(u"SELECT searchText FROM FileSearch"_s), QStringList{u"x"_s});
        QCOMPARE(c->uriRepresentation(), u"x-vellumhound://Favorite/p3"_s);
    }

    void aFullDiskFailsTheSave()
    {
        add(context(), u"/a"_s, 0);
        QVERIFY(bool(context().save()));
        other().run(u"CREATE TRIGGER big AFTER UPDATE ON Favorite BEGIN "
                    "INSERT INTO FileSearch (searchText) VALUES (zeroblob(2000000000)); END"_s);
        favoritesIn(context()).first()->order = 1;

        QVERIFY(!context().save());

        other().run(u"DROP TRIGGER big"_s);
        QVERIFY(bool(context().save()));
        QCOMPARE(other().run(u"SELECT \"order\" FROM Favorite"_s), QStringList{u"1"_s});
    }

    void aLockedStoreFailsTheSaveSoonAndSavesLater()
    {
        auto locker = std::make_unique<OtherConnection>(_place->path());
        locker->run(u"BEGIN IMMEDIATE"_s);
        add(context(), u"/a"_s, 0);

        const auto saved = context().save();
        QVERIFY(!saved);
        QVERIFY(saved.error().description.contains(u"locked"_s));

        locker->run(u"ROLLBACK"_s);
        QVERIFY(bool(context().save()));
    }

    void aFetchFromABrokenStoreIsAnError()
    {
        other().run(u"DROP TABLE Favorite"_s);

        const auto fetched = context().fetch<Favorite>();

        QVERIFY(!fetched);
        QVERIFY(fetched.error().description.contains(u"no such table"_s));
    }

    void whatAnotherProgramWritesIsSeenAtTheNextFetch()
    {
        const auto a = add(context(), u"/a"_s, 0);
        const auto b = add(context(), u"/b"_s, 1);
        QVERIFY(bool(context().save()));
        b->order = 5;

        other().run(u"UPDATE Favorite SET path = '/other', \"order\" = 3"_s);
        QCOMPARE(textOf(favoritesIn(context())), u"/b:5 /other:3"_s);
        QCOMPARE(a->path, u"/other"_s);
        other().run(u"DELETE FROM Favorite WHERE id = 1"_s);
        QCOMPARE(favoritesIn(context()), Favorites{b});
    }

    void cellsOfAStrangeTypeReadAsWhatTheyCan()
    {
        other().run(u"INSERT INTO Favorite (path, type, \"order\") VALUES (12, x'2f61', "
                    "99999999999)"_s);
        other().run(u"INSERT INTO FileSearch (searchText, searchDate) VALUES ('a', 'today')"_s);
        other().run(u"INSERT INTO FileSearch (searchText, searchDate) VALUES ('b', 1.5)"_s);

        const auto favorite = favoritesIn(context()).first();
        QCOMPARE(favorite->path, u"12"_s);
        QCOMPARE(favorite->type, u"/a"_s);
        QCOMPARE(favorite->order, 2'147'483'647);
        const auto searches = context().fetch<FileSearch>();
        QVERIFY(!searches.value()[0]->searchDate);
        QVERIFY(!searches.value()[1]->searchDate);
        QVERIFY(!context().hasChanges());
    }
};

QTEST_GUILESS_MAIN(tst_ManagedObjectContext)
#include "tst_ManagedObjectContext.moc"
