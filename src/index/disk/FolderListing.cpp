// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/FolderListing.h"

#include <QString>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
/// A folder changed so shortly before it was read may change again without another time.
constexpr std::int64_t clockTick = 20'000'000;
/// So it is where times are whole seconds or, as on vfat, even ones.
constexpr std::int64_t coarseTick = 2 * nanosecondsPerSecond + clockTick;

/// The record of getdents64, for which the C library has no type.
struct DirectoryRecord {
    std::uint64_t inode;
    std::int64_t offset;
    std::uint16_t length;
    std::uint8_t type;
    char name[1];
};
constexpr std::size_t nameOffset = 19;

EntryKind kindOfMode(mode_t mode)
{
    if (S_ISDIR(mode))
        return EntryKind::folder;
    if (S_ISREG(mode))
        return EntryKind::file;
    return S_ISLNK(mode) ? EntryKind::link : EntryKind::other;
}

/// The kind that the listing tells, or that of the entry itself on file systems that tell none.
EntryKind kindOf(int folder, std::uint8_t type, const char *name)
{
    switch (type) {
    case DT_DIR:
        return EntryKind::folder;
    case DT_REG:
        return EntryKind::file;
    case DT_LNK:
        return EntryKind::link;
    case DT_UNKNOWN: {
        struct stat status {};
        if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0)
            return kindOfMode(status.st_mode);
        return EntryKind::other;
    }
    default:
        return EntryKind::other;
    }
}

void readEntries(int folder, FolderListing &listing)
{
    alignas(DirectoryRecord) std::array<char, 65536> buffer;
    for (;;) {
        const long length = ::syscall(SYS_getdents64, folder, buffer.data(), buffer.size());
        if (length < 0)
            listing.error = errno;
        if (length <= 0)
            return;
        for (std::size_t at = 0; at < std::size_t(length);) {
            const char *record = buffer.data() + at;
            std::uint16_t recordLength = 0;
            std::memcpy(
                &recordLength, record + offsetof(DirectoryRecord, length), sizeof recordLength);
            at += recordLength;
            const char *name = record + nameOffset;
            if (!isIndexedName(name))
                continue;
            const auto type = std::uint8_t(record[offsetof(DirectoryRecord, type)]);
            const auto nameLength = std::strlen(name);
            std::uint64_t inode = 0;
            std::memcpy(&inode, record + offsetof(DirectoryRecord, inode), sizeof inode);
            listing.entries.push_back({std::uint32_t(listing.names.size()),
                std::uint16_t(nameLength), kindOf(folder, type, name), std::uint32_t(inode)});
            listing.names.append(name, nameLength);
        }
    }
}

template <class Time> std::int64_t nanoseconds(const Time &time)
{
    return std::int64_t(time.tv_sec) * nanosecondsPerSecond + time.tv_nsec;
}

/// The later of both times: anybody can set the one for the contents, also to one in the future.
std::int64_t reliableTime(const struct statx &status)
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    const auto current = nanoseconds(now);
    const auto contents = nanoseconds(status.stx_mtime);
    const auto entry = nanoseconds(status.stx_ctime);
    const auto time = contents > current ? entry : std::max(contents, entry);
    const auto tick = time % nanosecondsPerSecond == 0 ? coarseTick : clockTick;
    return time > current - tick ? 0 : time;
}

/// The same where our clock says nothing about theirs, which may be ahead, behind or coarse: a time
/// is relied upon once the folder has been read twice with it. The readings of one folder lie
/// further apart than any clock's tick.
std::int64_t foreignTime(const struct statx &status, std::int64_t known)
{
    const auto time = std::max(nanoseconds(status.stx_mtime), nanoseconds(status.stx_ctime));
    const bool isSeenAgain = known == time || known == -time;
    return isSeenAgain ? time : -time;
}

bool describe(int folder, struct statx &status)
{
    constexpr unsigned wanted = STATX_BASIC_STATS | STATX_BTIME;
    return ::statx(folder, "", AT_EMPTY_PATH, wanted, &status) == 0;
}

/// Numbers of files are used again, but not with the same time of birth.
std::uint64_t identityOf(const struct statx &status)
{
    constexpr std::uint64_t spread = 0x9E3779B97F4A7C15;
    const auto device = std::uint64_t(status.stx_dev_major) << 32 | status.stx_dev_minor;
    const auto birth = std::uint64_t(nanoseconds(status.stx_btime));
    const auto rest = (device * spread + birth) * spread;
    const auto identity = std::uint64_t(std::uint32_t(status.stx_ino)) << 32 | rest >> 32;
    return identity == 0 ? 1 : identity;
}

RootIdentity rootIdentityOf(int folder, const struct statx &status)
{
    struct statfs system {};
    if (::fstatfs(folder, &system) != 0)
        return {};
    RootIdentity identity{std::uint64_t(system.f_type), status.stx_ino, 0};
    if ((status.stx_mask & STATX_BTIME) != 0)
        identity.birth = nanoseconds(status.stx_btime);
    return identity;
}

std::uint32_t seconds(const timespec &time)
{
    return std::uint32_t(std::clamp<std::int64_t>(time.tv_sec, 0, UINT32_MAX));
}

bool stateAt(int folder, const std::string &name, struct stat &status)
{
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) == 0;
}

/// What tells the two cases of a letter of ASCII apart. All file systems that ignore case ignore
/// that of these letters.
constexpr char caseBit = 0x20;

bool isLetter(char c)
{
    const auto small = char(c | caseBit);
    return small >= 'a' && small <= 'z';
}

bool isSameInAnyCase(std::string_view one, std::string_view other)
{
    const auto text = [](std::string_view name) {
        return QString::fromUtf8(name.data(), qsizetype(name.size()));
    };
    return text(one).compare(text(other), Qt::CaseInsensitive) == 0;
}

/// An open descriptor that is closed at the end of its scope.
class Descriptor {
public:
    explicit Descriptor(int number)
        : _number(number)
    {
    }
    ~Descriptor() { reset(-1); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int number() const { return _number; }
    void reset(int number)
    {
        if (_number >= 0)
            ::close(_number);
        _number = number;
    }
    int release() { return std::exchange(_number, -1); }

private:
    int _number;
};

/// Opens what lies before the last `rest` bytes of a path that is too long for one call; gives the
/// folder and leaves in `path` what to open from there.
int openLongPrefix(std::string_view &path)
{
    constexpr std::size_t mostAtOnce = PATH_MAX - 1;
    Descriptor folder(AT_FDCWD);
    while (path.size() > mostAtOnce) {
        const auto slash = path.rfind('/', mostAtOnce - 1);
        if (slash == std::string_view::npos || slash == 0) {
            errno = ENAMETOOLONG;
            return -1;
        }
        const std::string part(path.substr(0, slash));
        const int next = ::openat(folder.number(), part.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        folder.reset(next);
        if (next < 0)
            return -1;
        path.remove_prefix(slash + 1);
    }
    return folder.release();
}

}  // namespace

int openFolder(const std::string &path, bool followsLink)
{
    std::string_view rest(path);
    Descriptor from(openLongPrefix(rest));
    if (from.number() == -1)
        return -1;
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | (followsLink ? 0 : O_NOFOLLOW);
    return ::openat(from.number(), std::string(rest).c_str(), flags);
}

bool FolderListing::isMissing() const
{
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

FolderListing listFolder(const std::string &path, const ListingOptions &options)
{
    const auto start = std::chrono::steady_clock::now();
    FolderListing listing;
    const Descriptor folder(openFolder(path, options.isRoot));
    if (folder.number() < 0) {
        listing.error = errno;
        return listing;
    }
    // Before the folder is read: what comes meanwhile is then either seen or told.
    if (options.watchBy) {
        listing.watch = options.watchBy->watch(folder.number(), ChangeSource::Interest::contents);
        listing.isWatchRefused = listing.watch < 0;
    }
    struct statx status {};
    if (!describe(folder.number(), status)) {
        listing.error = errno;
        return listing;
    }
    listing.time =
        options.isClockForeign ? foreignTime(status, options.knownTime) : reliableTime(status);
    listing.identity = identityOf(status);
    if (options.isRoot)
        listing.rootIdentity = rootIdentityOf(folder.number(), status);
    const bool isSame = options.knownIdentity == 0 || options.knownIdentity == listing.identity;
    if (isSame && options.knownTime > 0 && options.knownTime == listing.time) {
        listing.isUnchanged = true;
        return listing;
    }
    readEntries(folder.number(), listing);
    std::sort(listing.entries.begin(), listing.entries.end(),
        [&](const auto &a, const auto &b) { return listing.nameOf(a) < listing.nameOf(b); });
    listing.took = std::chrono::steady_clock::now() - start;
    return listing;
}

bool isIndexedName(std::string_view name)
{
    return !name.empty() && name.front() != '.';
}

bool OpenFolder::open(const std::string &path, bool followsLink, std::uint64_t identity)
{
    close();
    std::string_view rest(path);
    Descriptor from(openLongPrefix(rest));
    if (from.number() == -1)
        return false;
    const int flags = O_PATH | O_DIRECTORY | O_CLOEXEC | (followsLink ? 0 : O_NOFOLLOW);
    _descriptor = ::openat(from.number(), std::string(rest).c_str(), flags);
    if (_descriptor < 0 || identity == 0)
        return _descriptor >= 0;
    struct statx status {};
    const bool isIt = describe(_descriptor, status) && identityOf(status) == identity;
    if (!isIt)
        close();
    return isIt;
}

void OpenFolder::close()
{
    if (_descriptor >= 0)
        ::close(std::exchange(_descriptor, -1));
    _case = Case::unknown;
    _listing.reset();
}

EntryState OpenFolder::stateOf(const std::string &name)
{
    struct stat status {};
    if (!stateAt(_descriptor, name, status))
        return {};
    const EntryState state{true, kindOfMode(status.st_mode), seconds(status.st_mtim), {}};
    if (!ignoresCase(name, status))
        return state;
    if (!_listing) {
        const Descriptor folder(::openat(_descriptor, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        readEntries(folder.number(), _listing.emplace());
    }
    EntryState other;
    for (const auto &entry : _listing->entries) {
        const auto kept = _listing->nameOf(entry);
        if (kept == name)
            return state;
        if (isSameInAnyCase(kept, name))
            other.keptAs = kept;
    }
    return other;
}

/// The first name with a letter shows it: where case is ignored, that letter in the other case
/// leads to the same entry.
bool OpenFolder::ignoresCase(const std::string &name, const struct stat &status)
{
    const auto letter = std::find_if(name.begin(), name.end(), isLetter);
    if (_case == Case::unknown && letter != name.end()) {
        auto other = name;
        auto &changed = other[std::size_t(letter - name.begin())];
        changed = char(changed ^ caseBit);
        struct stat found {};
        const bool isSame = stateAt(_descriptor, other, found) && found.st_ino == status.st_ino &&
                            found.st_dev == status.st_dev;
        _case = isSame ? Case::isIgnored : Case::matters;
    }
    return _case == Case::isIgnored;
}

}  // namespace vellumhound::index
