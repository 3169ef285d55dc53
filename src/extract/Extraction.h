// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace vellumhound::extract {

/// What one file may cost. What is over a limit is left out or given up, never waited for.
struct Limits {
    /// Larger files are `tooLarge`, except plain text, of which the beginning is read.
    std::uint64_t maxInputBytes = 256u << 20;
    /// Text behind this is left out; the extraction then says that it is cut.
    std::uint64_t maxTextBytes = 16u << 20;
    /// Of the helper's processor time. At three quarters of it the helper stops by itself, with the
    /// text that it has.
    std::chrono::milliseconds cpuTime{10'000};
    /// On the clock, without the time in which others had the processor.
    std::chrono::milliseconds wallTime{30'000};
};

enum class Outcome {
    text,         ///< there is text
    noText,       ///< binary, empty, pictures only, or a name that promises no text
    refused,      ///< not a regular file, or too damaged to be read
    tooLarge,     ///< larger than the limits allow
    encrypted,    ///< needs a password
    secret,       ///< there is a private key or a token in it
    unreadable,   ///< the disk refused; may be tried later
    crashed,      ///< the helper died of it or answered nonsense
    timedOut,     ///< the helper was ended because it took too long
    cancelled,    ///< `TextExtractor::cancel` was called
    unavailable,  ///< there is no helper; says nothing about the file, which may be tried later
};

/// What became of one file.
struct Extraction {
    Outcome outcome = Outcome::noText;
    std::string
        text;  ///< valid UTF-8 without hidden characters; empty unless the outcome is `text`
    bool isCut = false;  ///< there was more text than the limits let through

    bool operator==(const Extraction &) const = default;
};

}  // namespace vellumhound::extract
