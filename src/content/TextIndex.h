// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "content/Document.h"
#include "content/Manifest.h"
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

/// How much there is.
struct TextFigures {
    std::uint64_t documents = 0;      ///< with text
    std::uint64_t withoutText = 0;    ///< known to have none
    std::uint64_t textBytes = 0;      ///< folded
    std::uint64_t diskBytes = 0;      ///< of all segments
    std::uint64_t postingBytes = 0;   ///< of these: lists and dictionaries
    std::uint64_t bufferedBytes = 0;  ///< text in memory
    std::uint64_t lost = 0;           ///< dropped with damaged files since open()
    std::size_t segments = 0;
    bool isFull = false;       ///< no room for further text
    bool cannotWrite = false;  ///< the last attempt to write failed

    bool operator==(const TextFigures &) const = default;
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
    /// Replaces what is known of the file. Unless the answer is yes, nothing is known of it then.
    Added add(Document document, std::string_view utf8);
    /// There is nothing to find in this version of the file.
    Added noteWithoutText(Document document);
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
    /// Makes a tidy() under way end soon, without effect, and further ones do nothing. Any thread.
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
    std::vector<std::size_t> worthMerging() const;
    /// Puts `by`, if it is there, in the place of some segments and deletes their files.
    void replace(const std::vector<std::size_t> &old, std::optional<SegmentState> by);
    void measureSegments();
    std::uint64_t mostIntake() const { return _options.mostDiskBytes / 8 * 7; }
    std::uint64_t mostMerged() const { return _options.mostDiskBytes / 8; }

    PublishedText &_published;
    const TextIndexOptions _options;
    TextFolder _folder;
    std::shared_ptr<const TextState> _state;
    std::unordered_map<std::string_view, std::uint32_t> _buffered;  // living slots, by path
    std::uint64_t _nextId = 1;
    TextFigures _figures;
    bool _isOpen = false;
    bool _isDirty = false;  // the manifest on the disk is an older one
    bool _hasToldOfFull = false;
    std::atomic<bool> _isStopped = false;
};

}  // namespace vellumhound::content
