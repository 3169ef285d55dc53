// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vellumhound::content {

// The layout of a segment's file: the header, then the sections, each at a multiple of eight.
// Numbers stand as this machine writes them; a file of another byte order is a foreign one.

constexpr std::array<char, 8> segmentMagic{'V', 'H', 'T', 'E', 'X', 'T', 'S', '\n'};
constexpr std::uint32_t segmentVersion = 2;  // 1 may hold the texts of files with secrets
constexpr std::uint32_t byteOrderMark = 0x01020304;

enum class Section : std::size_t {
    texts,      ///< the folded text of each document, one or more compressed frames
    documents,  ///< DocumentRecord, ascending by path
    paths,      ///< one behind the other
    postings,   ///< the lists, in the order of their trigrams
    entries,    ///< of each trigram: its distance to the one before, its list's length and form
    heads,      ///< EntryHead of every `entriesPerHead`th trigram
};
constexpr std::size_t sectionCount = 6;

struct SectionPlace {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::uint32_t crc = 0;  ///< 0 for the texts, whose frames carry checksums of their own
    std::uint32_t unused = 0;
};

struct SegmentHeader {
    std::array<char, 8> magic = segmentMagic;
    std::uint32_t version = segmentVersion;
    std::uint32_t byteOrder = byteOrderMark;
    std::uint32_t documentCount = 0;
    std::uint32_t trigramCount = 0;
    std::uint64_t textBytes = 0;  ///< folded, before compression
    std::uint64_t fileBytes = 0;
    std::array<SectionPlace, sectionCount> sections;
    std::uint32_t unused = 0;
    std::uint32_t crc = 0;  ///< of all before

    const SectionPlace &operator[](Section section) const { return sections[std::size_t(section)]; }
    SectionPlace &operator[](Section section) { return sections[std::size_t(section)]; }
};

struct DocumentRecord {
    std::uint64_t textOffset = 0;   ///< within the texts
    std::uint32_t storedBytes = 0;  ///< compressed
    std::uint32_t textBytes = 0;
    std::int64_t mtimeNs = 0;
    std::int64_t sizeBytes = 0;
    std::uint32_t pathOffset = 0;
    std::uint16_t pathLength = 0;
    std::uint16_t flags = 0;
    std::uint16_t depth = 0;       ///< slashes of the path
    std::uint16_t nameLength = 0;  ///< bytes behind the last one
    std::uint32_t unused = 0;

    static constexpr std::uint16_t noise = 1;    ///< RankFacts::isNoise
    static constexpr std::uint16_t hasText = 2;  ///< else only known to have none
    static constexpr std::uint16_t isCut = 4;    ///< the text went on
};

constexpr std::uint32_t entriesPerHead = 32;

struct EntryHead {
    std::uint32_t trigram = 0;
    std::uint32_t entries = 0;   ///< where its entry begins, within the section
    std::uint32_t postings = 0;  ///< where its list begins
};

static_assert(sizeof(SegmentHeader) == 192 && sizeof(DocumentRecord) == 48 &&
              sizeof(EntryHead) == 12 && sizeof(SectionPlace) == 24);
static_assert(std::is_trivially_copyable_v<SegmentHeader>);

}  // namespace vellumhound::content
