// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "content/TextBuffer.h"
#include "content/TrigramSegment.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vellumhound::content {

/// Where a document has gone since its segment was written.
struct MovedTo {
    std::string path;
    RankFacts facts;
};
/// Those of one segment. Replaced whole, so that readers can keep the one they have.
struct Moves {
    std::unordered_map<DocumentId, MovedTo> byDocument;
    std::unordered_map<std::string, DocumentId> byPath;
};

/// A segment and what has changed since it was written.
struct SegmentState {
    std::uint64_t id = 0;  ///< the file's number
    std::shared_ptr<const TrigramSegment> segment;
    std::shared_ptr<Tombstones> dead;
    std::shared_ptr<const Moves> moves;  ///< null if there are none

    const MovedTo *movedTo(DocumentId document) const
    {
        if (!moves)
            return nullptr;
        const auto found = moves->byDocument.find(document);
        return found == moves->byDocument.end() ? nullptr : &found->second;
    }
    /// As it is called now.
    std::string_view pathOf(DocumentId document) const
    {
        const auto *moved = movedTo(document);
        return moved != nullptr ? std::string_view(moved->path) : segment->path(document);
    }
    Document documentOf(DocumentId document) const
    {
        const auto record = segment->record(document);
        const auto *moved = movedTo(document);
        if (moved != nullptr)
            return {moved->path, {record.mtimeNs, record.sizeBytes}, moved->facts};
        return {std::string(segment->path(record)), {record.mtimeNs, record.sizeBytes},
            {(record.flags & DocumentRecord::noise) != 0}};
    }
    std::uint32_t liveCount() const { return segment->documentCount() - dead->count(); }
};

/// The text index at one moment. Segments do not change; documents can still be killed in all and
/// appended to the buffer.
struct TextState {
    std::vector<SegmentState> segments;
    std::shared_ptr<TextBuffer> buffer;
};

/// Where the writer puts the newest state and readers take it from. A reader holds the lock only
/// while it copies the pointer. Never null.
class PublishedText {
public:
    PublishedText()
        : _state(std::make_shared<TextState>(TextState{{}, std::make_shared<TextBuffer>()}))
    {
    }
    void publish(std::shared_ptr<const TextState> state)
    {
        const std::lock_guard lock(_mutex);
        _state.swap(state);
    }
    std::shared_ptr<const TextState> current() const
    {
        const std::lock_guard lock(_mutex);
        return _state;
    }

private:
    mutable std::mutex _mutex;
    std::shared_ptr<const TextState> _state;
};

}  // namespace vellumhound::content
