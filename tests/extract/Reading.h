// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Documents.h"
#include "extract/helper/Readers.h"

namespace vellumhound::extract::tests {

/// What a reader made of a document, in this process.
struct Reading {
    wire::Status status = wire::Status::refused;
    std::string text;
    bool isCut = false;

    bool says(std::string_view words) const { return text.find(words) != text.npos; }
};

inline Reading readAs(
    FileFormat format, std::string_view bytes, std::uint64_t maxTextBytes = 16u << 20)
{
    [[maybe_unused]] static const bool isPrepared = (helper::prepareReaders(), true);
    const OpenFile file(bytes);
    wire::ReadText request;
    request.maxInputBytes = 256u << 20;
    request.maxTextBytes = maxTextBytes;
    Reading reading;
    helper::TextSink sink({maxTextBytes, std::chrono::minutes(5)}, [&](std::string_view piece) {
        reading.text += piece;
        return true;
    });
    helper::Input input(file.handedOver());
    reading.status = helper::readText(input, format, request, sink);
    sink.finish();
    reading.isCut = sink.isCut();
    return reading;
}

}  // namespace vellumhound::extract::tests
