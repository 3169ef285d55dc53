// SPDX-License-Identifier: GPL-3.0-or-later
// Loaded ahead of the C library: whoever opens a folder named "held" to read it waits there for as
// long as the file exists that HOLD_FILE names. A crawl can so be kept from its end for as long as
// a test needs.
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

void waitBefore(const char *path, int flags)
{
    constexpr char held[] = "/held";
    const auto length = std::strlen(path);
    const char *file = std::getenv("HOLD_FILE");
    if (!file || (flags & O_PATH) != 0 || length < sizeof held ||
        std::strcmp(path + length + 1 - sizeof held, held) != 0)
        return;
    const int events = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(events, file, IN_DELETE_SELF | IN_ATTRIB);
    char event[512];
    while (access(file, F_OK) == 0 && read(events, event, sizeof event) > 0) {
    }
    close(events);
}

using Open = int (*)(int, const char *, int, ...);

}  // namespace

extern "C" int openat(int folder, const char *path, int flags, ...)
{
    static const auto next = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "openat"));
    va_list rest;
    va_start(rest, flags);
    const bool hasMode = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = hasMode ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    waitBefore(path, flags);
    return next(folder, path, flags, mode);
}
