// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/TextSearch.h"

#include "content/TextFolding.h"

#include <algorithm>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace vellumhound::content {

TextSearch::TextSearch(const PublishedText &published, TextQuery query)
    : _query(std::move(query))
{
    auto needle = foldNeedle(_query.needle);
    if (!isSearchable(needle))
        return;
    _pattern.emplace(std::move(needle));
    // A document that the writer moves to a newer state while we look would be missed.
    constexpr int attempts = 3;
    for (int i = 0; i < attempts && !collect(published); ++i) {
    }
    noteLastUses();
    std::make_heap(_candidates.begin(), _candidates.end(),
        [this](const Candidate &a, const Candidate &b) { return isAfter(a, b); });
}

/// False if the state is no longer the newest one.
bool TextSearch::collect(const PublishedText &published)
{
    _candidates.clear();
    _state = published.current();
    for (std::uint32_t source = 0; source < _state->segments.size(); ++source)
        addFromSegment(source);
    addFromBuffer();  // last: what has been killed above is there by now
    return published.current() == _state;
}

void TextSearch::addFromSegment(std::uint32_t source)
{
    const auto &state = _state->segments[source];
    for (const auto document : state.segment->candidates(_pattern->needle())) {
        if (state.dead->has(document))
            continue;
        const auto record = state.segment->record(document);
        Candidate candidate{0, record.mtimeNs, source, document, {record.depth, record.nameLength},
            (record.flags & DocumentRecord::noise) != 0};
        if (const auto *moved = state.movedTo(document)) {
            candidate.shape = PathShape::of(moved->path);
            candidate.isNoise = moved->facts.isNoise;
        }
        _candidates.push_back(candidate);
    }
}

void TextSearch::addFromBuffer()
{
    const auto &buffer = *_state->buffer;
    const auto size = buffer.size();
    for (std::uint32_t slot = 0; slot < size; ++slot) {
        const auto &item = buffer.item(slot);
        if (!item.text || buffer.isDead(slot))
            continue;
        _candidates.push_back({0, item.document.stamp.mtimeNs, fromBuffer, slot,
            PathShape::of(item.document.path), item.document.facts.isNoise});
    }
}

/// Asks the segments for the few files that were used, not each candidate whether it was.
void TextSearch::noteLastUses()
{
    const auto end = _candidates.end();
    const auto note = [&](std::uint32_t source, DocumentId document, std::int64_t time) {
        const auto found = std::lower_bound(_candidates.begin(), end, std::pair(source, document),
            [](const Candidate &candidate, const auto &wanted) {
                return std::pair(candidate.source, candidate.number) < wanted;
            });
        if (found != end && found->source == source && found->number == document)
            found->lastUse = std::max(found->lastUse, time);
    };
    std::unordered_map<std::string_view, std::int64_t> times;
    for (const auto &use : _query.lastUses) {
        times[use.path] = std::max(times[use.path], use.time);
        for (std::uint32_t source = 0; source < _state->segments.size(); ++source) {
            const auto &state = _state->segments[source];
            const auto own = state.segment->firstNotBefore(use.path);
            if (own < state.segment->documentCount() && state.pathOf(own) == use.path)
                note(source, own, use.time);
            if (!state.moves)
                continue;
            const auto moved = state.moves->byPath.find(use.path);
            if (moved != state.moves->byPath.end())
                note(source, moved->second, use.time);
        }
    }
    for (auto candidate = _candidates.rbegin(); candidate != _candidates.rend(); ++candidate) {
        if (candidate->source != fromBuffer)
            break;
        const auto found = times.find(pathOf(*candidate));
        if (found != times.end())
            candidate->lastUse = found->second;
    }
}

bool TextSearch::isAfter(const Candidate &a, const Candidate &b) const
{
    const auto key = [](const Candidate &one, const Candidate &other) {
        return std::tuple(
            one.isNoise, other.lastUse, other.mtimeNs, one.shape.depth, one.shape.nameLength);
    };
    if (const auto keyOfA = key(a, b), keyOfB = key(b, a); keyOfA != keyOfB)
        return keyOfA > keyOfB;
    return pathOf(a) > pathOf(b);
}

bool TextSearch::isDead(const Candidate &candidate) const
{
    if (candidate.source == fromBuffer)
        return _state->buffer->isDead(candidate.number);
    return _state->segments[candidate.source].dead->has(candidate.number);
}

std::string_view TextSearch::pathOf(const Candidate &candidate) const
{
    if (candidate.source == fromBuffer)
        return _state->buffer->item(candidate.number).document.path;
    return _state->segments[candidate.source].pathOf(candidate.number);
}

Document TextSearch::documentOf(const Candidate &candidate) const
{
    if (candidate.source == fromBuffer)
        return _state->buffer->item(candidate.number).document;
    return _state->segments[candidate.source].documentOf(candidate.number);
}

Verdict TextSearch::look(const Candidate &candidate, const std::atomic<bool> &isCancelled)
{
    if (candidate.source == fromBuffer) {
        const auto &text = *_state->buffer->item(candidate.number).text;
        _bytesRead += text.size();
        return _pattern->isIn(text) ? Verdict::isThere : Verdict::isNotThere;
    }
    const auto &segment = *_state->segments[candidate.source].segment;
    if (TrigramSegment::isExact(_pattern->needle()))
        return Verdict::isThere;
    const bool isRead = segment.readText(segment.record(candidate.number), _packed);
    const auto verdict = isRead ? _unpacker.find(*_pattern, _packed, isCancelled, _bytesRead)
                                : Verdict::isUnreadable;
    if (verdict == Verdict::isUnreadable)
        segment.setDamaged();
    return verdict;
}

TextSearch::Page TextSearch::next(
    std::size_t limit, const std::atomic<bool> &isCancelled, std::uint64_t mostBytes)
{
    Page page;
    const auto isAfterThat = [this](
                                 const Candidate &a, const Candidate &b) { return isAfter(a, b); };
    const auto end = _bytesRead + mostBytes;
    while (!_candidates.empty() && page.hits.size() < limit && _bytesRead < end && !isCancelled) {
        std::pop_heap(_candidates.begin(), _candidates.end(), isAfterThat);
        const auto candidate = _candidates.back();
        const auto path = pathOf(candidate);
        const bool isWanted = !isDead(candidate) && (!_query.isInScope || _query.isInScope(path));
        const auto verdict = isWanted ? look(candidate, isCancelled) : Verdict::isNotThere;
        if (verdict == Verdict::isCancelled) {
            std::push_heap(_candidates.begin(), _candidates.end(), isAfterThat);
            break;
        }
        _candidates.pop_back();
        if (verdict == Verdict::isThere && _handedOut.emplace(path).second)
            page.hits.push_back(documentOf(candidate));
    }
    page.mayHaveMore = !_candidates.empty();
    return page;
}

}  // namespace vellumhound::content
