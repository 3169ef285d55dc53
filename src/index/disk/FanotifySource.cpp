// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/FanotifySource.h"

#include "index/disk/FolderListing.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/fanotify.h>
#include <sys/statfs.h>
#include <unistd.h>
#include <utility>

#ifndef AT_HANDLE_FID  // style: the C library of 2022 does not name it yet
#define AT_HANDLE_FID 0x200
#endif

namespace vellumhound::index {

namespace {

constexpr std::uint64_t watchedEvents = FAN_CREATE | FAN_DELETE | FAN_MOVED_FROM | FAN_MOVED_TO |
                                        FAN_CLOSE_WRITE | FAN_DELETE_SELF | FAN_MOVE_SELF |
                                        FAN_ONDIR | FAN_EVENT_ON_CHILD;

/// The kernel merges what happens to one name into one event.
constexpr std::uint64_t allEvents = watchedEvents & ~std::uint64_t(FAN_ONDIR | FAN_EVENT_ON_CHILD);

std::string procPathOf(int descriptor)
{
    return "/proc/self/fd/" + std::to_string(descriptor);
}

/// Where the folder of a descriptor stands now; empty if it was removed or lies too deep.
std::string currentPathOf(int descriptor)
{
    std::array<char, PATH_MAX> path;
    const auto length = ::readlink(procPathOf(descriptor).c_str(), path.data(), path.size());
    const bool isWhole = length > 0 && std::size_t(length) < path.size() && path[0] == '/';
    return isWhole ? std::string(path.data(), std::size_t(length)) : std::string();
}

/// A fixed, good mixture; the bytes come from the kernel, not from somebody who looks for clashes.
std::uint64_t mix(std::uint64_t state, std::string_view bytes)
{
    for (const char byte : bytes) {
        state ^= static_cast<unsigned char>(byte);
        state *= 0x100000001B3;
        state ^= state >> 29;
    }
    return state;
}

std::uint64_t keyFrom(const void *fileSystemId, const file_handle &handle)
{
    constexpr std::size_t idSize = 8;
    auto key = mix(0xCBF29CE484222325, {static_cast<const char *>(fileSystemId), idSize});
    key = mix(key, {reinterpret_cast<const char *>(&handle.handle_type), sizeof(int)});
    return mix(key, {reinterpret_cast<const char *>(handle.f_handle), handle.handle_bytes});
}

struct HandleBuffer {
    alignas(file_handle) std::array<char, sizeof(file_handle) + MAX_HANDLE_SZ> bytes{};
    file_handle *handle() { return reinterpret_cast<file_handle *>(bytes.data()); }
};

/// The handle that events will name the folder by.
bool readHandle(int folderDescriptor, file_handle *handle)
{
    const auto read = [&](int flags) {
        int mount = 0;
        handle->handle_bytes = MAX_HANDLE_SZ;
        return ::name_to_handle_at(folderDescriptor, "", handle, &mount, AT_EMPTY_PATH | flags);
    };
    // Newer kernels also give handles for file systems that cannot open by them.
    return read(AT_HANDLE_FID) == 0 || (errno == EINVAL && read(0) == 0);
}

}  // namespace

FanotifySource::FanotifySource(std::function<int()> budget)
    : _descriptor(::fanotify_init(
          FAN_CLASS_NOTIF | FAN_REPORT_DFID_NAME | FAN_CLOEXEC | FAN_NONBLOCK, O_RDONLY))
    , _allowance(std::move(budget))
{
}

FanotifySource::~FanotifySource()
{
    if (_descriptor >= 0)
        ::close(_descriptor);
}

std::optional<FanotifySource::Key> FanotifySource::keyOf(int folderDescriptor)
{
    struct statfs fileSystem {};
    HandleBuffer buffer;
    if (::fstatfs(folderDescriptor, &fileSystem) != 0)
        return std::nullopt;
    // One without an id, once marked, keeps the kernel from marking any other.
    constexpr std::array<char, sizeof fileSystem.f_fsid> noId{};
    if (std::memcmp(&fileSystem.f_fsid, noId.data(), noId.size()) == 0)
        return std::nullopt;
    if (!readHandle(folderDescriptor, buffer.handle()))
        return std::nullopt;
    return keyFrom(&fileSystem.f_fsid, *buffer.handle());
}

int FanotifySource::find(int folderDescriptor)
{
    const std::lock_guard lock(_mutex);
    const auto key = _numbers.empty() ? std::nullopt : keyOf(folderDescriptor);
    const auto known = key ? _numbers.find(*key) : _numbers.end();
    return known == _numbers.end() ? noWatch : known->second;
}

bool FanotifySource::takesOneMore()
{
    if (_allowance.coversOneMoreThan(_held))
        return true;
    if (std::exchange(_lost, 0) > 0)
        _held = countWatchesOf(_descriptor);  // marks go with their folders, and nobody is told
    return _allowance.coversOneMoreThan(_held);
}

int FanotifySource::watch(int folderDescriptor, Interest)
{
    if (_descriptor < 0)
        return noWatch;
    const std::lock_guard lock(_mutex);
    const auto key = keyOf(folderDescriptor);
    if (!key)
        return noWatch;
    const auto known = _numbers.find(*key);
    if (known == _numbers.end() && !takesOneMore())
        return noWatch;
    // Also when it is known: the mark may have gone with the inode, and this number be of another.
    if (::fanotify_mark(_descriptor, FAN_MARK_ADD | FAN_MARK_ONLYDIR, watchedEvents,
            folderDescriptor, nullptr) != 0)
        return noWatch;
    auto path = currentPathOf(folderDescriptor);
    if (known != _numbers.end()) {
        _watched[known->second].path = std::move(path);
        return known->second;
    }
    // A folder given back and taken again gets another number, as with inotify.
    ++_held;
    _numbers[*key] = ++_last;
    _watched[_last] = {*key, std::move(path)};
    return _last;
}

void FanotifySource::unwatch(int watch)
{
    const std::lock_guard lock(_mutex);
    const auto found = _watched.find(watch);
    if (found == _watched.end())
        return;
    const auto watched = std::move(found->second);
    _watched.erase(found);
    _numbers.erase(watched.key);
    const int folder = watched.path.empty() ? -1 : openFolder(watched.path, false);
    const bool isRemoved = folder >= 0 && keyOf(folder) == watched.key &&
                           ::fanotify_mark(_descriptor, FAN_MARK_REMOVE | FAN_MARK_ONLYDIR,
                               watchedEvents, folder, nullptr) == 0;
    if (folder >= 0)
        ::close(folder);
    if (isRemoved)
        --_held;
    else
        ++_lost;
}

void FanotifySource::forget(Key key)
{
    const auto number = _numbers.find(key);
    _watched.erase(number->second);
    _numbers.erase(number);
    --_held;
}

std::vector<Change> FanotifySource::read()
{
    std::vector<Change> changes;
    alignas(fanotify_event_metadata) std::array<char, 65536> buffer;
    // Applying soon matters more than reading all: what is left makes the descriptor readable.
    while (changes.size() < 1024) {
        const auto length = ::read(_descriptor, buffer.data(), buffer.size());
        if (length <= 0)
            break;
        const std::lock_guard lock(_mutex);
        for (std::size_t at = 0; at < std::size_t(length);) {
            const char *event = buffer.data() + at;
            append(event, changes);
            std::uint32_t eventLength = 0;
            std::memcpy(&eventLength, event, sizeof eventLength);
            at += eventLength;
        }
    }
    return changes;
}

void FanotifySource::append(const char *event, std::vector<Change> &changes)
{
    fanotify_event_metadata metadata{};  // stands at any multiple of four
    std::memcpy(&metadata, event, sizeof metadata);
    Change change;
    if ((metadata.mask & FAN_Q_OVERFLOW) != 0) {
        change.kind = Change::Kind::lost;
        changes.push_back(std::move(change));
        return;
    }
    const auto *record = event + metadata.metadata_len;
    if (record + sizeof(fanotify_event_info_fid) > event + metadata.event_len)
        return;
    const auto &info = *reinterpret_cast<const fanotify_event_info_fid *>(record);
    if (info.hdr.info_type != FAN_EVENT_INFO_TYPE_DFID_NAME)
        return;
    const auto &handle = *reinterpret_cast<const file_handle *>(info.handle);
    const auto key = keyFrom(&info.fsid, handle);
    const auto number = _numbers.find(key);
    if (number == _numbers.end())
        return;  // given back
    change.watch = number->second;
    change.name = reinterpret_cast<const char *>(handle.f_handle) + handle.handle_bytes;
    const bool isOfItself = change.name == ".";
    if (isOfItself) {
        if ((metadata.mask & (FAN_DELETE_SELF | FAN_MOVE_SELF)) == 0)
            return;
        const bool isRemoved = (metadata.mask & FAN_DELETE_SELF) != 0;
        change.kind = isRemoved ? Change::Kind::folderGone : Change::Kind::folderMoved;
        change.name.clear();
        if (isRemoved)
            forget(key);
    } else if ((metadata.mask & allEvents) == FAN_CLOSE_WRITE) {
        change.kind = Change::Kind::written;
    }
    change.isNewFolder = !isOfItself && (metadata.mask & FAN_ONDIR) != 0 &&
                         (metadata.mask & (FAN_CREATE | FAN_MOVED_TO)) != 0;
    changes.push_back(std::move(change));
}

int FanotifySource::halfOfWhatTheUserMayHave()
{
    return readWatchBudget(WatchKind::fanotify);
}

}  // namespace vellumhound::index
