// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/FileListing.h"

#include "base/NativePath.h"
#include "platform/FileSystem.h"

namespace vellumhound::core {

namespace {

/// The text behind the name's last dot; a name that only begins with a dot has none.
QString pathExtension(const QString &path)
{
    const auto name = base::lastPathComponent(path);
    const auto dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.mid(dot + 1) : QString();
}

FilePtr recordOf(
    const QString &path, const platform::FileAttributes &attributes, const FilePtr &parent)
{
    auto contentType = attributes.contentType;
    if (!contentType)
        contentType =
            base::UTType::fromFilenameExtension(pathExtension(path), base::UTType::data());
    const auto name = attributes.name.isEmpty() ? base::lastPathComponent(path) : attributes.name;
    auto file = std::make_shared<File>(
        name, path, attributes.isDirectory, attributes.fileSize, contentType);
    file->_parent = parent;
    return file;
}

}  // namespace

FilePtr makeFile(const platform::FileSystem &fileSystem, const QString &path, const FilePtr &parent)
{
    const auto attributes = fileSystem.attributes(path);
    return attributes ? recordOf(path, attributes.value(), parent) : nullptr;
}

FileList listDirectory(
    const platform::FileSystem &fileSystem, const QString &path, const FilePtr &parent)
{
    const auto entries = fileSystem.contentsOfDirectory(path);
    if (!entries)
        return {};
    FileList files;
    files.reserve(entries.value().size());
    for (const auto &entry : entries.value())
        files.append(recordOf(entry.path, entry.attributes, parent));
    return files;
}

}  // namespace vellumhound::core
