// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/TrigramSegment.h"

#include "base/Crc32c.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vellumhound::content {

namespace {

/// The `index`th of the records of which `bytes` is made; an empty one beyond the end.
template <class Record> Record recordAt(std::string_view bytes, std::size_t index)
{
    Record record{};
    if (index < bytes.size() / sizeof(Record))
        std::memcpy(&record, bytes.data() + index * sizeof(Record), sizeof(Record));
    return record;
}

std::string_view clamped(std::string_view bytes, std::uint64_t offset, std::uint64_t size)
{
    if (offset > bytes.size() || size > bytes.size() - offset)
        return {};
    return bytes.substr(offset, size);
}

bool readAll(int descriptor, char *out, std::size_t size, std::uint64_t offset)
{
    while (size > 0) {
        const auto got = ::pread(descriptor, out, size, off_t(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        out += got;
        size -= std::size_t(got);
        offset += std::uint64_t(got);
    }
    return true;
}

QString reasonOfErrno()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// What is wrong with a header read from a file of `fileBytes`.
std::optional<QString> faultOf(const SegmentHeader &header, std::uint64_t fileBytes)
{
    if (header.magic != segmentMagic || header.byteOrder != byteOrderMark)
        return QStringLiteral("it is no file of ours");
    if (header.version != segmentVersion)
        return QStringLiteral("it is of version %1").arg(header.version);
    const auto bytes = std::as_bytes(std::span(&header, 1)).first(offsetof(SegmentHeader, crc));
    if (base::crc32c(bytes) != header.crc)
        return QStringLiteral("its header is damaged");
    if (header.fileBytes != fileBytes)
        return QStringLiteral("it is cut");
    auto end = std::uint64_t(sizeof(SegmentHeader));
    for (const auto &place : header.sections) {
        if (place.offset < end || place.offset > fileBytes || place.size > fileBytes - place.offset)
            return QStringLiteral("its sections overlap");
        end = place.offset + place.size;
    }
    if (header[Section::documents].size != header.documentCount * sizeof(DocumentRecord))
        return QStringLiteral("its sections have wrong sizes");
    return {};
}

}  // namespace

class TrigramSegment::Walk {
public:
    /// At the head at `headIndex`.
    Walk(const TrigramSegment &segment, std::size_t headIndex)
        : _segment(segment)
        , _headIndex(headIndex)
    {
    }

    /// The next entry; false at the end.
    bool next()
    {
        if (_entries.empty() && !enterBlock())
            return false;
        std::uint32_t gap = 0;
        std::uint32_t form = 0;
        if (!takeVarint(_entries, gap) || !takeVarint(_entries, form))
            return false;
        trigram += gap;
        list.isBitmap = (form & 1) != 0;
        const auto size = list.isBitmap ? bitmapBytes(_segment.documentCount()) : form >> 1;
        list.bytes = clamped(_segment.section(Section::postings), _postings, size);
        _postings += size;
        return true;
    }

    Trigram trigram = 0;
    PostingList list;

private:
    bool enterBlock()
    {
        if (_headIndex >= _segment.headCount())
            return false;
        const auto head = _segment.head(_headIndex++);
        const auto all = _segment.section(Section::entries);
        const auto end =
            _headIndex < _segment.headCount() ? _segment.head(_headIndex).entries : all.size();
        _entries = end > head.entries ? clamped(all, head.entries, end - head.entries)
                                      : std::string_view{};
        _postings = head.postings;
        trigram = head.trigram;
        return !_entries.empty();
    }

    const TrigramSegment &_segment;
    std::size_t _headIndex;
    std::string_view _entries;  // what is left of the block
    std::uint64_t _postings = 0;
};

base::Result<std::shared_ptr<const TrigramSegment>> TrigramSegment::open(const std::string &path)
{
    std::shared_ptr<TrigramSegment> segment(new TrigramSegment);
    segment->_filePath = path;
    if (auto fault = segment->openFile())
        return base::Error{*fault};
    if (auto fault = segment->checkSections())
        return base::Error{*fault};
    return std::shared_ptr<const TrigramSegment>(std::move(segment));
}

TrigramSegment::~TrigramSegment()
{
    if (_mapping != nullptr)
        ::munmap(_mapping, _mappedBytes);
    if (_descriptor >= 0)
        ::close(_descriptor);
}

std::optional<QString> TrigramSegment::openFile()
{
    _descriptor = ::open(_filePath.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    struct stat status {};
    if (_descriptor < 0 || ::fstat(_descriptor, &status) != 0)
        return reasonOfErrno();
    const auto fileBytes = std::uint64_t(status.st_size);
    std::array<char, sizeof _header> bytes{};
    if (fileBytes < bytes.size() || !readAll(_descriptor, bytes.data(), bytes.size(), 0))
        return QStringLiteral("it is cut");
    std::memcpy(&_header, bytes.data(), bytes.size());
    if (auto fault = faultOf(_header, fileBytes))
        return fault;
    const auto page = std::uint64_t(::sysconf(_SC_PAGESIZE));
    _mappedFrom = _header[Section::documents].offset / page * page;
    _mappedBytes = fileBytes - _mappedFrom;
    auto *mapping =
        ::mmap(nullptr, _mappedBytes, PROT_READ, MAP_SHARED, _descriptor, off_t(_mappedFrom));
    if (mapping == MAP_FAILED)
        return reasonOfErrno();
    _mapping = mapping;
    return {};
}

/// Reads instead of looking through the mapping: that would keep all of it in memory.
std::optional<QString> TrigramSegment::checkSections() const
{
    std::string buffer(std::size_t(1) << 18, '\0');
    for (auto i = std::size_t(Section::documents); i < sectionCount; ++i) {
        const auto &place = _header.sections[i];
        std::uint32_t crc = 0;
        for (std::uint64_t done = 0; done < place.size;) {
            const auto size =
                std::size_t(std::min<std::uint64_t>(buffer.size(), place.size - done));
            if (!readAll(_descriptor, buffer.data(), size, place.offset + done))
                return QStringLiteral("it cannot be read");
            crc = base::crc32c(std::as_bytes(std::span(buffer)).first(size), crc);
            done += size;
        }
        if (crc != place.crc)
            return QStringLiteral("it is damaged");
    }
    return {};
}

std::string_view TrigramSegment::section(Section section) const
{
    const auto &place = _header[section];
    return {static_cast<const char *>(_mapping) + (place.offset - _mappedFrom), place.size};
}

DocumentRecord TrigramSegment::record(DocumentId document) const
{
    return recordAt<DocumentRecord>(section(Section::documents), document);
}

std::string_view TrigramSegment::path(const DocumentRecord &record) const
{
    return clamped(section(Section::paths), record.pathOffset, record.pathLength);
}

DocumentId TrigramSegment::firstNotBefore(std::string_view wanted) const
{
    DocumentId first = 0;
    for (auto count = documentCount(); count > 0;) {
        const auto half = count / 2;
        if (path(first + half) < wanted) {
            first += half + 1;
            count -= half + 1;
        } else {
            count = half;
        }
    }
    return first;
}

EntryHead TrigramSegment::head(std::size_t index) const
{
    return recordAt<EntryHead>(section(Section::heads), index);
}

void TrigramSegment::forEachList(
    Trigram first, Trigram end, const std::function<void(Trigram, PostingList)> &visit) const
{
    std::size_t below = 0;  // heads that are not above `first`
    for (auto count = headCount(); count > 0;) {
        const auto half = count / 2;
        if (head(below + half).trigram <= first) {
            below += half + 1;
            count -= half + 1;
        } else {
            count = half;
        }
    }
    Walk walk(*this, below > 0 ? below - 1 : 0);
    while (walk.next() && walk.trigram < end) {
        if (walk.trigram >= first)
            visit(walk.trigram, walk.list);
    }
}

PostingList TrigramSegment::list(Trigram trigram) const
{
    PostingList found;
    forEachList(trigram, trigram + 1, [&](Trigram, PostingList one) { found = one; });
    return found;
}

std::vector<DocumentId> TrigramSegment::unionOfPair(std::string_view pair) const
{
    const auto first =
        trigramOf(static_cast<unsigned char>(pair[0]), static_cast<unsigned char>(pair[1]), 0);
    std::string all(bitmapBytes(documentCount()), '\0');
    forEachList(first, first + 256, [&](Trigram, PostingList one) {
        if (one.isBitmap) {
            for (std::size_t i = 0; i < one.bytes.size(); ++i)
                all[i] = static_cast<char>(all[i] | one.bytes[i]);
            return;
        }
        forEachPosting(one, documentCount(), [&](DocumentId document) {
            all[document / 8] = static_cast<char>(all[document / 8] | 1 << document % 8);
        });
    });
    return decodePostings({all, true}, documentCount());
}

std::vector<DocumentId> TrigramSegment::candidates(std::string_view needle) const
{
    if (needle.size() < 2 || documentCount() == 0)
        return {};
    if (needle.size() == 2)
        return unionOfPair(needle);
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(needle[i]); };
    std::vector<Trigram> trigrams;
    for (std::size_t i = 2; i < needle.size(); ++i)
        trigrams.push_back(trigramOf(at(i - 2), at(i - 1), at(i)));
    std::sort(trigrams.begin(), trigrams.end());
    trigrams.erase(std::unique(trigrams.begin(), trigrams.end()), trigrams.end());
    std::vector<PostingList> lists;
    for (const auto trigram : trigrams) {
        lists.push_back(list(trigram));
        if (lists.back().bytes.empty())
            return {};
    }
    std::sort(lists.begin(), lists.end(),
        [](const PostingList &a, const PostingList &b) { return a.bytes.size() < b.bytes.size(); });
    auto documents = decodePostings(lists.front(), documentCount());
    for (std::size_t i = 1; i < lists.size() && !documents.empty(); ++i)
        intersect(documents, lists[i], documentCount());
    return documents;
}

bool TrigramSegment::readText(const DocumentRecord &record, std::string &packed) const
{
    const auto &texts = _header[Section::texts];
    if (record.textOffset > texts.size || record.storedBytes > texts.size - record.textOffset)
        return false;
    packed.resize(record.storedBytes);
    return readAll(_descriptor, packed.data(), packed.size(), texts.offset + record.textOffset);
}

}  // namespace vellumhound::content
