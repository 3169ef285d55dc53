// SPDX-License-Identifier: GPL-3.0-or-later
// bench_index_moves <folder> [parents]: makes a tree of 60,000 names below the folder and moves it
// round so many parents (100 by default), once as fast as it goes and once with pauses in which the
// index begins to follow. Says how much memory the process has at most and when all names are found
// again.
#include "index/FileIndex.h"

#include <QCoreApplication>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <unistd.h>

using namespace vellumhound::index;
using namespace std::chrono_literals;

namespace {

constexpr int folders = 120;
constexpr int filesEach = 500;

/// Of this process, in MB: VmRSS now, VmHWM at most so far.
double megabytes(const std::string &key)
{
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key))
            return std::strtod(line.c_str() + key.size() + 1, nullptr) / 1024;
    }
    return 0;
}

void makeTree(const std::string &top, int parents)
{
    for (int i = 0; i < parents; ++i)
        std::filesystem::create_directories(top + "/parent" + std::to_string(i));
    for (int i = 0; i < folders; ++i) {
        const auto folder = top + "/parent0/tree/folder" + std::to_string(i);
        std::filesystem::create_directories(folder);
        for (int file = 0; file < filesEach; ++file) {
            const auto path = folder + "/some file " + std::to_string(file);
            ::close(::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
        }
    }
}

void waitForNames(const FileIndex &index, std::uint64_t names)
{
    while (index.status().names != names || !index.status().activities.empty())
        std::this_thread::sleep_for(5ms);
}

void moveRound(
    const FileIndex &index, const std::string &top, int parents, std::chrono::milliseconds pause)
{
    const auto names = std::uint64_t(parents + 1 + folders * (filesEach + 1));
    const auto before = megabytes("VmRSS");
    const auto start = std::chrono::steady_clock::now();
    for (int i = 1; i <= parents; ++i) {
        const auto from = top + "/parent" + std::to_string(i - 1) + "/tree";
        const auto to = top + "/parent" + std::to_string(i % parents) + "/tree";
        std::filesystem::rename(from, to);
        std::this_thread::sleep_for(pause);
    }
    const auto moved = std::chrono::steady_clock::now();
    waitForNames(index, names);
    const std::chrono::duration<double> moving = moved - start;
    const std::chrono::duration<double> following = std::chrono::steady_clock::now() - moved;
    std::printf(
        "%d moves in %.1f s: all found again after %.1f s; before %.0f MB, at most %.0f MB\n",
        parents, moving.count(), following.count(), before, megabytes("VmHWM"));
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::puts("bench_index_moves <folder> [parents]");
        return 2;
    }
    const QCoreApplication application(argc, argv);
    const std::string top = argv[1];
    const int parents = argc > 2 ? std::atoi(argv[2]) : 100;
    makeTree(top, parents);
    FileIndexOptions options;
    options.readPressure = [] { return PressureReading(); };
    FileIndex index(options);
    index.setPathRules({{QString::fromStdString(top), true}});
    waitForNames(index, std::uint64_t(parents + 1 + folders * (filesEach + 1)));
    moveRound(index, top, parents, 0ms);
    moveRound(index, top, parents, 50ms);
    return 0;
}
