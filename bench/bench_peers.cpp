// SPDX-License-Identifier: GPL-3.0-or-later
// bench_peers <folder> <text>...: crawls the folder without watching it, then times each query: the
// search with its exact count, and the same with the first 100 entries looked at on the disk, as
// the panel shows them. One line a query: text, hits, milliseconds, milliseconds. bench/peers.py
// sets other programs beside it.
#include "index/IndexItem.h"
#include "index/live/LiveIndex.h"
#include "index/names/NameSearch.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

using namespace vellumhound;
using namespace vellumhound::index;

namespace {

/// Nothing is ever watched and nothing ever changes.
class NoChanges final : public ChangeSource {
public:
    int watch(int, Interest) override { return noWatch; }
    void unwatch(int) override {}
    int descriptor() const override { return -1; }
    std::vector<Change> read() override { return {}; }
};

template <class Work> double medianMilliseconds(Work work)
{
    std::vector<double> times;
    for (int i = 0; i < 21; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        return 2;
    const std::string folder = argv[1];
    PublishedView published;
    NoChanges source;
    Worker worker({});
    LiveIndex live(worker, source, published, DesktopEntries({}, {}, {}));
    const auto start = std::chrono::steady_clock::now();
    live.setRules({{QString::fromStdString(folder), true}});
    bool isMoving = true;
    while (isMoving) {
        isMoving = worker.step();
        isMoving = live.step() || isMoving;
    }
    const std::chrono::duration<double> crawl = std::chrono::steady_clock::now() - start;

    const auto view = published.current();
    std::fprintf(stderr, "%u names, crawled and compacted in %.2f s, %.1f bytes a name\n",
        view->tail->firstRecord(), crawl.count(),
        double(live.memoryBytes()) / double(std::max<std::uint64_t>(live.nameCount(), 1)));
    const QueryScopes scopes{{folder}, false, false};
    for (int i = 2; i < argc; ++i) {
        SearchAnswer answer;
        const auto search = [&] {
            ResolvedScopes resolved(*view, scopes);
            const Needle needle(argv[i], view->base->frequencies);
            answer = searchNames(*view, resolved, needle, {true, {}, view->tail->mark()}, 512);
        };
        const auto searched = medianMilliseconds(search);
        std::size_t shown = 0;
        const auto listed = medianMilliseconds([&] {
            search();
            for (std::size_t row = 0; row < answer.best.size() && row < 100; ++row)
                shown += readItem(*view, answer.best[row].record()) != nullptr;
        });
        std::printf("%s\t%llu\t%.3f\t%.3f\t%zu\n", argv[i],
            static_cast<unsigned long long>(answer.count), searched, listed, shown);
    }
}
