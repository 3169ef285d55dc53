// SPDX-License-Identifier: GPL-3.0-or-later
#include "CoreFixture.h"
#include "support/CapturedOutput.h"

#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace vellumhound;
using namespace vellumhound::core;

class tst_FavoritesOfModel final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aNewFavoriteComesFirst();
    void aFavoriteKnowsFilesFromFolders();
    void favoritesAreLoadedAtCreation();
    void takingOneAwayNumbersTheOthersDensely();
    void togglingTwiceLeavesWhatWasThere();
    void aFavoriteIsFoundByItsPath();
    void movingFollowsTheOffsets_data();
    void movingFollowsTheOffsets();
    void theRowsOfTheFavoritesFollowAtOnce();
    void aFavoriteWhoseFileIsGoneHasNoRow();
    void otherListsStayWhenFavoritesChange();
    void aFavoriteOnAHungDiskFreezesNothing();
    void aLateAnswerLeavesWhoHasGoneDownWhereTheyAre();
    void offsetsCountInTheFavoritesNotInTheRows_data();
    void offsetsCountInTheFavoritesNotInTheRows();
    void aStoreThatCannotBeWrittenIsReported();
    void aStoreThatCannotBeReadIsReported();

private:
    std::unique_ptr<CoreFixture> _core;

    FileBrowserModel &model() { return *_core->model; }
    void toggle(const QStringList &paths)
    {
        for (const auto &path : paths)
            model().toggleFavorite(CoreFixture::file(path));
    }
    QStringList paths()
    {
        QStringList list;
        for (const auto &favorite : model().favorites())
            list.append(favorite->path.value_or(u"-"_s));
        return list;
    }
    QList<int> orders()
    {
        QList<int> list;
        for (const auto &favorite : model().favorites())
            list.append(favorite->order);
        return list;
    }
};

void tst_FavoritesOfModel::init()
{
    _core = std::make_unique<CoreFixture>();
}

void tst_FavoritesOfModel::cleanup()
{
    QVERIFY(model().isConsistent());
    _core.reset();
}

void tst_FavoritesOfModel::aNewFavoriteComesFirst()
{
    const QSignalSpy changes(&model(), &FileBrowserModel::favoritesChanged);

    toggle({u"/a"_s, u"/b"_s, u"/c"_s});

    QCOMPARE(paths(), QStringList({u"/c"_s, u"/b"_s, u"/a"_s}));
    QCOMPARE(orders(), QList<int>({2, 1, 0}));
    QCOMPARE(changes.count(), 3);
}

void tst_FavoritesOfModel::aFavoriteKnowsFilesFromFolders()
{
    toggle({u"/a"_s});
    model().toggleFavorite(CoreFixture::folderAt(u"/d"_s));

    QCOMPARE(model().favorites().at(0)->type, std::optional(u"folder"_s));
    QCOMPARE(model().favorites().at(1)->type, std::optional(u"file"_s));
}

void tst_FavoritesOfModel::favoritesAreLoadedAtCreation()
{
    toggle({u"/a"_s, u"/b"_s});

    _core->makeModel();

    QCOMPARE(paths(), QStringList({u"/b"_s, u"/a"_s}));
}

void tst_FavoritesOfModel::takingOneAwayNumbersTheOthersDensely()
{
    toggle({u"/a"_s, u"/b"_s, u"/c"_s});

    toggle({u"/b"_s});

    QCOMPARE(paths(), QStringList({u"/c"_s, u"/a"_s}));
    QCOMPARE(orders(), QList<int>({1, 0}));
}

void tst_FavoritesOfModel::togglingTwiceLeavesWhatWasThere()
{
    toggle({u"/a"_s, u"/b"_s});

    toggle({u"/x"_s, u"/x"_s});

    QCOMPARE(paths(), QStringList({u"/b"_s, u"/a"_s}));
    QCOMPARE(orders(), QList<int>({1, 0}));
}

void tst_FavoritesOfModel::aFavoriteIsFoundByItsPath()
{
    model().toggleFavorite(CoreFixture::file(base::pathFromBytes("/d/\xFF\n\"x\"")));
    QCOMPARE(model().favorites().size(), 1);

    model().toggleFavorite(CoreFixture::file(base::pathFromBytes("/d/\xFF\n\"x\"")));

    QVERIFY(model().favorites().isEmpty());
}

void tst_FavoritesOfModel::movingFollowsTheOffsets_data()
{
    QTest::addColumn<QList<qsizetype>>("offsets");
    QTest::addColumn<qsizetype>("destination");
    QTest::addColumn<QString>("order");
    using Offsets = QList<qsizetype>;
    QTest::newRow("first to the end") << Offsets{0} << qsizetype(4) << u"/b/c/d/a"_s;
    QTest::newRow("last to the front") << Offsets{3} << qsizetype(0) << u"/d/a/b/c"_s;
    QTest::newRow("one down") << Offsets{0} << qsizetype(2) << u"/b/a/c/d"_s;
    QTest::newRow("onto itself") << Offsets{1} << qsizetype(1) << u"/a/b/c/d"_s;
    QTest::newRow("two to the middle") << Offsets{0, 3} << qsizetype(2) << u"/b/a/d/c"_s;
    QTest::newRow("none") << Offsets{} << qsizetype(2) << u"/a/b/c/d"_s;
    QTest::newRow("none that is there") << Offsets{9} << qsizetype(9) << u"/a/b/c/d"_s;
}

void tst_FavoritesOfModel::movingFollowsTheOffsets()
{
    QFETCH(QList<qsizetype>, offsets);
    QFETCH(qsizetype, destination);
    QFETCH(QString, order);
    toggle({u"/d"_s, u"/c"_s, u"/b"_s, u"/a"_s});

    model().reorderFavorites({offsets.begin(), offsets.end()}, destination);

    QCOMPARE(paths().join(u""), order);
    QCOMPARE(orders(), QList<int>({3, 2, 1, 0}));
    _core->makeModel();
    QCOMPARE(paths().join(u""), order);
}

void tst_FavoritesOfModel::theRowsOfTheFavoritesFollowAtOnce()
{
    _core->disk->addFile(u"/a"_s);
    _core->disk->addFile(u"/b"_s);
    toggle({u"/a"_s});
    model().showFiles({CoreFixture::file(u"/a"_s)}, ResultType::favorites);

    toggle({u"/b"_s});
    QCOMPARE(CoreFixture::names(model().files()), QStringList({u"b"_s, u"a"_s}));
    QCOMPARE(model().resultType(), ResultType::favorites);
    QVERIFY(model().searchStatus() == SearchStatus::results(2));

    toggle({u"/b"_s});
    QCOMPARE(CoreFixture::names(model().files()), QStringList(u"a"_s));
}

void tst_FavoritesOfModel::aFavoriteWhoseFileIsGoneHasNoRow()
{
    _core->disk->addFile(u"/a"_s);
    toggle({u"/a"_s, u"/gone"_s});
    model().showFiles({}, ResultType::favorites);

    model().loadFavorites();

    QCOMPARE(model().favorites().size(), 2);
    QCOMPARE(CoreFixture::names(model().files()), QStringList(u"a"_s));
}

void tst_FavoritesOfModel::otherListsStayWhenFavoritesChange()
{
    _core->disk->addFile(u"/a"_s);
    const FileList files{CoreFixture::file(u"/x"_s)};
    model().showFiles(files, ResultType::search);

    toggle({u"/a"_s});

    QCOMPARE(model().files(), files);
    QCOMPARE(model().resultType(), ResultType::search);
}

void tst_FavoritesOfModel::aFavoriteOnAHungDiskFreezesNothing()
{
    _core->disk->addFile(u"/a"_s);
    toggle({u"/a"_s});
    model().showFiles({}, ResultType::favorites);
    _core->disk->hang(u"/a"_s);

    model().loadFavorites();

    QVERIFY(model().files().isEmpty());
    _core->disk->release(u"/a"_s);
    QTRY_COMPARE(CoreFixture::names(model().files()), QStringList(u"a"_s));
}

void tst_FavoritesOfModel::aLateAnswerLeavesWhoHasGoneDownWhereTheyAre()
{
    _core->disk->addFile(u"/a"_s);
    _core->disk->addFile(u"/d/inside"_s);
    toggle({u"/a"_s});
    model().toggleFavorite(CoreFixture::folderAt(u"/d"_s));
    model().showFiles({CoreFixture::folderAt(u"/d"_s)}, ResultType::favorites);
    _core->queue.drain();
    _core->disk->hang(u"/a"_s);
    model().loadFavorites();
    model().moveIntoFolder();
    _core->queue.drain();
    QVERIFY(!model().root());

    const QSignalSpy results(&model(), &FileBrowserModel::resultsChanged);
    _core->disk->release(u"/a"_s);
    QTRY_COMPARE(results.count(), 1);

    QVERIFY(!model().root());
    QCOMPARE(CoreFixture::names(model().files()), QStringList(u"inside"_s));
    QCOMPARE(model().selectedFile(), model().files().first());
    // The way back leads to the new list, onto the folder's row in it.
    model().goBack();
    QCOMPARE(CoreFixture::names(model().files()), QStringList({u"d"_s, u"a"_s}));
    QCOMPARE(model().selectedFile(), model().files().first());
    QVERIFY(model().root());
}

void tst_FavoritesOfModel::offsetsCountInTheFavoritesNotInTheRows_data()
{
    QTest::addColumn<bool>("isOneGone");
    QTest::addColumn<QString>("rowsBefore");
    QTest::addColumn<QString>("rowsAfter");
    QTest::newRow("a file is gone") << true << u"b d"_s << u"d b"_s;
    QTest::newRow("folders first") << false << u"d a b"_s << u"d b a"_s;
}

void tst_FavoritesOfModel::offsetsCountInTheFavoritesNotInTheRows()
{
    QFETCH(bool, isOneGone);
    QFETCH(QString, rowsBefore);
    QFETCH(QString, rowsAfter);
    _core->disk->addFile(u"/b"_s);
    _core->disk->addFolder(u"/d"_s);
    if (!isOneGone) {
        _core->disk->addFile(u"/a"_s);
        _core->sortResults(settings::SortOption::foldersFirst);
    }
    model().toggleFavorite(CoreFixture::folderAt(u"/d"_s));
    toggle({u"/b"_s, u"/a"_s});
    QCOMPARE(paths(), QStringList({u"/a"_s, u"/b"_s, u"/d"_s}));
    model().showFiles({}, ResultType::favorites);
    model().loadFavorites();
    QCOMPARE(CoreFixture::names(model().files()).join(u' '), rowsBefore);

    model().reorderFavorites({1}, isOneGone ? 3 : 0);

    QCOMPARE(paths(), isOneGone ? QStringList({u"/a"_s, u"/d"_s, u"/b"_s})
                                : QStringList({u"/b"_s, u"/a"_s, u"/d"_s}));
    QCOMPARE(CoreFixture::names(model().files()).join(u' '), rowsAfter);
}

void tst_FavoritesOfModel::aStoreThatCannotBeWrittenIsReported()
{
    toggle({u"/a"_s, u"/b"_s});
    _core->persistence = base::Error{u"closed"_s};
    _core->persistence =
        store::PersistenceController::load(_core->storePath(), store::StoreAccess::readOnly);
    _core->makeModel();
    const auto before = model().favorites();

    support::CapturedOutput toggled;
    toggle({u"/c"_s});
    const auto toggleText = toggled.text();
    support::CapturedOutput moved;
    model().reorderFavorites({0}, 2);
    const auto moveText = moved.text();

    QVERIFY2(toggleText.startsWith("Error toggling favorite: "), toggleText.constData());
    QVERIFY2(moveText.startsWith("Error reordering favorites: "), moveText.constData());
    QCOMPARE(toggleText.count('\n'), 1);
    QCOMPARE(moveText.count('\n'), 1);
    QCOMPARE(model().favorites(), before);
}

void tst_FavoritesOfModel::aStoreThatCannotBeReadIsReported()
{
    toggle({u"/a"_s});
    {
        auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"other"_s);
        database.setDatabaseName(_core->storePath());
        QVERIFY(database.open());
        QVERIFY(QSqlQuery(database).exec(u"DROP TABLE Favorite"_s));
        database.close();
    }
    QSqlDatabase::removeDatabase(u"other"_s);

    support::CapturedOutput output;
    model().loadFavorites();
    const auto text = output.text();

    QVERIFY2(text.startsWith("Error fetching favorites: "), text.constData());
    QCOMPARE(text.count('\n'), 1);
    QCOMPARE(paths(), QStringList(u"/a"_s));
}

QTEST_GUILESS_MAIN(tst_FavoritesOfModel)
#include "tst_FavoritesOfModel.moc"
