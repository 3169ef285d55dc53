// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace vellumhound::base {

namespace {

constexpr std::size_t drainAbove = std::size_t(1) << 18;

/// Brings the entries of a folder to the disk.
void syncFolder(const std::string &path)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
}

}  // namespace

AtomicFile::AtomicFile(std::string path)
    : _path(std::move(path))
    , _writtenPath(_path + std::string(suffix))
{
    _descriptor =
        ::open(_writtenPath.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (_descriptor < 0)
        _error = errno;
}

AtomicFile::~AtomicFile()
{
    if (_descriptor < 0)
        return;
    ::close(_descriptor);
    if (!_isCommitted)
        ::unlink(_writtenPath.c_str());
}

void AtomicFile::write(std::string_view bytes)
{
    _size += bytes.size();
    _pending += bytes;
    if (_pending.size() > drainAbove)
        drain();
}

void AtomicFile::writeAt(std::uint64_t offset, std::string_view bytes)
{
    drain();
    put(bytes, offset);
}

void AtomicFile::drain()
{
    put(_pending, _size - _pending.size());
    _pending.clear();
}

void AtomicFile::put(std::string_view bytes, std::uint64_t offset)
{
    while (!bytes.empty() && _error == 0) {
        const auto written = ::pwrite(_descriptor, bytes.data(), bytes.size(), off_t(offset));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            _error = written < 0 ? errno : EIO;
            return;
        }
        bytes.remove_prefix(std::size_t(written));
        offset += std::uint64_t(written);
    }
}

Outcome AtomicFile::commit()
{
    drain();
    if (_error == 0 && ::fsync(_descriptor) != 0)
        _error = errno;
    if (_error == 0 && ::rename(_writtenPath.c_str(), _path.c_str()) != 0)
        _error = errno;
    if (_error != 0)
        return Error{QString::fromLocal8Bit(std::strerror(_error))};
    _isCommitted = true;
    syncFolder(_path.substr(0, _path.rfind('/')));
    return std::monostate{};
}

}  // namespace vellumhound::base
