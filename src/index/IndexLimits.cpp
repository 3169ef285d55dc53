// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/IndexLimits.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>
#include <unistd.h>

namespace vellumhound::index {

using namespace Qt::StringLiterals;

namespace {

constexpr std::uint64_t mebibyte = 1 << 20;
constexpr std::uint64_t gibibyte = 1 << 30;

bool isRoomLeft(bool wasRoomLeft, std::uint64_t used, std::uint64_t limit)
{
    return wasRoomLeft ? used < limit : used < limit - limit / 10;
}

QString inMebibytes(std::uint64_t bytes)
{
    return QString::number(bytes / mebibyte) + u" MiB"_s;
}

}  // namespace

MachineSize readMachineSize(const std::string &cacheFolder)
{
    MachineSize size;
    const auto pages = ::sysconf(_SC_PHYS_PAGES);
    const auto pageBytes = ::sysconf(_SC_PAGESIZE);
    if (pages > 0 && pageBytes > 0)
        size.memoryBytes = std::uint64_t(pages) * std::uint64_t(pageBytes);
    struct statvfs disk {};
    if (::statvfs(cacheFolder.c_str(), &disk) == 0)
        size.freeDiskBytes = std::uint64_t(disk.f_bavail) * disk.f_frsize;
    return size;
}

std::uint64_t bytesInFolder(const std::string &folder)
{
    constexpr std::uint64_t blockBytes = 512;  // whatever the file system's blocks are
    std::uint64_t bytes = 0;
    std::error_code error;
    const std::filesystem::directory_iterator entries(folder, error);
    for (auto entry = begin(entries); !error && entry != end(entries); entry.increment(error)) {
        struct stat status {};
        if (::lstat(entry->path().c_str(), &status) == 0 && S_ISREG(status.st_mode))
            bytes += std::uint64_t(status.st_blocks) * blockBytes;
    }
    return bytes;
}

IndexLimits limitsFor(const MachineSize &machine, std::uint64_t diskBytesInUse)
{
    return {std::clamp(machine.memoryBytes / 8, 128 * mebibyte, 4 * gibibyte),
        std::min((machine.freeDiskBytes + diskBytesInUse) / 10, 8 * gibibyte)};
}

Intake intakeAfter(const Intake &before, std::uint64_t memoryBytes, std::uint64_t diskBytes,
    const IndexLimits &limits)
{
    return {isRoomLeft(before.takesFolders, memoryBytes, limits.memoryBytes),
        isRoomLeft(before.takesTexts, diskBytes, limits.diskBytes)};
}

QStringList linesAbout(const Intake &before, const Intake &after, const IndexLimits &limits)
{
    QStringList lines;
    if (before.takesFolders != after.takesFolders)
        lines += after.takesFolders
                     ? u"the index has room again and takes in further folders"_s
                     : u"the index has reached its limit of "_s + inMebibytes(limits.memoryBytes) +
                           u" of memory; no further folders are taken in"_s;
    if (before.takesTexts != after.takesTexts)
        lines += after.takesTexts
                     ? u"the index of texts has room again and takes in further files"_s
                     : u"the index of texts has reached its limit of "_s +
                           inMebibytes(limits.diskBytes) + u"; no further files are taken in"_s;
    return lines;
}

}  // namespace vellumhound::index
