// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/Server.h"

#include "extract/helper/Readers.h"

#include <chrono>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>

namespace vellumhound::extract::helper {
namespace {

using std::chrono::milliseconds;
using wire::FrameKind;

/// Never more than the program asks for by itself, whatever comes in.
constexpr std::uint64_t maxTextBytes = 256u << 20;
constexpr milliseconds maxCpuTime{600'000};

std::uint64_t peakMemoryKiB()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return std::uint64_t(usage.ru_maxrss);
}

FileFormat formatOf(const wire::ReadText &request)
{
    const bool isKnown = request.format <= std::uint32_t(FileFormat::last);
    return isKnown ? FileFormat(request.format) : FileFormat::none;
}

wire::End answer(std::uint64_t number, const wire::ReadText &request, int descriptor)
{
    const auto cpuTime = std::min(milliseconds(request.cpuMilliseconds), maxCpuTime);
    TextSink sink({std::min(request.maxTextBytes, maxTextBytes), cpuTime * 3 / 4},
        [number](std::string_view piece) {
            return wire::send(requestSocket, FrameKind::chunk, number, piece);
        });
    wire::End end;
    Input input(descriptor);
    end.status = readText(input, formatOf(request), request, sink);
    sink.finish();
    end.isCut = sink.isCut();
    end.sentBytes = sink.bytes();
    end.peakMemoryKiB = peakMemoryKiB();
    return end;
}

/// False once the other end is gone or cannot be understood.
bool serveOne(wire::Packet &packet)
{
    const auto received = wire::receive(requestSocket, packet);
    if (received.size <= 0)
        return false;
    const auto frame = wire::parsed({packet.data(), std::size_t(received.size)});
    if (!frame)
        return false;
    const auto request = frame->as<wire::ReadText>();
    wire::End end;
    end.status = wire::Status::unknownRequest;
    if (frame->header.kind == FrameKind::readText && request && received.descriptor >= 0)
        end = answer(frame->header.request, *request, received.descriptor);
    else if (received.descriptor >= 0)
        ::close(received.descriptor);
    return wire::send(requestSocket, FrameKind::end, frame->header.request, wire::bytesOf(end));
}

}  // namespace

int serve(const Confinement &confinement)
{
    wire::Hello hello;
    hello.landlockVersion = confinement.landlockVersion;
    if (!wire::send(requestSocket, FrameKind::hello, 0, wire::bytesOf(hello)))
        return 1;
    const auto packet = std::make_unique<wire::Packet>();
    while (serveOne(*packet)) {
    }
    return 0;
}

}  // namespace vellumhound::extract::helper
