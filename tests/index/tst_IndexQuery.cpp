// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/IndexQuery.h"
#include "TemporaryTree.h"

#include <QObject>
#include <QTest>

#include <algorithm>
#include <functional>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace Qt::StringLiterals;
using tests::TemporaryTree;

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
    void aQueryWithoutTextOrScopeDoesNotStart();
    void aQueryForContentSearchesNamesAndSaysSo();
    void theQueryMayGoFromInsideItsNotification();
    void aMissingScopeEndsWithNothing();
};

namespace {

/// An index over a tree of its own, with one query.
struct Session {
    TemporaryTree tree;
    base::NotificationCenter center;
    std::unique_ptr<FileIndex> index;
    std::unique_ptr<IndexQuery> query;
    int progressCount = 0;
    int finishCount = 0;
    std::function<void()> onProgress;
    std::vector<base::NotificationCenter::Token> tokens;

    void begin()
    {
        FileIndexOptions options;
        options.dataHome = tree.text("data");
        options.dataDirs = {tree.text("system")};
        options.languages = {u"de_DE"_s};
        options.watchBudget = [] { return 10'000; };
        index = std::make_unique<FileIndex>(options);
        query = std::make_unique<IndexQuery>(*index, center);
        using namespace base::Notifications;
        tokens.push_back(center.addObserver(
            QString::fromUtf16(NSMetadataQueryGatheringProgressNotification), query.get(), [this] {
                ++progressCount;
                if (onProgress)
                    onProgress();
            }));
        tokens.push_back(
            center.addObserver(QString::fromUtf16(NSMetadataQueryDidFinishGatheringNotification),
                query.get(), [this] { ++finishCount; }));
    }
    bool start(const QString &text, const QStringList &scopes)
    {
        query->setPredicate({{{QString::fromUtf16(platform::NSMetadataItemDisplayNameKey), text}}});
        query->setSearchScopes(scopes);
        return query->startQuery();
    }
    bool start(const QString &text) { return start(text, {tree.text()}); }
    QStringList names() const
    {
        QStringList found;
        for (qsizetype i = 0; i < query->resultCount(); ++i)
            found += value(i, platform::NSMetadataItemFSNameKey).toString();
        return found;
    }
    QVariant value(qsizetype number, const char16_t *key) const
    {
        return query->resultAt(number)->valueForAttribute(QString::fromUtf16(key));
    }
    ~Session()
    {
        query.reset();
        index.reset();
    }
};

}  // namespace

void tst_IndexQuery::theHitsComeRankedAndTheEndIsPostedOnce()
{
    Session session;
    for (const auto *name : {"Reports/x", "Report 2024.odt", "report-final (2).txt", "bug-reports",
             "unreported", "other"})
        session.tree.file(name);
    session.begin();

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

void tst_IndexQuery::aQueryWithoutTextOrScopeDoesNotStart()
{
    Session session;
    session.begin();

    QVERIFY(!session.start({}));
    QVERIFY(!session.start(u"a"_s, {}));
    QVERIFY(!session.query->resultAt(0));
}

void tst_IndexQuery::aQueryForContentSearchesNamesAndSaysSo()
{
    Session session;
    session.tree.file("word.txt", "other");
    session.tree.file("other.txt", "word");
    session.begin();
    session.query->setSearchScopes({session.tree.text()});
    session.query->setPredicate({{{u"kMDItemDisplayName"_s, u"word"_s},
        {QString::fromUtf16(platform::NSMetadataItemTextContentKey), u"word"_s}}});

    QTest::ignoreMessage(QtInfoMsg, "the text of files is not indexed, names alone are searched");
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

QTEST_GUILESS_MAIN(tst_IndexQuery)
#include "tst_IndexQuery.moc"
