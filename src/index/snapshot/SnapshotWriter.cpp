// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/snapshot/SnapshotWriter.h"

#include "base/Crc32c.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

constexpr std::size_t pieceBytes = std::size_t(1) << 20;
/// Written and given to the disk in one step, so that no step takes long and the last one has
/// little left to wait for.
constexpr std::size_t bytesPerStep = std::size_t(8) << 20;

constexpr std::string_view temporaryEnding = ".XXXXXX";

template <class Item> std::span<const char> asBytes(std::span<Item> items)
{
    return {reinterpret_cast<const char *>(items.data()), items.size_bytes()};
}

/// The folder with those above it. False, with errno, if it cannot be made.
bool makeFolder(const std::string &path)
{
    for (std::size_t slash = 0; slash != std::string::npos;) {
        slash = path.find('/', slash + 1);
        if (::mkdir(path.substr(0, slash).c_str(), 0700) != 0 && errno != EEXIST)
            return false;
    }
    return true;
}

}  // namespace

SnapshotWriter::SnapshotWriter(SnapshotContents contents, SnapshotTarget target)
    : _contents(std::move(contents))
    , _target(std::move(target))
    , _tables(_contents.base->names.tables())
    , _layout(_header)
{
    const auto &base = *_contents.base;
    _header.owner = _target.owner;
    _header.records = _tables.extent.count;
    _header.namesEnd = _tables.extent.end;
    _header.folders = base.folderCount();
    _header.originals = std::uint32_t(_tables.originalRecords.size());
    _header.originalBytes = _tables.originalBytes.size();
    _header.frequencies = base.frequencies;
    // A full last group has no sample behind it; the file wants one, for the end.
    _starts.assign(_tables.starts.begin(), _tables.starts.end());
    if (_header.records % NameBlock::sampleEvery == 0)
        _starts.back() = _header.namesEnd;
    _byRecord.assign(base.byRecord.begin(), base.byRecord.end());
    _byRecord.resize(_header.folders, nothing);
}

SnapshotWriter::~SnapshotWriter()
{
    if (!_temporary.empty())
        ::unlink(_temporary.c_str());
}

SnapshotWriter::State SnapshotWriter::step()
{
    if (_problem != Problem::none)
        return State::failed;
    if (!_file.isOpen())
        return begin();
    return _section < snapshotSections ? writePieces() : finish();
}

SnapshotWriter::State SnapshotWriter::begin()
{
    numberRoots();
    _layout = SnapshotLayout(_header);
    if (_layout.fileBytes > _target.mostBytes)
        return fail(Problem::tooLarge, EFBIG);
    if (!makeFolder(_target.folder))
        return fail(Problem::noFolder, errno);
    auto path = _target.folder + '/' + snapshotFileName;
    path += temporaryEnding;
    _file = Descriptor(::mkostemp(path.data(), O_CLOEXEC));
    if (!_file.isOpen())
        return fail(Problem::noFile, errno);
    _temporary = std::move(path);
    // Held as long as the file is being written; whoever finds it unlocked may remove it.
    ::flock(_file.number(), LOCK_EX | LOCK_NB);
    // The sections do not fill the file to its last byte.
    if (::ftruncate(_file.number(), off_t(_layout.fileBytes)) != 0)
        return fail(Problem::notWritten, errno);
    return State::unfinished;
}

/// Gives the roots that still stand consecutive numbers. Nothing is asked of the disk: what a root
/// lies on may have ceased to answer.
void SnapshotWriter::numberRoots()
{
    _records.assign(_contents.base->records.begin(), _contents.base->records.end());
    SnapshotTrees trees;
    for (const auto &root : _contents.roots) {
        if (root.folder == nothing)
            continue;
        _records[root.folder] = std::uint32_t(trees.roots.size());
        trees.roots.push_back({root.path, root.folder, root.isCrawled, root.identity});
    }
    trees.stops = _contents.stops;
    _trees = encode(trees);
    _header.treesBytes = _trees.size();
}

SnapshotWriter::State SnapshotWriter::writePieces()
{
    const auto first = _layout.offsets[_section] + _at;
    std::size_t left = bytesPerStep;
    while (left > 0 && _section < snapshotSections) {
        const auto section = SnapshotSection(_section);
        const std::size_t size = _layout.bytesOf(section);
        const auto end = std::min({size, _at + pieceBytes, _at + left});
        const auto bytes = piece(section, _at, end);
        auto &checksum = _header.checksums[_section];
        checksum = base::crc32c(std::as_bytes(bytes), checksum);
        if (!write(bytes, _layout.offsetOf(section) + _at))
            return fail(Problem::notWritten, errno);
        left -= end - _at;
        _at = end;
        if (_at == size) {
            ++_section;
            _at = 0;
        }
    }
    const auto end =
        _section < snapshotSections ? _layout.offsets[_section] + _at : _layout.fileBytes;
    ::sync_file_range(_file.number(), off_t(first), off_t(end - first),
        SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
    return State::unfinished;
}

SnapshotWriter::State SnapshotWriter::finish()
{
    _header.checksum = _header.ownChecksum();
    const auto header = std::span<const SnapshotHeader>(&_header, 1);
    if (!write(asBytes(header), 0) || ::fsync(_file.number()) != 0)
        return fail(Problem::notWritten, errno);
    const auto path = _target.folder + '/' + snapshotFileName;
    if (std::rename(_temporary.c_str(), path.c_str()) != 0)
        return fail(Problem::notPutInPlace, errno);
    _temporary.clear();
    const Descriptor folder(::open(_target.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen())
        ::fsync(folder.number());
    return State::done;
}

SnapshotWriter::State SnapshotWriter::fail(Problem problem, int error)
{
    _problem = problem;
    _error = error;
    return State::failed;
}

QString SnapshotWriter::description() const
{
    const auto reason = QString::fromLocal8Bit(std::strerror(_error));
    switch (_problem) {
    case Problem::none:
        break;
    case Problem::noFolder:
        return QStringLiteral("its folder cannot be made: ") + reason;
    case Problem::noFile:
        return QStringLiteral("no file can be made: ") + reason;
    case Problem::tooLarge:
        return QStringLiteral("it would take %1 bytes, of %2 at most")
            .arg(_layout.fileBytes)
            .arg(_target.mostBytes);
    case Problem::notWritten:
        return QStringLiteral("it cannot be written: ") + reason;
    case Problem::notPutInPlace:
        return QStringLiteral("it cannot be put in its place: ") + reason;
    }
    return {};
}

std::span<const char> SnapshotWriter::bytesOf(SnapshotSection section) const
{
    const auto &base = *_contents.base;
    switch (section) {
    case SnapshotSection::closedBefore:
        return asBytes(_tables.closedBefore);
    case SnapshotSection::starts:
        return asBytes(std::span(_starts));
    case SnapshotSection::originalRecords:
        return asBytes(_tables.originalRecords);
    case SnapshotSection::originalStarts:
        return asBytes(_tables.originalStarts);
    case SnapshotSection::firstRecords:
        return asBytes(base.firstRecords);
    case SnapshotSection::folderRecords:
        return asBytes(std::span(_records));
    case SnapshotSection::parents:
        return asBytes(base.parents);
    case SnapshotSection::subtreeEnds:
        return asBytes(base.subtreeEnds);
    case SnapshotSection::byRecord:
        return asBytes(std::span(_byRecord));
    case SnapshotSection::folderTimes:
        return asBytes(std::span(_contents.folderTimes));
    case SnapshotSection::trees:
        return _trees;
    case SnapshotSection::names:
        return _tables.data;
    case SnapshotSection::traits:
        return asBytes(_tables.traits);
    case SnapshotSection::changeTimes:
        return asBytes(_tables.changeTimes);
    case SnapshotSection::originalBytes:
        return _tables.originalBytes;
    }
    return {};
}

std::span<const char> SnapshotWriter::piece(
    SnapshotSection section, std::size_t from, std::size_t to)
{
    if (section != SnapshotSection::changeTimes)
        return bytesOf(section).subspan(from, to - from);
    _copy.resize(to - from);
    for (auto at = from; at < to; at += sizeof(std::uint32_t)) {
        const auto &time = _tables.changeTimes[at / sizeof(std::uint32_t)];
        const auto value = time.load(std::memory_order_relaxed);
        std::memcpy(_copy.data() + (at - from), &value, sizeof value);
    }
    return _copy;
}

bool SnapshotWriter::write(std::span<const char> bytes, std::uint64_t offset)
{
    while (!bytes.empty()) {
        const auto count = ::pwrite(_file.number(), bytes.data(), bytes.size(), off_t(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        offset += std::uint64_t(count);
        bytes = bytes.subspan(std::size_t(count));
    }
    return true;
}

void removeStaleSnapshots(const std::string &folder)
{
    const auto beginning = std::string(snapshotFileName) + '.';
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(::opendir(folder.c_str()), ::closedir);
    while (listing) {
        const auto *entry = ::readdir(listing.get());
        if (!entry)
            return;
        const std::string_view name(entry->d_name);
        if (!name.starts_with(beginning) ||
            name.size() != std::strlen(snapshotFileName) + temporaryEnding.size())
            continue;
        const auto path = folder + '/' + entry->d_name;
        const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
        if (file.isOpen() && ::flock(file.number(), LOCK_EX | LOCK_NB) == 0)
            ::unlink(path.c_str());
    }
}

}  // namespace vellumhound::index
