// SPDX-License-Identifier: GPL-3.0-or-later
// bench_index_scan [names [text]]: how long a search over so many names takes (1,000,000 by
// default), and as a multiple of a mere read of the same bytes in the same run; for one text alone
// if one is given.
#include "Corpus.h"
#include "index/names/IndexWriter.h"
#include "index/names/NameSearch.h"
#include "index/names/Scan.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <immintrin.h>
#include <random>

using namespace vellumhound;
using namespace vellumhound::index;

namespace {

constexpr std::int64_t now = 1'750'000'000;

volatile std::uint64_t kept;  // what is measured must not be optimised away

/// Time that this thread has had a processor: others that run on the machine do not count.
double milliseconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

template <class Work> double medianMilliseconds(Work work)
{
    std::vector<double> times;
    for (int i = 0; i < 31; ++i) {
        const double start = milliseconds();
        work();
        times.push_back(milliseconds() - start);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

__attribute__((target("avx2"))) void readAll(const char *data, std::size_t size)
{
    auto sum = _mm256_setzero_si256();
    for (std::size_t i = 0; i < size; i += 64) {
        sum = _mm256_or_si256(sum, _mm256_load_si256(reinterpret_cast<const __m256i *>(data + i)));
        sum = _mm256_or_si256(
            sum, _mm256_load_si256(reinterpret_cast<const __m256i *>(data + i + 32)));
    }
    kept = std::uint64_t(_mm256_extract_epi64(sum, 0));
}

void fill(IndexWriter &writer, const bench::Corpus &corpus)
{
    const auto root = writer.addRoot("/home/somebody");
    std::vector<FolderId> folders(corpus.entries.size(), nothing);
    folders[0] = writer.view().roots[root].folder;
    int watch = 0;
    for (std::size_t i = 1; i < corpus.entries.size(); ++i) {
        const auto &entry = corpus.entries[i];
        const auto record = writer.add(folders[entry.parent], entry.name,
            entry.isFolder ? EntryKind::folder : EntryKind::file);
        if (entry.isFolder) {
            folders[i] = writer.addFolder(record);
            writer.setWatch(folders[i], ++watch);
        }
    }
    writer.publish();
}

/// What is in one folder changed at about the same time, most of it long ago.
void setChangeTimes(IndexWriter &writer)
{
    std::mt19937 random(1);
    const auto &base = *writer.view().base;
    for (FolderId folder = 0; folder < base.folderCount(); ++folder) {
        const auto age = std::int64_t(1) << (10 + random() % 18);
        for (auto record = base.firstRecords[folder]; record < base.firstRecords[folder + 1];
             ++record) {
            writer.setChangeTime(record, std::uint32_t(now - age - random() % std::size_t(age)));
        }
    }
}

struct Query {
    const char *kind = nullptr;
    const char *text = nullptr;
};

constexpr Query queries[] = {{"one letter", "e"}, {"one letter", "z"}, {"two letters", "re"},
    {"three letters", "con"}, {"common word", "report"}, {"ending", ".jpg"}, {"umlaut", "grösse"},
    {"rare word", "prirucka"}, {"no hit", "qzxjkw"}, {"Cyrillic word", "москва"},
    {"Cyrillic letter", "о"}};

void measure(const IndexView &view, const Query &query, const char *times, double read)
{
    QueryScopes whole;
    whole.isWholeComputer = true;
    const std::vector needles{Needle(query.text, view.base->frequencies)};
    SearchRequest request;
    request.recency = Recency(now);
    std::uint64_t hits = 0;
    const double time = medianMilliseconds([&] {
        ResolvedScopes scopes(view, whole);
        const auto answer =
            searchNames(view, scopes, needles, {true, {}, view.tail->mark()}, request);
        hits = answer.count;
        kept = answer.best.size();
    });
    std::printf("%-9s %-16s %-12s %8llu hits %8.3f ms %6.2f x read\n", times, query.kind,
        query.text, static_cast<unsigned long long>(hits), time, time / read);
}

/// The folder with the subtree whose size is nearest to 50,000 names.
FolderId middlingFolder(const IndexBase &base)
{
    const auto distance = [&](FolderId folder) {
        const auto size = base.firstRecords[base.subtreeEnds[folder]] - base.firstRecords[folder];
        return size > 50'000 ? size - 50'000 : 50'000 - size;
    };
    FolderId best = 0;
    for (FolderId folder = 1; folder < base.folderCount(); ++folder) {
        if (distance(folder) < distance(best))
            best = folder;
    }
    return best;
}

/// The same queries, in one folder with all below it.
void measureScope(const IndexView &view)
{
    const auto folder = middlingFolder(*view.base);
    QueryScopes scope;
    scope.folders = {view.pathOfFolder(folder)};
    std::printf("scope of %u names:\n",
        view.base->firstRecords[view.base->subtreeEnds[folder]] - view.base->firstRecords[folder]);
    for (const auto &query : queries) {
        const std::vector needles{Needle(query.text, view.base->frequencies)};
        SearchRequest request;
        request.recency = Recency(now);
        const double time = medianMilliseconds([&] {
            ResolvedScopes scopes(view, scope);
            kept = searchNames(view, scopes, needles, {true, {}, view.tail->mark()}, request)
                       .best.size();
        });
        std::printf("          %-16s %-12s %23.3f ms\n", query.kind, query.text, time);
    }
}

}  // namespace

int main(int argc, char **argv)
{
    const auto count = std::size_t(argc > 1 ? std::atol(argv[1]) : 1'000'000);
    PublishedView published;
    IndexWriter writer(published);
    fill(writer, bench::Corpus(1, count));
    const auto build = writer.beginCompaction();
    const auto start = std::chrono::steady_clock::now();
    auto compacted = build();
    const std::chrono::duration<double, std::milli> buildTime =
        std::chrono::steady_clock::now() - start;
    writer.finishCompaction(std::move(compacted), [](FolderId, FolderId) {});

    const auto view = published.current();
    const auto extent = view->base->names.published();
    const double read = medianMilliseconds([&] { readAll(view->base->names.data(), extent.end); });
    std::printf("%u names, %u folders, %.1f bytes a name in the arena, %.1f bytes a file all in\n",
        extent.count, view->base->folderCount(), double(extent.end) / extent.count,
        double(writer.memoryBytes()) / extent.count);
    std::printf("built in %.0f ms; pure read %.3f ms\n", buildTime.count(), read);

    for (const char *times : {"no times", "times"}) {
        for (const auto &query : queries) {
            if (argc <= 2 || std::string_view(argv[2]) == query.text)
                measure(*view, query, times, read);
        }
        setChangeTimes(writer);
    }
    measureScope(*view);
}
