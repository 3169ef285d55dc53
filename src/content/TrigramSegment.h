// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "content/Document.h"
#include "content/Postings.h"
#include "content/SegmentFormat.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellumhound::content {

/// An immutable file of documents: their paths and stamps, which of them holds which trigram, and
/// their folded texts. All but the texts is mapped; these are read when one is wanted. Nothing here
/// trusts the file: damage can hide documents, but not lead outside the mapping.
///
/// Any number of threads. The file may be unlinked while it is open.
class TrigramSegment {
public:
    /// Fails, with the reason, for a file that is missing, foreign, newer, cut or damaged. Reads
    /// everything but the texts once, to check it.
    static base::Result<std::shared_ptr<const TrigramSegment>> open(const std::string &path);
    ~TrigramSegment();
    TrigramSegment(const TrigramSegment &) = delete;
    TrigramSegment &operator=(const TrigramSegment &) = delete;

    const std::string &filePath() const { return _filePath; }
    const SegmentHeader &header() const { return _header; }
    DocumentId documentCount() const { return _header.documentCount; }

    DocumentRecord record(DocumentId document) const;
    /// The path under which the document was added.
    std::string_view path(DocumentId document) const { return path(record(document)); }
    std::string_view path(const DocumentRecord &record) const;
    /// The first document whose path is not less; documentCount() if there is none.
    DocumentId firstNotBefore(std::string_view path) const;

    /// The documents that may hold a folded needle of two bytes or more, ascending. They do hold it
    /// if `isExact(needle)`.
    std::vector<DocumentId> candidates(std::string_view needle) const;
    static bool isExact(std::string_view needle) { return needle.size() <= 3; }
    /// The packed text (see TextUnpacker) into `packed`; false if the disk does not give it.
    bool readText(const DocumentRecord &record, std::string &packed) const;

    /// All lists from `first` to before `end`, ascending.
    void forEachList(
        Trigram first, Trigram end, const std::function<void(Trigram, PostingList)> &visit) const;

    /// A reader has found a text damaged. The writer then drops the segment.
    void setDamaged() const { _isDamaged = true; }
    bool isDamaged() const { return _isDamaged; }

private:
    /// Walks through the entries from the head before a trigram.
    class Walk;

    TrigramSegment() = default;
    std::optional<QString> openFile();
    std::optional<QString> checkSections() const;
    std::string_view section(Section section) const;
    EntryHead head(std::size_t index) const;
    std::size_t headCount() const { return section(Section::heads).size() / sizeof(EntryHead); }
    PostingList list(Trigram trigram) const;
    std::vector<DocumentId> unionOfPair(std::string_view pair) const;

    std::string _filePath;
    int _descriptor = -1;
    SegmentHeader _header;
    void *_mapping = nullptr;
    std::size_t _mappedBytes = 0;
    std::uint64_t _mappedFrom = 0;  // of the file; all sections but the texts lie behind
    mutable std::atomic<bool> _isDamaged = false;
};

}  // namespace vellumhound::content
