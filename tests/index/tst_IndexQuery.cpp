// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/QueryFixture.h"

#include <QObject>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace Qt::StringLiterals;
using tests::TemporaryTree;
using Session = tests::QueryFixture;

class tst_IndexQuery final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theHitsComeRankedAndTheEndIsPostedOnce();
    void nothingIsPostedInsideTheStart();
    void nothingIsPostedAfterAStop();
    void anOlderRunDoesNotReachANewerOne();
    void aNewFileIsFoundByTheNextQuery();
    void onlyTheScopesAreSearched();
    void anItemTellsWhatTheDiskSays();
    void aLinkIsOfItsTargetsKind();
    void resultsAreNotCutAtAHundred();
    void aReaderWhoLeavesOffGetsTheEnd();
    void applicationsAreFoundByTheirNameAndOnce();
    void aQueryWithoutTextDoesNotStart();
    void aQueryWithoutScopesEndsWithNothing();
    void aQueryForContentFindsNamesAloneWhereNoTextIsKept();
    void theQueryMayGoFromInsideItsNotification();
    void aMissingScopeEndsWithNothing();
    void whatWasOpenedOrIsInTheDesktopsListComesFirst();
    void usesOutliveTheIndex();
    void severalTextsGiveAllTheirHitsOnce();
    void theStatusTellsWhatIsCovered();
    void itSaysWhyAnEntryIsNotFound();
    void atItsLimitOfMemoryTheIndexSaysSo();
    void aDeletedRuleThatWasSearchedEndsAtOnce();
};

void tst_IndexQuery::theHitsComeRankedAndTheEndIsPostedOnce()
{
    Session session;
    for (const auto *name : {"Reports/x", "Report 2024.odt", "report-final (2).txt", "bug-reports",
             "unreported", "other"})
        session.tree.file(name);
    session.begin();
    // While change times come in, those that are known go first.
    session.index->setPathRules({{session.tree.text(), true}});
    QTRY_COMPARE(session.index->status().names, std::uint64_t(7));
    QTRY_VERIFY(session.index->status().activities.empty());

    QVERIFY(session.start(u"report"_s));
    QTRY_COMPARE(session.finishCount, 1);

    QCOMPARE(session.names(), (QStringList{u"Reports"_s, u"Report 2024.odt"_s,
                                  u"report-final (2).txt"_s, u"bug-reports"_s, u"unreported"_s}));
}

void tst_IndexQuery::nothingIsPostedInsideTheStart()
{
    Session session;
    session.tree.file("a");
    session.begin();
    session.start(u"a"_s);
    QTRY_COMPARE(session.finishCount, 1);

    session.start(u"a"_s);
    QCOMPARE(session.finishCount, 1);
    QCOMPARE(session.query->resultCount(), qsizetype(0));
    QTRY_COMPARE(session.finishCount, 2);
}

void tst_IndexQuery::nothingIsPostedAfterAStop()
{
    Session session;
    session.tree.file("a");
    session.begin();
    session.start(u"a"_s);
    QTRY_COMPARE(session.finishCount, 1);

    IndexQuery other(*session.index, session.center);
    session.start(u"a"_s);
    session.query->stopQuery();
    // Another query's end shows that the stopped one's answer would have been here.
    int ends = 0;
    const auto token = session.center.addObserver(
        QString::fromUtf16(base::Notifications::NSMetadataQueryDidFinishGatheringNotification),
        &other, [&] { ++ends; });
    other.setPredicate({{{u"kMDItemDisplayName"_s, u"a"_s}}});
    other.setSearchScopes({session.tree.text()});
    QVERIFY(other.startQuery());
    QTRY_COMPARE(ends, 1);

    QCOMPARE(session.finishCount, 1);
    QCOMPARE(session.progressCount, 0);
}

void tst_IndexQuery::anOlderRunDoesNotReachANewerOne()
{
    Session session;
    session.tree.file("apple");
    session.tree.file("pear");
    session.begin();

    session.start(u"apple"_s);
    session.start(u"pear"_s);
    QTRY_COMPARE(session.finishCount, 1);

    QCOMPARE(session.names(), QStringList{u"pear"_s});
}

void tst_IndexQuery::aNewFileIsFoundByTheNextQuery()
{
    Session session;
    session.begin();
    session.start(u"fresh"_s);
    QTRY_COMPARE(session.finishCount, 1);
    QCOMPARE(session.names(), QStringList{});

    session.tree.file("fresh.txt");
    QTRY_VERIFY([&] {
        const int before = session.finishCount;
        session.start(u"fresh"_s);
        return QTest::qWaitFor([&] { return session.finishCount > before; }) &&
               session.names() == QStringList{u"fresh.txt"_s};
    }());
}

void tst_IndexQuery::onlyTheScopesAreSearched()
{
    Session session;
    session.tree.file("a/one file");
    session.tree.file("ab/two file");
    session.tree.file("b/three file");
    session.begin();
    session.index->setPathRules({{session.tree.text(), true}});

    session.start(u"file"_s, {session.tree.text("a"), session.tree.text("b")});
    QTRY_COMPARE(session.finishCount, 1);

    auto names = session.names();
    names.sort();
    QCOMPARE(names, (QStringList{u"one file"_s, u"three file"_s}));
}

void tst_IndexQuery::anItemTellsWhatTheDiskSays()
{
    Session session;
    session.tree.file("thing.json", "12345");
    session.tree.folder("thing folder");
    session.tree.file("thing\xFF");
    session.begin();
    session.start(u"thing"_s);
    QTRY_COMPARE(session.finishCount, 1);

    QCOMPARE(session.query->resultCount(), qsizetype(3));
    const auto indexOf = [&](const std::string &name) {
        for (qsizetype i = 0; i < 3; ++i) {
            if (session.value(i, platform::NSMetadataItemPathKey) == session.tree.text(name))
                return i;
        }
        return qsizetype(-1);
    };
    const auto json = indexOf("thing.json");
    QCOMPARE(session.value(json, platform::NSMetadataItemFSNameKey), QVariant(u"thing.json"_s));
    QCOMPARE(
        session.value(json, platform::NSMetadataItemDisplayNameKey), QVariant(u"thing.json"_s));
    QCOMPARE(session.value(json, platform::NSMetadataItemFSSizeKey), QVariant(qint64(5)));
    QCOMPARE(
        session.value(json, platform::NSMetadataItemContentTypeKey), QVariant(u"public.json"_s));
    QVERIFY(session.value(json, platform::NSMetadataItemContentTypeTreeKey)
                .toStringList()
                .contains(u"public.data"_s));
    const auto folder = indexOf("thing folder");
    QVERIFY(!session.value(folder, platform::NSMetadataItemFSSizeKey).isValid());
    QCOMPARE(session.value(folder, platform::NSMetadataItemContentTypeKey),
        QVariant(u"public.folder"_s));
    const auto unknown = indexOf("thing\xFF");
    QVERIFY(unknown >= 0);
    QVERIFY(!session.value(unknown, platform::NSMetadataItemContentTypeKey).isValid());
    QVERIFY(!session.query->resultAt(3));
    QVERIFY(!session.query->resultAt(-1));
}

void tst_IndexQuery::aLinkIsOfItsTargetsKind()
{
    Session session;
    session.tree.file("target.json", "123");
    session.tree.folder("folder");
    session.tree.link("link1", "target.json");
    session.tree.link("link2", "folder");
    session.tree.link("link3", "nowhere");
    session.begin();
    session.start(u"link"_s);
    QTRY_COMPARE(session.finishCount, 1);

    QCOMPARE(session.names(), (QStringList{u"link1"_s, u"link2"_s, u"link3"_s}));
    const auto type = [&](qsizetype i) {
        return session.value(i, platform::NSMetadataItemContentTypeKey).toString();
    };
    QCOMPARE(type(0), u"public.json"_s);
    QCOMPARE(session.value(0, platform::NSMetadataItemFSSizeKey), QVariant(qint64(3)));
    QCOMPARE(type(1), u"public.folder"_s);
    QVERIFY(!session.value(1, platform::NSMetadataItemFSSizeKey).isValid());
    QCOMPARE(type(2), u"public.symlink"_s);
    QVERIFY(!session.value(2, platform::NSMetadataItemFSSizeKey).isValid());
}

void tst_IndexQuery::resultsAreNotCutAtAHundred()
{
    Session session;
    for (int i = 0; i < 5000; ++i)
        session.tree.file("excluded/hit" + std::to_string(i));
    for (int i = 0; i < 100; ++i)
        session.tree.file("deep/er/much longer hit " + std::to_string(i));
    session.begin();
    qsizetype read = 0;
    int kept = 0;
    const auto readOn = [&] {
        for (; read < session.query->resultCount() && kept < 100; ++read) {
            const auto path = session.value(read, platform::NSMetadataItemPathKey).toString();
            kept += path.contains(u"/excluded/") ? 0 : 1;
        }
        if (kept == 100)
            session.query->stopQuery();
    };
    session.onProgress = readOn;

    session.start(u"hit"_s);
    QTRY_VERIFY([&] {
        readOn();
        return kept == 100;
    }());

    QVERIFY(read >= 5100);
    QCOMPARE(session.query->resultCount(), qsizetype(read));
}

void tst_IndexQuery::aReaderWhoLeavesOffGetsTheEnd()
{
    Session session;
    for (int i = 0; i < 600; ++i)
        session.tree.file("hit" + std::to_string(i));
    session.begin();
    // Once with nothing else to do, so that the crawl is over.
    session.start(u"nothing like it"_s);
    QTRY_COMPARE(session.finishCount, 1);

    session.start(u"hit"_s);
    QTRY_COMPARE(session.finishCount, 2);

    QCOMPARE(session.progressCount, 1);
    QCOMPARE(session.query->resultCount(), qsizetype(QueryEngine::portion));
}

void tst_IndexQuery::applicationsAreFoundByTheirNameAndOnce()
{
    Session session;
    session.tree.file("system/applications/web.desktop",
        "[Desktop Entry]\nType=Application\nName=Web\nName[de]=Netz Web\n");
    session.tree.file("system/applications/webhidden.desktop",
        "[Desktop Entry]\nType=Application\nName=Web Hidden\nNoDisplay=true\n");
    session.begin();

    session.start(u"web"_s, {u"/Applications"_s});
    QTRY_COMPARE(session.finishCount, 1);
    QCOMPARE(session.names(), QStringList{u"Netz Web"_s});
    QCOMPARE(session.value(0, platform::NSMetadataItemPathKey).toString(),
        session.tree.text("system/applications/web.desktop"));
    QCOMPARE(session.value(0, platform::NSMetadataItemDisplayNameKey), QVariant(u"Netz Web"_s));
    QCOMPARE(session.value(0, platform::NSMetadataItemContentTypeKey),
        QVariant(u"com.apple.application"_s));

    // The tree holds the entry as a file too.
    session.start(u"web"_s, {session.tree.text(), u"/Applications"_s});
    QTRY_COMPARE(session.finishCount, 2);
    auto names = session.names();
    names.sort();
    QCOMPARE(names, (QStringList{u"Netz Web"_s, u"webhidden.desktop"_s}));

    session.tree.file(
        "data/applications/new/web2.desktop", "[Desktop Entry]\nType=Application\nName=Webster\n");
    QTRY_VERIFY([&] {
        const int before = session.finishCount;
        session.start(u"webster"_s, {u"/Applications"_s});
        return QTest::qWaitFor([&] { return session.finishCount > before; }) &&
               session.names() == QStringList{u"Webster"_s};
    }());
}

void tst_IndexQuery::aQueryWithoutTextDoesNotStart()
{
    Session session;
    session.begin();

    QVERIFY(!session.start({}));
    QVERIFY(!session.query->resultAt(0));
}

void tst_IndexQuery::aQueryWithoutScopesEndsWithNothing()
{
    Session session;
    session.tree.file("a");
    session.begin();

    QVERIFY(session.start(u"a"_s, {}));
    QCOMPARE(session.finishCount, 0);
    QTRY_COMPARE(session.finishCount, 1);

    QCOMPARE(session.names(), QStringList());
    QVERIFY(!session.query->resultAt(0));
}

void tst_IndexQuery::aQueryForContentFindsNamesAloneWhereNoTextIsKept()
{
    Session session;
    session.tree.file("word.txt", "other");
    session.tree.file("other.txt", "word");
    session.begin();
    session.query->setSearchScopes({session.tree.text()});
    session.query->setPredicate({{{u"kMDItemDisplayName"_s, u"word"_s},
        {QString::fromUtf16(platform::NSMetadataItemTextContentKey), u"word"_s}}});

    QVERIFY(session.query->startQuery());
    QTRY_COMPARE(session.finishCount, 1);
    QCOMPARE(session.names(), QStringList{u"word.txt"_s});
}

void tst_IndexQuery::theQueryMayGoFromInsideItsNotification()
{
    Session session;
    for (int i = 0; i < 600; ++i)
        session.tree.file("hit" + std::to_string(i));
    session.begin();
    session.onProgress = [&] { session.query.reset(); };

    session.start(u"hit"_s);
    QTRY_VERIFY(!session.query);

    QCOMPARE(session.finishCount, 0);
}

void tst_IndexQuery::aMissingScopeEndsWithNothing()
{
    Session session;
    session.begin();

    session.start(u"a"_s, {session.tree.text("not there")});
    QTRY_COMPARE(session.finishCount, 1);

    QCOMPARE(session.query->resultCount(), qsizetype(0));
}

void tst_IndexQuery::whatWasOpenedOrIsInTheDesktopsListComesFirst()
{
    Session session;
    // Older than any application, which counts as new.
    const std::array<timespec, 2> lastYear{{{1'700'000'000, 0}, {1'700'000'000, 0}}};
    for (const auto *name : {"in/plan a", "in/plan b", "in/plan c", "in/plan d"}) {
        session.tree.file(name);
        ::utimensat(AT_FDCWD, session.tree.path(name).c_str(), lastYear.data(), 0);
    }
    session.tree.file("data/recently-used.xbel",
        "<xbel><bookmark href=\"file://" + session.tree.path("in/plan%20c") +
            "\" visited=\"2020-01-01T00:00:00Z\"/></xbel>");
    session.tree.file("system/applications/plan.desktop",
        "[Desktop Entry]\nType=Application\nName=Planner of long journeys\n");
    session.begin();
    const QStringList scopes{session.tree.text("in"), u"/Applications"_s};
    // Once for nothing, so that the crawl is over.
    session.start(u"nothing like it"_s, scopes);
    QTRY_COMPARE(session.finishCount, 1);
    session.index->noteUse(session.tree.text("in/plan d"));

    session.start(u"plan"_s, scopes);
    QTRY_COMPARE(session.finishCount, 2);
    QCOMPARE(session.names().mid(0, 3),
        (QStringList{u"plan d"_s, u"plan c"_s, u"Planner of long journeys"_s}));

    session.index->noteUse(session.tree.text("system/applications/plan.desktop"));
    session.start(u"plan"_s, scopes);
    QTRY_COMPARE(session.finishCount, 3);
    QCOMPARE(session.names().indexOf(u"plan c"_s), 2);
    QCOMPARE(session.query->resultCount(), qsizetype(5));
}

void tst_IndexQuery::usesOutliveTheIndex()
{
    Session session;
    session.tree.file("in/plan a");
    session.tree.file("in/plan b");
    session.begin();
    session.index->noteUse(session.tree.text("in/plan b"));
    session.tokens.clear();
    session.query.reset();
    session.index.reset();

    session.begin();
    session.start(u"nothing like it"_s, {session.tree.text("in")});
    QTRY_COMPARE(session.finishCount, 1);
    session.start(u"plan"_s, {session.tree.text("in")});
    QTRY_COMPARE(session.finishCount, 2);

    QCOMPARE(session.names(), (QStringList{u"plan b"_s, u"plan a"_s}));
}

void tst_IndexQuery::severalTextsGiveAllTheirHitsOnce()
{
    Session session;
    for (int i = 0; i < 400; ++i) {
        session.tree.file("in/one" + std::to_string(i));
        session.tree.file("in/two" + std::to_string(i));
        session.tree.file("in/one two" + std::to_string(i));
    }
    session.begin();
    session.onProgress = [&] {
        if (session.query->resultCount() > 0)
            session.query->resultAt(session.query->resultCount() - 1);
    };
    session.query->setSearchScopes({session.tree.text("in")});
    session.query->setPredicate(
        {{{u"kMDItemDisplayName"_s, u"one"_s}, {u"kMDItemDisplayName"_s, u"two"_s}}});

    QVERIFY(session.query->startQuery());
    QTRY_COMPARE(session.finishCount, 1);

    auto names = session.names();
    QCOMPARE(names.size(), 1200);
    QCOMPARE(names.removeDuplicates(), 0);
}

void tst_IndexQuery::theStatusTellsWhatIsCovered()
{
    Session session;
    for (const auto *name : {"in/a", "in/b/c", "in/b/.hidden", "in/d/e"})
        session.tree.file(name);
    session.begin();

    session.index->setPathRules({{session.tree.text("in"), true}});

    QTRY_COMPARE(session.index->status().names, std::uint64_t(5));
    QTRY_VERIFY(session.index->status().activities.empty());
    const auto status = session.index->status();
    QCOMPARE(status.liveFolders, std::uint64_t(3));
    QCOMPARE(status.sweptFolders, std::uint64_t(0));
    QVERIFY(status.memoryBytes > 0);
    QVERIFY(status.lastCheck);
    QVERIFY(!status.texts.isOn);
}

void tst_IndexQuery::itSaysWhyAnEntryIsNotFound()
{
    using Kind = FindingReason::Kind;
    Session session;
    for (const auto *name : {"in/a", "in/.hidden/b", "in/out/c", "elsewhere/d"})
        session.tree.file(name);
    session.begin();
    session.index->setPathRules(
        {{session.tree.text("in"), true}, {session.tree.text("in/out"), false}});
    QTRY_COMPARE(session.index->status().names, std::uint64_t(2));
    QTRY_VERIFY(session.index->status().activities.empty());
    const auto reason = [&](const std::string &path) {
        return session.index->whyNotFound(session.tree.text(path), {session.tree.text("in")}).kind;
    };

    QCOMPARE(reason("in/a"), Kind::found);
    QCOMPARE(reason("in/.hidden/b"), Kind::hidden);
    QCOMPARE(reason("in/out/c"), Kind::excludedByRule);
    QCOMPARE(reason("elsewhere/d"), Kind::outsideScopes);
    QCOMPARE(reason("in/nothing"), Kind::notThere);
}

void tst_IndexQuery::atItsLimitOfMemoryTheIndexSaysSo()
{
    Session session;
    session.tree.file("in/a/b");
    FileIndexOptions options;
    options.mostMemoryBytes = 1;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"reached its limit of"_s));
    session.begin(options);
    QTRY_VERIFY(session.index->status().isFull);

    session.index->setPathRules({{session.tree.text("in"), true}});

    QTRY_COMPARE(session.index->status().names, std::uint64_t(1));
    QTRY_VERIFY(session.index->status().activities.empty());
    QCOMPARE(session.index->status().names, std::uint64_t(1));
}

void tst_IndexQuery::aDeletedRuleThatWasSearchedEndsAtOnce()
{
    Session session;
    session.tree.file("kept/one");
    session.tree.file("deleted/two");
    const auto kept = session.tree.text("kept");
    const auto deleted = session.tree.text("deleted");
    session.begin();
    session.index->setPathRules({{kept, true}, {deleted, true}});
    QVERIFY(session.start(u"o"_s, {kept, deleted}));
    QTRY_COMPARE(session.finishCount, 1);
    QCOMPARE(session.names().size(), qsizetype(2));

    session.index->setPathRules({{kept, true}});
    QTRY_COMPARE(session.index->status().names, std::uint64_t(1));
    QCOMPARE(session.index->status().liveFolders, std::uint64_t(1));

    // Named again, it is crawled again.
    QVERIFY(session.start(u"o"_s, {kept, deleted}));
    QTRY_COMPARE(session.finishCount, 2);
    QCOMPARE(session.names().size(), qsizetype(2));
}

QTEST_GUILESS_MAIN(tst_IndexQuery)
#include "tst_IndexQuery.moc"
