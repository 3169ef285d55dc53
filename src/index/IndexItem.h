// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/UTType.h"
#include "index/names/IndexView.h"
#include "platform/MetadataQuery.h"

#include <memory>
#include <optional>
#include <string>

namespace vellumhound::index {

/// One entry as a query hands it out: what the index and the disk said of it at that moment.
class IndexItem final : public platform::MetadataItem {
public:
    QVariant valueForAttribute(const QString &key) const override;

    QString path;
    QString fileName;
    QString displayName;                      ///< an application's name, else the file name
    std::optional<base::UTType> contentType;  ///< a link has that of its target
    std::optional<qint64> sizeBytes;          ///< absent for folders and broken links
};

/// The item of an entry, read from the disk; null if it is gone. On a file system that may hang
/// nothing is read: the item says what the index knows, without a size. Any thread.
std::shared_ptr<const IndexItem> readItem(const IndexView &view, RecordId record);

}  // namespace vellumhound::index
