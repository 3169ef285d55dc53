// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/SegmentBuilder.h"

#include "content/SegmentWriter.h"
#include "content/StoredText.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <tuple>

namespace vellumhound::content {

namespace {

constexpr auto noDocument = std::numeric_limits<DocumentId>::max();

/// The trigrams of several documents, turned round: by trigram the documents. Counts and places
/// stand in a table over all trigrams, of which a text touches a small part.
class Inversion {
public:
    /// Documents in ascending order.
    void add(DocumentId document, std::string_view text)
    {
        const auto before = _trigrams.size();
        _collector.collect(text, _trigrams);
        _ranges.push_back({document, _trigrams.size() - before});
    }

    /// False if there is no memory for it.
    bool writeTo(SegmentWriter &writer)
    {
        const std::unique_ptr<std::uint32_t, decltype(&std::free)> table(
            static_cast<std::uint32_t *>(std::calloc(trigramEnd, sizeof(std::uint32_t))),
            &std::free);  // pages that are not touched are not there
        if (!table)
            return false;
        auto *counts = table.get();
        std::vector<Trigram> distinct;
        for (const auto trigram : _trigrams) {
            if (counts[trigram]++ == 0)
                distinct.push_back(trigram);
        }
        std::sort(distinct.begin(), distinct.end());
        auto *nextPlaces = counts;  // each count gives way to the place of its list's end
        std::uint32_t place = 0;
        for (const auto trigram : distinct)
            place += std::exchange(nextPlaces[trigram], place);
        std::vector<DocumentId> documents(_trigrams.size());
        auto trigram = _trigrams.begin();
        for (const auto &range : _ranges) {
            for (std::size_t i = 0; i < range.count; ++i)
                documents[nextPlaces[*trigram++]++] = range.document;
        }
        std::size_t begin = 0;
        for (const auto one : distinct) {
            const std::size_t end = nextPlaces[one];
            writer.addList(one, std::span(documents).subspan(begin, end - begin));
            begin = end;
        }
        return true;
    }

private:
    struct Range {
        DocumentId document = 0;
        std::size_t count = 0;
    };

    TrigramCollector _collector;
    std::vector<Trigram> _trigrams;  // of one document after the other
    std::vector<Range> _ranges;
};

/// A document of one of the segments that are merged.
struct Origin {
    std::string_view path;
    std::uint32_t source = 0;
    DocumentId document = 0;
};

std::vector<Origin> liveDocuments(const std::vector<SegmentState> &sources)
{
    std::vector<Origin> origins;
    for (std::uint32_t source = 0; source < sources.size(); ++source) {
        const auto &state = sources[source];
        for (DocumentId document = 0; document < state.segment->documentCount(); ++document) {
            if (!state.dead->has(document))
                origins.push_back({state.pathOf(document), source, document});
        }
    }
    std::sort(origins.begin(), origins.end(), [](const Origin &a, const Origin &b) {
        return std::tie(a.path, a.source, a.document) < std::tie(b.path, b.source, b.document);
    });
    return origins;
}

/// The lists of a segment as its documents are numbered in the merged one. Holds a stretch of them
/// at a time: all lists of one first byte.
class Renumbered {
public:
    Renumbered(const TrigramSegment &segment, std::vector<DocumentId> newIds)
        : _segment(segment)
        , _newIds(std::move(newIds))
    {
    }

    void loadFirstByte(Trigram byte)
    {
        _lists.clear();
        _next = 0;
        _segment.forEachList(
            byte << 16, (byte + 1) << 16, [this](Trigram trigram, PostingList list) {
                _lists.push_back({trigram, list});
            });
    }
    /// trigramEnd when the stretch is done.
    Trigram trigram() const { return _next < _lists.size() ? _lists[_next].first : trigramEnd; }
    /// Appends the new numbers of the list and goes on to the next one.
    void take(std::vector<DocumentId> &out)
    {
        forEachPosting(_lists[_next++].second, _segment.documentCount(), [&](DocumentId document) {
            if (_newIds[document] != noDocument)
                out.push_back(_newIds[document]);
        });
    }

private:
    const TrigramSegment &_segment;
    std::vector<DocumentId> _newIds;  // by old number; noDocument for the dead
    std::vector<std::pair<Trigram, PostingList>> _lists;
    std::size_t _next = 0;
};

/// Ascending order. A long list costs less as a set of bits.
void sortDocuments(std::vector<DocumentId> &documents, std::vector<std::uint64_t> &bits)
{
    if (std::is_sorted(documents.begin(), documents.end()))
        return;
    if (documents.size() < bits.size()) {
        std::sort(documents.begin(), documents.end());
        return;
    }
    for (const auto document : documents)
        bits[document / 64] |= std::uint64_t(1) << document % 64;
    documents.clear();
    for (std::size_t i = 0; i < bits.size(); ++i) {
        for (auto word = std::exchange(bits[i], 0); word != 0; word &= word - 1)
            documents.push_back(DocumentId(i * 64) + DocumentId(__builtin_ctzll(word)));
    }
}

bool mergeLists(SegmentWriter &writer, std::vector<Renumbered> &sources, std::size_t documentCount,
    const std::atomic<bool> &isStopped)
{
    std::vector<std::uint64_t> bits((documentCount + 63) / 64);
    std::vector<DocumentId> documents;
    for (Trigram byte = 0; byte < 256; ++byte) {
        if (isStopped)
            return false;
        for (auto &source : sources)
            source.loadFirstByte(byte);
        while (true) {
            auto trigram = trigramEnd;
            for (const auto &source : sources)
                trigram = std::min(trigram, source.trigram());
            if (trigram == trigramEnd)
                break;
            documents.clear();
            for (auto &source : sources) {
                if (source.trigram() == trigram)
                    source.take(documents);
            }
            if (documents.empty())
                continue;
            sortDocuments(documents, bits);
            writer.addList(trigram, documents);
        }
    }
    return true;
}

base::Error noMemory()
{
    return base::Error{QStringLiteral("there is not enough memory")};
}

base::Error stopped()
{
    return base::Error{QStringLiteral("it was stopped")};
}

}  // namespace

base::Outcome writeSegment(const std::string &path, const TextBuffer &buffer, int packingLevel)
{
    std::vector<std::uint32_t> slots;
    for (std::uint32_t slot = 0; slot < buffer.size(); ++slot) {
        if (!buffer.isDead(slot))
            slots.push_back(slot);
    }
    std::sort(slots.begin(), slots.end(), [&](std::uint32_t a, std::uint32_t b) {
        return buffer.item(a).document.path < buffer.item(b).document.path;
    });
    SegmentWriter writer(path);
    TextPacker packer(packingLevel);
    Inversion inversion;
    for (DocumentId document = 0; document < slots.size() && !writer.hasFailed(); ++document) {
        const auto &item = buffer.item(slots[document]);
        if (!item.text) {
            writer.addDocument(item.document, {});
            continue;
        }
        const auto packed = packer.pack(*item.text);
        if (packed.empty() && !item.text->empty())
            return noMemory();
        writer.addDocument(
            item.document, {packed, std::uint32_t(item.text->size()), true, item.isCut});
        inversion.add(document, *item.text);
    }
    if (!writer.hasFailed() && !inversion.writeTo(writer))
        return noMemory();
    return writer.finish();
}

base::Outcome mergeSegments(const std::string &path, const std::vector<SegmentState> &sources,
    const std::atomic<bool> &isStopped)
{
    const auto origins = liveDocuments(sources);
    std::vector<std::vector<DocumentId>> newIds;
    for (const auto &source : sources)
        newIds.emplace_back(source.segment->documentCount(), noDocument);
    SegmentWriter writer(path);
    std::string packed;
    for (DocumentId document = 0; document < origins.size() && !writer.hasFailed(); ++document) {
        const auto &origin = origins[document];
        const auto &state = sources[origin.source];
        const auto record = state.segment->record(origin.document);
        if (isStopped)
            return stopped();
        if (!state.segment->readText(record, packed)) {
            state.segment->setDamaged();
            return base::Error{QStringLiteral("a text cannot be read")};
        }
        newIds[origin.source][origin.document] = document;
        writer.addDocument(state.documentOf(origin.document),
            {packed, record.textBytes, (record.flags & DocumentRecord::hasText) != 0,
                (record.flags & DocumentRecord::isCut) != 0});
    }
    std::vector<Renumbered> lists;
    for (std::size_t i = 0; i < sources.size(); ++i)
        lists.emplace_back(*sources[i].segment, std::move(newIds[i]));
    if (!writer.hasFailed() && !mergeLists(writer, lists, origins.size(), isStopped))
        return stopped();
    return writer.finish();
}

}  // namespace vellumhound::content
