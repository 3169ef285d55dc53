// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vellumhound::tests {

/// Makes the disk answer this program as other file systems would. Included by one source of a
/// test program, whose calls of the C library then come by here. Everything is off at first.
struct OtherFileSystem {
    bool ignoresCase = false;      ///< names are found in any case, as on vfat
    bool hasCoarseTimes = false;   ///< times are even seconds, as on vfat
    std::int64_t clockBehind = 0;  ///< in seconds, as on a server
    std::int64_t fixedTime = 0;    ///< in seconds; not 0: a clock that ticks once in a lifetime
};
inline OtherFileSystem otherFileSystem;

/// What the noticing thread has asked about by paths at or below `noticedBelow`.
struct Noticed {
    std::string below;  ///< empty: nothing is noticed
    std::thread::id thread = std::this_thread::get_id();
    std::vector<std::string> paths;  ///< of that thread alone
};
inline Noticed noticed;

inline void notice(const char *path)
{
    if (!noticed.below.empty() && std::this_thread::get_id() == noticed.thread &&
        std::string(path).starts_with(noticed.below))
        noticed.paths.emplace_back(path);
}

/// Holds up what other threads than the first ask of the disk, as a slow share does.
class Gate {
public:
    void setClosed(bool isClosed)
    {
        const std::lock_guard lock(_mutex);
        _isClosed = isClosed;
        _changed.notify_all();
    }
    void pass()
    {
        std::unique_lock lock(_mutex);
        if (std::this_thread::get_id() != _first)
            _changed.wait(lock, [this] { return !_isClosed; });
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _isClosed = false;
    const std::thread::id _first = std::this_thread::get_id();
};
inline Gate gate;

/// Puts the file system of this machine back at its end.
struct OtherFileSystemGuard {
    ~OtherFileSystemGuard()
    {
        otherFileSystem = {};
        noticed = {};
    }
};

inline void makeOther(statx_timestamp &time)
{
    time.tv_sec -= otherFileSystem.clockBehind;
    if (otherFileSystem.hasCoarseTimes)
        time = {time.tv_sec / 2 * 2, 0, {}};
    if (otherFileSystem.fixedTime != 0)
        time = {otherFileSystem.fixedTime, 0, {}};
}

/// The name in the folder that differs in case alone; the name itself if there is none.
inline std::string nameInAnyCase(int folder, const char *name)
{
    const int descriptor = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(::fdopendir(descriptor), ::closedir);
    while (const auto *entry = ::readdir(entries.get())) {
        if (::strcasecmp(entry->d_name, name) == 0)
            return entry->d_name;
    }
    return name;
}

}  // namespace vellumhound::tests

extern "C" int fstatat(int folder, const char *name, struct stat *status, int flags) noexcept
{
    // The same call under its other name.
    const auto ask = [&](const char *asked) {
        return ::fstatat64(folder, asked, reinterpret_cast<struct stat64 *>(status), flags);
    };
    using namespace vellumhound::tests;
    notice(name);
    if (ask(name) == 0)
        return 0;
    if (errno != ENOENT || !otherFileSystem.ignoresCase || std::strchr(name, '/'))
        return -1;
    return ask(nameInAnyCase(folder, name).c_str());
}

extern "C" int statx(
    int folder, const char *name, int flags, unsigned mask, struct statx *status) noexcept
{
    using namespace vellumhound::tests;
    notice(name);
    gate.pass();
    const auto result = ::syscall(SYS_statx, folder, name, flags, mask, status);
    makeOther(status->stx_mtime);
    makeOther(status->stx_ctime);
    return int(result);
}

extern "C" int statfs(const char *path, struct statfs *status) noexcept
{
    vellumhound::tests::notice(path);
    return ::statfs64(path, reinterpret_cast<struct statfs64 *>(status));
}
