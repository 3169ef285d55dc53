// SPDX-License-Identifier: GPL-3.0-or-later
// bench_index_snapshot <folder> [names] [folders]: keeps an index of so many invented names
// (1,000,000) in the folder and takes it over again, from memory and from the disk; then makes so
// many real folders there (60,000, kept for the next run) and compares them with a kept index.
// "x read" is the time over that of reading the same bytes of memory once.
#include "base/Crc32c.h"
#include "Corpus.h"
#include "index/disk/InotifySource.h"
#include "index/live/LiveIndex.h"
#include "index/names/NameSearch.h"
#include "index/snapshot/SnapshotFile.h"
#include "index/snapshot/SnapshotWriter.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

using namespace vellumhound;
using namespace vellumhound::index;

namespace {

double millisecondsOf(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

double best(int rounds, const std::function<double()> &measure)
{
    double least = 1e9;
    for (int i = 0; i < rounds; ++i)
        least = std::min(least, measure());
    return least;
}

SnapshotContents invent(std::size_t count)
{
    const bench::Corpus corpus(1, count);
    PublishedView published;
    IndexWriter writer(published);
    const auto root = writer.addRoot("/home");
    writer.setRootCrawled(root);
    std::vector<FolderId> folders(corpus.entries.size(), nothing);
    folders[0] = writer.view().roots[root].folder;
    for (std::size_t i = 1; i < corpus.entries.size(); ++i) {
        const auto &entry = corpus.entries[i];
        const auto record = writer.add(folders[entry.parent], entry.name,
            entry.isFolder ? EntryKind::folder : EntryKind::file);
        if (entry.isFolder)
            folders[i] = writer.addFolder(record);
    }
    auto compacted = writer.beginCompaction()();
    return {compacted.base, compacted.folderTimes, compacted.roots, {}};
}

void dropFromMemory(const std::string &path)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ::fsync(file);
    ::posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
    ::close(file);
}

std::uint64_t search(const SnapshotContents &contents, const char *text)
{
    IndexView view;
    view.base = contents.base;
    view.tail =
        std::make_shared<IndexTail>(contents.base->recordCount(), contents.base->folderCount());
    view.roots = contents.roots;
    view.applications = std::make_shared<const ApplicationTable>();
    QueryScopes scopes;
    scopes.folders = {"/home"};
    ResolvedScopes resolved(view, scopes);
    return searchNames(view, resolved, Needle(text, contents.base->frequencies),
        {true, {}, view.tail->mark()}, 512)
        .count;
}

void benchFile(const std::string &folder, std::size_t count)
{
    const auto contents = invent(count);
    const auto path = folder + '/' + snapshotFileName;
    const SnapshotTarget target{folder, snapshotOwner(), ~std::uint64_t(0)};
    std::uint64_t bytes = 0;
    const auto write = best(3, [&] {
        return millisecondsOf([&] {
            SnapshotWriter writer(contents, target);
            while (writer.step() == SnapshotWriter::State::unfinished) {
            }
            bytes = writer.fileBytes();
        });
    });
    std::printf("%zu names: file of %.1f MB, %.1f bytes a name\n", count, double(bytes) / 1e6,
        double(bytes) / double(count));
    std::printf("  written, given to the disk and put in place: %.0f ms\n", write);

    const auto names = contents.base->names.tables().data;
    volatile std::uint64_t sink = 0;
    const auto read = best(5, [&] {
        return millisecondsOf([&] {
            std::uint64_t sum = 0;
            for (std::size_t at = 0; at + 8 <= names.size(); at += 8)
                sum += *reinterpret_cast<const std::uint64_t *>(names.data() + at);
            sink = sum;
        });
    });
    const auto inMemory =
        best(5, [&] { return millisecondsOf([&] { search(contents, "invoice"); }); });
    double mapped = 0;
    const auto measure = [&](bool isCold) {
        if (isCold)
            dropFromMemory(path);
        std::shared_ptr<LoadedSnapshot> loaded;
        mapped = millisecondsOf([&] { loaded = loadSnapshot(path, snapshotOwner()).value(); });
        return mapped + millisecondsOf([&] { search(loaded->contents, "invoice"); });
    };
    double leastMapped = 1e9;
    const auto warm = best(7, [&] {
        const auto time = measure(false);
        leastMapped = std::min(leastMapped, mapped);
        return time;
    });
    std::printf("  one read of the names %.2f ms; a search in memory %.2f ms = %.1f x read\n", read,
        inMemory, inMemory / read);
    std::printf("  warm: mapped %.2f ms, with the first search %.2f ms = %.1f x read\n",
        leastMapped, warm, warm / read);
    leastMapped = 1e9;
    const auto cold = best(5, [&] {
        const auto time = measure(true);
        leastMapped = std::min(leastMapped, mapped);
        return time;
    });
    std::printf("  cold: mapped %.1f ms, with the first search %.1f ms\n", leastMapped, cold);

    const auto loaded = loadSnapshot(path, snapshotOwner()).value();
    const auto check = best(3, [&] {
        return millisecondsOf([&] {
            SnapshotCheck all(loaded->mapping);
            while (all.step() == SnapshotCheck::Verdict::unfinished) {
            }
        });
    });
    std::printf("  check of the bulk, off the searching thread: %.1f ms\n", check);
    const auto checksum =
        best(3, [&] { return millisecondsOf([&] { sink = base::crc32c(std::as_bytes(names)); }); });
    std::printf(
        "  checksum of the names alone: %.1f ms = %.1f x read\n", checksum, checksum / read);
    ::unlink(path.c_str());
}

void makeFolders(const std::string &top, int count)
{
    if (::access((top + "/complete").c_str(), F_OK) == 0)
        return;
    ::mkdir(top.c_str(), 0755);
    for (int i = 0; i < count; ++i) {
        if (i % 250 == 0)
            ::mkdir((top + '/' + std::to_string(i / 250)).c_str(), 0755);
        const auto path = top + '/' + std::to_string(i / 250) + "/folder " + std::to_string(i);
        ::mkdir(path.c_str(), 0755);
        ::close(::open((path + "/file").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
    }
    ::close(::open((top + "/complete").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
}

/// One session over real folders, all on this thread. `isFirst` crawls and keeps.
void runSession(const std::string &folder, bool isFirst, int budget)
{
    Worker worker([] {});
    InotifySource source([budget] { return budget; });
    PublishedView published;
    LiveIndexOptions options;
    options.snapshot.folder = folder + "/cache";
    LiveIndex live(worker, source, published, DesktopEntries({}, {}, {}), options);
    const auto settle = [&] {
        for (bool isBusy = true; isBusy;) {
            isBusy = worker.step();
            isBusy = live.step() || isBusy;
        }
    };
    const auto start = millisecondsOf([&] {
        live.startFromSnapshot();
        live.setRules({{QString::fromStdString(folder + "/bench-folders"), true}});
    });
    const auto rest = millisecondsOf(settle);
    std::printf("  %s, %d watches allowed: searchable after %.1f ms, all compared after %.0f ms; "
                "%zu watched\n",
        isFirst ? "crawl" : "kept index", budget, isFirst ? start + rest : start, start + rest,
        live.watchedFolderCount());
    if (isFirst) {
        live.save();
        settle();
    }
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const std::string folder = argv[1];
    benchFile(folder, std::size_t(argc > 2 ? std::atol(argv[2]) : 1'000'000));
    const int folders = argc > 3 ? std::atoi(argv[3]) : 60'000;
    if (folders == 0)
        return 0;
    makeFolders(folder + "/bench-folders", folders);
    std::printf("%d folders\n", folders);
    runSession(folder, true, 1'000'000);
    runSession(folder, false, 1'000'000);
    runSession(folder, false, 0);
}
