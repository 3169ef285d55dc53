// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/Wire.h"

#include <cerrno>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace vellumhound::extract::wire {
namespace {

/// Room for a few descriptors, so that a surplus is received and closed rather than leaked.
struct ControlBytes {
    alignas(cmsghdr) std::array<char, CMSG_SPACE(4 * sizeof(int))> bytes{};
};

int firstDescriptorOf(msghdr &message)
{
    int first = -1;
    for (auto *part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        const auto count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof(int), sizeof(int));
            if (first < 0)
                first = descriptor;
            else
                ::close(descriptor);
        }
    }
    return first;
}

}  // namespace

std::optional<Frame> parsed(std::string_view packet)
{
    const Header expected;
    Frame frame;
    if (packet.size() < sizeof(Header))
        return std::nullopt;
    std::memcpy(&frame.header, packet.data(), sizeof(Header));
    frame.body = packet.substr(sizeof(Header));
    if (frame.header.magic != expected.magic || frame.header.version != expected.version ||
        frame.header.length != frame.body.size())
        return std::nullopt;
    return frame;
}

bool send(int socket, FrameKind kind, std::uint64_t request, std::string_view body, int descriptor)
{
    Header header;
    header.kind = kind;
    header.request = request;
    header.length = std::uint32_t(body.size());
    std::array<iovec, 2> pieces{
        iovec{&header, sizeof header}, iovec{const_cast<char *>(body.data()), body.size()}};
    msghdr message{};
    message.msg_iov = pieces.data();
    message.msg_iovlen = pieces.size();
    ControlBytes control;
    if (descriptor >= 0) {
        message.msg_control = control.bytes.data();
        message.msg_controllen = CMSG_SPACE(sizeof(int));
        auto *part = CMSG_FIRSTHDR(&message);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(part), &descriptor, sizeof(int));
    }
    ssize_t sent = -1;
    do
        sent = ::sendmsg(socket, &message, MSG_NOSIGNAL);
    while (sent < 0 && errno == EINTR);
    return sent == ssize_t(sizeof header + body.size());
}

Received receive(int socket, Packet &packet, int flags)
{
    iovec piece{packet.data(), packet.size()};
    ControlBytes control;
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes.data();
    message.msg_controllen = control.bytes.size();
    Received received;
    do
        received.size = ::recvmsg(socket, &message, flags | MSG_CMSG_CLOEXEC);
    while (received.size < 0 && errno == EINTR);
    if (received.size < 0)
        return received;
    received.descriptor = firstDescriptorOf(message);
    if (message.msg_flags & MSG_TRUNC) {
        received.size = -1;
        errno = EMSGSIZE;
    }
    return received;
}

}  // namespace vellumhound::extract::wire
