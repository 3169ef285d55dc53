// SPDX-License-Identifier: GPL-3.0-or-later
// bench_index_crawl <folder> [entries]: makes a tree below the folder (200,000 entries by default,
// kept for the next run), crawls it without watches, with watches and with change times, all on one
// thread, then measures how soon a new file can be found: at rest, and within a burst of 20,000.
#include "Corpus.h"
#include "index/disk/InotifySource.h"
#include "index/live/LiveIndex.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
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

/// Tells of nothing, so that a crawl does nothing but read.
class NoSource final : public ChangeSource {
public:
    int watch(int, Interest) override { return 1'000'000'000 + _next++; }
    void unwatch(int) override {}
    int descriptor() const override { return -1; }
    std::vector<Change> read() override { return {}; }

private:
    std::atomic<int> _next = 0;
};

/// Crawls on this thread alone.
void measureCrawl(const char *how, ChangeSource &source, const std::string &top)
{
    PublishedView published;
    Worker worker([] {});
    LiveIndex live(worker, source, published, DesktopEntries({}, {}, {}));
    const auto isCrawled = [&] {
        const auto view = published.current();
        return !view->roots.empty() && view->roots.front().isCrawled;
    };
    const auto step = [&] {
        const bool hasWorked = worker.step();
        return live.step() || hasWorked;
    };
    const auto start = std::chrono::steady_clock::now();
    live.setRules({{QString::fromStdString(top), true}});
    while (!isCrawled())
        step();
    const auto crawl = secondsSince(start);
    const auto names = double(live.nameCount());
    while (step()) {
    }
    const auto all = secondsSince(start);
    std::printf("crawled %s: %.0f names/s; with new base and change times: %.0f names/s "
                "(%llu times)\n",
        how, names / crawl, names / all,
        static_cast<unsigned long long>(live.counters().timesRead));
}

/// What the kernel takes to open all folders and to give their entries, and nothing else.
void measureBareReading(const std::string &top)
{
    const auto start = std::chrono::steady_clock::now();
    std::size_t names = 0;
    std::vector<std::string> folders{top};
    std::vector<char> buffer(std::size_t(1) << 16);
    while (!folders.empty()) {
        const auto folder = std::move(folders.back());
        folders.pop_back();
        const int descriptor =
            ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        for (long bytes = 0;
             (bytes = ::syscall(SYS_getdents64, descriptor, buffer.data(), buffer.size())) > 0;) {
            for (long at = 0; at < bytes;) {
                const auto *entry = reinterpret_cast<const dirent64 *>(buffer.data() + at);
                at += entry->d_reclen;
                if (entry->d_name[0] == '.')
                    continue;
                ++names;
                if (entry->d_type == DT_DIR)
                    folders.push_back(folder + '/' + entry->d_name);
            }
        }
        ::close(descriptor);
    }
    std::printf("bare reading: %.0f names/s\n", double(names) / secondsSince(start));
}

/// Creates 20,000 files as fast as it goes; each 100th is waited for by the other thread's view.
void measureBurst(const PublishedView &published, const std::string &folder)
{
    ::mkdir(folder.c_str(), 0755);
    ::usleep(200'000);
    constexpr int count = 20'000;
    std::vector<std::chrono::steady_clock::time_point> made(count);
    std::vector<double> times;
    std::thread maker([&] {
        for (int i = 0; i < count; ++i) {
            const auto path = folder + "/burst" + std::to_string(i);
            made[std::size_t(i)] = std::chrono::steady_clock::now();
            ::close(::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
        }
    });
    for (int seen = -1; seen < count - 1;) {
        const auto view = published.current();
        const auto mark = view->tail->mark();
        if (mark.extent.count > 0) {
            const auto name =
                view->nameOf(view->tail->firstRecordOf(mark.chunk) + mark.extent.count - 1);
            const int number =
                name.size() > 5 && name.starts_with("burst") ? std::atoi(name.data() + 5) : -1;
            if (number > seen) {
                const auto now = std::chrono::steady_clock::now();
                for (int i = seen + 1; i <= number; ++i) {
                    const auto time = now - made[std::size_t(i)];
                    times.push_back(std::chrono::duration<double>(time).count() * 1e6);
                }
                seen = number;
            }
        }
        std::this_thread::yield();
    }
    maker.join();
    for (int i = 0; i < count; ++i)
        ::unlink((folder + "/burst" + std::to_string(i)).c_str());
    ::rmdir(folder.c_str());
    std::sort(times.begin(), times.end());
    std::printf("burst of %d: median %.0f us, 99th percentile %.0f us, worst %.0f us\n", count,
        times[times.size() / 2], times[times.size() * 99 / 100], times.back());
}

void measureLatency(const PublishedView &published, const std::vector<std::string> &folders)
{
    std::vector<double> times;
    for (int i = 0; i < 20000; ++i) {
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
    std::printf("created to visible (20,000 files): median %.0f us, 99th percentile %.0f us, worst "
                "%.0f us\n",
        times[10000], times[19800], times[19999]);
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const auto count = std::size_t(argc > 2 ? std::atol(argv[2]) : 200'000);
    const auto top = std::string(argv[1]) + "/bench-tree";
    const auto folders = makeTree(top, count);

    for (int run = 0; run < 2; ++run) {
        measureBareReading(top);
        NoSource none;
        measureCrawl("without watches", none, top);
        InotifySource inotify;
        measureCrawl("with watches", inotify, top);
    }

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
    std::atomic<bool> isSettled = false;
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
            const auto due = live.nextDue();
            const auto left = due ? std::chrono::ceil<std::chrono::milliseconds>(
                                        *due - std::chrono::steady_clock::now())
                                        .count()
                                  : -1;
            ::poll(polled.data(), polled.size(), due ? int(std::max<long>(left, 0)) : -1);
            std::uint64_t value = 0;
            [[maybe_unused]] const auto bytes = ::read(wake, &value, sizeof value);
            while (live.step()) {
            }
            isSettled = live.isSettled();
        }
    });
    while (!isCrawled)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const auto time = secondsSince(start);
    std::printf("crawled %llu names by two threads in %.3f s: %.0f names/s, with watches\n",
        static_cast<unsigned long long>(live.nameCount()), time, double(live.nameCount()) / time);
    while (!isSettled)  // the new base is in its place, times are known
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    measureLatency(published, folders);
    measureBurst(published, top + "/burst");
    isDone = true;
    wakeUp();
    worker.stop();
    liveThread.join();
    workerThread.join();
    std::printf(
        "watched folders: %zu, swept: %zu\n", live.watchedFolderCount(), live.sweptFolderCount());
    ::close(wake);
}
