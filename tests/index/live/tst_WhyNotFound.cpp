// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"
#include "index/disk/Watching.h"
#include "index/live/WhyNotFound.h"
#include "index/names/IndexWriter.h"
#include "index/TemporaryTree.h"
#include "platform/MetadataQuery.h"

#include <QObject>
#include <QTest>

#include <map>
#include <set>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace vellumhound::tests;
using namespace Qt::StringLiterals;
using Kind = FindingReason::Kind;
using Found = PathProbe::Found;

namespace {

/// A disk of a few entries; what stands above an entry is a folder unless something else is said.
class FakeProbe final : public PathProbe {
public:
    FakeProbe(std::map<std::string, Found> entries, std::set<std::string> unreadable)
        : _entries(std::move(entries))
        , _unreadable(std::move(unreadable))
    {
    }
    Found look(const std::string &path) const override
    {
        if (const auto entry = _entries.find(path); entry != _entries.end())
            return entry->second;
        const auto prefix = path == "/" ? path : path + '/';
        const auto below = _entries.lower_bound(prefix);
        const bool isAbove = below != _entries.end() && below->first.starts_with(prefix);
        return isAbove ? Found::folder : Found::missing;
    }
    bool canRead(const std::string &folder) const override { return !_unreadable.contains(folder); }
    std::vector<std::string> namesIn(const std::string &folder) const override
    {
        std::vector<std::string> names;
        for (const auto &[path, found] : _entries) {
            if (path.substr(0, path.rfind('/')) == folder)
                names.push_back(path.substr(path.rfind('/') + 1));
        }
        return names;
    }

private:
    std::map<std::string, Found> _entries;
    std::set<std::string> _unreadable;
};

const FakeProbe &disk()
{
    static const FakeProbe probe(
        {
            {"/data/letters/aunt.txt", Found::other},
            {"/data/letters/Äpfel.txt", Found::other},
            {"/data/.secret/plan.txt", Found::other},
            {"/data/.profile", Found::other},
            {"/data/.secret/.deeper/plan.txt", Found::other},
            {"/data/shortcut", Found::link},
            {"/data/shortcut/song.mp3", Found::other},
            {"/data/closed/letter.txt", Found::other},
            {"/data/old/letter.txt", Found::other},
            {"/data/old/kept/letter.txt", Found::other},
            {"/data/sshfs/letter.txt", Found::other},
            {"/data/usb/letter.txt", Found::other},
            {"/data/again/letter.txt", Found::other},
            {"/data/locked", Found::folder},
            {"/data/locked/letter.txt", Found::denied},
            {"/data/caf\xE9/letter.txt", Found::other},
            {"/tophome/letter.txt", Found::other},
            {"/home-link", Found::link},
            {"/home-link/letter.txt", Found::other},
            {"/elsewhere/letter.txt", Found::other},
        },
        {"/data/closed"});
    return probe;
}

FindingFacts facts()
{
    FindingFacts result;
    result.rules = {{u"/Applications"_s, true}, {u"/data"_s, true}, {u"/data/old"_s, false},
        {u"/data/old/kept"_s, true}};
    result.scopes = {u"/Applications"_s, u"/data"_s};
    result.mounts = {{"/", "/", "8:1", "ext4"}, {"/data/sshfs", "/", "0:50", "fuse.sshfs"},
        {"/data/usb", "/", "8:17", "exfat"}, {"/data/again", "/data/letters", "8:1", "ext4"}};
    result.presence.isCrawled = true;
    return result;
}

FindingReason why(const QString &path, const FindingFacts &known = facts())
{
    return whyNotFound(path, known, disk());
}

}  // namespace

class tst_WhyNotFound final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theReasonAndThePartToBlameAreNamed_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<QString>("blamed");
        QTest::addColumn<QString>("detail");
        const auto row = [](const char *name, const QString &path, Kind kind,
                             const QString &blamed = {}, const QString &detail = {}) {
            QTest::newRow(name) << path << kind << blamed << detail;
        };
        row("nothing typed", u""_s, Kind::noPath);
        row("relative", u"letters/aunt.txt"_s, Kind::noPath);
        row("file missing", u"/data/letters/uncle.txt"_s, Kind::notThere,
            u"/data/letters/uncle.txt"_s);
        row("folder missing", u"/data/bills/a/b.pdf"_s, Kind::notThere, u"/data/bills"_s);
        row("a file is no folder", u"/data/letters/aunt.txt/page"_s, Kind::notThere,
            u"/data/letters/aunt.txt/page"_s);
        row("other case", u"/data/letters/AUNT.txt"_s, Kind::otherSpelling,
            u"/data/letters/AUNT.txt"_s, u"/data/letters/aunt.txt"_s);
        row("no accents", u"/data/letters/apfel.txt"_s, Kind::otherSpelling,
            u"/data/letters/apfel.txt"_s, u"/data/letters/Äpfel.txt"_s);
        row("folder not to be entered", u"/data/locked/letter.txt"_s, Kind::unreadable,
            u"/data/locked"_s);
        row("folder not to be listed", u"/data/closed/letter.txt"_s, Kind::unreadable,
            u"/data/closed"_s);
        row("excluded", u"/data/old/letter.txt"_s, Kind::excludedByRule, u"/data/old"_s,
            u"/data/old"_s);
        row("excluded folder itself", u"/data/old"_s, Kind::excludedByRule, u"/data/old"_s,
            u"/data/old"_s);
        row("included again", u"/data/old/kept/letter.txt"_s, Kind::unknown);
        row("elsewhere", u"/elsewhere/letter.txt"_s, Kind::outsideScopes);
        row("not by the letters of a name", u"/tophome/letter.txt"_s, Kind::outsideScopes);
        row("top", u"/data"_s, Kind::topOfScope, u"/data"_s);
        row("hidden file", u"/data/.profile"_s, Kind::hidden, u"/data/.profile"_s);
        row("in a hidden folder", u"/data/.secret/plan.txt"_s, Kind::hidden, u"/data/.secret"_s);
        row("behind a link", u"/data/shortcut/song.mp3"_s, Kind::throughLink, u"/data/shortcut"_s);
        row("the link itself", u"/data/shortcut"_s, Kind::unknown);
        row("network", u"/data/sshfs/letter.txt"_s, Kind::onSkippedFileSystem, u"/data/sshfs"_s,
            u"fuse.sshfs"_s);
        row("the mount point itself", u"/data/sshfs"_s, Kind::unknown);
        row("another disk", u"/data/usb/letter.txt"_s, Kind::unknown);
        row("bind mount", u"/data/again/letter.txt"_s, Kind::shownElsewhere, u"/data/again"_s,
            u"/data/letters"_s);
        row("dots and slashes", u"/data//letters/./../old/letter.txt/"_s, Kind::excludedByRule,
            u"/data/old"_s, u"/data/old"_s);
        row("bytes that are no text", base::pathFromBytes("/data/caf\xE9/nothing"), Kind::notThere,
            base::pathFromBytes("/data/caf\xE9/nothing"));
        row("bytes that are no text, there", base::pathFromBytes("/data/caf\xE9/letter.txt"),
            Kind::unknown);
        row("nothing against it", u"/data/letters/aunt.txt"_s, Kind::unknown);
    }
    void theReasonAndThePartToBlameAreNamed()
    {
        QFETCH(QString, path);
        QFETCH(Kind, kind);
        QFETCH(QString, blamed);
        QFETCH(QString, detail);

        const auto reason = why(path);

        QCOMPARE(int(reason.kind), int(kind));
        QCOMPARE(reason.blamed, blamed);
        QCOMPARE(reason.detail, detail);
        QVERIFY(reason.sentence.endsWith(u'.'));
        QVERIFY(blamed.isEmpty() || kind == Kind::topOfScope ||
                reason.sentence.contains(base::printablePath(blamed)) ||
                reason.sentence.contains(detail));
    }

    void whatTheIndexHoldsIsFoundUnlessTheSearchLeavesItOut()
    {
        auto known = facts();
        known.presence.isFound = true;

        QCOMPARE(why(u"/data/letters/aunt.txt"_s, known).kind, Kind::found);
        QCOMPARE(why(u"/data/old/letter.txt"_s, known).kind, Kind::excludedByRule);
        QCOMPARE(why(u"/elsewhere/letter.txt"_s, known).kind, Kind::outsideScopes);
    }

    void theLongestTextOfARuleDecides()
    {
        auto known = facts();
        known.rules = {
            {u"/data"_s, true}, {u"/data/./././letters"_s, false}, {u"/data/letters"_s, true}};

        const auto reason = why(u"/data/letters/aunt.txt"_s, known);

        QCOMPARE(reason.kind, Kind::excludedByRule);
        QCOMPARE(reason.detail, u"/data/./././letters"_s);
    }

    void anExcludedFolderIsNotCrawledAlsoWhereTheLongerTextIncludes()
    {
        auto known = facts();
        known.rules = {{u"/data/../data/./."_s, true}, {u"/data/old"_s, false}};

        const auto reason = why(u"/data/old/letter.txt"_s, known);

        QCOMPARE(reason.kind, Kind::excludedByRule);
        QCOMPARE(reason.blamed, u"/data/old"_s);
    }

    void aTildeIsTheHomeFolder()
    {
        auto known = facts();
        known.rules = {{u"~"_s, true}};
        known.scopes = {u"~"_s};

        const auto reason = why(u"~/nowhere.txt"_s, known);

        QCOMPARE(reason.kind, Kind::notThere);
        QVERIFY(reason.blamed.startsWith(base::homeDirectoryPath()));
    }

    void aHiddenFolderThatARuleNamesIsSearched()
    {
        auto known = facts();
        known.rules.push_back({u"/data/.secret"_s, true});

        QCOMPARE(why(u"/data/.secret/plan.txt"_s, known).kind, Kind::unknown);
        QCOMPARE(
            why(u"/data/.secret/.deeper/plan.txt"_s, known).blamed, u"/data/.secret/.deeper"_s);
    }

    void aLinkThatARuleNamesIsFollowed()
    {
        auto known = facts();
        known.rules.push_back({u"/home-link"_s, true});
        known.scopes.push_back(u"/home-link"_s);

        QCOMPARE(why(u"/home-link/letter.txt"_s, known).kind, Kind::unknown);
    }

    void aFolderOnASkippedFileSystemThatARuleNamesIsSearched()
    {
        auto known = facts();
        known.rules.push_back({u"/data/sshfs"_s, true});

        QCOMPARE(why(u"/data/sshfs/letter.txt"_s, known).kind, Kind::unknown);
    }

    void withoutAFolderOnlyApplicationsAreSearched()
    {
        auto known = facts();
        known.rules = {{u"/Applications"_s, true}};
        known.scopes = {u"/Applications"_s};

        QCOMPARE(why(u"/data/letters/aunt.txt"_s, known).kind, Kind::applicationsOnly);
    }

    void theWholeComputerIsAScope()
    {
        auto known = facts();
        known.rules = {{u"/"_s, true}};
        known.scopes = {QString::fromUtf16(platform::NSMetadataQueryLocalComputerScope)};

        QCOMPARE(why(u"/elsewhere/letter.txt"_s, known).kind, Kind::unknown);
        QCOMPARE(why(u"/"_s, known).kind, Kind::topOfScope);
    }

    void theStateOfTheIndexIsTheLastReason()
    {
        auto known = facts();
        const auto letter = u"/data/letters/aunt.txt"_s;

        known.presence = {false, true, true, false};
        QCOMPARE(why(letter, known).kind, Kind::notYetChecked);
        known.presence = {false, false, true, false};
        QCOMPARE(why(letter, known).kind, Kind::notYetCrawled);
        known.presence = {false, false, true, true};
        QCOMPARE(why(letter, known).kind, Kind::indexFull);
    }

    void aHostileNameCannotBreakTheSentence()
    {
        const auto reason = why(base::pathFromBytes("/data/two\nlines\xFF"));

        QCOMPARE(reason.kind, Kind::notThere);
        QVERIFY(!reason.sentence.contains(u'\n'));
        QCOMPARE(reason.sentence, u"“/data/two\uFFFDlines\uFFFD” does not exist."_s);
    }

    void theDiskIsAsked()
    {
        const TemporaryTree tree;
        tree.file("letters/aunt.txt");
        tree.link("shortcut", "letters");
        FindingFacts known;
        known.rules = {{tree.text(), true}};
        known.scopes = {tree.text()};
        known.presence.isCrawled = true;
        const auto kindOf = [&](const std::string &path) {
            return whyNotFound(tree.text(path), known).kind;
        };

        QCOMPARE(kindOf("letters/aunt.txt"), Kind::unknown);
        QCOMPARE(kindOf("letters/uncle.txt"), Kind::notThere);
        QCOMPARE(kindOf("letters/Aunt.txt"), Kind::otherSpelling);
        QCOMPARE(kindOf("shortcut/aunt.txt"), Kind::throughLink);
        QCOMPARE(kindOf("letters/aunt.txt/page"), Kind::notThere);
    }

    void aFolderOfSomebodyElseIsUnreadable()
    {
        const TemporaryTree tree;
        tree.file("closed/letter.txt");
        tree.file("listless/letter.txt");
        const auto chmod = [&](const std::string &path, mode_t mode) {
            return ::chmod(tree.path(path).c_str(), mode) == 0;
        };
        QVERIFY(chmod({}, 0755) && chmod("closed", 0) && chmod("listless", 0111));
        FindingFacts known;
        known.rules = {{tree.text(), true}};
        known.scopes = {tree.text()};

        const bool areBlamed = holdsWithoutPrivileges([&] {
            const auto closed = whyNotFound(tree.text("closed/letter.txt"), known);
            const auto listless = whyNotFound(tree.text("listless/letter.txt"), known);
            return closed.kind == Kind::unreadable && closed.blamed == tree.text("closed") &&
                   listless.kind == Kind::unreadable && listless.blamed == tree.text("listless");
        });

        QVERIFY(chmod("closed", 0755) && chmod("listless", 0755));
        QVERIFY(areBlamed);
    }

    void theTablesTellWhatTheyHold()
    {
        PublishedView published;
        IndexWriter writer(published);
        const auto root = writer.addRoot("/data");
        const auto letters =
            writer.add(writer.view().roots[root].folder, "letters", EntryKind::folder);
        writer.add(writer.addFolder(letters), "aunt.txt", EntryKind::file);
        writer.publish();

        QVERIFY(presenceIn(writer.view(), "/data/letters/aunt.txt").isFound);
        QVERIFY(presenceIn(writer.view(), "/data/letters").isFound);
        QVERIFY(!presenceIn(writer.view(), "/data/letters/uncle.txt").isFound);
        QVERIFY(!presenceIn(writer.view(), "/elsewhere/aunt.txt").isFound);
        QVERIFY(!presenceIn(writer.view(), "/data/letters").isCrawled);
        QCOMPARE(presenceIn(writer.view(), "/"), IndexPresence{});

        writer.setRootCrawled(root);

        QVERIFY(presenceIn(writer.view(), "/data/letters/uncle.txt").isCrawled);
    }
};

QTEST_GUILESS_MAIN(tst_WhyNotFound)
#include "tst_WhyNotFound.moc"
