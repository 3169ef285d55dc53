// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/OrdinaryUser.h"
#include "index/QueryFixture.h"

#include <QDir>
#include <QObject>
#include <QTest>

#include <filesystem>
#include <fstream>
#include <iterator>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace Qt::StringLiterals;
using State = content::TextStatus::State;

namespace {

/// An index that keeps texts, with the helper that reads them.
struct Texts : tests::QueryFixture {
    Texts() { tree.folder("home"); }

    FileIndexOptions options() const
    {
        FileIndexOptions options;
        options.cacheFolder = tree.text("cache");
        options.readPressure = [] { return PressureReading(); };  // a busy machine takes its time
        options.texts.helperPath = HELPER;
        using std::chrono::milliseconds;
        options.texts.indexer.pace = {
            milliseconds(0), milliseconds(0), milliseconds(50), milliseconds(20), milliseconds(20)};
        options.texts.indexer.purgeAfter = milliseconds(100);
        return options;
    }
    void beginWithTexts()
    {
        begin(options());
        index->setPathRules({{tree.text("home"), true}});
        index->setSearchesTexts(true);
    }
    /// What a query for this in names or texts finds.
    QStringList found(const QString &text, const QString &scope = {})
    {
        const int before = finishCount;
        query->setSearchScopes({scope.isEmpty() ? tree.text("home") : scope});
        query->setPredicate({{{u"kMDItemDisplayName"_s, text},
            {QString::fromUtf16(platform::NSMetadataItemTextContentKey), text}}});
        // As the panel's search does: whoever reads all that is there gets the rest.
        onProgress = [this] { names(); };
        const bool isStarted = query->startQuery();
        [&] { QTRY_COMPARE_WITH_TIMEOUT(finishCount, before + 1, 20'000); }();
        return isStarted ? names() : QStringList(u"not started"_s);
    }
    /// Whether a file of the text index names this one; texts are stored with their names.
    bool isOnDisk(const std::string &path) const
    {
        for (const auto &entry : std::filesystem::directory_iterator(tree.path("cache/text"))) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes(std::istreambuf_iterator<char>(file), {});
            if (bytes.find(tree.path(path)) != bytes.npos)
                return true;
        }
        return false;
    }
    bool keepsFiles() const
    {
        return !QDir(tree.text("cache/text")).entryList(QDir::Files).isEmpty();
    }
};

}  // namespace

class tst_FileTexts final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void filesAreFoundByTheirTextBehindThoseFoundByName();
    void nothingIsReadOrKeptUntilItIsSwitchedOn();
    void whatIsWrittenLaterIsFoundAndWhatIsTakenOutIsNot();
    void removedAndMovedFilesAreFollowed();
    void onlyTheScopesAreSearched();
    void hiddenFilesByProductsAndPicturesAreLeftOut();
    void switchedOffItsFilesGo();
    void theNextSessionReadsOnlyWhatHasChanged();
    void anExcludedFolderIsForgotten();
    void theTextOfAnExcludedFolderLeavesTheDisk();
    void theTextOfAFolderWhoseRuleIsDeletedLeavesTheDisk();
    void aRenamedTemporaryIsReadAgain_data();
    void aRenamedTemporaryIsReadAgain();
    void aFileThatMayNotBeReadIsReadOnceItMay();
    void aFileThatBecomesAKeyLosesItsText();
    void theTextsThatAreKeptDoNotLowerTheirLimit();
    void filesThatWereLeftOutAreReadOnceThereIsRoom();
    void withoutTheHelperNamesAreFoundAllTheSame();
};

void tst_FileTexts::filesAreFoundByTheirTextBehindThoseFoundByName()
{
    Texts texts;
    texts.tree.file("home/notes.txt", "Of zebras and their STRIPES.");
    texts.tree.file("home/deep/er/zebra.md", "nothing of the kind");
    texts.tree.file("home/both zebra.txt", "a zebra once more");
    texts.tree.file("home/other.txt", "lions");

    texts.beginWithTexts();

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"Zebra"_s),
        (QStringList{u"zebra.md"_s, u"both zebra.txt"_s, u"notes.txt"_s}), 20'000);
    QCOMPARE(texts.found(u"stripes"_s), QStringList{u"notes.txt"_s});
}

void tst_FileTexts::nothingIsReadOrKeptUntilItIsSwitchedOn()
{
    Texts texts;
    texts.tree.file("home/notes.txt", "zebra");
    texts.begin(texts.options());
    texts.index->setPathRules({{texts.tree.text("home"), true}});

    QCOMPARE(texts.found(u"zebra"_s), QStringList{});
    QCOMPARE(texts.index->textStatus().state, State::off);
    QVERIFY(!QDir(texts.tree.text("cache/text")).exists());

    texts.index->setSearchesTexts(true);
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"notes.txt"_s}, 20'000);
}

void tst_FileTexts::whatIsWrittenLaterIsFoundAndWhatIsTakenOutIsNot()
{
    Texts texts;
    texts.tree.file("home/notes.txt", "zebra");
    texts.beginWithTexts();
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"notes.txt"_s}, 20'000);

    texts.tree.file("home/notes.txt", "only lions now, and many more of them");
    texts.tree.file("home/new folder/later.txt", "the zebra has moved");

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"later.txt"_s}, 20'000);
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"lions"_s), QStringList{u"notes.txt"_s}, 20'000);
}

void tst_FileTexts::removedAndMovedFilesAreFollowed()
{
    Texts texts;
    texts.tree.file("home/a/one.txt", "zebra");
    texts.tree.file("home/b/two.txt", "zebra");
    texts.beginWithTexts();
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s).size(), 2, 20'000);

    texts.tree.move("home/a", "home/c");
    texts.tree.remove("home/b/two.txt");

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"one.txt"_s}, 20'000);
    QCOMPARE(texts.value(0, platform::NSMetadataItemPathKey).toString(),
        texts.tree.text("home/c/one.txt"));
}

void tst_FileTexts::onlyTheScopesAreSearched()
{
    Texts texts;
    texts.tree.file("home/a/one.txt", "zebra");
    texts.tree.file("home/b/two.txt", "zebra");
    texts.beginWithTexts();
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s).size(), 2, 20'000);

    QCOMPARE(texts.found(u"zebra"_s, texts.tree.text("home/b")), QStringList{u"two.txt"_s});
}

void tst_FileTexts::hiddenFilesByProductsAndPicturesAreLeftOut()
{
    Texts texts;
    texts.tree.file("home/.secret/one.txt", "zebra");
    texts.tree.file("home/node_modules/pack/two.txt", "zebra");
    texts.tree.file("home/three.txt~", "zebra");
    texts.tree.file("home/four.png", "zebra");
    texts.tree.file("home/five.txt", "zebra");
    texts.beginWithTexts();

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"five.txt"_s}, 20'000);
    QTRY_COMPARE_WITH_TIMEOUT(texts.index->textStatus().state, State::idle, 20'000);
    QCOMPARE(texts.index->textStatus().figures.documents, 1U);
}

void tst_FileTexts::switchedOffItsFilesGo()
{
    Texts texts;
    texts.tree.file("home/notes.txt", "zebra");
    texts.beginWithTexts();
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"notes.txt"_s}, 20'000);

    texts.index->setSearchesTexts(false);

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{}, 20'000);
    QTRY_VERIFY_WITH_TIMEOUT(!texts.keepsFiles(), 20'000);
    QTRY_COMPARE(texts.index->textStatus().state, State::off);
}

void tst_FileTexts::theNextSessionReadsOnlyWhatHasChanged()
{
    Texts texts;
    texts.tree.file("home/kept.txt", "zebra");
    texts.tree.file("home/gone.txt", "zebra");
    texts.beginWithTexts();
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s).size(), 2, 20'000);
    texts.query.reset();
    texts.index.reset();
    QVERIFY(texts.keepsFiles());
    texts.tree.remove("home/gone.txt");
    texts.tree.file("home/new.txt", "zebra and lion");

    texts.beginWithTexts();

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"lion"_s), QStringList{u"new.txt"_s}, 20'000);
    QTRY_COMPARE_WITH_TIMEOUT(
        texts.found(u"zebra"_s), (QStringList{u"new.txt"_s, u"kept.txt"_s}), 20'000);
}

void tst_FileTexts::anExcludedFolderIsForgotten()
{
    Texts texts;
    texts.tree.file("home/a/one.txt", "zebra");
    texts.tree.file("home/b/two.txt", "zebra");
    texts.beginWithTexts();
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s).size(), 2, 20'000);

    texts.index->setPathRules(
        {{texts.tree.text("home"), true}, {texts.tree.text("home/a"), false}});

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"two.txt"_s}, 20'000);
    QTRY_COMPARE_WITH_TIMEOUT(texts.index->textStatus().figures.documents, 1U, 20'000);
}

void tst_FileTexts::theTextOfAnExcludedFolderLeavesTheDisk()
{
    Texts texts;
    texts.tree.file("home/a/one.txt", "zebra");
    texts.tree.file("home/b/two.txt", "zebra");
    texts.tree.file("home/b/three.txt", "zebra");
    texts.beginWithTexts();
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s).size(), 3, 20'000);
    texts.query.reset();
    texts.index.reset();
    texts.tree.file("home/b/new.txt", "zebra");
    texts.beginWithTexts();
    // By then it has compared what it keeps with all that there is.
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s).size(), 4, 20'000);
    QVERIFY(texts.isOnDisk("home/a/one.txt"));
    texts.index->setSavesPower(true);  // no work but this is done

    texts.index->setPathRules(
        {{texts.tree.text("home"), true}, {texts.tree.text("home/a"), false}});

    QTRY_VERIFY_WITH_TIMEOUT(!texts.isOnDisk("home/a/one.txt"), 20'000);
    QCOMPARE(texts.found(u"zebra"_s).size(), 3);
}

void tst_FileTexts::theTextOfAFolderWhoseRuleIsDeletedLeavesTheDisk()
{
    Texts texts;
    texts.tree.file("home/one.txt", "zebra");
    texts.tree.file("other/two.txt", "zebra");
    const QList<Rule> both{{texts.tree.text("home"), true}, {texts.tree.text("other"), true}};
    texts.beginWithTexts();
    texts.index->setPathRules(both);
    QTRY_COMPARE_WITH_TIMEOUT(
        texts.found(u"zebra"_s, texts.tree.text("other")), QStringList{u"two.txt"_s}, 20'000);
    texts.query.reset();
    texts.index.reset();
    QVERIFY(texts.isOnDisk("other/two.txt"));
    texts.begin(texts.options());
    texts.index->setPathRules(both);
    texts.index->setSearchesTexts(true);
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"one.txt"_s}, 20'000);
    texts.index->setSavesPower(true);  // no work but this is done

    texts.index->setPathRules({both.first()});

    QTRY_VERIFY_WITH_TIMEOUT(!texts.isOnDisk("other/two.txt"), 20'000);
    QCOMPARE(texts.found(u"zebra"_s), QStringList{u"one.txt"_s});
}

void tst_FileTexts::aRenamedTemporaryIsReadAgain_data()
{
    QTest::addColumn<QString>("temporary");

    QTest::newRow("hidden") << u".t"_s;
    QTest::newRow("beside it") << u"notes.txt.tmp"_s;
    QTest::newRow("a text") << u"notes-new.txt"_s;
    QTest::newRow("from elsewhere") << u"../notes.txt"_s;
}

void tst_FileTexts::aRenamedTemporaryIsReadAgain()
{
    QFETCH(QString, temporary);
    const auto name = "home/" + temporary.toStdString();
    Texts texts;
    texts.tree.file("home/notes.txt", "zebra");
    texts.beginWithTexts();
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"notes.txt"_s}, 20'000);

    texts.tree.file(name, "only lions, and many of them");
    texts.tree.move(name, "home/notes.txt");

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"lions"_s), QStringList{u"notes.txt"_s}, 20'000);
    QCOMPARE(texts.found(u"zebra"_s), QStringList{});
}

void tst_FileTexts::aFileThatMayNotBeReadIsReadOnceItMay()
{
    Texts texts;
    const tests::OrdinaryUser user(texts.tree);
    texts.tree.file("home/closed.txt", "lions");
    texts.tree.file("home/later.txt", "zebra");
    texts.tree.setTime("home/later.txt", 1'000'000'000);
    ::chmod(texts.tree.path("home/closed.txt").c_str(), 0);
    texts.beginWithTexts();
    // Files that were changed earlier are read later: the closed one has had its turn.
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"later.txt"_s}, 20'000);
    QCOMPARE(texts.found(u"lions"_s), QStringList{});

    ::chmod(texts.tree.path("home/closed.txt").c_str(), 0600);

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"lions"_s), QStringList{u"closed.txt"_s}, 20'000);
}

void tst_FileTexts::aFileThatBecomesAKeyLosesItsText()
{
    Texts texts;
    for (const auto *name : {"by content.txt", "by name.txt", "stays.txt"})
        texts.tree.file("home/" + std::string(name), "zebra");
    texts.beginWithTexts();
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s).size(), 3, 20'000);

    texts.tree.file("home/by content.txt",
        std::string(5, '-') + "BEGIN OPENSSH PRIVATE KEY" + std::string(5, '-') + "\nzebra\n");
    texts.tree.move("home/by name.txt", "home/credentials.txt");

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"stays.txt"_s}, 20'000);
}

void tst_FileTexts::theTextsThatAreKeptDoNotLowerTheirLimit()
{
    Texts texts;
    for (int i = 0; i < 40; ++i) {
        std::string words = "zebra";
        for (int word = 0; word < 3000; ++word)
            words += ' ' + std::to_string((i * 3000 + word) * 7919);
        texts.tree.file("home/" + std::to_string(i) + ".txt", words);
    }
    texts.beginWithTexts();
    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s).size(), 40, 20'000);
    texts.query.reset();
    texts.index.reset();
    const auto used = bytesInFolder(texts.tree.path("cache/text"));
    texts.tree.file("home/new.txt", "lions");

    // A tenth of what is free is too little; of what is free or taken by them it is enough.
    auto options = texts.options();
    options.freeDiskBytes = used * 114 / 10;
    texts.begin(options);
    texts.index->setPathRules({{texts.tree.text("home"), true}});
    texts.index->setSearchesTexts(true);

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"lions"_s), QStringList{u"new.txt"_s}, 20'000);
}

void tst_FileTexts::filesThatWereLeftOutAreReadOnceThereIsRoom()
{
    Texts texts;
    for (int i = 0; i < 10; ++i)
        texts.tree.file("home/" + std::to_string(i) + ".txt", "zebra " + std::string(3000, 'x'));
    auto options = texts.options();
    options.texts.index.mostDiskBytes = 20'000;
    options.texts.indexer.flushAfter = std::chrono::milliseconds(50);  // packed they take less
    texts.begin(options);
    texts.index->setPathRules({{texts.tree.text("home"), true}});

    texts.index->setSearchesTexts(true);

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s).size(), 10, 20'000);
}

void tst_FileTexts::withoutTheHelperNamesAreFoundAllTheSame()
{
    Texts texts;
    texts.tree.file("home/zebra.txt", "lion");
    auto options = texts.options();
    options.texts.helperPath = texts.tree.path("no helper");
    texts.begin(options);
    texts.index->setPathRules({{texts.tree.text("home"), true}});

    texts.index->setSearchesTexts(true);

    QTRY_COMPARE_WITH_TIMEOUT(texts.found(u"zebra"_s), QStringList{u"zebra.txt"_s}, 20'000);
    QCOMPARE(texts.found(u"lion"_s), QStringList{});
}

QTEST_GUILESS_MAIN(tst_FileTexts)
#include "tst_FileTexts.moc"
