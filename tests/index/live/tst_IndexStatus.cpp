// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/IndexStatus.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::index;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const std::chrono::system_clock::time_point noon{std::chrono::seconds(1'705'320'000)};

QStringList sentences(const IndexStatus &status)
{
    return sentencesOf(status, noon);
}

/// What a status says beyond its first line.
QStringList furtherSentences(const IndexStatus &status)
{
    return sentences(status).mid(1);
}

IndexStatus busyStatus()
{
    IndexStatus status;
    status.names = 820'000;
    status.memoryBytes = 29'500'000;
    status.liveFolders = 58'000;
    status.sweptFolders = 1;
    status.backedOffFolders = 2;
    status.lastCheck = noon - 5min;
    status.activities = {{IndexStatus::Activity::Kind::crawling, u"/data/secret"_s}};
    status.isWatchLimitReached = true;
    status.hungMounts = {u"/media/nas"_s};
    status.skippedMounts = {{u"/media/cloud"_s, u"fuse.rclone"_s}};
    status.texts = {true, 1, 9'100'000, 12, false};
    return status;
}

}  // namespace

class tst_IndexStatus final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anEmptyIndexSaysOnlyThatItIsEmpty()
    {
        QCOMPARE(sentences({}), QStringList{u"0 names in the index, in 0 bytes of memory."_s});
    }

    void everythingIsPutIntoWords()
    {
        QCOMPARE(sentences(busyStatus()),
            (QStringList{u"820,000 names in the index, in 29.5 MB of memory."_s,
                u"58,000 folders followed live."_s, u"1 folder checked from time to time."_s,
                u"2 folders change all the time and are read at growing intervals."_s,
                u"No more folders can be followed live: the system's limit of watches is spent, or "
                "half of it, which is left to other programs."_s,
                u"Last check of all folders: 5 minutes ago."_s,
                u"“/data/secret” is read for the first time."_s,
                u"“/media/nas” does not answer and is left alone until it does."_s,
                u"“/media/cloud” is not searched: it holds a file system of type fuse.rclone."_s,
                u"The text of 1 file can be searched, in 9.1 MB on the disk."_s,
                u"12 files wait to be read."_s}));
    }

    void theLogLineNamesNoPath()
    {
        const auto line = logLineOf(busyStatus());

        QCOMPARE(line,
            u"820000 names, 29.5 MB of memory, 58000 live, 1 swept, 2 backed off, 1 hung mounts, "
            "1 skipped mounts, watches spent, crawling, 1 texts in 9.1 MB, 12 texts waiting"_s);
        QVERIFY(!line.contains(u'/'));
    }

    void eachActivityHasItsWords_data()
    {
        using Kind = IndexStatus::Activity::Kind;
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("word");
        const auto row = [](Kind kind, const char *sentence, const char *word) {
            QTest::newRow(word) << kind << QString::fromLatin1(sentence)
                                << QString::fromLatin1(word);
        };
        row(Kind::crawling, "Folders are read for the first time.", "crawling");
        row(Kind::verifying, "What was known from last time is compared with the disk.",
            "verifying");
        row(Kind::checking, "Folders are checked for changes.", "checking");
        row(Kind::compacting, "The tables are put in order.", "compacting");
        row(Kind::readingTimes, "The times of files are read.", "reading times");
        row(Kind::readingTexts, "The texts of files are read.", "reading texts");
        row(Kind::savingSnapshot, "The index is saved.", "saving");
    }
    void eachActivityHasItsWords()
    {
        QFETCH(IndexStatus::Activity::Kind, kind);
        QFETCH(QString, sentence);
        QFETCH(QString, word);
        IndexStatus status;

        status.activities = {{kind, {}}};

        QCOMPARE(furtherSentences(status), QStringList{sentence});
        QVERIFY(logLineOf(status).endsWith(u", "_s + word));
    }

    void restAndLimitsAreSaid()
    {
        IndexStatus status;
        status.rest = IndexStatus::Rest::machineIsBusy;
        QCOMPARE(furtherSentences(status),
            QStringList{u"Work in the background rests because the machine is busy."_s});
        QVERIFY(logLineOf(status).endsWith(u"resting, machine busy"_s));

        status.rest = IndexStatus::Rest::powerIsSaved;
        QCOMPARE(furtherSentences(status),
            QStringList{u"Work in the background rests to save power."_s});
        QVERIFY(logLineOf(status).endsWith(u"resting to save power"_s));

        status = {};
        status.isFull = true;
        status.texts.isOn = true;
        status.texts.isFull = true;
        QCOMPARE(furtherSentences(status),
            (QStringList{u"The index has reached its limit and takes in no further folders."_s,
                u"The text of 0 files can be searched, in 0 bytes on the disk."_s,
                u"The index of texts has reached its limit and takes in no further files."_s}));
        QVERIFY(logLineOf(status).contains(u", full, "_s));
        QVERIFY(logLineOf(status).endsWith(u", texts full"_s));
    }

    void theLastCheckIsToldByItsAge_data()
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<QString>("words");
        QTest::newRow("clock set back") << -100 << u"just now"_s;
        QTest::newRow("now") << 59 << u"just now"_s;
        QTest::newRow("minute") << 60 << u"1 minute ago"_s;
        QTest::newRow("minutes") << 3599 << u"59 minutes ago"_s;
        QTest::newRow("hour") << 3600 << u"1 hour ago"_s;
        QTest::newRow("hours") << 86'399 << u"23 hours ago"_s;
        QTest::newRow("days") << 3 * 86'400 << u"3 days ago"_s;
    }
    void theLastCheckIsToldByItsAge()
    {
        QFETCH(int, seconds);
        QFETCH(QString, words);
        IndexStatus status;

        status.lastCheck = noon - std::chrono::seconds(seconds);

        QCOMPARE(
            furtherSentences(status), QStringList{u"Last check of all folders: "_s + words + u'.'});
    }
};

QTEST_GUILESS_MAIN(tst_IndexStatus)
#include "tst_IndexStatus.moc"
