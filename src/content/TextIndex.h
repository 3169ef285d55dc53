// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "content/Document.h"
#include "content/Manifest.h"
#include "content/TextFigures.h"
#include "content/TextFolder.h"
#include "content/TextState.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vellumhound::content {

struct TextIndexOptions {
    std::string folder;                                 ///< for its files alone; made when needed
    std::uint64_t mostDiskBytes = 1'000'000'000;        ///< never exceeded by the folder
    std::size_t mostTextBytes = std::size_t(16) << 20;  ///< of one document; the rest is cut off
    std::size_t spillAbove = std::size_t(16) << 20;     ///< bytes of text that wait in memory
    int packingLevel = 1;                               ///< as TextPacker takes it
    std::size_t mergeAt = 4;  ///< so many segments of about one size become one
};

enum class Added {
    yes,
    full,         ///< mostDiskBytes is reached
    cannotWrite,  ///< what waits in memory finds no way to the disk: flush() tries again
};

/// The texts of files, by path: segments in a folder, and a buffer in memory that becomes a
/// segment when it is large enough or flush() is called. What was flushed survives the process,
/// however it ends; what was not is not indexed and may be offered again.
///
/// The one writer, on one thread; readers take states from `published`, which outlives this.
/// Damaged files and failing writes are told in the log, once, and never stop the program.
class TextIndex {
public:
    TextIndex(PublishedText &published, TextIndexOptions options);
    TextIndex(const TextIndex &) = delete;
    TextIndex &operator=(const TextIndex &) = delete;

    /// Reads what is there. Fails only if the folder cannot be used; then all else may be called
    /// and nothing is kept beyond the buffer.
    base::Outcome open();

    /// Whether this very version of the file is indexed or known to have no text.
    bool isCurrent(std::string_view path, const Stamp &stamp) const;
    bool knows(std::string_view path) const { return find(path).has_value(); }
    /// Whether add() would find room. A file that is in already has room where others have none.
    bool hasRoomFor(std::string_view path) const;
    /// Replaces what is known of the file. Unless the answer is yes, its text is not known then; a
    /// file that was in keeps its claim to room.
    Added add(Document document, std::string_view utf8);
    /// There is nothing to find in this version of the file.
    Added noteWithoutText(Document document);
    /// As add() that finds no room.
    void noteOutdated(std::string_view path);
    void remove(std::string_view path);
    /// The folder, or file, and all below it.
    void removeBelow(std::string_view folder);
    /// The same documents under another name; what stood there is replaced. Reads no text.
    void movedBelow(std::string_view from, std::string_view to,
        const std::function<RankFacts(const std::string &path)> &factsOf);
    /// All documents, also those without text, in no order. `visit` must change nothing.
    void forEachPath(
        const std::function<void(const Document &document, bool hasText)> &visit) const;
    /// Forgets everything and deletes the files.
    void clear();

    /// Brings everything to the disk. False if that failed.
    bool flush();
    bool needsFlush() const { return _isDirty || !_buffered.empty(); }
    /// Merges segments or drops damaged ones, if that is worth it. True if there was something.
    bool tidy();
    /// Takes documents that are gone off the disk, one segment a call; true if there was one. Drops
    /// a segment that finds no room to be written again.
    bool purge();
    /// Files whose texts went with a segment that was dropped, since the last call.
    std::vector<std::string> takeLost() { return std::exchange(_lost, {}); }
    /// Whether purge() is worth it for the room that it makes.
    bool isPurgeWorthIt() const;
    /// Ends a tidy() or purge() soon, without effect; further ones do nothing. Any thread.
    void stop() { _isStopped = true; }

    TextFigures figures() const;

private:
    /// Where a living document is. Until the next publish().
    struct Place {
        const SegmentState *segment = nullptr;  ///< null: in the buffer
        std::uint32_t number = 0;               ///< the document, or the buffer's slot
    };

    void publish(TextState state);
    std::optional<Place> find(std::string_view path) const;
    /// All places at or below a path.
    std::vector<Place> placesBelow(std::string_view folder) const;
    Document documentAt(const Place &place) const;
    void kill(const Place &place);
    Added append(BufferedText item);
    void put(BufferedText item, std::optional<Place> instead);
    static void noteMove(std::shared_ptr<Moves> &moves, const Place &place, Document moved);
    void count(const Place &place, int sign);
    void noteFullness();

    void load(const Manifest &manifest);
    bool spill();
    bool saveManifest();
    bool hasWorked(const base::Outcome &outcome);
    bool dropUnusable();
    void drop(const std::vector<std::size_t> &dropped);
    bool rewrite(const std::vector<std::size_t> &merged);
    std::vector<std::size_t> worthMerging() const;
    /// Puts `by`, if it is there, in the place of some segments and deletes their files.
    void replace(const std::vector<std::size_t> &old, std::optional<SegmentState> by);
    void measureSegments();
    void countDead(const Place &place);
    std::uint64_t usedBytes() const { return _figures.diskBytes + _figures.bufferedBytes; }
    std::uint64_t mostIntake() const { return _options.mostDiskBytes / 8 * 7; }
    std::uint64_t mostMerged() const { return _options.mostDiskBytes / 8; }

    PublishedText &_published;
    const TextIndexOptions _options;
    TextFolder _folder;
    std::shared_ptr<const TextState> _state;
    std::unordered_map<std::string_view, std::uint32_t> _buffered;  // living slots, by path
    std::uint64_t _nextId = 1;
    TextFigures _figures;
    std::vector<std::string> _lost;
    bool _isOpen = false;
    bool _isDirty = false;  // the manifest on the disk is an older one
    bool _hasToldOfFull = false;
    std::atomic<bool> _isStopped = false;
};

}  // namespace vellumhound::content
