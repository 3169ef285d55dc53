// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace vellumhound::platform {

/// The scope that means the whole computer.
inline constexpr char16_t NSMetadataQueryLocalComputerScope[] =
    u"NSMetadataQueryLocalComputerScope";

/// Keys of a metadata item's attributes.
inline constexpr char16_t NSMetadataItemFSNameKey[] = u"kMDItemFSName";
inline constexpr char16_t NSMetadataItemDisplayNameKey[] = u"kMDItemDisplayName";
inline constexpr char16_t NSMetadataItemFSSizeKey[] = u"kMDItemFSSize";
inline constexpr char16_t NSMetadataItemPathKey[] = u"kMDItemPath";
inline constexpr char16_t NSMetadataItemContentTypeKey[] = u"kMDItemContentType";
inline constexpr char16_t NSMetadataItemContentTypeTreeKey[] = u"kMDItemContentTypeTree";
inline constexpr char16_t NSMetadataItemTextContentKey[] = u"kMDItemTextContent";

/// One entry that a query found. Immutable and safe to read from any thread.
class MetadataItem {
public:
    virtual ~MetadataItem() = default;

    /// The value under `key`: text (QString) for names, path and content type, an integer (qint64)
    /// for the size, a QStringList for the type tree; invalid when the entry has none.
    virtual QVariant valueForAttribute(const QString &key) const = 0;
};

/// What a query looks for: entries for which at least one of the conditions holds.
struct MetadataPredicate {
    /// The attribute under `key` contains `text`, case and diacritics aside ("%K CONTAINS[cd] %@").
    struct Contains {
        QString key;
        QString text;

        bool operator==(const Contains &) const = default;
    };
    QList<Contains> anyOf;  // in the order in which they were joined

    bool operator==(const MetadataPredicate &) const = default;
};

/// A query of the live file index, reused from search to search. Main thread only; the
/// implementation does its work elsewhere and never inside these calls.
///
/// After startQuery() it posts, through the NotificationCenter with itself as object and always in
/// a later turn, NSMetadataQueryGatheringProgressNotification while results come in and
/// NSMetadataQueryDidFinishGatheringNotification once. Within a run the results only grow at the
/// end. After stopQuery() nothing is posted any more; results stay readable until the next start.
class MetadataQuery {
public:
    virtual ~MetadataQuery() = default;

    virtual void setPredicate(const MetadataPredicate &predicate) = 0;
    /// Folder paths (a leading tilde is the home directory), "/Applications" for the desktop
    /// entries, or NSMetadataQueryLocalComputerScope. Without any, a query ends without results.
    virtual void setSearchScopes(const QStringList &scopes) = 0;
    /// An empty list asks for the index's own order, the only one there is.
    virtual void setSortDescriptors(const QStringList &descriptors) = 0;
    /// Ends a running run first. False if it could not begin; then nothing is posted.
    virtual bool startQuery() = 0;
    virtual void stopQuery() = 0;

    virtual qsizetype resultCount() const = 0;
    /// Null for an index out of range and for an entry that is gone.
    virtual std::shared_ptr<const MetadataItem> resultAt(qsizetype index) const = 0;
};

}  // namespace vellumhound::platform
