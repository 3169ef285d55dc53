// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <type_traits>
#include <vector>

namespace vellumhound::extract::wire {

/// What program and helper say to each other over a SOCK_SEQPACKET pair: one packet is one frame,
/// a header and `length` bytes behind it. Both ends are built together and run on one machine, so
/// numbers stand as they do in memory. The helper speaks first (`hello`), then answers requests
/// one at a time: any number of `chunk` frames and one `end`. A request carries exactly one
/// descriptor, that of the file. Everything that comes from the helper is distrusted.
enum class FrameKind : std::uint32_t {
    hello = 1,     ///< body: Hello
    readText = 2,  ///< body: ReadText; a further kind of request gets a number of its own
    chunk = 3,     ///< body: a piece of the answer
    end = 4,       ///< body: End
};

struct Header {
    std::uint32_t magic = 0x58484556;  // "VEHX"
    std::uint32_t version = 1;
    FrameKind kind = FrameKind::end;
    std::uint32_t length = 0;   // of the body, in bytes
    std::uint64_t request = 0;  // counts up; an answer has its request's
};

struct Hello {
    std::int32_t landlockVersion = 0;  // 0 where the kernel has none
    std::uint32_t unused = 0;
};

struct ReadText {
    std::uint32_t format = 0;  // FileFormat
    std::uint32_t unused = 0;
    std::uint64_t maxInputBytes = 0;
    std::uint64_t maxTextBytes = 0;
    std::uint64_t cpuMilliseconds = 0;  // the helper stops by itself before that
};

enum class Status : std::uint32_t {
    text = 0,
    noText = 1,
    refused = 2,
    tooLarge = 3,
    encrypted = 4,
    unknownRequest = 5,
    unreadable = 6,
    last = unreadable,
};

struct End {
    Status status = Status::noText;
    std::uint32_t isCut = 0;          // 0 or 1
    std::uint64_t sentBytes = 0;      // in all chunks together
    std::uint64_t peakMemoryKiB = 0;  // the helper's resident memory at its highest
};

inline constexpr std::size_t maxBodyBytes = std::size_t(48) * 1024;
using Packet = std::array<char, sizeof(Header) + maxBodyBytes>;

/// One frame as it came in; the views point into the packet.
struct Frame {
    Header header;
    std::string_view body;

    /// The body as one record; nothing if it has another size.
    template <class Record> std::optional<Record> as() const
    {
        static_assert(std::is_trivially_copyable_v<Record>);
        if (body.size() != sizeof(Record))
            return std::nullopt;
        Record record;
        std::memcpy(&record, body.data(), sizeof record);
        return record;
    }
};

template <class Record> std::string_view bytesOf(const Record &record)
{
    static_assert(std::is_trivially_copyable_v<Record>);
    return {reinterpret_cast<const char *>(&record), sizeof record};
}

/// A packet taken apart; nothing if it is none of ours.
std::optional<Frame> parsed(std::string_view packet);

/// Sends one frame, with a descriptor if `descriptor` is not negative. False if the other end is
/// gone. No signal is raised.
bool send(
    int socket, FrameKind kind, std::uint64_t request, std::string_view body, int descriptor = -1);

/// Takes one packet in. `size` is negative on an error (errno), 0 when the other end is gone.
/// Packets that are too long come back as an error, EMSGSIZE. `descriptor` is the one that came
/// along, owned by the caller, or negative; any others are closed.
struct Received {
    std::ptrdiff_t size = -1;
    int descriptor = -1;
};
Received receive(int socket, Packet &packet, int flags = 0);

}  // namespace vellumhound::extract::wire
