// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/snapshot/SnapshotFixture.h"
#include "index/TemporaryTree.h"

#include <QObject>
#include <QTest>

#include <csignal>
#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace vellumhound::tests;

class tst_Snapshot final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatWasWrittenIsFoundAgain_data();
    void whatWasWrittenIsFoundAgain();
    void anEmptyIndexIsWrittenToo();
    void aSnapshotIsTakenOverWherePagesAreLarge();
    void aMissingFileIsNoFault();
    void aFileCutAnywhereIsRefused();
    void aFlippedBitIsNoticedWhereverItStands();
    void aFileOfAnotherKindIsRefused_data();
    void aFileOfAnotherKindIsRefused();
    void whatIsNoFileIsRefused();
    void aFileThatOthersCanWriteIsRefused();
    void numbersThatLieWithRightChecksumsDoNoHarm_data();
    void numbersThatLieWithRightChecksumsDoNoHarm();
    void namesThatNoFolderCanHoldAreRefused();
    void noMutatedFileLeadsAstray();
    void writingWhileTheBaseChangesGivesASoundFile();
    void aFullDiskLeavesTheOldFile();
    void aPlaceThatCannotBeWrittenIsAFailure();
    void aFileAboveTheLimitIsNotWritten();
    void whatAKilledWriterLeftIsRemovedAndARunningOnesIsNot();
    void aWriterKilledAtAnyMomentLeavesAWholeFile();
};

namespace {

// A machine of another kind: what its pages are like, and what was asked of them.
std::size_t pageBytes = 0;  // 0: this machine's own
const char *madeWritable = nullptr;

}  // namespace

extern "C" int getpagesize() noexcept
{
    return int(pageBytes != 0 ? pageBytes : std::size_t(::sysconf(_SC_PAGESIZE)));
}

extern "C" int mprotect(void *memory, std::size_t bytes, int rights) noexcept
{
    if ((rights & PROT_WRITE) != 0)
        madeWritable = static_cast<const char *>(memory);
    return int(::syscall(SYS_mprotect, memory, bytes, rights));
}

namespace {

/// A folder with one snapshot file in it.
struct Place {
    TemporaryTree tree;

    std::string path() const { return tree.path(snapshotFileName); }
    SnapshotTarget target() const { return {tree.path(), someOwner(), ~std::uint64_t(0)}; }
    SnapshotWriter::State write(const SnapshotContents &contents) const
    {
        SnapshotWriter writer(contents, target());
        return writeAll(writer);
    }
    base::Result<std::shared_ptr<LoadedSnapshot>> load() const
    {
        return loadSnapshot(path(), someOwner());
    }
    SnapshotBytes bytes() const { return SnapshotBytes(SnapshotBytes::read(path())); }
    std::set<std::string> names() const
    {
        std::set<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(tree.path()))
            names.insert(entry.path().filename().string());
        return names;
    }
};

const std::string needles[] = {
    "e", "re", "ete", "strasse", "договор", "1", "99", "会議", "no such"};

/// Everything that a reader or the writer of the tables may do with a loaded base, whatever is in
/// it. True if it is sound.
bool useAll(const LoadedSnapshot &loaded)
{
    const auto view = viewOf(loaded.contents);
    for (const auto &needle : needles)
        found(view, needle);
    found(view, "e", "/home/someone");
    for (RecordId record = 0; record < view.base->recordCount(); ++record)
        view.pathOf(record);
    for (FolderId folder = 0; folder < view.base->folderCount(); ++folder)
        view.findFolder(view.pathOfFolder(folder));
    PublishedView published;
    IndexWriter writer(published);
    writer.adopt(loaded.contents.base, loaded.contents.roots, loaded.contents.folderTimes);
    if (isSound(loaded)) {
        writer.beginCompaction()();
        return true;
    }
    writer.forgetAll([](int) {});
    return false;
}

SnapshotSection sectionAt(std::size_t number)
{
    return SnapshotSection(number);
}

}  // namespace

void tst_Snapshot::whatWasWrittenIsFoundAgain_data()
{
    QTest::addColumn<int>("count");
    for (const int count : {1, 15, 16, 17, 1000, 1024, 20'000})
        QTest::addRow("%d names", count) << count;
}

void tst_Snapshot::whatWasWrittenIsFoundAgain()
{
    QFETCH(int, count);
    const Place place;
    const auto contents = inventedIndex(3, std::size_t(count));

    QCOMPARE(place.write(contents), SnapshotWriter::State::done);
    const auto loaded = place.load();

    QVERIFY2(bool(loaded), qUtf8Printable(loaded ? QString() : loaded.error().description));
    const auto &again = loaded.value()->contents;
    QVERIFY(useAll(*loaded.value()));
    QCOMPARE(again.roots, contents.roots);
    QCOMPARE(again.folderTimes, contents.folderTimes);
    QCOMPARE(again.stops, contents.stops);
    const auto before = viewOf(contents);
    const auto after = viewOf(again);
    for (const auto &needle : needles) {
        QCOMPARE(found(after, needle), found(before, needle));
        QCOMPARE(found(after, needle, "/data"), found(before, needle, "/data"));
    }
    QCOMPARE(after.base->recordCount(), std::uint32_t(count));
    for (RecordId record = 0; record < after.base->recordCount(); ++record) {
        QCOMPARE(after.pathOf(record), before.pathOf(record));
        QCOMPARE(after.traitsOf(record), before.traitsOf(record));
        QCOMPARE(after.changeTimeOf(record), before.changeTimeOf(record));
        QVERIFY(!after.isDead(record));
    }
    struct stat status {};
    QCOMPARE(::stat(place.path().c_str(), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0600U);
}

void tst_Snapshot::anEmptyIndexIsWrittenToo()
{
    const Place place;
    PublishedView published;
    IndexWriter writer(published);
    const auto compacted = writer.beginCompaction()();

    QCOMPARE(place.write({compacted.base, {}, {}, {}}), SnapshotWriter::State::done);

    const auto loaded = place.load();
    QVERIFY(bool(loaded));
    QVERIFY(useAll(*loaded.value()));
    QCOMPARE(loaded.value()->contents.base->recordCount(), 0U);
}

void tst_Snapshot::aSnapshotIsTakenOverWherePagesAreLarge()
{
    const Place place;
    place.write(inventedIndex(20, 2000));
    constexpr std::size_t largePage = 65536;

    pageBytes = largePage;
    const auto loaded = place.load();
    pageBytes = 0;

    QVERIFY2(bool(loaded), qUtf8Printable(loaded ? QString() : loaded.error().description));
    const auto &mapping = *loaded.value()->mapping;
    using enum SnapshotSection;
    const char *begin = mapping.bytes(names).data() - mapping.layout().offsetOf(names);
    QVERIFY(mapping.layout().offsetOf(changeTimes) % largePage != 0);
    QCOMPARE(std::size_t(madeWritable - begin) % largePage, std::size_t(0));
    loaded.value()->contents.base->names.setChangeTime(0, 7);
    loaded.value()->contents.base->names.setChangeTime(1999, 7);
    QVERIFY(useAll(*loaded.value()));
}

void tst_Snapshot::aMissingFileIsNoFault()
{
    const Place place;

    const auto loaded = place.load();

    QVERIFY(bool(loaded));
    QVERIFY(!loaded.value());
}

void tst_Snapshot::aFileCutAnywhereIsRefused()
{
    const Place place;
    place.write(inventedIndex(4, 2000));
    const auto whole = place.bytes().bytes;
    const SnapshotLayout layout(place.bytes().header());
    std::vector<std::size_t> cuts{0, 1, sizeof(SnapshotHeader) - 1, sizeof(SnapshotHeader),
        whole.size() - 1, whole.size() - 4096};
    for (std::size_t i = 0; i < snapshotSections; ++i) {
        for (const auto border : {layout.offsets[i], layout.offsets[i] + layout.bytes[i]}) {
            cuts.push_back(border - 1);
            cuts.push_back(border);
        }
    }
    std::mt19937 random(4);
    for (int i = 0; i < 100; ++i)
        cuts.push_back(random() % whole.size());

    for (const auto cut : cuts) {
        SnapshotBytes(whole.substr(0, std::min(cut, whole.size() - 1))).write(place.path());
        QVERIFY2(!place.load(), std::to_string(cut).c_str());
    }
    SnapshotBytes(whole + '\0').write(place.path());
    QVERIFY(!place.load());
}

void tst_Snapshot::aFlippedBitIsNoticedWhereverItStands()
{
    const Place place;
    place.write(inventedIndex(5, 2000));
    const auto whole = place.bytes();
    const SnapshotLayout layout(whole.header());
    std::mt19937 random(5);
    const auto isNoticed = [&](std::size_t at) {
        auto damaged = whole;
        damaged.bytes[at] = char(damaged.bytes[at] ^ (1 << (random() % 8)));
        damaged.write(place.path());
        const auto loaded = place.load();
        return !loaded || !useAll(*loaded.value());
    };

    for (std::size_t at = 0; at < sizeof(SnapshotHeader); ++at)
        QVERIFY2(isNoticed(at), std::to_string(at).c_str());
    for (std::size_t i = 0; i < snapshotSections; ++i) {
        QVERIFY(layout.bytes[i] > 0);
        for (int round = 0; round < 20; ++round) {
            const auto at = layout.offsets[i] + (round == 0      ? 0
                                                    : round == 1 ? layout.bytes[i] - 1
                                                                 : random() % layout.bytes[i]);
            QVERIFY2(isNoticed(at), std::to_string(i).c_str());
        }
    }
}

void tst_Snapshot::aFileOfAnotherKindIsRefused_data()
{
    QTest::addColumn<int>("change");
    QTest::addColumn<QString>("reason");
    const auto add = [](const char *name, int change, const char *reason) {
        QTest::newRow(name) << change << QString::fromLatin1(reason);
    };
    add("a newer version", 0, "its version is newer");
    add("an older version", 1, "its version is older");
    add("another byte order", 2, "it comes from a machine of another kind");
    add("another program's", 3, "it is no index");
    add("another user's", 4, "it belongs to another user or machine");
    add("lengths that wrap around", 5, "it is cut off");
    add("roots without end", 6, "it is cut off");
}

void tst_Snapshot::aFileOfAnotherKindIsRefused()
{
    QFETCH(int, change);
    QFETCH(QString, reason);
    const Place place;
    place.write(inventedIndex(6, 100));
    auto file = place.bytes();
    auto header = file.header();
    switch (change) {
    case 0:
        ++header.version;
        break;
    case 1:
        --header.version;
        break;
    case 2:
        header.byteOrder = __builtin_bswap32(header.byteOrder);
        break;
    case 3:
        header.magic[3] = '?';
        break;
    case 4:
        header.owner = {"somebody else"};
        break;
    case 5:
        header.originalBytes += 1ULL << 63;
        header.treesBytes += 1ULL << 63;
        break;
    default:
        header.treesBytes = ~0ULL;
    }
    header.checksum = header.ownChecksum();
    file.setHeader(header);
    file.write(place.path());

    const auto loaded = place.load();

    QVERIFY(!loaded);
    QCOMPARE(loaded.error().description, reason);
}

void tst_Snapshot::whatIsNoFileIsRefused()
{
    const Place folder;
    folder.tree.folder(snapshotFileName);
    QVERIFY(!folder.load());

    const Place link;
    link.write(inventedIndex(7, 10));
    link.tree.move(snapshotFileName, "elsewhere");
    link.tree.link(snapshotFileName, "elsewhere");
    QVERIFY(!link.load());

    const Place pipe;
    ::mkfifo(pipe.path().c_str(), 0600);
    QVERIFY(!pipe.load());
}

void tst_Snapshot::aFileThatOthersCanWriteIsRefused()
{
    const Place place;
    place.write(inventedIndex(7, 10));
    ::chmod(place.path().c_str(), 0622);

    const auto loaded = place.load();

    QVERIFY(!loaded);
    QCOMPARE(loaded.error().description, QStringLiteral("others can write to it"));
}

void tst_Snapshot::numbersThatLieWithRightChecksumsDoNoHarm_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<bool>("canBeTrue");
    for (std::size_t i = 0; i < firstBulkSection; ++i) {
        const auto section = sectionAt(i);
        // Times of folders may be any number, and roots any paths. A border between two folders or
        // two names that are not ASCII may well stand elsewhere.
        const bool canBeTrue = section == SnapshotSection::originalRecords ||
                               section == SnapshotSection::originalStarts ||
                               section == SnapshotSection::firstRecords;
        if (section != SnapshotSection::folderTimes && section != SnapshotSection::trees)
            QTest::addRow("section %d", int(i)) << int(i) << canBeTrue;
    }
}

void tst_Snapshot::numbersThatLieWithRightChecksumsDoNoHarm()
{
    QFETCH(int, section);
    QFETCH(bool, canBeTrue);
    const Place place;
    place.write(inventedIndex(8, 150));
    const auto whole = place.bytes();
    const SnapshotLayout layout(whole.header());
    auto count = std::size_t(layout.bytes[std::size_t(section)] / sizeof(std::uint32_t));
    if (sectionAt(std::size_t(section)) == SnapshotSection::byRecord)
        count -= 3;  // as many as there are roots; those numbers are not used

    for (std::size_t i = 0; i < count; ++i) {
        for (const auto lie : {0U, 1U, ~0U, ~0U - 64, 1U << 31, 150U, 151U, 4096U}) {
            auto hostile = whole;
            auto *at = hostile.bytes.data() + layout.offsets[std::size_t(section)] + i * 4;
            if (std::memcmp(at, &lie, sizeof lie) == 0)
                continue;
            std::memcpy(at, &lie, sizeof lie);
            hostile.seal();
            hostile.write(place.path());
            const auto loaded = place.load();
            const bool isTaken = loaded && useAll(*loaded.value());
            QVERIFY2(!isTaken || canBeTrue, std::to_string(i).c_str());
        }
    }
}

void tst_Snapshot::namesThatNoFolderCanHoldAreRefused()
{
    const Place place;
    place.write(inventedIndex(9, 300));
    const auto whole = place.bytes();
    const SnapshotLayout layout(whole.header());
    const auto names = layout.offsetOf(SnapshotSection::names) + NameBlock::firstByte;
    const auto originals = layout.offsetOf(SnapshotSection::originalBytes);
    const auto plain = whole.bytes.find("report", names);
    const std::pair<std::size_t, char> changes[] = {
        {plain, '.'}, {plain + 2, '/'}, {originals, '.'}, {originals + 1, '/'}, {originals + 1, 0}};

    for (const auto &[at, byte] : changes) {
        auto hostile = whole;
        hostile.bytes[at] = byte;
        hostile.seal();
        hostile.write(place.path());
        const auto loaded = place.load();
        QVERIFY(bool(loaded));
        QVERIFY(!useAll(*loaded.value()));
    }
}

void tst_Snapshot::noMutatedFileLeadsAstray()
{
    const Place place;
    place.write(inventedIndex(10, 400));
    const auto whole = place.bytes();
    const SnapshotLayout layout(whole.header());
    std::mt19937 random(10);

    int loadedCount = 0;
    for (int round = 0; round < 3000; ++round) {
        auto file = whole;
        for (auto changes = 1 + random() % 4; changes > 0; --changes) {
            const auto section = random() % snapshotSections;
            const auto at = layout.offsets[section] + random() % layout.bytes[section];
            switch (random() % 5) {
            case 0:
                file.bytes[at] = char(random());
                break;
            case 1:
                file.bytes[at] = 0;
                break;
            case 2: {  // a number nearby
                std::uint32_t value = 0;
                const auto aligned = at / 4 * 4;
                std::memcpy(&value, file.bytes.data() + aligned, sizeof value);
                value += std::uint32_t(random() % 5) - 2;
                std::memcpy(file.bytes.data() + aligned, &value, sizeof value);
                break;
            }
            case 3: {  // a stretch of one byte
                const auto length = std::min<std::size_t>(random() % 600, file.bytes.size() - at);
                std::memset(file.bytes.data() + at, int(random() % 3 == 0 ? random() : 0), length);
                break;
            }
            default:  // a stretch of another section
                for (std::size_t i = 0; i < random() % 300 && at + i < file.bytes.size(); ++i)
                    file.bytes[at + i] = whole.bytes[(at * 7 + i) % whole.bytes.size()];
            }
        }
        if (random() % 4 != 0)
            file.seal();
        file.write(place.path());
        const auto loaded = place.load();
        if (loaded) {
            ++loadedCount;
            useAll(*loaded.value());
        }
    }
    // Else this would have tried only the checksums.
    QVERIFY(loadedCount > 500);
}

void tst_Snapshot::writingWhileTheBaseChangesGivesASoundFile()
{
    const Place place;
    const auto contents = inventedIndex(11, 20'000);
    SnapshotWriter writer(contents, place.target());
    RecordId record = 0;

    auto state = SnapshotWriter::State::unfinished;
    while (state == SnapshotWriter::State::unfinished) {
        for (int i = 0; i < 1000 && record < 20'000; ++i, ++record) {
            contents.base->names.setChangeTime(record, record);
            contents.base->names.kill(record);
        }
        state = writer.step();
    }

    const auto loaded = place.load();
    QVERIFY(bool(loaded));
    QVERIFY(useAll(*loaded.value()));
    QCOMPARE(loaded.value()->contents.base->names.deadCount(), 0U);
}

void tst_Snapshot::aFullDiskLeavesTheOldFile()
{
    const Place place;
    place.write(inventedIndex(12, 50));
    const auto old = place.bytes().bytes;
    // The kernel refuses to write further, as it does when the disk is full.
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const auto before = limit;
    limit.rlim_cur = 100'000;
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    auto problem = SnapshotWriter::Problem::none;

    {
        SnapshotWriter writer(inventedIndex(13, 20'000), place.target());
        writeAll(writer);
        problem = writer.problem();
    }
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);

    QCOMPARE(problem, SnapshotWriter::Problem::notWritten);
    QCOMPARE(place.bytes().bytes, old);
    QCOMPARE(place.names(), (std::set<std::string>{snapshotFileName}));
}

void tst_Snapshot::aPlaceThatCannotBeWrittenIsAFailure()
{
    const Place place;
    place.tree.file("file");
    const auto contents = inventedIndex(14, 50);
    const auto problemAt = [&](const std::string &folder) {
        SnapshotWriter writer(contents, {folder, someOwner(), ~std::uint64_t(0)});
        writeAll(writer);
        return writer.problem();
    };

    QCOMPARE(problemAt(place.tree.path("file/below")), SnapshotWriter::Problem::noFolder);
    QCOMPARE(problemAt("/proc/self"), SnapshotWriter::Problem::noFile);
    place.tree.folder(snapshotFileName);
    place.tree.file(std::string(snapshotFileName) + "/in the way");
    QCOMPARE(problemAt(place.tree.path()), SnapshotWriter::Problem::notPutInPlace);
    QCOMPARE(place.names(), (std::set<std::string>{"file", snapshotFileName}));
    QCOMPARE(problemAt(place.tree.path("new/and deep")), SnapshotWriter::Problem::none);
}

void tst_Snapshot::aFileAboveTheLimitIsNotWritten()
{
    const Place place;
    SnapshotWriter writer(inventedIndex(15, 500), {place.tree.path(), someOwner(), 10'000});

    QCOMPARE(writeAll(writer), SnapshotWriter::State::failed);

    QCOMPARE(writer.problem(), SnapshotWriter::Problem::tooLarge);
    QCOMPARE(place.names(), std::set<std::string>{});
}

void tst_Snapshot::whatAKilledWriterLeftIsRemovedAndARunningOnesIsNot()
{
    const Place place;
    place.write(inventedIndex(16, 500));
    place.tree.file(std::string(snapshotFileName) + ".aBcDe9", "half");
    place.tree.file("other.aBcDe9");
    SnapshotWriter running(inventedIndex(17, 500), place.target());
    running.step();
    QCOMPARE(place.names().size(), std::size_t(4));

    removeStaleSnapshots(place.tree.path());

    QCOMPARE(place.names().size(), std::size_t(3));
    QCOMPARE(writeAll(running), SnapshotWriter::State::done);
    QCOMPARE(place.names(), (std::set<std::string>{"other.aBcDe9", snapshotFileName}));
}

void tst_Snapshot::aWriterKilledAtAnyMomentLeavesAWholeFile()
{
    const Place place;
    const SnapshotContents contents[] = {inventedIndex(18, 3000), inventedIndex(19, 700)};
    std::mt19937 random(18);

    int wholeCount = 0;
    for (int round = 0; round < 100; ++round) {
        if (round % 10 == 0)
            place.tree.remove(snapshotFileName);
        const auto child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            for (std::size_t i = 0;; ++i)
                place.write(contents[i % 2]);
        }
        while (round == 0 && ::access(place.path().c_str(), F_OK) != 0)
            ::sched_yield();
        // Any moment will do, and each is another one.
        for (volatile auto left = random() % 6'000'000; left > 0;)
            left = left - 1;
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);

        const auto loaded = place.load();
        QVERIFY2(bool(loaded), qUtf8Printable(loaded ? QString() : loaded.error().description));
        if (loaded.value()) {
            QVERIFY(isSound(*loaded.value()));
            ++wholeCount;
        }
        removeStaleSnapshots(place.tree.path());
        QVERIFY(place.names().size() <= 1);
    }
    QVERIFY(wholeCount > 0);
}

QTEST_GUILESS_MAIN(tst_Snapshot)
#include "tst_Snapshot.moc"
