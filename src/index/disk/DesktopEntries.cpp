// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/disk/DesktopEntries.h"

#include "base/Fold.h"
#include "base/NativePath.h"
#include "index/disk/Paths.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

namespace {

constexpr std::size_t mostEntryBytes = std::size_t(1) << 20;
constexpr int deepestFolder = 8;  // also what ends a circle of links

std::string bytesOf(const QString &path)
{
    return base::pathToBytes(path).toStdString();
}

/// Whether `path` leads to no file system that is to be avoided, neither itself nor by links.
bool isSafe(const std::string &path, const std::vector<Mount> &avoided)
{
    return avoided.empty() || !resolvePath(avoided, path).hangs;
}

bool isSafeFolder(const std::string &path, const std::vector<Mount> &avoided)
{
    struct stat status {};
    return isSafe(path, avoided) && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isLink(const std::string &path)
{
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

/// The content of a small regular file; absent if it is something else.
std::optional<std::string> readSmallFile(const std::string &path)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0)
        return std::nullopt;
    struct stat status {};
    std::string content;
    bool isRead = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    while (isRead && content.size() < mostEntryBytes) {
        char buffer[16384];
        const auto length = ::read(fd, buffer, sizeof buffer);
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0) {
            isRead = length == 0;
            break;
        }
        content.append(buffer, std::size_t(length));
    }
    ::close(fd);
    if (!isRead)
        return std::nullopt;
    return content;
}

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// A value with the escapes of the format resolved.
std::string unescaped(std::string_view value)
{
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            text += value[i];
            continue;
        }
        const char next = value[++i];
        text += next == 's' || next == 'n' || next == 't' || next == 'r' ? ' ' : next;
    }
    return text;
}

/// Calls `visit(key, value)` for the lines of the group that describes the entry.
template <class Visit> void forEachKey(std::string_view content, Visit visit)
{
    bool isInGroup = false;
    while (!content.empty()) {
        const auto end = content.find('\n');
        const auto line = trimmed(content.substr(0, end));
        content = end == std::string_view::npos ? std::string_view() : content.substr(end + 1);
        if (line.starts_with('[')) {
            if (isInGroup)
                return;
            isInGroup = line == "[Desktop Entry]";
        } else if (isInGroup && !line.starts_with('#')) {
            const auto sign = line.find('=');
            if (sign != std::string_view::npos)
                visit(trimmed(line.substr(0, sign)), trimmed(line.substr(sign + 1)));
        }
    }
}

/// A locale name's forms from the exact one to the plain language.
QStringList formsOfLanguage(const QString &language)
{
    auto rest = language;
    rest.replace(u'-', u'_');
    const auto at = rest.indexOf(u'@');
    const auto modifier = at < 0 ? QString() : rest.mid(at);
    rest = rest.left(at < 0 ? rest.size() : at).section(u'.', 0, 0);
    const auto plain = rest.section(u'_', 0, 0);
    QStringList forms{rest + modifier, rest, plain + modifier, plain};
    forms.removeDuplicates();
    return forms;
}

/// `folder` with all folders below it.
void collectFolders(
    const std::string &folder, int depth, const std::vector<Mount> &avoided, QStringList &out)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> dir(::opendir(folder.c_str()), ::closedir);
    if (!dir)
        return;
    out += base::pathFromBytes(folder);
    if (depth == deepestFolder)
        return;
    while (const auto *entry = ::readdir(dir.get())) {
        const auto path = folder + '/' + entry->d_name;
        const bool mayBeFolder = entry->d_name[0] != '.' && entry->d_type != DT_REG;
        if (mayBeFolder && isSafeFolder(path, avoided))
            collectFolders(path, depth + 1, avoided, out);
    }
}

}  // namespace

DesktopEntries::DesktopEntries(const QString &dataHome, const QStringList &dataDirs,
    QStringList languages, std::function<std::vector<Mount>()> mountsNow)
    : _mountsNow(std::move(mountsNow))
{
    QStringList data{dataHome};
    data += dataDirs;
    data += {base::appendingPathComponent(dataHome, QStringLiteral("flatpak/exports/share")),
        QStringLiteral("/var/lib/flatpak/exports/share"), QStringLiteral("/var/lib/snapd/desktop")};
    for (const auto &folder : data) {
        if (folder.startsWith(u'/'))
            _folders += base::appendingPathComponent(folder, QStringLiteral("applications"));
    }
    _folders.removeDuplicates();

    for (const auto &language : std::as_const(languages)) {
        for (const auto &form : formsOfLanguage(language)) {
            if (!form.isEmpty())
                _nameKeys.push_back("Name[" + form.toStdString() + "]");
        }
    }
    _nameKeys.emplace_back("Name");
}

std::optional<std::string> DesktopEntries::visibleName(
    const std::string &path, const std::vector<Mount> &avoided) const
{
    const auto content = isSafe(path, avoided) ? readSmallFile(path) : std::nullopt;
    if (!content)
        return std::nullopt;
    bool isApplication = false;
    bool isLeftOut = false;
    auto bestKey = _nameKeys.size();
    std::string name;
    forEachKey(*content, [&](std::string_view key, std::string_view value) {
        if (key == "Type")
            isApplication = value == "Application";
        else if (key == "NoDisplay" || key == "Hidden")
            isLeftOut = isLeftOut || value == "true";
        else if (key.starts_with("Name")) {
            const auto found = std::find(_nameKeys.begin(), _nameKeys.end(), key);
            const auto rank = std::size_t(found - _nameKeys.begin());
            if (rank < bestKey) {
                bestKey = rank;
                name = unescaped(value);
            }
        }
    });
    if (!isApplication || isLeftOut || name.empty() || name.find('\0') != std::string::npos)
        return std::nullopt;
    return name;
}

std::optional<QString> DesktopEntries::applicationName(const QString &path) const
{
    if (!path.endsWith(u".desktop"))
        return std::nullopt;
    const bool isInside = std::any_of(_folders.begin(), _folders.end(),
        [&](const QString &folder) { return path.startsWith(folder + u'/'); });
    if (!isInside)
        return std::nullopt;
    // Whoever asks has read the folder, so only a link can lead to something that hangs.
    const auto bytes = bytesOf(path);
    auto avoided = isLink(bytes) ? _mountsNow() : std::vector<Mount>();
    std::erase_if(avoided,
        [&](const Mount &mount) { return !mount.mayHang() || pathBelow(bytes, mount.point); });
    const auto name = visibleName(bytes, avoided);
    if (!name)
        return std::nullopt;
    return QString::fromStdString(*name);
}

std::vector<DesktopEntries::Found> DesktopEntries::entriesBelow(
    const std::string &top, const std::vector<Mount> &avoided)
{
    std::vector<Found> found;
    QStringList folders;
    if (isSafe(top, avoided))
        collectFolders(top, 0, avoided, folders);
    for (const auto &folder : std::as_const(folders)) {
        const auto bytes = bytesOf(folder);
        const std::unique_ptr<DIR, int (*)(DIR *)> dir(::opendir(bytes.c_str()), ::closedir);
        if (!dir)
            continue;
        while (const auto *entry = ::readdir(dir.get())) {
            const std::string_view name(entry->d_name);
            if (!name.ends_with(".desktop") || name.starts_with('.'))
                continue;
            const auto path = bytes + '/' + entry->d_name;
            auto id = path.substr(top.size() + 1);
            std::replace(id.begin(), id.end(), '/', '-');
            found.push_back({std::move(id), path});
        }
    }
    std::sort(
        found.begin(), found.end(), [](const Found &a, const Found &b) { return a.path < b.path; });
    return found;
}

ApplicationTable DesktopEntries::applications(const std::vector<Mount> &avoided) const
{
    ApplicationTable table;
    std::set<std::string> seen;
    for (const auto &folder : _folders) {
        for (const auto &entry : entriesBelow(bytesOf(folder), avoided)) {
            if (!seen.insert(entry.id).second)
                continue;
            const auto name = visibleName(entry.path, avoided);
            if (!name)
                continue;
            const bool isAscii = std::all_of(name->begin(), name->end(),
                [](char c) { return static_cast<unsigned char>(c) < 0x80; });
            table.push_back({entry.path, entry.path.substr(entry.path.rfind('/') + 1), *name,
                isAscii ? *name : base::fold(*name)});
        }
    }
    return table;
}

QStringList DesktopEntries::watchedFolders(const std::vector<Mount> &avoided) const
{
    QStringList watched;
    for (auto folder : _folders) {
        if (isSafeFolder(bytesOf(folder), avoided)) {
            collectFolders(bytesOf(folder), 0, avoided, watched);
            continue;
        }
        while (folder != u"/" && !isSafeFolder(bytesOf(folder), avoided))
            folder = base::deletingLastPathComponent(folder);
        watched += folder;
    }
    watched.removeDuplicates();
    return watched;
}

}  // namespace vellumhound::index
