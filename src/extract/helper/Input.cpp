// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/Input.h"

#include <algorithm>
#include <cerrno>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vellumhound::extract::helper {
namespace {

/// From here on mapping is cheaper than copying.
constexpr std::uint64_t mappedFrom = 1u << 20;

}  // namespace

Input::Input(int descriptor)
    : _descriptor(descriptor)
{
    struct stat status {};
    if (::fstat(descriptor, &status) != 0)
        return;
    _isRegularFile = S_ISREG(status.st_mode);
    _size = std::uint64_t(std::max<off_t>(status.st_size, 0));
}

Input::~Input()
{
    if (_mapping)
        ::munmap(_mapping, _size);
    if (_descriptor >= 0)
        ::close(_descriptor);
}

std::string_view Input::beginning(std::uint64_t maxBytes)
{
    _buffer.resize(std::min(maxBytes, _size));
    std::size_t filled = 0;
    while (filled < _buffer.size()) {
        const auto count = readAt(filled, _buffer.data() + filled, _buffer.size() - filled);
        if (count <= 0)
            break;
        filled += std::size_t(count);
    }
    _buffer.resize(filled);
    return _buffer;
}

std::string_view Input::bytes()
{
    if (_size < mappedFrom)
        return beginning(_size);
    if (!_mapping) {
        void *mapping = ::mmap(nullptr, _size, PROT_READ, MAP_PRIVATE, _descriptor, 0);
        if (mapping == MAP_FAILED)
            return {};
        _mapping = mapping;
    }
    return {static_cast<const char *>(_mapping), _size};
}

std::int64_t Input::readAt(std::uint64_t offset, char *buffer, std::size_t size) const
{
    ssize_t count = -1;
    do
        count = ::pread(_descriptor, buffer, size, off_t(offset));
    while (count < 0 && errno == EINTR);
    _hasFailed = _hasFailed || count < 0;
    return count;
}

}  // namespace vellumhound::extract::helper
