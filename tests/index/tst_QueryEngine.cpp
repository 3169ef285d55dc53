// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/IndexWriter.h"
#include "index/QueryEngine.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::index;
using vellumhound::base::Handover;

class tst_QueryEngine final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aQueryThatWasPassedOverEnds();
    void aQueryThatAsksForMoreGetsTheRestAndEnds();
    void aQueryWhoseRuleWasDeletedEnds();
    void aRunThatWasCancelledSendsNothing();
};

namespace {

/// An engine stepped by hand over one root of so many entries, and what one run was sent.
struct Bench {
    explicit Bench(std::size_t entries)
    {
        root = writer.addRoot("/root");
        writer.setRootMayHang(root, true);  // its entries are described without a disk
        for (std::size_t i = 0; i < entries; ++i)
            add("entry" + std::to_string(i));
        run->texts = {"entry"};
        run->scopes.folders = {"/root"};
    }
    void add(const std::string &name)
    {
        writer.add(writer.view().roots[root].folder, name, EntryKind::file);
        writer.publish();
    }
    void endCrawl()
    {
        writer.setRootCrawled(root);
        writer.publish();
    }
    /// As much later as the engine waits between two looks at a crawl. Whether it is due again.
    bool step()
    {
        now += QueryEngine::pause;
        const bool isDue = engine.step(now).has_value();
        handover.deliver();
        return isDue;
    }
    bool hasEnded() const
    {
        return !answers.empty() && !answers.back().hasMore && !answers.back().isCrawling;
    }
    std::size_t itemCount() const
    {
        std::size_t count = 0;
        for (const auto &answer : answers)
            count += answer.items.size();
        return count;
    }

    PublishedView published;
    IndexWriter writer{published};
    std::uint32_t root = 0;
    QueryEngine engine{published};
    std::vector<QueryAnswer> answers;
    Handover<QueryAnswer> handover{
        [this](QueryAnswer answer) { answers.push_back(std::move(answer)); }};
    std::shared_ptr<QueryRun> run = std::make_shared<QueryRun>(1, handover.sender());
    QueryEngine::Clock::time_point now{std::chrono::hours(1)};
};

}  // namespace

void tst_QueryEngine::aQueryThatWasPassedOverEnds()
{
    Bench bench(3 * QueryEngine::portion);
    bench.engine.submit(bench.run);
    QVERIFY(!bench.step());  // waits for its reader
    QCOMPARE(bench.itemCount(), QueryEngine::portion);
    QVERIFY(bench.answers.back().hasMore);
    QVERIFY(bench.answers.back().isCrawling);

    // The reader wants no more of what there is, but of what the crawl still finds.
    bench.engine.passOver(bench.run);
    QVERIFY(bench.step());
    bench.add("entry behind");
    QVERIFY(bench.step());
    QCOMPARE(bench.itemCount(), QueryEngine::portion + 1);
    bench.endCrawl();
    QVERIFY(!bench.step());

    QVERIFY(bench.hasEnded());
    QCOMPARE(bench.itemCount(), QueryEngine::portion + 1);
}

void tst_QueryEngine::aQueryThatAsksForMoreGetsTheRestAndEnds()
{
    Bench bench(3 * QueryEngine::portion);
    bench.endCrawl();
    bench.engine.submit(bench.run);
    QVERIFY(!bench.step());

    for (int i = 0; i < 2; ++i) {
        QVERIFY(!bench.hasEnded());
        bench.engine.askForMore(bench.run);
        QVERIFY(!bench.step());
    }

    QVERIFY(bench.hasEnded());
    QCOMPARE(bench.itemCount(), 3 * QueryEngine::portion);
}

void tst_QueryEngine::aQueryWhoseRuleWasDeletedEnds()
{
    Bench bench(3);
    bench.engine.submit(bench.run);
    QVERIFY(bench.step());
    QVERIFY(!bench.hasEnded());

    bench.writer.removeRoot(bench.root);
    bench.writer.publish();
    QVERIFY(!bench.step());

    QVERIFY(bench.hasEnded());
}

void tst_QueryEngine::aRunThatWasCancelledSendsNothing()
{
    Bench bench(3);
    bench.engine.submit(bench.run);
    bench.run->isCancelled = true;

    QVERIFY(!bench.step());

    QVERIFY(bench.answers.empty());
}

QTEST_GUILESS_MAIN(tst_QueryEngine)
#include "tst_QueryEngine.moc"
