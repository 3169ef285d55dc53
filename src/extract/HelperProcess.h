// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/Wire.h"

#include <chrono>
#include <ctime>
#include <memory>
#include <string>
#include <sys/types.h>

namespace vellumhound::extract {

/// One running helper: its process and our end of the socket. Ended and reaped with this object,
/// or, at the latest, when the thread that started it ends. Used by one thread.
class HelperProcess {
public:
    using Clock = std::chrono::steady_clock;

    /// Starts the program with a clean environment, nothing open but the socket (descriptor 3), and
    /// standard streams that lead nowhere. Null with errno if it cannot be started; that the
    /// program is any good shows only by its `hello`.
    static std::unique_ptr<HelperProcess> start(const std::string &path);
    ~HelperProcess();
    HelperProcess(const HelperProcess &) = delete;
    HelperProcess &operator=(const HelperProcess &) = delete;

    /// True while the process has not ended and has sent nothing unasked.
    bool isIdle() const;
    bool send(
        wire::FrameKind kind, std::uint64_t request, std::string_view body, int descriptor = -1);

    enum class Wait { frame, closed, nonsense, timedOut, cancelled };
    /// When a wait is over: by the clock, and by the helper's own processor time. Time in which the
    /// helper could have run, but others had the processor, does not count: it runs when idle only.
    struct Deadline {
        Clock::time_point wall;
        std::chrono::nanoseconds cpu{};
        std::chrono::nanoseconds queuedBefore{};
    };
    Deadline deadlineIn(std::chrono::nanoseconds wall, std::chrono::nanoseconds cpu) const;
    /// Waits for the next frame. `cancelDescriptor` becoming readable ends the wait; it is not
    /// read. The frame points into this object and lasts until the next call.
    Wait receive(wire::Frame &frame, const Deadline &deadline, int cancelDescriptor);

    /// Processor time that the process has used since it was started.
    std::chrono::nanoseconds cpuTime() const;
    /// Ends the process at once and waits for that a moment; how it ended in words, for a log line.
    std::string end();

private:
    HelperProcess(pid_t process, int socket);

    std::chrono::nanoseconds timeLeft(const Deadline &deadline) const;
    std::chrono::nanoseconds queuedTime() const;

    pid_t _process;  // 0 once reaped
    int _socket;
    clockid_t _cpuClock{};
    bool _hasCpuClock = false;
    wire::Packet _packet{};
};

}  // namespace vellumhound::extract
