// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Handover.h"
#include "base/NotificationCenter.h"
#include "index/FileIndex.h"
#include "index/QueryEngine.h"
#include "platform/MetadataQuery.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace vellumhound::index {

/// A query of the file index. Main thread; index and notification centre outlive it. It may be
/// destroyed, stopped or started again from inside a notification.
///
/// Results come ranked, best first; those that a crawl brings in later follow behind. They are
/// handed out in portions: whoever reads the last one that is there while a progress notification
/// is being posted gets the next portion with another one, as often as there are hits. The end of
/// gathering is posted once everything has been handed out or the reader has left off.
class IndexQuery final : public platform::MetadataQuery {
public:
    IndexQuery(FileIndex &index, base::NotificationCenter &center);
    ~IndexQuery() override;

    void setPredicate(const platform::MetadataPredicate &predicate) override;
    void setSearchScopes(const QStringList &scopes) override;
    void setSortDescriptors(const QStringList &) override {}
    /// False without a text to look for, or without a scope.
    bool startQuery() override;
    void stopQuery() override;

    qsizetype resultCount() const override { return qsizetype(_results.size()); }
    std::shared_ptr<const platform::MetadataItem> resultAt(qsizetype index) const override;

private:
    void receive(QueryAnswer answer);

    FileIndex &_index;
    base::NotificationCenter &_center;
    platform::MetadataPredicate _predicate;
    QStringList _scopes;

    std::uint64_t _generation = 0;
    std::shared_ptr<QueryRun> _run;  // null while nothing is gathered
    std::vector<std::shared_ptr<const IndexItem>> _results;
    mutable bool _wasReadToTheEnd = false;
    std::unique_ptr<base::Handover<QueryAnswer>> _handover;
};

}  // namespace vellumhound::index
