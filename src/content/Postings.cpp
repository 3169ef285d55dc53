// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/Postings.h"

#include <algorithm>
#include <array>

namespace vellumhound::content {

void appendVarint(std::string &out, std::uint32_t value)
{
    for (; value >= 0x80; value >>= 7)
        out += static_cast<char>(value | 0x80);
    out += static_cast<char>(value);
}

bool takeVarint(std::string_view &bytes, std::uint32_t &value)
{
    constexpr std::size_t longest = 5;
    value = 0;
    for (std::size_t i = 0; i < bytes.size() && i < longest; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        value |= std::uint32_t(byte & 0x7F) << (7 * i);
        if (byte < 0x80) {
            bytes.remove_prefix(i + 1);
            return true;
        }
    }
    return false;
}

bool appendPostings(
    std::string &out, std::span<const DocumentId> documents, DocumentId documentCount)
{
    const auto begin = out.size();
    const auto most = bitmapBytes(documentCount);
    std::uint32_t next = 0;
    for (const auto document : documents) {
        appendVarint(out, document - next);
        next = document + 1;
        if (out.size() - begin > most)
            break;
    }
    if (out.size() - begin <= most)
        return false;
    out.resize(begin);
    out.resize(begin + most, '\0');
    for (const auto document : documents) {
        auto &byte = out[begin + document / 8];
        byte = static_cast<char>(byte | 1 << document % 8);
    }
    return true;
}

std::vector<DocumentId> decodePostings(PostingList list, DocumentId documentCount)
{
    std::vector<DocumentId> documents;
    forEachPosting(
        list, documentCount, [&](DocumentId document) { documents.push_back(document); });
    return documents;
}

void intersect(std::vector<DocumentId> &documents, PostingList list, DocumentId documentCount)
{
    auto kept = documents.begin();
    if (list.isBitmap) {
        for (const auto document : documents) {
            const auto byte = document / 8;
            if (byte < list.bytes.size() && (list.bytes[byte] >> document % 8 & 1) != 0)
                *kept++ = document;
        }
    } else {
        auto wanted = documents.begin();
        forEachPosting(list, documentCount, [&](DocumentId document) {
            while (wanted != documents.end() && *wanted < document)
                ++wanted;
            if (wanted != documents.end() && *wanted == document)
                *kept++ = *wanted++;
        });
    }
    documents.erase(kept, documents.end());
}

TrigramCollector::TrigramCollector()
    : _seen(trigramEnd / 64)
{
}

void TrigramCollector::collect(std::string_view text, std::vector<Trigram> &out)
{
    if (text.size() < 2)
        return;
    const auto first = out.size();
    constexpr std::size_t stretch = 8192;
    std::array<Trigram, stretch + 1> found;
    const auto at = [&](std::size_t i) { return Trigram(static_cast<unsigned char>(text[i])); };
    auto trigram = at(0) << 8 | at(1);
    std::size_t count = 0;
    const auto take = [&](Trigram next) {
        trigram = (trigram << 8 | next) & (trigramEnd - 1);
        auto &word = _seen[trigram / 64];
        const auto bit = std::uint64_t(1) << trigram % 64;
        found[count] = trigram;  // overwritten by the next unless it counts: no branch to guess
        count += (word & bit) == 0 ? 1 : 0;
        word |= bit;
    };
    for (std::size_t i = 2; i < text.size();) {
        for (const auto end = std::min(text.size(), i + stretch); i < end; ++i)
            take(at(i));
        out.insert(out.end(), found.begin(), found.begin() + std::ptrdiff_t(count));
        count = 0;
    }
    take(0);
    out.insert(out.end(), found.begin(), found.begin() + std::ptrdiff_t(count));
    for (auto i = first; i < out.size(); ++i)
        _seen[out[i] / 64] = 0;
}

}  // namespace vellumhound::content
