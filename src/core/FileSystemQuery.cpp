// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/FileSystemQuery.h"

#include <algorithm>
#include <utility>

namespace vellumhound::core {

namespace {

std::optional<QString> textOf(const platform::MetadataItem &item, const char16_t *key)
{
    const auto value = item.valueForAttribute(QString::fromUtf16(key));
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return value.toString();
}

std::optional<std::int64_t> integerOf(const platform::MetadataItem &item, const char16_t *key)
{
    const auto value = item.valueForAttribute(QString::fromUtf16(key));
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return value.toLongLong();
    default:
        return std::nullopt;
    }
}

bool isDirectoryByTree(const platform::MetadataItem &item)
{
    const auto tree =
        item.valueForAttribute(QString::fromUtf16(platform::NSMetadataItemContentTypeTreeKey));
    return tree.typeId() == QMetaType::QStringList &&
           tree.toStringList().contains(u"public.directory");
}

}  // namespace

FileSystemQuery::FileSystemQuery(platform::MetadataQuery &query, base::NotificationCenter &center)
    : _query(query)
    , _center(center)
{
}

FileSystemQuery::~FileSystemQuery()
{
    stop();
}

bool FileSystemQuery::start(const Continuation &continuation, const settings::PathRules &rules)
{
    using namespace base::Notifications;
    stop();
    _run = std::make_shared<const int>(0);
    const AppliedRules appliedRules(rules);
    _gatheringProgressObserver = _center.addObserver(
        QString::fromUtf16(NSMetadataQueryGatheringProgressNotification), &_query,
        [this, continuation, appliedRules] { processBatch(continuation, appliedRules); });
    _didFinishGatheringObserver =
        _center.addObserver(QString::fromUtf16(NSMetadataQueryDidFinishGatheringNotification),
            &_query, [this, continuation, appliedRules] {
                processBatch(continuation, appliedRules);
                continuation.finish();
            });
    const bool hasBegun = _query.startQuery();
    continuation.setOnTermination([this, run = std::weak_ptr(_run)] {
        if (!run.expired())
            stop();
    });
    if (!hasBegun)
        continuation.finish();
    return hasBegun;
}

void FileSystemQuery::processBatch(const Continuation &continuation, const AppliedRules &rules)
{
    const auto total = _query.resultCount();
    yieldBatches(continuation, rules, total);
    // What a reached limit left out is not looked at again.
    _lastProcessedIndex = total;
    if (_totalYieldedResults >= mostYieldedResults)
        continuation.finish();
}

void FileSystemQuery::yieldBatches(
    const Continuation &continuation, const AppliedRules &rules, qsizetype total)
{
    auto i = _lastProcessedIndex;
    while (i < total && _totalYieldedResults < mostYieldedResults) {
        const auto end = std::min(total, i + batchSize);
        auto batch = readBatch(rules, i, end);
        if (!batch.isEmpty()) {
            const qsizetype room = mostYieldedResults - _totalYieldedResults;
            batch.resize(std::min(batch.size(), room));
            _totalYieldedResults += int(batch.size());
            continuation.yield(std::move(batch));
        }
        i = end;
    }
}

FileSystemQuery::Batch FileSystemQuery::readBatch(
    const AppliedRules &rules, qsizetype first, qsizetype end) const
{
    Batch batch;
    for (auto i = first; i < end; ++i) {
        const auto item = _query.resultAt(i);
        if (!item)
            continue;
        auto metadata = readMetadata(*item);
        if (metadata.path && metadata.fileName && rules.keeps(*metadata.path))
            batch.append(std::move(metadata));
    }
    return batch;
}

FileSystemQuery::FileMetadata FileSystemQuery::readMetadata(const platform::MetadataItem &item)
{
    FileMetadata metadata;
    metadata.fileName = textOf(item, platform::NSMetadataItemFSNameKey);
    metadata.fileSize = integerOf(item, platform::NSMetadataItemFSSizeKey);
    metadata.path = textOf(item, platform::NSMetadataItemPathKey);
    metadata.contentType = readContentType(item);
    // Equality, not conformance: a package or an application is no folder.
    metadata.isDirectory = metadata.contentType ? *metadata.contentType == base::UTType::folder()
                                                : isDirectoryByTree(item);
    return metadata;
}

std::optional<base::UTType> FileSystemQuery::readContentType(const platform::MetadataItem &item)
{
    const auto text = textOf(item, platform::NSMetadataItemContentTypeKey);
    if (!text)
        return std::nullopt;
    if (const auto type = base::UTType::fromIdentifier(*text))
        return type;
    if (const auto type = base::UTType::fromFilenameExtension(*text, base::UTType::data()))
        return type;
    if (const auto type = base::UTType::fromMimeType(*text, base::UTType::data()))
        return type;
    return base::UTType::item();
}

void FileSystemQuery::stop()
{
    _run.reset();
    _query.stopQuery();
    _gatheringProgressObserver.reset();
    _didFinishGatheringObserver.reset();
    _totalYieldedResults = 0;
    _lastProcessedIndex = 0;
}

}  // namespace vellumhound::core
