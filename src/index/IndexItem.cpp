// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/IndexItem.h"

#include "base/NativePath.h"
#include "index/names/NameSearch.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace vellumhound::index {

namespace {

const Application *applicationAt(const IndexView &view, const std::string &path)
{
    if (!path.ends_with(".desktop"))
        return nullptr;
    const auto found = std::find_if(view.applications->begin(), view.applications->end(),
        [&](const Application &application) { return application.path == path; });
    return found == view.applications->end() ? nullptr : &*found;
}

std::string_view lastComponent(const std::string &path)
{
    return std::string_view(path).substr(path.rfind('/') + 1);
}

std::optional<base::UTType> typeByName(std::string_view path)
{
    return base::UTType::forFileName(base::pathFromBytes(path));
}

/// Kind and size of what a link leads to, in so far as that can be looked at without waiting.
void describeTarget(const std::string &path, const std::vector<Mount> &slowMounts, IndexItem &item)
{
    const auto target = resolvePath(slowMounts, path);
    struct stat status {};
    if (target.hangs) {
        item.contentType = typeByName(lastComponent(target.path));
    } else if (::stat(path.c_str(), &status) != 0) {
        item.contentType = base::UTType::symlink();
    } else if (S_ISDIR(status.st_mode)) {
        item.contentType = base::UTType::folder();
    } else if (S_ISREG(status.st_mode)) {
        item.contentType = typeByName(lastComponent(target.path));
        item.sizeBytes = status.st_size;
    }
}

/// Kind and size by the disk. False if there is nothing at the path.
bool describe(const std::string &path, const std::vector<Mount> &slowMounts, IndexItem &item)
{
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        return errno == ENAMETOOLONG;  // found by steps, and shown with what its name tells
    if (S_ISLNK(status.st_mode)) {
        describeTarget(path, slowMounts, item);
    } else if (S_ISDIR(status.st_mode)) {
        item.contentType = base::UTType::folder();
    } else if (S_ISREG(status.st_mode)) {
        item.contentType = base::UTType::forFileName(item.fileName);
        item.sizeBytes = status.st_size;
    }
    return true;
}

/// Kind by what the index knows.
void describe(EntryKind kind, IndexItem &item)
{
    if (kind == EntryKind::folder)
        item.contentType = base::UTType::folder();
    else if (kind == EntryKind::link)
        item.contentType = base::UTType::symlink();
    else if (kind == EntryKind::file)
        item.contentType = base::UTType::forFileName(item.fileName);
}

}  // namespace

QVariant IndexItem::valueForAttribute(const QString &key) const
{
    using namespace platform;
    if (key == NSMetadataItemFSNameKey)
        return fileName;
    if (key == NSMetadataItemDisplayNameKey)
        return displayName;
    if (key == NSMetadataItemPathKey)
        return path;
    if (key == NSMetadataItemContentTypeKey)
        return contentType ? QVariant(contentType->identifier()) : QVariant();
    if (key == NSMetadataItemContentTypeTreeKey)
        return contentType ? QVariant(contentType->typeTree()) : QVariant();
    if (key == NSMetadataItemFSSizeKey)
        return sizeBytes ? QVariant(*sizeBytes) : QVariant();
    return {};
}

std::shared_ptr<const IndexItem> readItem(const IndexView &view, RecordId record)
{
    const Application *application = isApplicationRecord(record)
                                         ? &(*view.applications)[record - firstApplicationRecord]
                                         : nullptr;
    if (!application && view.isDead(record))
        return nullptr;
    const auto path = application ? application->path : view.pathOf(record);
    if (!application)
        application = applicationAt(view, path);
    auto item = std::make_shared<IndexItem>();
    item->path = base::pathFromBytes(path);
    item->fileName = base::lastPathComponent(item->path);
    static const std::vector<Mount> noMounts;
    const auto &slowMounts = view.slowMounts ? *view.slowMounts : noMounts;
    const bool isSlow =
        mountOf(slowMounts, path) || (!isApplicationRecord(record) && view.mayHang(record));
    if (isSlow)
        describe(application ? EntryKind::file : view.traitsOf(record).kind(), *item);
    else if (!describe(path, slowMounts, *item))
        return nullptr;
    if (application) {
        item->fileName = QString::fromStdString(application->name);
        item->contentType = base::UTType::application();
    }
    item->displayName = item->fileName;
    return item;
}

}  // namespace vellumhound::index
