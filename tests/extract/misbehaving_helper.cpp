// SPDX-License-Identifier: GPL-3.0-or-later
// Stands in for the helper and behaves as badly as its own name says: the test links or copies it
// under the name of the fault that it is to show.
#include "extract/Wire.h"

#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using namespace vellumhound::extract::wire;

namespace {

constexpr int channel = 3;

void sendRaw(std::string_view bytes)
{
    if (::send(channel, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0)
        ::_exit(1);
}

[[noreturn]] void spin()
{
    for (;;)
        static_cast<void>(::getppid());
}

void sendMore(std::uint64_t request, std::size_t size)
{
    const std::string piece(size, 'x');
    while (send(channel, FrameKind::chunk, request, piece)) {
    }
    ::_exit(0);
}

void sendEnd(std::uint64_t request, Status status, std::uint64_t bytes)
{
    End end;
    end.status = status;
    end.sentBytes = bytes;
    send(channel, FrameKind::end, request, bytesOf(end));
}

/// Answers one request as the fault wants it.
void misbehave(const std::string &fault, std::uint64_t request)
{
    if (fault == "crash")
        std::raise(SIGKILL);
    if (fault == "exit")
        ::_exit(0);
    if (fault == "hang")
        ::pause();
    if (fault == "spin")
        spin();
    if (fault == "garbage")
        sendRaw("this is no frame at all, but long enough to be one");
    if (fault == "too-long")
        sendRaw(std::string(sizeof(Packet) + 1, 'x'));
    if (fault == "flood")
        sendMore(request, maxBodyBytes);
    if (fault == "drip")
        sendMore(request, 0);
    if (fault == "other-request")
        sendEnd(request + 1, Status::noText, 0);
    if (fault == "wrong-size")
        sendEnd(request, Status::text, 5);
    if (fault == "wrong-status")
        sendEnd(request, Status(77), 0);
    if (fault == "invalid-text") {
        send(channel, FrameKind::chunk, request, "a\xFF");
        sendEnd(request, Status::text, 2);
    }
    if (fault == "descriptor")
        send(channel, FrameKind::chunk, request, "x", channel);
}

}  // namespace

int main(int, char **argv)
{
    const std::string program = argv[0];
    const auto fault = program.substr(program.rfind('/') + 1);
    if (fault == "ends-at-once")
        return 1;
    if (fault == "says-nothing")
        ::pause();
    Hello hello;
    hello.landlockVersion = fault == "no-landlock" ? 0 : 1;
    if (fault == "wrong-hello")
        sendRaw("hello");
    else
        send(channel, FrameKind::hello, 0, bytesOf(hello));
    const auto packet = std::make_unique<Packet>();
    for (;;) {
        const auto received = receive(channel, *packet);
        if (received.size <= 0)
            return 0;
        const auto frame = parsed({packet->data(), std::size_t(received.size)});
        if (frame && fault == "no-landlock")
            sendEnd(frame->header.request, Status::noText, 0);
        else if (frame)
            misbehave(fault, frame->header.request);
    }
}
