// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vellumhound::extract::helper {

/// Where all text goes. It makes it fit for searching: valid UTF-8, hidden characters (soft
/// hyphens, zero-width and direction marks) left out, typographic blanks and control characters
/// made plain blanks. It also keeps the limits: readers ask `isFull` wherever they may stop.
class TextSink {
public:
    /// Takes a piece of the text, of 32 KiB at most, which may end inside a character; false if
    /// nobody wants the rest.
    using Taker = std::function<bool(std::string_view)>;
    struct Limits {
        std::uint64_t maxTextBytes = 0;
        /// Of this process's processor time, from now on.
        std::chrono::nanoseconds cpuTime{};
    };

    TextSink(const Limits &limits, Taker taker);

    /// The text as it stands. Each call gives whole characters; what is not valid UTF-8 becomes
    /// U+FFFD.
    void append(std::string_view utf8);
    /// The same with each run of white space as one blank: what markup means.
    void appendCollapsed(std::string_view utf8);
    void append(char32_t character);
    /// A blank or line break, unless the text is empty or ends with white space; a line break takes
    /// the place of a blank.
    void separate(char blank);

    /// Nothing more is wanted: the text is long enough, the time is up, or nobody listens.
    bool isFull();
    /// The same for readers whose steps are long: looks at the time at each call.
    bool isFullNow();
    /// What may still come.
    std::uint64_t roomBytes() const { return _limits.maxTextBytes - bytes(); }
    /// Something was left out that is not the sink's own doing.
    void markCut() { _isCut = true; }
    bool isCut() const { return _isCut; }
    /// Anything but white space came.
    bool hasText() const { return _hasText; }
    std::uint64_t bytes() const { return _taken + _buffer.size(); }
    /// Gives the rest to the taker. False if somebody stopped listening.
    bool finish();

private:
    void appendPlain(std::string_view ascii);
    void appendOther(char32_t character);
    void put(std::string_view utf8);
    void flush(std::size_t keptBytes);

    Limits _limits;
    Taker _taker;
    std::string _buffer;
    std::uint64_t _taken = 0;
    std::chrono::nanoseconds _cpuEnd{};
    unsigned _asked = 0;
    char _last = '\n';
    bool _isFull = false;
    bool _isCut = false;
    bool _hasText = false;
    bool _isWanted = true;
};

}  // namespace vellumhound::extract::helper
