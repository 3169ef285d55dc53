// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/PlainText.h"

#include "extract/helper/Charset.h"

#include <algorithm>

namespace vellumhound::extract::helper {
namespace {

constexpr std::size_t stepBytes = std::size_t(256) * 1024;

/// The end of the last whole character at or before `end`.
std::size_t endOfCharacter(std::string_view utf8, std::size_t end)
{
    for (auto place = end; place > 0 && end - place < 4; --place) {
        if (place >= utf8.size() || (static_cast<unsigned char>(utf8[place]) & 0xC0) != 0x80)
            return place;
    }
    return end;
}

void appendInSteps(std::string_view utf8, TextSink &sink)
{
    while (!utf8.empty() && !sink.isFull()) {
        auto end = endOfCharacter(utf8, std::min(stepBytes, utf8.size()));
        if (end < utf8.size() && utf8[end] == '\n' && utf8[end - 1] == '\r')
            --end;  // the two are seen together
        sink.append(utf8.substr(0, end));
        utf8.remove_prefix(end);
    }
}

}  // namespace

wire::Status readPlainText(Input &input, std::uint64_t maxTextBytes, TextSink &sink)
{
    // UTF-16 has up to two bytes where UTF-8 has one; no set that is detected has more but UTF-32.
    const auto wanted = maxTextBytes * 2 + 4;
    const auto bytes = input.beginning(wanted);
    const auto charset = detectedCharset(bytes);
    if (!charset)
        return wire::Status::noText;
    if (*charset == "UTF-8") {
        appendInSteps(bytes, sink);
    } else {
        decode(bytes, *charset, [&](std::string_view piece) {
            sink.append(piece);
            return !sink.isFull();
        });
    }
    if (input.size() > bytes.size())
        sink.markCut();
    return sink.hasText() ? wire::Status::text : wire::Status::noText;
}

}  // namespace vellumhound::extract::helper
