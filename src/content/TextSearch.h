// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "content/Document.h"
#include "content/StoredText.h"
#include "content/TextScan.h"
#include "content/TextState.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace vellumhound::content {

/// What is looked for in texts.
struct TextQuery {
    std::string needle;  ///< as typed, UTF-8
    /// Whether a file may be a hit at all; asked of each before its text is read. None: all may.
    std::function<bool(std::string_view path)> isInScope;
    /// Files that the user opened, with the time of the last use in any unit, larger is later.
    struct LastUse {
        std::string path;
        std::int64_t time = 0;
    };
    std::vector<LastUse> lastUses;
};

/// The search for one needle in the texts as they were at one moment, handed out best first: no
/// noise, then used last, changed last, less deep, shorter name, path. Deleted files are left out
/// as long as they have not been handed out.
///
/// One thread, any; never waits for the writer. A needle of one letter, or of less than two bytes,
/// finds nothing. A file that is replaced while a search is under way may be missing from it.
class TextSearch {
public:
    TextSearch(const PublishedText &published, TextQuery query);

    struct Page {
        std::vector<Document> hits;
        bool mayHaveMore = false;  ///< something has not been looked at yet

        bool operator==(const Page &) const = default;
    };
    /// Further hits, up to `limit`. Ends earlier, with fewer or none, when about `mostBytes` of
    /// text have been read or `isCancelled` is set; the next call goes on from there.
    Page next(std::size_t limit, const std::atomic<bool> &isCancelled,
        std::uint64_t mostBytes = defaultMostBytes);

    /// Some tens of milliseconds on a machine of the year 2020.
    static constexpr std::uint64_t defaultMostBytes = std::uint64_t(32) << 20;

    /// Documents left to look at: an upper bound of further hits.
    std::size_t candidateCount() const { return _candidates.size(); }
    /// Bytes of text read so far.
    std::uint64_t bytesRead() const { return _bytesRead; }

private:
    /// Which of the sources a document is from: a segment's number, or the buffer.
    static constexpr std::uint32_t fromBuffer = 0xFFFFFFFF;
    struct Candidate {
        std::int64_t lastUse = 0;
        std::int64_t mtimeNs = 0;
        std::uint32_t source = 0;
        std::uint32_t number = 0;
        PathShape shape;
        bool isNoise = false;
    };

    bool collect(const PublishedText &published);
    void addFromSegment(std::uint32_t source);
    void addFromBuffer();
    void noteLastUses();
    /// Whether `a` is handed out after `b`.
    bool isAfter(const Candidate &a, const Candidate &b) const;
    bool isDead(const Candidate &candidate) const;
    std::string_view pathOf(const Candidate &candidate) const;
    Document documentOf(const Candidate &candidate) const;
    Verdict look(const Candidate &candidate, const std::atomic<bool> &isCancelled);

    TextQuery _query;
    std::optional<TextPattern> _pattern;
    std::shared_ptr<const TextState> _state;
    std::vector<Candidate> _candidates;  // a heap, the best on top
    std::unordered_set<std::string> _handedOut;
    TextUnpacker _unpacker;
    std::string _packed;
    std::uint64_t _bytesRead = 0;
};

}  // namespace vellumhound::content
