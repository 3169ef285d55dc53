// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <linux/fuse.h>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

namespace vellumhound::tests {

/// A file system that takes requests and never answers one: what a dead network mount is like.
/// Needs the right to mount; check isMounted(). Everything that hangs in it is freed at the end.
class SilentFileSystem {
public:
    explicit SilentFileSystem(const std::string &point)
        : _point(point)
        , _connection(::open("/dev/fuse", O_RDWR | O_CLOEXEC))
    {
        if (_connection < 0)
            return;
        const auto options = "fd=" + std::to_string(_connection) +
                             ",rootmode=40000,user_id=" + std::to_string(::getuid()) +
                             ",group_id=" + std::to_string(::getgid());
        _isMounted =
            ::mount("silent", point.c_str(), "fuse.silent", MS_NODEV, options.c_str()) == 0;
        if (_isMounted)
            answerInit();
    }
    ~SilentFileSystem() { end(); }
    SilentFileSystem(const SilentFileSystem &) = delete;
    SilentFileSystem &operator=(const SilentFileSystem &) = delete;

    bool isMounted() const { return _isMounted; }
    /// Unmounts; requests that hang fail.
    void end()
    {
        if (_isMounted)
            ::umount2(_point.c_str(), MNT_FORCE | MNT_DETACH);
        _isMounted = false;
        if (_connection >= 0)
            ::close(_connection);
        _connection = -1;
    }

private:
    void answerInit()
    {
        std::array<char, 65536> buffer;
        if (::read(_connection, buffer.data(), buffer.size()) < 0)
            return;
        fuse_in_header request{};
        std::memcpy(&request, buffer.data(), sizeof request);
        struct {
            fuse_out_header header{};
            fuse_init_out init{};
        } answer;
        answer.header.len = sizeof answer;
        answer.header.unique = request.unique;
        answer.init.major = FUSE_KERNEL_VERSION;
        answer.init.minor = FUSE_KERNEL_MINOR_VERSION;
        answer.init.max_write = 4096;
        [[maybe_unused]] const auto bytes = ::write(_connection, &answer, sizeof answer);
    }

    const std::string _point;
    int _connection = -1;
    bool _isMounted = false;
};

}  // namespace vellumhound::tests
