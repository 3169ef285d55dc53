// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NativePath.h"

#include <QString>
#include <QTemporaryDir>

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace vellumhound::tests {

/// A folder of its own for one test, with short words for what a test does in it. Names are bytes.
class TemporaryTree {
public:
    TemporaryTree() { _dir.setAutoRemove(false); }
    /// By bytes: Qt leaves names behind that are no text.
    ~TemporaryTree() { removeAll(); }
    TemporaryTree(const TemporaryTree &) = delete;
    TemporaryTree &operator=(const TemporaryTree &) = delete;

    std::string path(const std::string &relative = {}) const
    {
        const auto top = base::pathToBytes(_dir.path()).toStdString();
        return relative.empty() ? top : top + '/' + relative;
    }
    QString text(const std::string &relative = {}) const
    {
        return base::pathFromBytes(path(relative));
    }
    void folder(const std::string &relative) const
    {
        for (std::size_t slash = 0; slash != std::string::npos;) {
            slash = relative.find('/', slash + 1);
            ::mkdir(path(relative.substr(0, slash)).c_str(), 0755);
        }
    }
    void file(const std::string &relative, const std::string &content = {}) const
    {
        const auto slash = relative.rfind('/');
        if (slash != std::string::npos)
            folder(relative.substr(0, slash));
        const int fd = ::open(path(relative).c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
        if (fd < 0 || ::write(fd, content.data(), content.size()) < 0)
            std::perror(relative.c_str());
        ::close(fd);
    }
    void link(const std::string &relative, const std::string &target) const
    {
        [[maybe_unused]] const int failed = ::symlink(target.c_str(), path(relative).c_str());
    }
    /// When its contents last changed, in seconds since 1970.
    void setTime(const std::string &relative, std::int64_t seconds) const
    {
        const timespec times[2] = {{seconds, 0}, {seconds, 0}};
        ::utimensat(AT_FDCWD, path(relative).c_str(), times, 0);
    }
    void move(const std::string &from, const std::string &to) const
    {
        ::rename(path(from).c_str(), path(to).c_str());
    }
    /// Nothing if there is no such entry.
    void removeAll(const std::string &relative = {}) const
    {
        std::error_code ignored;
        std::filesystem::remove_all(path(relative), ignored);
    }
    void remove(const std::string &relative) const { std::remove(path(relative).c_str()); }

private:
    QTemporaryDir _dir;
};

}  // namespace vellumhound::tests
