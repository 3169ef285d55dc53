// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/WatchBudget.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <dirent.h>
#include <fstream>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

constexpr int leastRefusalsBetweenLooks = 1024;
constexpr int mostRefusalsBetweenLooks = 65536;

struct KindFacts {
    const char *limitFile;
    int limitWhenUnknown;
    std::string_view linkTarget;  // of the descriptor in /proc/<pid>/fd
};

KindFacts factsOf(WatchKind kind)
{
    if (kind == WatchKind::inotify)
        return {"/sys/fs/inotify/max_user_watches", 8192, "anon_inode:inotify"};
    return {"/sys/fs/fanotify/max_user_marks", 8192, "anon_inode:[fanotify]"};
}

/// Lines of a descriptor's fdinfo that stand for one watch each.
bool isWatchLine(std::string_view line)
{
    return line.starts_with("inotify wd:") || line.starts_with("fanotify ino:");
}

/// The names in a folder of numbered entries.
std::vector<std::string> numbersIn(const std::string &folder)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR *)> open(::opendir(folder.c_str()), ::closedir);
    while (const dirent *entry = open ? ::readdir(open.get()) : nullptr) {
        if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])))
            names.emplace_back(entry->d_name);
    }
    return names;
}

std::size_t countWatchLines(const std::string &fdinfo)
{
    std::ifstream file(fdinfo);
    std::size_t count = 0;
    for (std::string line; std::getline(file, line);)
        count += isWatchLine(line) ? 1 : 0;
    return count;
}

std::size_t heldByProcess(const std::string &process, std::string_view linkTarget)
{
    std::size_t held = 0;
    for (const auto &number : numbersIn(process + "/fd")) {
        char target[32];
        const auto length = ::readlink((process + "/fd/" + number).c_str(), target, sizeof target);
        if (length > 0 && std::string_view(target, std::size_t(length)) == linkTarget)
            held += countWatchLines(process + "/fdinfo/" + number);
    }
    return held;
}

std::string ownFdinfo(int descriptor)
{
    return "/proc/self/fdinfo/" + std::to_string(descriptor);
}

}  // namespace

WatchLimit readWatchLimit(WatchKind kind, const std::string &proc)
{
    const auto facts = factsOf(kind);
    WatchLimit limit;
    std::ifstream file(proc + facts.limitFile);
    if (!(file >> limit.most) || limit.most < 0)
        limit.most = facts.limitWhenUnknown;
    const auto self = std::to_string(::getpid());
    std::size_t held = 0;
    for (const auto &number : numbersIn(proc)) {
        const auto process = proc + '/' + number;
        struct stat status {};
        const bool isOfThisUser =
            ::stat(process.c_str(), &status) == 0 && status.st_uid == ::getuid();
        if (isOfThisUser && number != self)
            held += heldByProcess(process, facts.linkTarget);
    }
    limit.heldByOthers = int(std::min(held, std::size_t(INT_MAX)));
    return limit;
}

int budgetWithin(const WatchLimit &limit)
{
    return std::max(0, limit.most - limit.heldByOthers) / 2;
}

int readWatchBudget(WatchKind kind)
{
    return budgetWithin(readWatchLimit(kind));
}

std::size_t countWatchesOf(int descriptor)
{
    return countWatchLines(ownFdinfo(descriptor));
}

std::vector<std::uint64_t> inodesWatchedBy(int inotifyDescriptor)
{
    std::vector<std::uint64_t> inodes;
    std::ifstream file(ownFdinfo(inotifyDescriptor));
    for (std::string line; std::getline(file, line);) {
        constexpr std::string_view label = " ino:";
        const auto at = line.find(label);
        std::uint64_t inode = 0;
        if (at == std::string::npos || !isWatchLine(line))
            continue;
        const char *digits = line.data() + at + label.size();
        if (std::from_chars(digits, line.data() + line.size(), inode, 16).ec == std::errc())
            inodes.push_back(inode);
    }
    std::sort(inodes.begin(), inodes.end());
    return inodes;
}

WatchAllowance::WatchAllowance(std::function<int()> read)
    : _read(std::move(read))
    , _budget(_read())
{
}

bool WatchAllowance::coversOneMoreThan(std::size_t held)
{
    const auto isCovered = [&] { return _budget > 0 && held < std::size_t(_budget); };
    if (isCovered())
        return true;
    if (_refused++ < _askAfter)
        return false;
    const int before = std::exchange(_budget, _read());
    _refused = 0;
    _askAfter = _budget == before && _askAfter > 0
                    ? std::min(2 * _askAfter, mostRefusalsBetweenLooks)
                    : leastRefusalsBetweenLooks;
    return isCovered();
}

}  // namespace vellumhound::index
