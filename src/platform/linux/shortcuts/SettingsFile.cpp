// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/SettingsFile.h"

#include "base/NativePath.h"
#include "platform/Logging.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vellumhound::platform {

namespace {

constexpr qsizetype largestFile = 2'000'000;

class Descriptor {
public:
    explicit Descriptor(const QByteArray &path)
        : number(::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY))
    {
    }
    ~Descriptor()
    {
        if (number >= 0)
            ::close(number);
    }
    Q_DISABLE_COPY_MOVE(Descriptor)

    const int number;
};

/// Up to one byte more than a file may have.
std::optional<QByteArray> allOf(int descriptor)
{
    QByteArray contents;
    char block[16384];
    while (contents.size() <= largestFile) {
        const auto count = ::read(descriptor, block, sizeof block);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        contents.append(block, count);
    }
    return contents;
}

std::nullopt_t refused(const char *reason)
{
    qCWarning(logPlatform).noquote() << "settings of the desktop were not read:" << reason;
    return std::nullopt;
}

}  // namespace

std::optional<QByteArray> settingsFileContents(const QString &path)
{
    const Descriptor file(base::pathToBytes(path));
    if (file.number < 0) {
        if (errno == ENOENT || errno == ENOTDIR)
            return std::nullopt;
        return refused(std::strerror(errno));
    }
    struct stat status = {};
    if (::fstat(file.number, &status) != 0 || !S_ISREG(status.st_mode))
        return refused("not a file");
    auto contents = allOf(file.number);
    if (!contents)
        return refused(std::strerror(errno));
    if (contents->size() > largestFile)
        return refused("too large");
    if (contents->contains('\0'))
        return refused("not a text");
    return contents;
}

}  // namespace vellumhound::platform
