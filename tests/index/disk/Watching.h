// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/ChangeSource.h"

#include <fcntl.h>
#include <functional>
#include <grp.h>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vellumhound::tests {

/// Watches the folder at a path as a crawl does, by a descriptor that is closed again.
inline int watchPath(index::ChangeSource &source, const std::string &path,
    index::ChangeSource::Interest interest = index::ChangeSource::Interest::contents)
{
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return index::ChangeSource::noWatch;
    const int watch = source.watch(folder, interest);
    ::close(folder);
    return watch;
}

/// Everything that a source has to tell. The kernel queues a change before the call that makes it
/// returns, so nothing needs to be waited for.
inline std::vector<index::Change> readAll(index::ChangeSource &source)
{
    std::vector<index::Change> all;
    for (auto some = source.read(); !some.empty(); some = source.read())
        all.insert(
            all.end(), std::make_move_iterator(some.begin()), std::make_move_iterator(some.end()));
    return all;
}

/// Runs `act` in a process of its own and gives its answer.
inline bool holdsInChild(const std::function<bool()> &act)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(act() ? 0 : 1);
    int status = 0;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

constexpr uid_t nobody = 65534;

/// As holdsInChild(), without any privileges. Somebody who has none to begin with stays who he is.
inline bool holdsWithoutPrivileges(const std::function<bool()> &act)
{
    return holdsInChild([&] {
        const bool isRoot = ::geteuid() == 0;
        // Leaving root leaves its capabilities behind.
        const bool isPlain =
            !isRoot || (::setgroups(0, nullptr) == 0 && ::setresgid(nobody, nobody, nobody) == 0 &&
                           ::setresuid(nobody, nobody, nobody) == 0);
        return isPlain && act();
    });
}

}  // namespace vellumhound::tests
