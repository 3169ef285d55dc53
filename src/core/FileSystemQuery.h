// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NotificationCenter.h"
#include "base/Stream.h"
#include "base/UTType.h"
#include "core/AppliedRules.h"
#include "platform/MetadataQuery.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

namespace vellumhound::core {

/// Turns the growing results of the index into a stream of small batches of plain records, already
/// filtered by the folder rules. It stops early: the first 100 records end a run, so that a very
/// common word floods nobody.
///
/// Main thread. Owned by the search service, which gives the index its predicate, scopes and sort
/// descriptors and then calls start(). The index and the notification centre outlive it.
class FileSystemQuery {
public:
    /// One index entry. What the index does not know stays absent.
    struct FileMetadata {
        std::optional<QString> fileName;
        std::optional<std::int64_t> fileSize;  ///< bytes
        std::optional<base::UTType> contentType;
        std::optional<QString> path;
        bool isDirectory = false;

        bool operator==(const FileMetadata &) const = default;
    };
    using Batch = QList<FileMetadata>;
    using Continuation = base::Stream<Batch>::Continuation;

    static constexpr int mostYieldedResults = 100;
    static constexpr qsizetype batchSize = 10;  ///< index entries looked at for one batch

    FileSystemQuery(platform::MetadataQuery &query, base::NotificationCenter &center);
    ~FileSystemQuery();
    Q_DISABLE_COPY_MOVE(FileSystemQuery)

    /// Ends the run before and begins a new one, whose batches go to `continuation`. Any end of the
    /// stream ends the run. False if the index could not begin: then the stream is finished without
    /// a batch.
    bool start(const Continuation &continuation, const settings::PathRules &rules);
    /// Works through the results that have come in since the last call.
    void processBatch(const Continuation &continuation, const AppliedRules &rules);
    /// Ends the run, if one is on; the stream is not finished by it.
    void stop();

    static FileMetadata readMetadata(const platform::MetadataItem &item);
    /// Absent only if the entry has no type at all; a text that means nothing gives the most
    /// general type.
    static std::optional<base::UTType> readContentType(const platform::MetadataItem &item);

    int totalYieldedResults() const { return _totalYieldedResults; }
    /// Where the next notification goes on in the results.
    qsizetype lastProcessedIndex() const { return _lastProcessedIndex; }

private:
    void yieldBatches(const Continuation &continuation, const AppliedRules &rules, qsizetype total);
    Batch readBatch(const AppliedRules &rules, qsizetype first, qsizetype end) const;

    platform::MetadataQuery &_query;
    base::NotificationCenter &_center;
    base::NotificationCenter::Token _gatheringProgressObserver;
    base::NotificationCenter::Token _didFinishGatheringObserver;
    int _totalYieldedResults = 0;
    qsizetype _lastProcessedIndex = 0;
    std::shared_ptr<const int>
        _run;  // marks the present run; a stream of an older one ends nothing
};

}  // namespace vellumhound::core
