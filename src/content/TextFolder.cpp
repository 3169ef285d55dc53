// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/TextFolder.h"

#include "base/AtomicFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vellumhound::content {

namespace {

constexpr std::string_view segmentSuffix = ".segment";
constexpr std::size_t digits = 16;

bool isSegmentName(std::string_view name)
{
    return name.size() == digits + segmentSuffix.size() && name.ends_with(segmentSuffix) &&
           name.find_first_not_of("0123456789abcdef") == digits;
}

base::Error errorOfErrno()
{
    return base::Error{QString::fromLocal8Bit(std::strerror(errno))};
}

void makeFolders(const std::string &path)
{
    for (std::size_t slash = 0; slash != std::string::npos;) {
        slash = path.find('/', slash + 1);
        ::mkdir(path.substr(0, slash).c_str(), 0700);
    }
}

}  // namespace

TextFolder::TextFolder(std::string path)
    : _path(std::move(path))
{
}

TextFolder::~TextFolder()
{
    unlock();
}

void TextFolder::unlock()
{
    if (_lock >= 0)
        ::close(_lock);
    _lock = -1;
}

base::Outcome TextFolder::prepare()
{
    const auto lockPath = _path + "/lock";
    struct stat there {};
    struct stat held {};
    if (_lock >= 0 && ::stat(lockPath.c_str(), &there) == 0 && ::fstat(_lock, &held) == 0 &&
        there.st_ino == held.st_ino && there.st_dev == held.st_dev)
        return std::monostate{};
    unlock();
    makeFolders(_path);
    _lock = ::open(lockPath.c_str(), O_CREAT | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (_lock < 0)
        return errorOfErrno();
    if (::flock(_lock, LOCK_EX | LOCK_NB) == 0)
        return std::monostate{};
    const auto error = errno == EWOULDBLOCK
                           ? base::Error{QStringLiteral("another program is using it")}
                           : errorOfErrno();
    unlock();
    return error;
}

std::string TextFolder::segmentPath(std::uint64_t id) const
{
    std::array<char, digits + 1> name{};
    std::snprintf(name.data(), name.size(), "%016llx", static_cast<unsigned long long>(id));
    return _path + '/' + name.data() + std::string(segmentSuffix);
}

std::vector<std::string> TextFolder::ourFiles() const
{
    std::vector<std::string> files;
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(::opendir(_path.c_str()), &::closedir);
    if (!folder)
        return files;
    while (const auto *entry = ::readdir(folder.get())) {
        std::string_view name(entry->d_name);
        const bool isBeingWritten = name.ends_with(base::AtomicFile::suffix);
        if (isBeingWritten)
            name.remove_suffix(base::AtomicFile::suffix.size());
        if (isSegmentName(name) || name == "manifest")
            files.push_back(_path + '/' + entry->d_name);
    }
    return files;
}

void TextFolder::sweep(const std::vector<std::uint64_t> &kept) const
{
    std::vector<std::string> keptPaths{manifestPath()};
    for (const auto id : kept)
        keptPaths.push_back(segmentPath(id));
    for (const auto &file : ourFiles()) {
        if (std::find(keptPaths.begin(), keptPaths.end(), file) == keptPaths.end())
            ::unlink(file.c_str());
    }
}

void TextFolder::removeAll()
{
    for (const auto &file : ourFiles())
        ::unlink(file.c_str());
    if (_lock >= 0)
        ::unlink((_path + "/lock").c_str());
    unlock();
    ::rmdir(_path.c_str());
}

}  // namespace vellumhound::content
