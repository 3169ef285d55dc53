// SPDX-License-Identifier: GPL-3.0-or-later
// bench_index_crawl <folder> [entries]: makes a tree below the folder (200,000 entries by default,
// kept for the next run), crawls it, and measures how soon a new file can be found.
#include "Corpus.h"
#include "index/InotifySource.h"
#include "index/LiveIndex.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace vellumhound;
using namespace vellumhound::index;

namespace {

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The paths of the folders of the tree, which is made unless it is there.
std::vector<std::string> makeTree(const std::string &top, std::size_t count)
{
    const bench::Corpus corpus(2, count);
    const bool isThere = ::access((top + "/complete").c_str(), F_OK) == 0;
    std::vector<std::string> folders;
    std::vector<std::string> paths(corpus.entries.size());
    for (std::size_t i = 0; i < corpus.entries.size(); ++i) {
        const auto &entry = corpus.entries[i];
        if (!entry.isFolder) {
            const auto path = paths[entry.parent] + '/' + entry.name;
            if (!isThere)
                ::close(::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
            continue;
        }
        paths[i] = i == 0 ? top : paths[entry.parent] + '/' + entry.name;
        if (!isThere)
            ::mkdir(paths[i].c_str(), 0755);
        folders.push_back(paths[i]);
    }
    ::close(::open((top + "/complete").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
    return folders;
}

void measureLatency(const PublishedView &published, const std::vector<std::string> &folders)
{
    std::vector<double> times;
    for (int i = 0; i < 1000; ++i) {
        const auto name = "fresh " + std::to_string(i);
        const auto path = folders[std::size_t(i) * 7919 % folders.size()] + '/' + name;
        const auto start = std::chrono::steady_clock::now();
        ::close(::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
        for (bool isSeen = false; !isSeen && secondsSince(start) < 1;) {
            const auto view = published.current();
            const auto mark = view->tail->mark();
            isSeen = mark.extent.count > 0 && view->nameOf(view->tail->firstRecordOf(mark.chunk) +
                                                           mark.extent.count - 1) == name;
            std::this_thread::yield();
        }
        times.push_back(secondsSince(start) * 1e6);
        ::unlink(path.c_str());
        ::usleep(300);
    }
    std::sort(times.begin(), times.end());
    std::printf("created to visible: median %.0f us, 99th percentile %.0f us, worst %.0f us\n",
        times[500], times[990], times[999]);
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const auto count = std::size_t(argc > 2 ? std::atol(argv[2]) : 200'000);
    const auto top = std::string(argv[1]) + "/bench-tree";
    const auto folders = makeTree(top, count);

    const int wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    const auto wakeUp = [wake] {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto bytes = ::write(wake, &one, sizeof one);
    };
    PublishedView published;
    InotifySource source;
    Worker worker(wakeUp);
    LiveIndex live(worker, source, published, DesktopEntries({}, {}, {}));
    std::atomic<bool> isDone = false;
    std::atomic<bool> isCrawled = false;
    live.onCrawled = [&] {
        for (const auto &root : published.current()->roots)
            isCrawled = isCrawled || root.isCrawled;
    };
    const auto start = std::chrono::steady_clock::now();
    live.setRules({{QString::fromStdString(top), true}});
    std::thread workerThread([&] { worker.run(); });
    std::thread liveThread([&] {
        while (!isDone) {
            std::array<pollfd, 2> polled{{{wake, POLLIN, 0}, {source.descriptor(), POLLIN, 0}}};
            ::poll(polled.data(), polled.size(), -1);
            std::uint64_t value = 0;
            [[maybe_unused]] const auto bytes = ::read(wake, &value, sizeof value);
            while (live.step()) {
            }
        }
    });
    while (!isCrawled)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const auto time = secondsSince(start);
    std::printf("crawled %zu entries in %zu folders in %.3f s: %.0f entries/s, with watches\n",
        count, folders.size(), time, double(count) / time);
    std::this_thread::sleep_for(std::chrono::seconds(1));  // until the new base is in its place
    measureLatency(published, folders);
    isDone = true;
    wakeUp();
    worker.stop();
    liveThread.join();
    workerThread.join();
    std::printf(
        "watched folders: %zu, swept: %zu\n", live.watchedFolderCount(), live.sweptFolderCount());
    ::close(wake);
}
