// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/LinuxFileSystem.h"

#include "base/NativePath.h"
#include "base/StandardCompare.h"

#include <cerrno>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;
using base::UTType;

namespace {

struct CloseDirectory {
    void operator()(DIR *directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

base::Error errorOf(int number)
{
    return {QString::fromStdString(std::generic_category().message(number))};
}

/// The name that tells the type of a link's target: its own last component, however many links lie
/// between.
QString targetName(int folder, const char *name)
{
    const int fd = ::openat(folder, name, O_PATH | O_CLOEXEC);
    if (fd < 0)
        return {};
    char target[PATH_MAX];
    const auto proc = "/proc/self/fd/" + std::to_string(fd);
    const auto length = ::readlink(proc.c_str(), target, sizeof target);
    ::close(fd);
    if (length <= 0)
        return {};
    return base::lastPathComponent(base::pathFromBytes({target, std::size_t(length)}));
}

std::optional<UTType> typeOfFile(mode_t mode, const QString &name)
{
    return S_ISREG(mode) ? UTType::forFileName(name) : std::nullopt;
}

/// Reads one entry by its name in an open folder. The application's name is not asked for here.
std::optional<FileAttributes> readEntry(int folder, const char *name, const QString &text)
{
    struct stat status {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return std::nullopt;
    FileAttributes result;
    result.name = text;
    result.isHidden = text.startsWith(u'.');
    QString typedName = text;
    if (S_ISLNK(status.st_mode)) {
        if (::fstatat(folder, name, &status, 0) != 0) {
            result.contentType = UTType::symlink();
            return result;
        }
        if (S_ISREG(status.st_mode))
            typedName = targetName(folder, name);
    }
    result.isDirectory = S_ISDIR(status.st_mode);
    if (result.isDirectory) {
        result.contentType = UTType::folder();
    } else {
        result.fileSize = status.st_size;
        result.contentType = typeOfFile(status.st_mode, typedName);
    }
    return result;
}

void applyApplication(
    const ApplicationEntryName &applicationName, const QString &path, FileAttributes &attributes)
{
    if (!applicationName || attributes.isDirectory || !path.endsWith(".desktop"_L1))
        return;
    if (const auto name = applicationName(path)) {
        attributes.name = *name;
        attributes.contentType = UTType::application();
    }
}

}  // namespace

LinuxFileSystem::LinuxFileSystem(ApplicationEntryName applicationName)
    : _applicationName(std::move(applicationName))
{
}

bool LinuxFileSystem::exists(const QString &path) const
{
    struct stat status {};
    return ::stat(base::pathToBytes(path).constData(), &status) == 0;
}

base::Result<FileAttributes> LinuxFileSystem::attributes(const QString &path) const
{
    auto found =
        readEntry(AT_FDCWD, base::pathToBytes(path).constData(), base::lastPathComponent(path));
    if (!found)
        return errorOf(errno);
    applyApplication(_applicationName, path, *found);
    return std::move(*found);
}

base::Result<QList<DirectoryEntry>> LinuxFileSystem::contentsOfDirectory(const QString &path) const
{
    const int fd = ::open(
        base::pathToBytes(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return errorOf(errno);
    const Directory directory(::fdopendir(fd));
    if (!directory) {
        const int reason = errno;
        ::close(fd);
        return errorOf(reason);
    }

    QList<DirectoryEntry> entries;
    for (;;) {
        errno = 0;
        const auto *entry = ::readdir(directory.get());
        if (!entry) {
            if (errno != 0)
                return errorOf(errno);
            break;
        }
        if (entry->d_name[0] == '.')
            continue;
        const auto name = base::pathFromBytes(entry->d_name);
        auto attributes = readEntry(fd, entry->d_name, name);
        if (!attributes)
            continue;  // gone since its name was read
        DirectoryEntry result{base::appendingPathComponent(path, name), std::move(*attributes)};
        applyApplication(_applicationName, result.path, result.attributes);
        entries.append(std::move(result));
    }
    base::StandardCompare().sort(
        entries, [](const DirectoryEntry &entry) { return entry.attributes.name; });
    return entries;
}

}  // namespace vellumhound::platform
