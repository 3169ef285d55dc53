// SPDX-License-Identifier: GPL-3.0-or-later
// bench_index_watch <folder> [folders]: makes so many folders (20,000 by default) below the folder,
// watches them by each of the kernel's two ways, and measures how soon a new file is told.
#include "index/disk/CombinedSource.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace vellumhound::index;

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

int plenty()
{
    return INT_MAX;
}

int none()
{
    return 0;
}

/// From the call that makes a file to the moment when poll() returns and the change is read.
void measureLatency(
    const char *label, ChangeSource &source, const std::vector<std::string> &folders)
{
    constexpr int rounds = 1000;
    std::vector<double> times;
    std::atomic<int> round = -1;
    std::atomic<int> done = -1;
    std::atomic<Clock::rep> start = 0;
    std::thread maker([&] {
        for (int i = 0; i < rounds; ++i) {
            while (round < i)
                std::this_thread::yield();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));  // let the other one sleep
            const auto path = folders[std::size_t(i) * 7919 % folders.size()] + "/fresh";
            start = Clock::now().time_since_epoch().count();
            ::close(::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
            ::unlink(path.c_str());
            done = i;
        }
    });
    for (int i = 0; i < rounds; ++i) {
        round = i;
        pollfd polled{source.descriptor(), POLLIN, 0};
        ::poll(&polled, 1, 1000);
        const bool isTold = !source.read().empty();
        times.push_back(secondsSince(Clock::time_point(Clock::duration(start.load()))));
        while (done != i)
            std::this_thread::yield();
        while (!source.read().empty()) {
        }
        if (!isTold) {
            std::puts("no change was told");
            break;
        }
    }
    round = INT_MAX;
    maker.join();
    std::sort(times.begin(), times.end());
    std::printf("%-9s told after %.0f us median, %.0f us p99\n", label,
        times[times.size() / 2] * 1e6, times[times.size() * 99 / 100] * 1e6);
}

void measure(const char *label, ChangeSource &source, const std::vector<std::string> &folders)
{
    std::vector<int> watches;
    const auto start = Clock::now();
    for (const auto &path : folders) {
        const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        watches.push_back(source.watch(folder, ChangeSource::Interest::contents));
        ::close(folder);
    }
    const double seconds = secondsSince(start);
    const auto held = std::count_if(watches.begin(), watches.end(), [](int w) { return w >= 0; });
    std::printf("%-9s %zd of %zu folders watched, %.0f a second, opening included\n", label, held,
        folders.size(), double(folders.size()) / seconds);
    measureLatency(label, source, folders);
    const auto end = Clock::now();
    for (const int watch : watches)
        source.unwatch(watch);
    std::printf("%-9s given back, %.0f a second\n", label, double(held) / secondsSince(end));
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::puts("bench_index_watch <folder> [folders]");
        return 2;
    }
    const std::string top = argv[1];
    const int count = argc > 2 ? std::atoi(argv[2]) : 20'000;
    std::vector<std::string> folders;
    for (int i = 0; i < count; ++i) {
        folders.push_back(top + "/folder " + std::to_string(i));
        ::mkdir(folders.back().c_str(), 0755);
    }
    const auto start = Clock::now();
    const auto limit = readWatchLimit(WatchKind::inotify);
    std::printf("limit read in %.1f ms: %d, of which others hold %d\n", secondsSince(start) * 1e3,
        limit.most, limit.heldByOthers);
    measure("inotify", *std::make_unique<CombinedSource>(plenty, none), folders);
    measure("fanotify", *std::make_unique<CombinedSource>(none, plenty), folders);
    return 0;
}
