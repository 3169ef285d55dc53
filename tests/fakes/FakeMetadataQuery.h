// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NativePath.h"
#include "base/NotificationCenter.h"
#include "platform/MetadataQuery.h"

#include <QHash>

#include <algorithm>
#include <functional>
#include <utility>

namespace vellumhound::fakes {

/// An index entry made of whatever attributes a test gives it.
class FakeMetadataItem final : public platform::MetadataItem {
public:
    explicit FakeMetadataItem(QHash<QString, QVariant> attributes)
        : _attributes(std::move(attributes))
    {
    }
    QVariant valueForAttribute(const QString &key) const override { return _attributes.value(key); }

private:
    QHash<QString, QVariant> _attributes;
};

/// An index that answers when a test says so.
class FakeMetadataQuery final : public platform::MetadataQuery {
public:
    using Item = std::shared_ptr<const platform::MetadataItem>;

    explicit FakeMetadataQuery(base::NotificationCenter &center)
        : _center(center)
    {
    }

    /// An entry as the index has it: both names, path and type, and `more` on top (an invalid value
    /// takes an attribute away).
    static Item item(const QString &path, const QHash<QString, QVariant> &more = {})
    {
        using namespace platform;
        const auto name = base::lastPathComponent(path);
        QHash<QString, QVariant> attributes{
            {QString::fromUtf16(NSMetadataItemFSNameKey), name},
            {QString::fromUtf16(NSMetadataItemDisplayNameKey), name},
            {QString::fromUtf16(NSMetadataItemPathKey), path},
            {QString::fromUtf16(NSMetadataItemContentTypeKey), QStringLiteral("public.data")},
        };
        attributes.insert(more);
        return std::make_shared<FakeMetadataItem>(attributes);
    }

    /// The results grow by these.
    void append(const QList<Item> &items) { _results.append(items); }
    /// As append(), of those that the predicate of the run accepts.
    void appendMatching(const QList<Item> &items)
    {
        for (const auto &item : items) {
            if (accepts(*item))
                _results.append(item);
        }
    }
    /// Posts that results have come in; nothing while no run is on.
    void postProgress()
    {
        if (isRunning)
            _center.post(QString::fromUtf16(
                             base::Notifications::NSMetadataQueryGatheringProgressNotification),
                this);
    }
    /// Posts the end of gathering; nothing while no run is on.
    void postFinish()
    {
        if (isRunning)
            _center.post(QString::fromUtf16(
                             base::Notifications::NSMetadataQueryDidFinishGatheringNotification),
                this);
    }

    void setPredicate(const platform::MetadataPredicate &newPredicate) override
    {
        predicate = newPredicate;
    }
    void setSearchScopes(const QStringList &newScopes) override { scopes = newScopes; }
    void setSortDescriptors(const QStringList &descriptors) override
    {
        sortDescriptors = descriptors;
    }
    bool startQuery() override
    {
        ++startCount;
        _results.clear();
        isRunning = !refusesToStart;
        if (isRunning && onStart)
            onStart();
        return isRunning;
    }
    void stopQuery() override
    {
        ++stopCount;
        isRunning = false;
        if (onStop)
            onStop();
    }
    qsizetype resultCount() const override { return _results.size(); }
    Item resultAt(qsizetype index) const override
    {
        ++readCount;
        return index >= 0 && index < _results.size() ? _results[index] : nullptr;
    }

    platform::MetadataPredicate predicate;
    QStringList scopes;
    QStringList sortDescriptors{QStringLiteral("never set")};
    bool refusesToStart = false;
    bool isRunning = false;
    int startCount = 0;
    int stopCount = 0;
    mutable int readCount = 0;
    std::function<void()> onStart;  ///< runs inside startQuery; must not post by itself
    std::function<void()> onStop;   ///< runs inside stopQuery, likewise

private:
    bool accepts(const platform::MetadataItem &item) const
    {
        return std::any_of(
            predicate.anyOf.begin(), predicate.anyOf.end(), [&](const auto &condition) {
                return item.valueForAttribute(condition.key)
                    .toString()
                    .contains(condition.text, Qt::CaseInsensitive);
            });
    }

    base::NotificationCenter &_center;
    QList<Item> _results;
};

}  // namespace vellumhound::fakes
