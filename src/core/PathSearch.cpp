// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/PathSearch.h"

#include "base/NativePath.h"
#include "core/FileListing.h"
#include "platform/FileSystem.h"

namespace vellumhound::core {

namespace {

QString withoutTrailingSlashes(QString path)
{
    auto end = path.size();
    while (end > 1 && path[end - 1] == u'/')
        --end;
    path.truncate(end);
    return path;
}

FileList recordsAt(const platform::FileSystem &fileSystem, const QString &path)
{
    const auto attributes = fileSystem.attributes(path);
    if (attributes && attributes.value().isDirectory)
        return listDirectory(fileSystem, path, nullptr);
    const auto file = makeFile(fileSystem, path, nullptr);
    return file ? FileList{file} : FileList();
}

}  // namespace

bool isPathText(const QString &text)
{
    return text.startsWith(u'/') || text.startsWith(u'~');
}

FileList pathSearch(const platform::FileSystem &fileSystem, const QString &text)
{
    const auto path = withoutTrailingSlashes(base::expandTilde(text));
    if (fileSystem.exists(path))
        return recordsAt(fileSystem, path);
    const auto folder = base::deletingLastPathComponent(path);
    if (!fileSystem.exists(folder))
        return {};
    const auto beginning = base::lastPathComponent(path).toLower();
    auto files = listDirectory(fileSystem, folder, nullptr);
    files.removeIf([&](const FilePtr &file) {
        return !base::lastPathComponent(file->path).toLower().startsWith(beginning);
    });
    return files;
}

std::optional<QString> parentSearchPath(const QString &text)
{
    if (!isPathText(text))
        return std::nullopt;
    auto path = base::expandTilde(text);
    if (path == u"/")
        return std::nullopt;
    if (path.endsWith(u'/'))
        path.chop(1);
    const auto slash = path.lastIndexOf(u'/');
    if (slash < 0)
        return std::nullopt;
    if (slash == 0)
        return QStringLiteral("/");
    const auto parent = path.left(slash + 1);
    const auto &home = base::homeDirectoryPath();
    return parent.startsWith(home) ? u'~' + parent.mid(home.size()) : parent;
}

}  // namespace vellumhound::core
