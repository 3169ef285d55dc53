// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/IndexItem.h"

#include "base/NativePath.h"
#include "index/NameSearch.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <sys/stat.h>

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

/// The name of what a link leads to.
QString targetName(const std::string &path)
{
    const std::unique_ptr<char, void (*)(void *)> real(
        ::realpath(path.c_str(), nullptr), std::free);
    return base::lastPathComponent(base::pathFromBytes(real ? real.get() : path.c_str()));
}

/// Kind and size by the disk. False if there is nothing at the path.
bool describe(const std::string &path, IndexItem &item)
{
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        return errno == ENAMETOOLONG;  // found by steps, and shown with what its name tells
    const bool isLink = S_ISLNK(status.st_mode);
    if (isLink && ::stat(path.c_str(), &status) != 0) {
        item.contentType = base::UTType::symlink();
        return true;
    }
    if (S_ISDIR(status.st_mode)) {
        item.contentType = base::UTType::folder();
    } else if (S_ISREG(status.st_mode)) {
        item.contentType = base::UTType::forFileName(isLink ? targetName(path) : item.fileName);
        item.sizeBytes = status.st_size;
    }
    return true;
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
    if (!describe(path, *item))
        return nullptr;
    if (application) {
        item->fileName = QString::fromStdString(application->name);
        item->contentType = base::UTType::application();
    }
    item->displayName = item->fileName;
    return item;
}

}  // namespace vellumhound::index
