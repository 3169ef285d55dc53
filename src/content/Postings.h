// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vellumhound::content {

/// Three bytes of a folded text that follow each other, the first in the highest place.
using Trigram = std::uint32_t;
constexpr Trigram trigramEnd = Trigram(1) << 24;

/// A document's number within its segment.
using DocumentId = std::uint32_t;

constexpr Trigram trigramOf(unsigned char a, unsigned char b, unsigned char c)
{
    return Trigram(a) << 16 | Trigram(b) << 8 | c;
}

/// Numbers of seven bits a byte, the low ones first; the top bit says that more follow.
void appendVarint(std::string &out, std::uint32_t value);
/// Takes a number off the front; false if the bytes end within it.
bool takeVarint(std::string_view &bytes, std::uint32_t &value);

/// The documents of one trigram, as they stand in a file: the gaps between ascending numbers, or
/// one bit for each document of the segment where that is shorter. Points into a segment's file.
struct PostingList {
    std::string_view bytes;
    bool isBitmap = false;
};

/// Bytes of a bitmap for so many documents.
constexpr std::size_t bitmapBytes(DocumentId documentCount)
{
    return (std::size_t(documentCount) + 7) / 8;
}

/// Appends ascending, distinct `documents` in the shorter form. True if that is the bitmap.
bool appendPostings(
    std::string &out, std::span<const DocumentId> documents, DocumentId documentCount);

/// Calls `visit(document)`, ascending, for those below `documentCount`: damage can give wrong
/// documents, never one that is not there.
template <class Visit> void forEachPosting(PostingList list, DocumentId documentCount, Visit visit)
{
    if (list.isBitmap) {
        for (std::size_t i = 0; i < list.bytes.size(); ++i) {
            for (auto bits = static_cast<unsigned char>(list.bytes[i]); bits != 0;
                 bits = static_cast<unsigned char>(bits & (bits - 1))) {
                const auto document =
                    DocumentId(i * 8) + DocumentId(__builtin_ctz(static_cast<unsigned>(bits)));
                if (document < documentCount)
                    visit(document);
            }
        }
        return;
    }
    std::uint64_t next = 0;
    for (std::uint32_t gap = 0; takeVarint(list.bytes, gap); ++next) {
        next += gap;
        if (next >= documentCount)
            return;
        visit(DocumentId(next));
    }
}

/// The documents of a list, ascending.
std::vector<DocumentId> decodePostings(PostingList list, DocumentId documentCount);

/// Leaves in `documents` (ascending) those that stand in the list too.
void intersect(std::vector<DocumentId> &documents, PostingList list, DocumentId documentCount);

/// Finds the distinct trigrams of texts. Two megabytes of its own, so one is used for many texts.
class TrigramCollector {
public:
    TrigramCollector();

    /// Appends the distinct trigrams of a text, in no order. The last two bytes count as if a NUL
    /// came behind them, so that every pair of bytes begins some trigram.
    void collect(std::string_view text, std::vector<Trigram> &out);

private:
    std::vector<std::uint64_t> _seen;  // one bit for each trigram, all clear between texts
};

}  // namespace vellumhound::content
