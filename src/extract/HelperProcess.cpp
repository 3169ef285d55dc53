// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/HelperProcess.h"

#include "extract/Logging.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vellumhound::extract {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr int socketOfHelper = 3;
/// How long a killed process may take to be gone. One that hangs in a dead mount takes forever.
constexpr milliseconds patienceWithTheDead{2'000};

int spawned(const std::string &path, int socket, pid_t &process)
{
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_init(&attributes);
    ::posix_spawn_file_actions_adddup2(&actions, socket, socketOfHelper);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    ::posix_spawn_file_actions_addclosefrom_np(&actions, socketOfHelper + 1);
    sigset_t none, all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &all);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    std::string program = path;
    const char *language = std::getenv("LANG");
    std::string kept = std::string("LANG=") + (language ? language : "C.UTF-8");
    std::array<char *, 2> arguments{program.data(), nullptr};
    std::array<char *, 2> environment{kept.data(), nullptr};
    const int error = ::posix_spawn(
        &process, path.c_str(), &actions, &attributes, arguments.data(), environment.data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return error;
}

/// Rounded up, so that a deadline has passed when the wait for it is over.
int timeout(nanoseconds left)
{
    const auto whole = std::chrono::ceil<milliseconds>(left).count();
    return int(std::min<std::int64_t>(whole, INT_MAX));
}

std::string inWords(int status)
{
    if (WIFSIGNALED(status))
        return "signal " + std::to_string(WTERMSIG(status));
    return "exit status " + std::to_string(WEXITSTATUS(status));
}

/// False if the process is still there after our patience.
bool hasEnded(pid_t process)
{
    const int descriptor = int(::syscall(SYS_pidfd_open, process, 0));
    if (descriptor < 0)
        return true;  // an old kernel: the wait for it may take as long as it takes
    pollfd wait{descriptor, POLLIN, 0};
    const bool isOver = ::poll(&wait, 1, int(patienceWithTheDead.count())) > 0;
    ::close(descriptor);
    return isOver;
}

}  // namespace

std::unique_ptr<HelperProcess> HelperProcess::start(const std::string &path)
{
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return nullptr;
    pid_t process = 0;
    const int error = spawned(path, ends[1], process);
    ::close(ends[1]);
    if (error != 0) {
        ::close(ends[0]);
        errno = error;
        return nullptr;
    }
    return std::unique_ptr<HelperProcess>(new HelperProcess(process, ends[0]));
}

HelperProcess::HelperProcess(pid_t process, int socket)
    : _process(process)
    , _socket(socket)
{
    _hasCpuClock = ::clock_getcpuclockid(process, &_cpuClock) == 0;
}

HelperProcess::~HelperProcess()
{
    end();
    ::close(_socket);
}

bool HelperProcess::isIdle() const
{
    pollfd wait{_socket, POLLIN, 0};
    return ::poll(&wait, 1, 0) == 0;
}

bool HelperProcess::send(
    wire::FrameKind kind, std::uint64_t request, std::string_view body, int descriptor)
{
    return wire::send(_socket, kind, request, body, descriptor);
}

HelperProcess::Wait HelperProcess::receive(
    wire::Frame &frame, const Deadline &deadline, int cancelDescriptor)
{
    for (;;) {
        const auto left = timeLeft(deadline);
        if (left <= nanoseconds::zero())
            return Wait::timedOut;
        std::array<pollfd, 2> waits{
            pollfd{_socket, POLLIN, 0}, pollfd{cancelDescriptor, POLLIN, 0}};
        const int ready = ::poll(waits.data(), waits.size(), timeout(left));
        if (ready < 0 && errno != EINTR)
            return Wait::closed;
        if (ready > 0 && waits[1].revents)
            return Wait::cancelled;
        if (ready > 0)
            break;
    }
    const auto received = wire::receive(_socket, _packet, MSG_DONTWAIT);
    if (received.descriptor >= 0)
        ::close(received.descriptor);
    if (received.size < 0)
        return errno == EMSGSIZE ? Wait::nonsense : Wait::closed;
    if (received.size == 0)
        return Wait::closed;
    const auto parsed = wire::parsed({_packet.data(), std::size_t(received.size)});
    if (!parsed || received.descriptor >= 0)
        return Wait::nonsense;
    frame = *parsed;
    return Wait::frame;
}

HelperProcess::Deadline HelperProcess::deadlineIn(nanoseconds wall, nanoseconds cpu) const
{
    return {Clock::now() + std::chrono::duration_cast<Clock::duration>(wall), cpuTime() + cpu,
        queuedTime()};
}

nanoseconds HelperProcess::timeLeft(const Deadline &deadline) const
{
    nanoseconds wall = deadline.wall - Clock::now();
    if (wall <= nanoseconds::zero())
        wall += queuedTime() - deadline.queuedBefore;
    return std::min(wall, deadline.cpu - cpuTime());
}

nanoseconds HelperProcess::cpuTime() const
{
    timespec time{};
    if (!_hasCpuClock || ::clock_gettime(_cpuClock, &time) != 0)
        return nanoseconds::zero();
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

/// How long the process has waited for a processor; zero if the kernel does not tell.
nanoseconds HelperProcess::queuedTime() const
{
    std::ifstream statistics("/proc/" + std::to_string(_process) + "/schedstat");
    std::int64_t running = 0, queued = 0;
    return statistics >> running >> queued ? nanoseconds(queued) : nanoseconds::zero();
}

std::string HelperProcess::end()
{
    if (_process == 0)
        return "ended before";
    ::kill(_process, SIGKILL);
    if (!hasEnded(_process)) {
        qCWarning(logExtract, "a helper hangs in the kernel and is left to itself");
        _process = 0;
        return "hangs";
    }
    int status = 0;
    while (::waitpid(_process, &status, 0) < 0 && errno == EINTR) {
    }
    _process = 0;
    return inWords(status);
}

}  // namespace vellumhound::extract
