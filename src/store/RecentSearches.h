// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Clock.h"
#include "store/ManagedObjectContext.h"

#include <QList>
#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>

namespace vellumhound::store {

/// Puts a search into the history, unless it repeats the newest one, and trims the older rows to
/// `limit`; the new row comes on top of these. A failure is one line on standard output and leaves
/// what is not saved pending.
void recordSearch(const QString &text, ManagedObjectContext &viewContext, std::int64_t limit,
    const platform::Clock &clock);

/// The two searches that a new user begins with: folders in tilde form. The texts stand unless the
/// user's own folders have other names.
struct SeededSearches {
    QString downloads = QStringLiteral("~/Downloads");
    QString desktop = QStringLiteral("~/Desktop");
};

/// The recent searches as the home screen shows them. Made and owned by the home screen; context
/// and clock outlive it. Main thread only.
class RecentSearchViewModel final : public QObject {
    Q_OBJECT

public:
    /// Seeds an empty history at once and then holds the two seeded searches.
    RecentSearchViewModel(ManagedObjectContext &viewContext, const platform::Clock &clock,
        const SeededSearches &seeds = {}, QObject *parent = nullptr);

    /// Newest first. Empty until the first load.
    const QList<std::shared_ptr<FileSearch>> &fileSearches() const { return _fileSearches; }
    /// Takes the newest `limit` searches from the store. On a failure, one line on standard output,
    /// and the list stays.
    void loadFileSearches(std::int64_t limit);

Q_SIGNALS:
    void fileSearchesChanged();

private:
    void seed(const SeededSearches &seeds, const platform::Clock &clock);

    ManagedObjectContext &_viewContext;
    QList<std::shared_ptr<FileSearch>> _fileSearches;
};

}  // namespace vellumhound::store
