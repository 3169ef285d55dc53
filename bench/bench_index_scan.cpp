// SPDX-License-Identifier: GPL-3.0-or-later
// bench_index_scan [names]: how long a search over so many names takes (1,000,000 by default), and
// as a multiple of a mere read of the same bytes in the same run.
#include "Corpus.h"
#include "index/IndexWriter.h"
#include "index/NameSearch.h"
#include "index/Scan.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <immintrin.h>

using namespace vellumhound;
using namespace vellumhound::index;

namespace {

volatile std::uint64_t kept;  // what is measured must not be optimised away

template <class Work> double medianMilliseconds(Work work)
{
    std::vector<double> times;
    for (int i = 0; i < 21; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - start;
        times.push_back(time.count());
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

    QueryScopes whole;
    whole.isWholeComputer = true;
    const std::pair<const char *, const char *> queries[] = {{"one letter", "e"},
        {"one letter", "z"}, {"two letters", "re"}, {"three letters", "con"},
        {"common word", "report"}, {"ending", ".jpg"}, {"rare word", "prirucka"},
        {"no hit", "qzxjkw"}, {"Cyrillic word", "москва"}, {"Cyrillic letter", "о"}};
    for (const auto &[kind, text] : queries) {
        const Needle needle(text, view->base->frequencies);
        std::uint64_t hits = 0;
        const double time = medianMilliseconds([&] {
            ResolvedScopes scopes(*view, whole);
            const auto answer =
                searchNames(*view, scopes, needle, {true, {}, view->tail->mark()}, 512);
            hits = answer.count;
            kept = answer.best.size();
        });
        std::printf("%-16s %-12s %8llu hits %8.3f ms %6.2f x read\n", kind, text,
            static_cast<unsigned long long>(hits), time, time / read);
    }
}
