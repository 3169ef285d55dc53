// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace vellumhound::index {

/// How often each byte occurs in the names that are going to be scanned.
using ByteFrequencies = std::array<std::uint32_t, 256>;

/// A guess for names that nobody has counted.
const ByteFrequencies &usualFrequencies();

/// How well a name answers a query by the place where it holds it. Larger is better.
enum class MatchClass : std::uint8_t {
    none,
    inside,
    wordStart,  ///< behind a sign or a blank, or at a capital behind a small letter
    prefix,
    whole,  ///< the whole name, or all of it but the extension
};

/// A text to look for, prepared for scanning. Immutable; any thread.
class Needle {
public:
    static constexpr int probeCount = 3;
    /// No folded name is longer than this (255 bytes, each three of which fold to 33 at most).
    static constexpr std::size_t longest = 4096;

    /// `text` is UTF-8 as typed; it is folded here.
    explicit Needle(std::string_view text, const ByteFrequencies &frequencies = usualFrequencies());

    /// Nothing to look for, or something that no name can hold: matches no name.
    bool isEmpty() const { return _bytes.empty(); }
    std::size_t size() const { return _bytes.size(); }
    /// The folded text.
    const std::string &bytes() const { return _bytes; }
    /// Bits to set in a name's byte before it is compared with that of the text: 0x20 where the
    /// text has a letter of ASCII, else none.
    const std::string &caseBits() const { return _caseBits; }
    /// Places in the text, the rarest bytes first.
    const std::array<std::uint32_t, probeCount> &probes() const { return _probes; }

    /// The two rarest bytes are seldom enough at their places for a search to look for them alone.
    bool isRare() const { return _isRare; }

    /// Whether the text stands at `at`, where at least size() bytes can be read.
    bool matchesAt(const char *at) const
    {
        for (std::size_t i = 0; i < _bytes.size(); ++i) {
            if (char(at[i] | _caseBits[i]) != _bytes[i])
                return false;
        }
        return true;
    }
    /// Whether `name`, as a NameBlock stores it, holds the text.
    bool isIn(std::string_view name) const;
    /// The best class of all the places where `name`, as a NameBlock stores it, holds the text.
    MatchClass match(std::string_view name) const;

    bool operator==(const Needle &other) const { return _bytes == other._bytes; }

private:
    std::string _bytes;
    std::string _caseBits;
    std::array<std::uint32_t, probeCount> _probes{};
    bool _isRare = false;
};

/// What a byte is inside a name: 1 for a part of a word, 2 for a capital as well.
inline constexpr auto wordBytes = [] {
    std::array<std::uint8_t, 256> kinds{};
    for (unsigned byte = 0; byte < kinds.size(); ++byte) {
        const bool isUpper = byte >= 'A' && byte <= 'Z';
        const bool isWord =
            isUpper || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte >= 0x80;
        kinds[byte] = std::uint8_t((isWord ? 1 : 0) | (isUpper ? 2 : 0));
    }
    return kinds;
}();

/// Whether a word begins at `at`, inside a name.
inline bool startsWord(const char *at)
{
    const unsigned before = wordBytes[static_cast<unsigned char>(at[-1])];
    const unsigned first = wordBytes[static_cast<unsigned char>(*at)];
    return ((before & 1) ^ 1) != 0 || (first & ~before & 2) != 0;
}

/// The class of a match of `length` bytes at `at`, inside a name closed by a NUL. The byte before
/// `at` is that of the name, or a NUL at its start.
inline MatchClass classOfMatch(const char *at, std::size_t length)
{
    if (at[-1] != '\0')
        return startsWord(at) ? MatchClass::wordStart : MatchClass::inside;
    const char *behind = at + length;
    if (*behind == '\0')
        return MatchClass::whole;
    if (*behind != '.')
        return MatchClass::prefix;
    while (*++behind != '\0') {
        if (*behind == '.')
            return MatchClass::prefix;
    }
    return MatchClass::whole;
}

}  // namespace vellumhound::index
