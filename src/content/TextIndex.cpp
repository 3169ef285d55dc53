// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/TextIndex.h"

#include "content/Logging.h"
#include "content/TextFolding.h"

#include <algorithm>
#include <utility>

namespace vellumhound::content {

namespace {

/// `folder` replaced by `to` at the beginning of `path`, which is `folder` or lies below it.
std::string movedPath(std::string_view path, std::string_view folder, std::string_view to)
{
    return std::string(to).append(path.substr(folder.size()));
}

}  // namespace

TextIndex::TextIndex(PublishedText &published, TextIndexOptions options)
    : _published(published)
    , _options(std::move(options))
    , _folder(_options.folder)
{
    publish({{}, std::make_shared<TextBuffer>()});
}

void TextIndex::publish(TextState state)
{
    _state = std::make_shared<const TextState>(std::move(state));
    _published.publish(_state);
}

std::optional<TextIndex::Place> TextIndex::find(std::string_view path) const
{
    if (const auto found = _buffered.find(path); found != _buffered.end())
        return Place{nullptr, found->second};
    for (const auto &state : _state->segments) {
        if (state.moves) {
            const auto moved = state.moves->byPath.find(std::string(path));
            if (moved != state.moves->byPath.end() && !state.dead->has(moved->second))
                return Place{&state, moved->second};
        }
        const auto document = state.segment->firstNotBefore(path);
        if (document < state.segment->documentCount() && state.segment->path(document) == path &&
            !state.dead->has(document) && state.movedTo(document) == nullptr)
            return Place{&state, document};
    }
    return {};
}

std::vector<TextIndex::Place> TextIndex::placesBelow(std::string_view folder) const
{
    std::vector<Place> places;
    for (const auto &[path, slot] : _buffered) {
        if (isAtOrBelow(path, folder))
            places.push_back({nullptr, slot});
    }
    for (const auto &state : _state->segments) {
        const auto &segment = *state.segment;
        const auto takeOwn = [&](DocumentId document) {
            if (!state.dead->has(document) && state.movedTo(document) == nullptr)
                places.push_back({&state, document});
        };
        // Other names may stand between the folder and what lies below it: "a", "a b", "a/b".
        const auto itself = segment.firstNotBefore(folder);
        if (itself < segment.documentCount() && segment.path(itself) == folder)
            takeOwn(itself);
        const auto prefix = std::string(folder == "/" ? "" : folder) + '/';
        for (auto i = segment.firstNotBefore(prefix);
             i < segment.documentCount() && segment.path(i).starts_with(prefix); ++i)
            takeOwn(i);
        if (!state.moves)
            continue;
        for (const auto &[path, document] : state.moves->byPath) {
            if (isAtOrBelow(path, folder) && !state.dead->has(document))
                places.push_back({&state, document});
        }
    }
    return places;
}

Document TextIndex::documentAt(const Place &place) const
{
    if (place.segment != nullptr)
        return place.segment->documentOf(place.number);
    return _state->buffer->item(place.number).document;
}

bool TextIndex::isCurrent(std::string_view path, const Stamp &stamp) const
{
    const auto place = find(path);
    return place && documentAt(*place).stamp == stamp;
}

bool TextIndex::hasRoomFor(std::string_view path) const
{
    return !_figures.isFull || (usedBytes() < mostIntake() && find(path));
}

bool TextIndex::isPurgeWorthIt() const
{
    const bool isOver = usedBytes() >= mostIntake();
    return _figures.deadBytes >= (isOver ? 1 : mostIntake() / 40);
}

void TextIndex::count(const Place &place, int sign)
{
    bool hasText = false;
    std::uint64_t bytes = 0;
    if (place.segment != nullptr) {
        const auto record = place.segment->segment->record(place.number);
        hasText = (record.flags & DocumentRecord::hasText) != 0;
        bytes = record.textBytes;
    } else if (const auto &text = _state->buffer->item(place.number).text) {
        hasText = true;
        bytes = text->size();
    }
    auto &documents = hasText ? _figures.documents : _figures.withoutText;
    documents = sign > 0 ? documents + 1 : documents - 1;
    _figures.textBytes = sign > 0 ? _figures.textBytes + bytes : _figures.textBytes - bytes;
}

void TextIndex::countDead(const Place &place)
{
    const auto &segment = *place.segment->segment;
    const auto &header = segment.header();
    const auto texts = std::max<std::uint64_t>(header[Section::texts].size, 1);
    ++_figures.deadDocuments;
    _figures.deadBytes += segment.record(place.number).storedBytes * header.fileBytes / texts;
}

void TextIndex::kill(const Place &place)
{
    count(place, -1);
    if (place.segment != nullptr) {
        place.segment->dead->set(place.number);
        countDead(place);
        _isDirty = true;
        return;
    }
    const auto found = _buffered.find(_state->buffer->item(place.number).document.path);
    if (found != _buffered.end() && found->second == place.number)
        _buffered.erase(found);
    _state->buffer->kill(place.number);
}

Added TextIndex::add(Document document, std::string_view utf8)
{
    auto folded = foldText(utf8, _options.mostTextBytes);
    return append({std::move(document), std::make_shared<const std::string>(std::move(folded.text)),
        folded.isCut});
}

Added TextIndex::noteWithoutText(Document document)
{
    return append({std::move(document), nullptr, false});
}

Added TextIndex::append(BufferedText item)
{
    const auto &path = item.document.path;
    noteFullness();
    const bool needsRoom = _figures.bufferedBytes >= _options.spillAbove ||
                           _state->buffer->size() == TextBuffer::capacity;
    const bool cannotWrite = !_isOpen || (needsRoom && !spill());
    const bool isFull = !hasRoomFor(path);
    if (cannotWrite || isFull || path.size() > longestPath) {
        if (isFull && !cannotWrite)
            noteOutdated(path);
        else
            remove(path);
        return cannotWrite ? Added::cannotWrite : isFull ? Added::full : Added::yes;
    }
    if (item.text)
        _figures.bufferedBytes += item.text->size();
    put(std::move(item), find(path));
    return Added::yes;
}

void TextIndex::put(BufferedText item, std::optional<Place> instead)
{
    // First the new, then the old: a reader in between finds both, never none.
    auto &buffer = *_state->buffer;
    const auto slot = buffer.append(std::move(item));
    if (instead)
        kill(*instead);
    _buffered.emplace(buffer.item(slot).document.path, slot);
    count({nullptr, slot}, 1);
}

void TextIndex::noteFullness()
{
    // The last twentieth is for new versions of files that are in.
    const auto used = usedBytes();
    const auto twentieth = mostIntake() / 20;
    _figures.isFull = used >= twentieth * 19 || (_figures.isFull && used >= twentieth * 18);
    if (!_figures.isFull || std::exchange(_hasToldOfFull, true))
        return;
    qCWarning(logContent,
        "The text index has reached its limit of %llu MB; no further text is taken in.",
        static_cast<unsigned long long>(_options.mostDiskBytes / 1'000'000));
}

void TextIndex::noteOutdated(std::string_view path)
{
    const auto place = find(path);
    if (!place)
        return;
    if (_state->buffer->size() == TextBuffer::capacity)
        return kill(*place);
    auto document = documentAt(*place);
    document.stamp = {};
    put({std::move(document), nullptr, false}, place);
}

void TextIndex::remove(std::string_view path)
{
    if (const auto place = find(path))
        kill(*place);
}

void TextIndex::removeBelow(std::string_view folder)
{
    for (const auto &place : placesBelow(folder))
        kill(place);
}

void TextIndex::movedBelow(std::string_view from, std::string_view to,
    const std::function<RankFacts(const std::string &path)> &factsOf)
{
    if (isAtOrBelow(to, from) || isAtOrBelow(from, to))
        return removeBelow(from);  // the disk does no such thing
    removeBelow(to);
    std::vector<std::shared_ptr<Moves>> changed(_state->segments.size());
    for (const auto &place : placesBelow(from)) {
        auto moved = documentAt(place);
        moved.path = movedPath(moved.path, from, to);
        moved.facts = factsOf(moved.path);
        if (moved.path.size() > longestPath) {
            kill(place);
        } else if (place.segment != nullptr) {
            auto &moves = changed[std::size_t(place.segment - _state->segments.data())];
            noteMove(moves, place, std::move(moved));
        } else if (_state->buffer->size() == TextBuffer::capacity) {
            kill(place);  // no matter: it is read again when somebody offers it
        } else {
            auto item = _state->buffer->item(place.number);
            item.document = std::move(moved);
            put(std::move(item), place);
        }
    }
    auto state = *_state;
    for (std::size_t i = 0; i < changed.size(); ++i) {
        if (!changed[i])
            continue;
        state.segments[i].moves = std::move(changed[i]);
        _isDirty = true;
    }
    publish(std::move(state));
}

void TextIndex::noteMove(std::shared_ptr<Moves> &moves, const Place &place, Document moved)
{
    const auto &state = *place.segment;
    if (!moves)
        moves = state.moves ? std::make_shared<Moves>(*state.moves) : std::make_shared<Moves>();
    if (const auto *before = state.movedTo(place.number))
        moves->byPath.erase(before->path);
    moves->byPath[moved.path] = place.number;
    moves->byDocument[place.number] = {std::move(moved.path), moved.facts};
}

void TextIndex::forEachPath(
    const std::function<void(const Document &document, bool hasText)> &visit) const
{
    for (const auto &[path, slot] : _buffered) {
        const auto &item = _state->buffer->item(slot);
        visit(item.document, item.text != nullptr);
    }
    for (const auto &state : _state->segments) {
        for (DocumentId document = 0; document < state.segment->documentCount(); ++document) {
            if (state.dead->has(document))
                continue;
            const auto flags = state.segment->record(document).flags;
            visit(state.documentOf(document), (flags & DocumentRecord::hasText) != 0);
        }
    }
}

}  // namespace vellumhound::content
