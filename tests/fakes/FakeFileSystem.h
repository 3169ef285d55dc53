// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NativePath.h"
#include "platform/FileSystem.h"

#include <QHash>
#include <QSet>

#include <condition_variable>
#include <mutex>

namespace vellumhound::fakes {

/// A file tree in memory, in the order in which it was put in. Any thread. Folders above an added
/// path come into being with it.
class FakeFileSystem final : public platform::FileSystem {
public:
    FakeFileSystem() { addFolder(QStringLiteral("/")); }

    void addFolder(const QString &path) { addFolder(path, base::UTType::folder()); }
    /// A folder with a type of its own, such as a package; absent is possible too.
    void addFolder(const QString &path, std::optional<base::UTType> type)
    {
        put(path, {base::lastPathComponent(path), true, false, std::nullopt, type});
    }
    void addFile(const QString &path, std::optional<std::int64_t> size = 1,
        std::optional<base::UTType> type = base::UTType::data())
    {
        put(path, {base::lastPathComponent(path), false, false, size, type});
    }
    /// A link that leads nowhere.
    void addBrokenLink(const QString &path)
    {
        put(path,
            {base::lastPathComponent(path), false, false, std::nullopt, base::UTType::symlink()});
    }
    /// Adds an entry exactly as told.
    void put(const QString &path, platform::FileAttributes attributes)
    {
        attributes.isHidden = base::lastPathComponent(path).startsWith(u'.');
        const std::lock_guard lock(_mutex);
        putLocked(path, attributes);
    }
    /// Takes away the entry with all below it.
    void remove(const QString &path)
    {
        const std::lock_guard lock(_mutex);
        _children[base::deletingLastPathComponent(path)].removeAll(path);
        removeLocked(path);
    }
    /// The folder's listing fails from now on, or works again.
    void setUnreadable(const QString &path, bool isUnreadable = true)
    {
        const std::lock_guard lock(_mutex);
        if (isUnreadable)
            _unreadable.insert(path);
        else
            _unreadable.remove(path);
    }
    /// What is asked of this path, but its existence, hangs from now on, until release().
    void hang(const QString &path)
    {
        const std::lock_guard lock(_mutex);
        _hanging.insert(path);
    }
    void release(const QString &path)
    {
        const std::lock_guard lock(_mutex);
        _hanging.remove(path);
        _released.notify_all();
    }
    int listingCount(const QString &path) const
    {
        const std::lock_guard lock(_mutex);
        return _listings.value(path);
    }
    /// How often anything was asked.
    int callCount() const
    {
        const std::lock_guard lock(_mutex);
        return _calls;
    }

    bool exists(const QString &path) const override
    {
        const std::lock_guard lock(_mutex);
        ++_calls;
        const auto entry = _entries.constFind(path);
        return entry != _entries.constEnd() && entry->contentType != base::UTType::symlink();
    }
    base::Result<platform::FileAttributes> attributes(const QString &path) const override
    {
        std::unique_lock lock(_mutex);
        ++_calls;
        _released.wait(lock, [&] { return !_hanging.contains(path); });
        const auto entry = _entries.constFind(path);
        if (entry == _entries.constEnd())
            return base::Error{QStringLiteral("No such file or directory")};
        return *entry;
    }
    base::Result<QList<platform::DirectoryEntry>> contentsOfDirectory(
        const QString &path) const override
    {
        std::unique_lock lock(_mutex);
        ++_calls;
        ++_listings[path];
        _released.wait(lock, [&] { return !_hanging.contains(path); });
        const auto folder = _entries.constFind(path);
        if (folder == _entries.constEnd() || !folder->isDirectory)
            return base::Error{QStringLiteral("Not a directory")};
        if (_unreadable.contains(path))
            return base::Error{QStringLiteral("Permission denied")};
        QList<platform::DirectoryEntry> entries;
        for (const auto &child : _children.value(path)) {
            if (!_entries[child].isHidden)
                entries.append({child, _entries[child]});
        }
        return entries;
    }

private:
    void putLocked(const QString &path, const platform::FileAttributes &attributes)
    {
        const auto parent = base::deletingLastPathComponent(path);
        if (path != parent) {
            if (!_entries.contains(parent))
                putLocked(parent, {base::lastPathComponent(parent), true,
                                      base::lastPathComponent(parent).startsWith(u'.'),
                                      std::nullopt, base::UTType::folder()});
            if (!_entries.contains(path))
                _children[parent].append(path);
        }
        _entries[path] = attributes;
    }
    void removeLocked(const QString &path)
    {
        const auto children = _children.take(path);
        for (const auto &child : children)
            removeLocked(child);
        _entries.remove(path);
    }

    mutable std::mutex _mutex;
    mutable std::condition_variable _released;
    QHash<QString, platform::FileAttributes> _entries;
    QHash<QString, QStringList> _children;
    QSet<QString> _unreadable;
    QSet<QString> _hanging;
    mutable QHash<QString, int> _listings;
    mutable int _calls = 0;
};

}  // namespace vellumhound::fakes
