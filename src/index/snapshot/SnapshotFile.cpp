// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/snapshot/SnapshotFile.h"

#include "base/Crc32c.h"

#include <QString>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

/// Checked in one step: a few milliseconds from memory, so that other work gets its turn.
constexpr std::size_t pieceBytes = std::size_t(16) << 20;

base::Error because(const char *reason)
{
    return {QString::fromLatin1(reason)};
}

base::Error becauseOf(int error)
{
    return {QString::fromLocal8Bit(std::strerror(error))};
}

/// The header, if it is that of a file which this program has written for this user and which can
/// be as long as it is.
base::Result<SnapshotHeader> readHeader(int file, const std::array<char, 16> &owner)
{
    struct stat status {};
    if (::fstat(file, &status) != 0)
        return becauseOf(errno);
    if (!S_ISREG(status.st_mode))
        return because("it is no file");
    if (status.st_uid != ::geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return because("others can write to it");
    SnapshotHeader header;
    const auto bytes = ::pread(file, &header, sizeof header, 0);
    if (bytes < 0)
        return becauseOf(errno);
    if (bytes != sizeof header)
        return because("it is cut off");
    // From the outside to the inside: each test is worth something only after those before.
    if (header.magic != SnapshotHeader::rightMagic)
        return because("it is no index");
    if (header.byteOrder != SnapshotHeader::rightByteOrder)
        return because("it comes from a machine of another kind");
    if (header.version != SnapshotHeader::currentVersion)
        return because(header.version > SnapshotHeader::currentVersion ? "its version is newer"
                                                                       : "its version is older");
    if (header.checksum != header.ownChecksum())
        return because("its header is damaged");
    if (header.owner != owner)
        return because("it belongs to another user or machine");
    constexpr auto most = std::uint64_t(1) << 32;
    const bool isSensible = header.originalBytes < most && header.treesBytes < most;
    if (!isSensible || SnapshotLayout(header).fileBytes != std::uint64_t(status.st_size))
        return because("it is cut off");
    return header;
}

/// Lets a section be written to, for this process alone. Where the machine's pages are larger than
/// the file's, so can the neighbours that share a page with it.
bool makeWritable(void *memory, std::uint64_t offset, std::uint64_t bytes)
{
    const auto pageBytes = std::uint64_t(::getpagesize());
    const auto first = offset / pageBytes * pageBytes;
    return ::mprotect(static_cast<char *>(memory) + first, offset + bytes - first,
               PROT_READ | PROT_WRITE) == 0;
}

/// Over the file's pages; null if there is no room.
std::shared_ptr<SnapshotMapping> mapFile(Descriptor file, const SnapshotHeader &header)
{
    const SnapshotLayout layout(header);
    // All of it will be wanted: by the search at once, by the check soon.
    ::posix_fadvise(file.number(), 0, 0, POSIX_FADV_WILLNEED);
    void *memory =
        ::mmap(nullptr, layout.fileBytes, PROT_READ, MAP_PRIVATE | MAP_NORESERVE, file.number(), 0);
    if (memory == MAP_FAILED)
        return nullptr;
#ifdef MADV_POPULATE_READ  // style: not every kernel interface has it
    // The numbers are all read next.
    ::madvise(memory, layout.offsetOf(SnapshotSection::names), MADV_POPULATE_READ);
#endif
    auto mapping = std::make_shared<SnapshotMapping>(std::move(file), memory, header);
    using enum SnapshotSection;
    if (!makeWritable(memory, layout.offsetOf(changeTimes), layout.bytesOf(changeTimes)))
        return nullptr;
    return mapping;
}

bool areNumbersUndamaged(const SnapshotMapping &mapping)
{
    for (std::size_t section = 0; section < firstBulkSection; ++section) {
        const auto bytes = mapping.bytes(SnapshotSection(section));
        if (base::crc32c(std::as_bytes(bytes)) != mapping.header().checksums[section])
            return false;
    }
    return true;
}

std::shared_ptr<IndexBase> makeBase(
    const std::shared_ptr<const SnapshotMapping> &mapping, std::size_t rootCount)
{
    using enum SnapshotSection;
    using Number = std::uint32_t;
    const auto &header = mapping->header();
    NameBlock::Tables tables;
    tables.extent = {header.records, header.namesEnd};
    tables.data = mapping->items<char>(names);
    tables.closedBefore = mapping->items<Number>(closedBefore);
    tables.starts = mapping->items<Number>(starts);
    tables.traits = mapping->items<Traits>(traits);
    tables.changeTimes = mapping->items<std::atomic<Number>>(changeTimes);
    tables.originalRecords = mapping->items<Number>(originalRecords);
    tables.originalStarts = mapping->items<Number>(originalStarts);
    tables.originalBytes = mapping->items<char>(originalBytes);
    auto base = std::make_shared<IndexBase>(tables, mapping);
    base->firstRecords = mapping->items<Number>(firstRecords);
    base->records = mapping->items<Number>(folderRecords);
    base->parents = mapping->items<Number>(parents);
    base->subtreeEnds = mapping->items<Number>(subtreeEnds);
    base->byRecord = mapping->items<Number>(byRecord).first(header.folders - rootCount);
    base->frequencies = header.frequencies;
    return base;
}

}  // namespace

SnapshotMapping::SnapshotMapping(Descriptor file, void *memory, const SnapshotHeader &header)
    : _file(std::move(file))
    , _memory(static_cast<char *>(memory))
    , _header(header)
    , _layout(header)
{
}

SnapshotMapping::~SnapshotMapping()
{
    ::munmap(_memory, _layout.fileBytes);
}

std::span<const char> SnapshotMapping::bytes(SnapshotSection section) const
{
    return items<const char>(section);
}

bool SnapshotMapping::readFromFile(
    SnapshotSection section, std::size_t at, std::span<char> into) const
{
    while (!into.empty()) {
        const auto offset = off_t(_layout.offsetOf(section) + at);
        const auto count = ::pread(_file.number(), into.data(), into.size(), offset);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        at += std::size_t(count);
        into = into.subspan(std::size_t(count));
    }
    return true;
}

SnapshotCheck::SnapshotCheck(std::shared_ptr<const SnapshotMapping> mapping)
    : _mapping(std::move(mapping))
{
}

SnapshotCheck::Verdict SnapshotCheck::step()
{
    const auto section = SnapshotSection(_section);
    const auto size = _mapping->bytes(section).size();
    const auto end = std::min(size, _at + pieceBytes);
    if (!take(section, _at, end))
        return Verdict::damaged;
    _at = end;
    if (_at < size)
        return Verdict::unfinished;
    const bool isSound =
        _checksum == _mapping->header().checksums[_section] &&
        (section != SnapshotSection::originalBytes || areOriginalsSound(*_mapping));
    ++_section;
    _at = 0;
    _checksum = 0;
    if (!isSound)
        return Verdict::damaged;
    return _section == snapshotSections ? Verdict::sound : Verdict::unfinished;
}

bool SnapshotCheck::take(SnapshotSection section, std::size_t from, std::size_t to)
{
    const auto piece = _mapping->bytes(section).subspan(from, to - from);
    if (section == SnapshotSection::changeTimes) {
        // Those in memory may already be newer.
        std::vector<char> copy(piece.size());
        if (!_mapping->readFromFile(section, from, copy))
            return false;
        _checksum = base::crc32c(std::as_bytes(std::span(copy)), _checksum);
        return true;
    }
    _checksum = base::crc32c(std::as_bytes(piece), _checksum);
    return section != SnapshotSection::names || areNamesSound(*_mapping, from, to);
}

base::Result<std::shared_ptr<LoadedSnapshot>> loadSnapshot(
    const std::string &path, const std::array<char, 16> &owner)
{
    // Whatever stands there, opening it must not wait and must not lead elsewhere.
    Descriptor file(
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    if (!file.isOpen()) {
        if (errno == ENOENT || errno == ENOTDIR)
            return std::shared_ptr<LoadedSnapshot>();
        return becauseOf(errno);
    }
    const auto header = readHeader(file.number(), owner);
    if (!header)
        return header.error();
    const auto mapping = mapFile(std::move(file), header.value());
    if (!mapping)
        return becauseOf(errno);
    if (!areNumbersUndamaged(*mapping))
        return because("it is damaged");
    const auto encoded = mapping->bytes(SnapshotSection::trees);
    const auto trees = decodeTrees({encoded.data(), encoded.size()});
    if (!trees)
        return because("its roots cannot be read");
    if (const auto fault = faultInNumbers(*mapping, *trees); !fault.isEmpty())
        return base::Error{fault};

    auto loaded = std::make_shared<LoadedSnapshot>();
    loaded->mapping = mapping;
    loaded->contents.base = makeBase(mapping, trees->roots.size());
    const auto times = mapping->items<const std::int64_t>(SnapshotSection::folderTimes);
    loaded->contents.folderTimes.assign(times.begin(), times.end());
    for (const auto &root : trees->roots)
        loaded->contents.roots.push_back(
            {root.path, root.folder, root.isCrawled, false, root.identity});
    loaded->contents.stops = trees->stops;
    return loaded;
}

}  // namespace vellumhound::index
