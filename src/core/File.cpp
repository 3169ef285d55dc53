// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/File.h"

#include "base/NativePath.h"
#include "platform/Workspace.h"

#include <utility>

namespace vellumhound::core {

File::File(QString name, QString absolutePath, bool isFolder, std::optional<std::int64_t> size,
    std::optional<base::UTType> type)
    : fileName(std::move(name))
    , path(std::move(absolutePath))
    , fileSize(size)
    , contentType(type)
    , isDirectory(isFolder)
{
}

QUrl File::url() const
{
    // Made from the bytes: a name that is no text must reach other programs as it stands on disk.
    return QUrl::fromEncoded(
        "file://" + base::pathToBytes(path).toPercentEncoding("/!$&'()*+,:=@"));
}

QString File::displayPath() const
{
    const auto &home = base::homeDirectoryPath();
    auto text = path.startsWith(home) ? u'~' + path.mid(home.size()) : path;
    if (isDirectory && !text.endsWith(u'/'))
        text += u'/';
    return text;
}

void File::revealInFinder(platform::Workspace &workspace) const
{
    workspace.selectFile(path, base::deletingLastPathComponent(path));
}

FilePtr topmostFolder(const FilePtr &file)
{
    auto top = file;
    while (top && top->_parent)
        top = top->_parent;
    return top;
}

void releaseChildren(const FilePtr &folder)
{
    // No recursion: the depth of the tree is the user's matter.
    FileList waiting{folder};
    while (!waiting.isEmpty())
        waiting.append(std::exchange(waiting.takeLast()->_children, {}));
}

void releaseTree(const FilePtr &file)
{
    if (file)
        releaseChildren(topmostFolder(file));
}

}  // namespace vellumhound::core
