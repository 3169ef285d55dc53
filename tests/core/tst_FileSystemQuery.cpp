// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/MainQueue.h"
#include "base/NativePath.h"
#include "core/FileSystemQuery.h"
#include "fakes/FakeMetadataQuery.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace vellumhound;
using namespace vellumhound::core;
using fakes::FakeMetadataQuery;
using settings::PathRule;
using settings::PathRules;

namespace {

using Batches = QList<FileSystemQuery::Batch>;

QString key(const char16_t *name)
{
    return QString::fromUtf16(name);
}

QList<FakeMetadataQuery::Item> items(int count, const QString &folder = u"/d"_s)
{
    QList<FakeMetadataQuery::Item> list;
    for (int i = 0; i < count; ++i)
        list.append(FakeMetadataQuery::item(folder + u"/file"_s + QString::number(i)));
    return list;
}

/// A consumer that keeps what it gets until the stream ends.
base::Task consume(base::MainQueue &, base::Stream<FileSystemQuery::Batch> stream,
    Batches &received, bool &isFinished)
{
    for (;;) {
        const auto batch = co_await stream.next();
        if (!batch)
            break;
        received.append(*batch);
    }
    isFinished = true;
}

/// One stream with the task that reads it.
struct Run {
    Run(base::MainQueue &queue, FileSystemQuery &query, const PathRules &rules = {})
    {
        base::Stream<FileSystemQuery::Batch> stream(
            queue, [&](const auto &continuation) { hasBegun = query.start(continuation, rules); });
        task = consume(queue, std::move(stream), received, isFinished);
        queue.drain();
    }
    QList<qsizetype> sizes() const
    {
        QList<qsizetype> list;
        for (const auto &batch : received)
            list.append(batch.size());
        return list;
    }
    QStringList paths() const
    {
        QStringList list;
        for (const auto &batch : received) {
            for (const auto &entry : batch)
                list.append(*entry.path);
        }
        return list;
    }

    bool hasBegun = false;
    bool isFinished = false;
    Batches received;
    std::optional<base::Task> task;
};

}  // namespace

class tst_FileSystemQuery final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void aFloodGoesOutInTenBatchesOfTenAndEndsTheRun();
    void whatComesInStepsGoesOutInSteps();
    void theLastBatchIsCutAtTheLimit();
    void theEndOfGatheringFinishesTheStream();
    void aQueryWithoutHitsFinishesWithoutABatch();
    void aBatchThatTheRulesEmptyIsNotYielded();
    void fiveThousandExcludedHitsDoNotHideTheOthers();
    void entriesWithoutNameOrPathOrThatAreGoneArePassedOver();
    void aSecondStartEndsTheFirstRunForGood();
    void theEndOfAnOldStreamLeavesANewRunAlone();
    void cancellingTheConsumerStopsTheIndex();
    void anIndexThatCannotBeginFinishesTheStream();
    void stopMayBeCalledAgainAndAgain();
    void anEndedRunHearsNothingMore();
    void destructionStopsTheIndex();
    void aRecordHoldsWhatTheIndexKnows();
    void valuesOfAnotherKindAreAbsent();
    void aTypeIsReadByIdentifierThenExtensionThenMime_data();
    void aTypeIsReadByIdentifierThenExtensionThenMime();
    void onlyTheFolderTypeItselfMakesAFolder();
    void withoutATypeTheTreeTellsAFolder();
    void aTypeThatMeansNothingIsNoFolderWhateverItsTree();

private:
    std::unique_ptr<base::MainQueue> _queue;
    std::unique_ptr<base::NotificationCenter> _center;
    std::unique_ptr<FakeMetadataQuery> _index;
    std::unique_ptr<FileSystemQuery> _query;

    void progress()
    {
        _index->postProgress();
        _queue->drain();
    }
    void finish()
    {
        _index->postFinish();
        _queue->drain();
    }
};

void tst_FileSystemQuery::init()
{
    _queue = std::make_unique<base::MainQueue>();
    _center = std::make_unique<base::NotificationCenter>();
    _index = std::make_unique<FakeMetadataQuery>(*_center);
    _query = std::make_unique<FileSystemQuery>(*_index, *_center);
}

void tst_FileSystemQuery::cleanup()
{
    _query.reset();
    _queue->drain();
}

void tst_FileSystemQuery::aFloodGoesOutInTenBatchesOfTenAndEndsTheRun()
{
    Run run(*_queue, *_query);
    QList<qsizetype> processedAtStop;
    _index->onStop = [&] { processedAtStop.append(_query->lastProcessedIndex()); };
    _index->append(items(250));

    progress();

    QCOMPARE(run.sizes(), QList<qsizetype>(10, 10));
    // What the limit cut off counts as looked at.
    QCOMPARE(processedAtStop, QList<qsizetype>(1, 250));
    _index->onStop = {};
    QVERIFY(run.isFinished);
    QVERIFY(!_index->isRunning);
    QCOMPARE(_index->readCount, 100);
    QCOMPARE(_query->totalYieldedResults(), 0);
    QCOMPARE(_query->lastProcessedIndex(), 0);
}

void tst_FileSystemQuery::whatComesInStepsGoesOutInSteps()
{
    Run run(*_queue, *_query);
    for (int step = 1; step <= 3; ++step) {
        _index->append(items(7));
        progress();
        QCOMPARE(_query->lastProcessedIndex(), 7 * step);
        QCOMPARE(_query->totalYieldedResults(), 7 * step);
    }

    QCOMPARE(run.sizes(), QList<qsizetype>({7, 7, 7}));
    QVERIFY(!run.isFinished);
    QVERIFY(_index->isRunning);
    finish();
}

void tst_FileSystemQuery::theLastBatchIsCutAtTheLimit()
{
    Run run(*_queue, *_query);
    _index->append(items(95));
    progress();
    _index->append(items(10, u"/e"_s));

    progress();

    QCOMPARE(run.sizes().last(), 5);
    QCOMPARE(run.paths().size(), 100);
    QCOMPARE(run.paths().last(), u"/e/file4"_s);
    QVERIFY(run.isFinished);
    QVERIFY(!_index->isRunning);
}

void tst_FileSystemQuery::theEndOfGatheringFinishesTheStream()
{
    Run run(*_queue, *_query);
    _index->append(items(3));

    finish();

    QCOMPARE(run.sizes(), QList<qsizetype>({3}));
    QVERIFY(run.isFinished);
    QVERIFY(!_index->isRunning);
    QCOMPARE(_query->totalYieldedResults(), 0);
}

void tst_FileSystemQuery::aQueryWithoutHitsFinishesWithoutABatch()
{
    Run run(*_queue, *_query);

    finish();

    QVERIFY(run.received.isEmpty());
    QVERIFY(run.isFinished);
}

void tst_FileSystemQuery::aBatchThatTheRulesEmptyIsNotYielded()
{
    Run run(*_queue, *_query, {PathRule{u"/out"_s, false}});
    _index->append(items(10, u"/out"_s));
    _index->append(items(10, u"/in"_s));

    progress();

    QCOMPARE(run.sizes(), QList<qsizetype>({10}));
    QCOMPARE(run.paths().first(), u"/in/file0"_s);
    finish();
}

void tst_FileSystemQuery::fiveThousandExcludedHitsDoNotHideTheOthers()
{
    Run run(*_queue, *_query, {PathRule{u"~/Library"_s, false}, PathRule{u"/out"_s, false}});
    _index->append(items(5000, u"/out/deep"_s));
    _index->append(items(120, u"/in"_s));

    progress();

    QCOMPARE(run.paths().size(), 100);
    for (const auto &path : run.paths())
        QVERIFY(path.startsWith(u"/in/"));
    QVERIFY(run.isFinished);
}

void tst_FileSystemQuery::entriesWithoutNameOrPathOrThatAreGoneArePassedOver()
{
    Run run(*_queue, *_query);
    _index->append({
        nullptr,
        FakeMetadataQuery::item(u"/no-name"_s, {{key(platform::NSMetadataItemFSNameKey), {}}}),
        FakeMetadataQuery::item(u"/no-path"_s, {{key(platform::NSMetadataItemPathKey), {}}}),
        FakeMetadataQuery::item(u"/good"_s),
    });

    finish();

    QCOMPARE(run.paths(), QStringList(u"/good"_s));
}

void tst_FileSystemQuery::aSecondStartEndsTheFirstRunForGood()
{
    Run first(*_queue, *_query);
    _index->append(items(5));
    progress();

    Run second(*_queue, *_query);
    QCOMPARE(_query->totalYieldedResults(), 0);
    _index->append(items(4, u"/e"_s));
    progress();
    finish();

    QCOMPARE(first.sizes(), QList<qsizetype>({5}));
    QVERIFY(!first.isFinished);
    QCOMPARE(second.sizes(), QList<qsizetype>({4}));
    QVERIFY(second.isFinished);
    first.task->cancel();
    _queue->drain();
}

void tst_FileSystemQuery::theEndOfAnOldStreamLeavesANewRunAlone()
{
    Run first(*_queue, *_query);
    Run second(*_queue, *_query);

    first.task->cancel();
    _queue->drain();

    QVERIFY(first.isFinished);
    QVERIFY(_index->isRunning);
    _index->append(items(2));
    finish();
    QCOMPARE(second.sizes(), QList<qsizetype>({2}));
}

void tst_FileSystemQuery::cancellingTheConsumerStopsTheIndex()
{
    Run run(*_queue, *_query);

    run.task->cancel();

    QVERIFY(!_index->isRunning);
    _queue->drain();
    QVERIFY(run.isFinished);
}

void tst_FileSystemQuery::anIndexThatCannotBeginFinishesTheStream()
{
    _index->refusesToStart = true;

    const Run run(*_queue, *_query);

    QVERIFY(!run.hasBegun);
    QVERIFY(run.isFinished);
    QVERIFY(run.received.isEmpty());
}

void tst_FileSystemQuery::stopMayBeCalledAgainAndAgain()
{
    Run run(*_queue, *_query);

    _query->stop();
    _query->stop();

    QVERIFY(!_index->isRunning);
    QVERIFY(!run.isFinished);
    run.task->cancel();
    _queue->drain();
}

void tst_FileSystemQuery::anEndedRunHearsNothingMore()
{
    Run run(*_queue, *_query);
    _query->stop();
    _index->isRunning = true;
    _index->append(items(5));

    progress();
    finish();

    QVERIFY(run.received.isEmpty());
    run.task->cancel();
    _queue->drain();
}

void tst_FileSystemQuery::destructionStopsTheIndex()
{
    Run run(*_queue, *_query);

    _query.reset();

    QVERIFY(!_index->isRunning);
    run.task->cancel();
    _queue->drain();
}

void tst_FileSystemQuery::aRecordHoldsWhatTheIndexKnows()
{
    const auto item = FakeMetadataQuery::item(
        u"/d/a.txt"_s, {{key(platform::NSMetadataItemFSSizeKey), qint64(7'000'000'000)},
                           {key(platform::NSMetadataItemContentTypeKey), u"public.plain-text"_s}});

    const auto metadata = FileSystemQuery::readMetadata(*item);

    const FileSystemQuery::FileMetadata expected{
        u"a.txt"_s, 7'000'000'000, base::UTType::plainText(), u"/d/a.txt"_s, false};
    QVERIFY(metadata == expected);
}

void tst_FileSystemQuery::valuesOfAnotherKindAreAbsent()
{
    const auto item = FakeMetadataQuery::item(u"/d/a.txt"_s,
        {{key(platform::NSMetadataItemFSNameKey), 5}, {key(platform::NSMetadataItemPathKey), 1.5},
            {key(platform::NSMetadataItemFSSizeKey), u"12"_s},
            {key(platform::NSMetadataItemContentTypeKey), true}});

    QVERIFY(FileSystemQuery::readMetadata(*item) == FileSystemQuery::FileMetadata());
}

void tst_FileSystemQuery::aTypeIsReadByIdentifierThenExtensionThenMime_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("identifier");
    QTest::newRow("identifier") << u"com.adobe.pdf"_s << u"com.adobe.pdf"_s;
    QTest::newRow("extension") << u"pdf"_s << u"com.adobe.pdf"_s;
    QTest::newRow("mime") << u"application/pdf"_s << u"com.adobe.pdf"_s;
    QTest::newRow("nothing") << u""_s << u"public.item"_s;
    QTest::newRow("noise") << u"\n / \n"_s << u"public.item"_s;
}

void tst_FileSystemQuery::aTypeIsReadByIdentifierThenExtensionThenMime()
{
    QFETCH(QString, text);
    QFETCH(QString, identifier);
    const auto item =
        FakeMetadataQuery::item(u"/d/a"_s, {{key(platform::NSMetadataItemContentTypeKey), text}});

    const auto type = FileSystemQuery::readContentType(*item);

    QVERIFY(type);
    QCOMPARE(type->identifier(), identifier);
}

void tst_FileSystemQuery::onlyTheFolderTypeItselfMakesAFolder()
{
    const auto isDirectory = [](const QString &identifier) {
        return FileSystemQuery::readMetadata(
            *FakeMetadataQuery::item(
                u"/d/a"_s, {{key(platform::NSMetadataItemContentTypeKey), identifier},
                               {key(platform::NSMetadataItemContentTypeTreeKey),
                                   QStringList{u"public.directory"_s}}}))
            .isDirectory;
    };

    QVERIFY(isDirectory(u"public.folder"_s));
    QVERIFY(!isDirectory(u"public.directory"_s));
    QVERIFY(!isDirectory(u"com.apple.application"_s));
}

void tst_FileSystemQuery::withoutATypeTheTreeTellsAFolder()
{
    const auto isDirectory = [](const QVariant &tree) {
        return FileSystemQuery::readMetadata(
            *FakeMetadataQuery::item(
                u"/d/a"_s, {{key(platform::NSMetadataItemContentTypeKey), {}},
                               {key(platform::NSMetadataItemContentTypeTreeKey), tree}}))
            .isDirectory;
    };

    QVERIFY(isDirectory(QStringList{u"public.item"_s, u"public.directory"_s}));
    QVERIFY(!isDirectory(QStringList{u"public.item"_s}));
    QVERIFY(!isDirectory(u"public.directory"_s));
    QVERIFY(!isDirectory({}));
}

void tst_FileSystemQuery::aTypeThatMeansNothingIsNoFolderWhateverItsTree()
{
    const auto item = FakeMetadataQuery::item(u"/d/a"_s,
        {{key(platform::NSMetadataItemContentTypeKey), u""_s},
            {key(platform::NSMetadataItemContentTypeTreeKey), QStringList{u"public.directory"_s}}});

    const auto metadata = FileSystemQuery::readMetadata(*item);

    QVERIFY(metadata.contentType == base::UTType::item());
    QVERIFY(!metadata.isDirectory);
}

QTEST_GUILESS_MAIN(tst_FileSystemQuery)
#include "tst_FileSystemQuery.moc"
