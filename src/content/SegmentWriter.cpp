// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/SegmentWriter.h"

#include "base/Crc32c.h"

#include <limits>

namespace vellumhound::content {

namespace {

constexpr std::size_t alignment = 8;

template <class Record> std::string_view bytesOf(const std::vector<Record> &records)
{
    const auto bytes = std::as_bytes(std::span(records));
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

std::string_view bytesOf(const SegmentHeader &header)
{
    return {reinterpret_cast<const char *>(&header), sizeof header};
}

}  // namespace

SegmentWriter::SegmentWriter(const std::string &path)
    : _file(path)
{
    _file.write(bytesOf(_header));  // its place; filled in at the end
    beginSection(Section::texts);
}

void SegmentWriter::addDocument(const Document &document, const Text &text)
{
    DocumentRecord record;
    record.textOffset = _file.size() - _header[Section::texts].offset;
    record.storedBytes = std::uint32_t(text.packed.size());
    record.textBytes = text.textBytes;
    record.mtimeNs = document.stamp.mtimeNs;
    record.sizeBytes = document.stamp.sizeBytes;
    record.pathOffset = std::uint32_t(_paths.size());
    record.pathLength = std::uint16_t(document.path.size());
    record.flags = std::uint16_t((document.facts.isNoise ? DocumentRecord::noise : 0) |
                                 (text.isThere ? DocumentRecord::hasText : 0) |
                                 (text.isCut ? DocumentRecord::isCut : 0));
    const auto shape = PathShape::of(document.path);
    record.depth = shape.depth;
    record.nameLength = shape.nameLength;
    _documents.push_back(record);
    _paths += document.path;
    _header.textBytes += text.textBytes;
    _file.write(text.packed);
}

void SegmentWriter::addList(Trigram trigram, std::span<const DocumentId> documents)
{
    if (_header.trigramCount % entriesPerHead == 0) {
        _heads.push_back(
            {trigram, std::uint32_t(_entries.size()), std::uint32_t(_postings.size())});
        _lastTrigram = trigram;
    }
    const auto begin = _postings.size();
    const bool isBitmap = appendPostings(_postings, documents, DocumentId(_documents.size()));
    const auto size = std::uint32_t(_postings.size() - begin);
    appendVarint(_entries, trigram - _lastTrigram);
    appendVarint(_entries, isBitmap ? 1 : size << 1);
    _lastTrigram = trigram;
    ++_header.trigramCount;
}

void SegmentWriter::beginSection(Section section)
{
    while (_file.size() % alignment != 0)
        _file.write(std::string_view("\0", 1));
    _header[section].offset = _file.size();
}

void SegmentWriter::endSection(Section section)
{
    _header[section].size = _file.size() - _header[section].offset;
}

void SegmentWriter::writeSection(Section section, std::string_view bytes)
{
    beginSection(section);
    _file.write(bytes);
    endSection(section);
    _header[section].crc = base::crc32c(std::as_bytes(std::span(bytes)));
}

base::Outcome SegmentWriter::finish()
{
    constexpr auto most = std::numeric_limits<std::uint32_t>::max();
    if (_paths.size() > most || _postings.size() > most || _entries.size() > most)
        return base::Error{QStringLiteral("too much for one segment")};
    endSection(Section::texts);
    writeSection(Section::documents, bytesOf(_documents));
    writeSection(Section::paths, _paths);
    writeSection(Section::postings, _postings);
    writeSection(Section::entries, _entries);
    writeSection(Section::heads, bytesOf(_heads));
    _header.documentCount = std::uint32_t(_documents.size());
    _header.fileBytes = _file.size();
    const auto bytes = std::as_bytes(std::span(&_header, 1));
    _header.crc = base::crc32c(bytes.first(offsetof(SegmentHeader, crc)));
    _file.writeAt(0, bytesOf(_header));
    return _file.commit();
}

}  // namespace vellumhound::content
