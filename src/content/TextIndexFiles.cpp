// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/Logging.h"
#include "content/SegmentBuilder.h"
#include "content/TextIndex.h"

#include <algorithm>
#include <bit>
#include <map>
#include <numeric>
#include <unistd.h>
#include <utility>

namespace vellumhound::content {

base::Outcome TextIndex::open()
{
    const auto prepared = _folder.prepare();
    if (!prepared)
        return prepared;
    const auto manifest = readManifest(_folder.manifestPath());
    if (!manifest)
        qCWarning(logContent, "The text index begins anew, its manifest is of no use: %ls.",
            qUtf16Printable(manifest.error().description));
    load(manifest && manifest.value() ? *manifest.value() : Manifest{});
    _isOpen = true;
    return std::monostate{};
}

void TextIndex::load(const Manifest &manifest)
{
    TextState state{{}, std::make_shared<TextBuffer>()};
    std::vector<std::uint64_t> kept;
    for (const auto &wanted : manifest.segments) {
        auto opened = TrigramSegment::open(_folder.segmentPath(wanted.id));
        const bool isMeant = opened && opened.value()->header().crc == wanted.headerCrc;
        if (!isMeant) {
            const auto reason =
                opened ? QStringLiteral("it is another one") : opened.error().description;
            qCWarning(logContent, "A text segment is dropped, its files will be read again: %ls.",
                qUtf16Printable(reason));
            _isDirty = true;
            continue;
        }
        SegmentState one;
        one.id = wanted.id;
        one.segment = std::move(opened).value();
        const auto count = one.segment->documentCount();
        one.dead = std::make_shared<Tombstones>(count);
        for (DocumentId document = 0; document < count; ++document) {
            if (document / 64 < wanted.dead.size() &&
                (wanted.dead[document / 64] >> document % 64 & 1) != 0)
                one.dead->set(document);
        }
        if (!wanted.moves.byDocument.empty())
            one.moves = std::make_shared<Moves>(wanted.moves);
        kept.push_back(one.id);
        state.segments.push_back(std::move(one));
    }
    _folder.sweep(kept);
    _nextId = std::max(_nextId, manifest.nextId);
    _buffered.clear();
    _figures = {};
    publish(std::move(state));
    for (const auto &one : _state->segments) {
        for (DocumentId document = 0; document < one.segment->documentCount(); ++document) {
            if (!one.dead->has(document))
                count({&one, document}, 1);
        }
    }
    measureSegments();
    noteFullness();
}

void TextIndex::measureSegments()
{
    _figures.diskBytes = 0;
    _figures.postingBytes = 0;
    _figures.deadDocuments = 0;
    _figures.deadBytes = 0;
    for (const auto &state : _state->segments) {
        for (DocumentId document = 0; document < state.segment->documentCount(); ++document) {
            if (state.dead->has(document))
                countDead({&state, document});
        }
        const auto &header = state.segment->header();
        _figures.diskBytes += header.fileBytes;
        for (const auto section : {Section::postings, Section::entries, Section::heads})
            _figures.postingBytes += header[section].size;
    }
    _figures.segments = _state->segments.size();
}

bool TextIndex::hasWorked(const base::Outcome &outcome)
{
    if (!outcome && !std::exchange(_figures.cannotWrite, true))
        qCWarning(logContent, "The text index cannot be written: %ls.",
            qUtf16Printable(outcome.error().description));
    return bool(outcome);
}

bool TextIndex::flush()
{
    if (!_isOpen || !spill() || (_isDirty && !saveManifest()))
        return false;
    _figures.cannotWrite = false;
    return true;
}

bool TextIndex::spill()
{
    auto state = *_state;
    state.buffer = std::make_shared<TextBuffer>();
    if (!_buffered.empty()) {
        if (!hasWorked(_folder.prepare()))
            return false;
        const auto path = _folder.segmentPath(_nextId);
        if (!hasWorked(writeSegment(path, *_state->buffer, _options.packingLevel)))
            return false;
        auto opened = TrigramSegment::open(path);
        if (!opened) {
            ::unlink(path.c_str());
            return hasWorked(opened.error());
        }
        const auto count = opened.value()->documentCount();
        state.segments.push_back(
            {_nextId++, std::move(opened).value(), std::make_shared<Tombstones>(count), nullptr});
        _isDirty = true;
    }
    _buffered.clear();
    _figures.bufferedBytes = 0;
    publish(std::move(state));
    measureSegments();
    noteFullness();
    return !_isDirty || saveManifest();
}

bool TextIndex::saveManifest()
{
    if (!hasWorked(_folder.prepare()) ||
        !hasWorked(writeManifest(_folder.manifestPath(), Manifest::of(*_state, _nextId))))
        return false;
    _isDirty = false;
    _figures.cannotWrite = false;
    return true;
}

bool TextIndex::tidy()
{
    if (!_isOpen || _isStopped)
        return false;
    if (dropUnusable())
        return true;
    const auto merged = worthMerging();
    return !merged.empty() && rewrite(merged);
}

/// The living documents of some segments become one segment.
bool TextIndex::rewrite(const std::vector<std::size_t> &merged)
{
    std::vector<SegmentState> sources;
    for (const auto index : merged)
        sources.push_back(_state->segments[index]);
    const auto path = _folder.segmentPath(_nextId);
    const auto outcome = mergeSegments(path, sources, _isStopped);
    if (_isStopped)
        return false;
    if (!outcome && std::any_of(sources.begin(), sources.end(),
                        [](const SegmentState &source) { return source.segment->isDamaged(); }))
        return dropUnusable();
    if (!hasWorked(outcome))
        return false;
    auto opened = TrigramSegment::open(path);
    if (!opened)
        return hasWorked(opened.error());
    const auto count = opened.value()->documentCount();
    replace(merged, SegmentState{_nextId++, std::move(opened).value(),
                        std::make_shared<Tombstones>(count), nullptr});
    return true;
}

bool TextIndex::purge()
{
    if (!_isOpen || _isStopped)
        return false;
    if (dropUnusable())
        return true;
    // The smallest first: it makes room for the others.
    const auto &segments = _state->segments;
    std::optional<std::size_t> stale;
    const auto bytesOf = [&](std::size_t i) { return segments[i].segment->header().fileBytes; };
    for (std::size_t i = 0; i < segments.size(); ++i) {
        if (segments[i].dead->count() > 0 && (!stale || bytesOf(i) < bytesOf(*stale)))
            stale = i;
    }
    if (!stale)
        return false;
    if (_figures.diskBytes + bytesOf(*stale) <= _options.mostDiskBytes)
        return rewrite({*stale});
    drop({*stale});
    return true;
}

bool TextIndex::dropUnusable()
{
    std::vector<std::size_t> dropped;
    for (std::size_t i = 0; i < _state->segments.size(); ++i) {
        const auto &state = _state->segments[i];
        if (state.liveCount() > 0 && !state.segment->isDamaged())
            continue;
        dropped.push_back(i);
        if (state.liveCount() > 0)
            qCWarning(logContent, "A text segment is dropped, its files will be read again: "
                                  "a text in it is damaged.");
        _figures.lost += state.liveCount();
    }
    if (dropped.empty())
        return false;
    drop(dropped);
    return true;
}

void TextIndex::drop(const std::vector<std::size_t> &dropped)
{
    for (const auto index : dropped) {
        const auto &state = _state->segments[index];
        for (DocumentId document = 0; document < state.segment->documentCount(); ++document) {
            if (state.dead->has(document))
                continue;
            count({&state, document}, -1);
            _lost.emplace_back(state.pathOf(document));
        }
    }
    replace(dropped, {});
}

void TextIndex::replace(const std::vector<std::size_t> &old, std::optional<SegmentState> by)
{
    TextState state{{}, _state->buffer};
    std::vector<std::string> unlinked;
    for (std::size_t i = 0; i < _state->segments.size(); ++i) {
        if (std::find(old.begin(), old.end(), i) == old.end())
            state.segments.push_back(_state->segments[i]);
        else
            unlinked.push_back(_state->segments[i].segment->filePath());
    }
    if (by)
        state.segments.push_back(std::move(*by));
    publish(std::move(state));
    measureSegments();
    noteFullness();
    _isDirty = true;
    if (!saveManifest())
        return;  // the manifest on the disk still means the old files
    for (const auto &path : unlinked)
        ::unlink(path.c_str());
}

std::vector<std::size_t> TextIndex::worthMerging() const
{
    const auto &segments = _state->segments;
    const auto bytesOf = [&](std::size_t i) { return segments[i].segment->header().fileBytes; };
    for (std::size_t i = 0; i < segments.size(); ++i) {
        if (segments[i].dead->count() > segments[i].segment->documentCount() / 2 &&
            bytesOf(i) <= mostMerged())
            return {i};
    }
    // By size in powers of four, small ones first.
    constexpr std::uint64_t smallest = std::uint64_t(1) << 20;
    std::map<int, std::vector<std::size_t>> tiers;
    for (std::size_t i = 0; i < segments.size(); ++i)
        tiers[int(std::bit_width(bytesOf(i) / smallest)) / 2].push_back(i);
    for (auto &[tier, members] : tiers) {
        if (members.size() < _options.mergeAt)
            continue;
        std::sort(members.begin(), members.end(),
            [&](std::size_t a, std::size_t b) { return bytesOf(a) < bytesOf(b); });
        std::uint64_t total = 0;
        std::vector<std::size_t> merged;
        for (const auto i : members) {
            if (total + bytesOf(i) > mostMerged())
                break;
            total += bytesOf(i);
            merged.push_back(i);
        }
        if (merged.size() >= _options.mergeAt)
            return merged;
    }
    return {};
}

void TextIndex::clear()
{
    _folder.removeAll();
    _buffered.clear();
    _figures = {};
    _lost.clear();
    _hasToldOfFull = false;
    _isDirty = false;
    publish({{}, std::make_shared<TextBuffer>()});
}

TextFigures TextIndex::figures() const
{
    return _figures;
}

}  // namespace vellumhound::content
