// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/IndexQuery.h"
#include "index/TemporaryTree.h"

#include <functional>
#include <memory>
#include <vector>

namespace vellumhound::tests {

using namespace vellumhound::index;
using namespace Qt::StringLiterals;

/// An index over a tree of its own, with one query.
struct QueryFixture {
    TemporaryTree tree;
    base::NotificationCenter center;
    std::unique_ptr<FileIndex> index;
    std::unique_ptr<IndexQuery> query;
    int progressCount = 0;
    int finishCount = 0;
    std::function<void()> onProgress;
    std::vector<base::NotificationCenter::Token> tokens;

    void begin(FileIndexOptions options = {})
    {
        options.dataHome = tree.text("data");
        options.dataDirs = {tree.text("system")};
        options.cacheFolder = tree.text("cache");
        options.readPressure = [] { return PressureReading(); };  // a busy machine takes its time
        options.languages = {u"de_DE"_s};
        options.inotifyBudget = [] { return 10'000; };
        index = std::make_unique<FileIndex>(options);
        query = std::make_unique<IndexQuery>(*index, center);
        tokens.clear();
        using namespace base::Notifications;
        tokens.push_back(center.addObserver(
            QString::fromUtf16(NSMetadataQueryGatheringProgressNotification), query.get(), [this] {
                ++progressCount;
                if (onProgress)
                    onProgress();
            }));
        tokens.push_back(
            center.addObserver(QString::fromUtf16(NSMetadataQueryDidFinishGatheringNotification),
                query.get(), [this] { ++finishCount; }));
    }
    bool start(const QString &text, const QStringList &scopes)
    {
        query->setPredicate({{{QString::fromUtf16(platform::NSMetadataItemDisplayNameKey), text}}});
        query->setSearchScopes(scopes);
        return query->startQuery();
    }
    bool start(const QString &text) { return start(text, {tree.text()}); }
    QStringList names() const
    {
        QStringList found;
        for (qsizetype i = 0; i < query->resultCount(); ++i)
            found += value(i, platform::NSMetadataItemFSNameKey).toString();
        return found;
    }
    QVariant value(qsizetype number, const char16_t *key) const
    {
        return query->resultAt(number)->valueForAttribute(QString::fromUtf16(key));
    }
    ~QueryFixture()
    {
        query.reset();
        index.reset();
    }
};

}  // namespace vellumhound::tests
