// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/AtomicFile.h"
#include "base/Result.h"
#include "content/Document.h"
#include "content/Postings.h"
#include "content/SegmentFormat.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vellumhound::content {

/// Writes the file of one segment: first all documents, ascending by path, then all lists,
/// ascending by trigram. Texts go to the disk at once, all else is kept until finish(). One thread.
class SegmentWriter {
public:
    explicit SegmentWriter(const std::string &path);

    /// What is stored of a text.
    struct Text {
        std::string_view packed;
        std::uint32_t textBytes = 0;
        bool isThere = false;
        bool isCut = false;
    };
    void addDocument(const Document &document, const Text &text);
    void addList(Trigram trigram, std::span<const DocumentId> documents);
    /// Nothing that is added from now on will be kept; worth asking in a long loop.
    bool hasFailed() const { return _file.hasFailed(); }
    /// The file is complete and on the disk, or there is none.
    base::Outcome finish();

private:
    void beginSection(Section section);
    void endSection(Section section);
    void writeSection(Section section, std::string_view bytes);

    base::AtomicFile _file;
    SegmentHeader _header;
    std::vector<DocumentRecord> _documents;
    std::string _paths;
    std::string _postings;
    std::string _entries;
    std::vector<EntryHead> _heads;
    Trigram _lastTrigram = 0;
};

}  // namespace vellumhound::content
