// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QString>

#include <optional>

namespace vellumhound::settings {

/// The user's defaults: a folder in which each key is one file `<key>.json` that holds exactly the
/// bytes of its value, so that a person may read and edit one setting without touching another.
///
/// Made by the composition root and handed down by reference; outlives everything that holds it.
/// Writing, removing and the signal belong to the main thread. Reading keeps no state and goes to
/// the file each time: any thread may read, and nobody sees a half-written value. Nothing here
/// fails loudly: what cannot be read is absent, what cannot be written is told by the return value
/// alone.
class UserDefaults final : public QObject {
    Q_OBJECT

public:
    /// `folder` need not exist; the first write makes it, readable for its owner alone.
    explicit UserDefaults(const QString &folder, QObject *parent = nullptr);

    /// `vellumhound` in $XDG_CONFIG_HOME if that is absolute, else in ".config" of the home folder.
    static QString standardFolder();

    /// The stored bytes, empty ones included. Absent if there is no such key, or its file cannot be
    /// read, is no regular file, or holds more than `mostBytes`.
    std::optional<QByteArray> data(const QString &key) const;
    /// Replaces the value as a whole. False, with the old bytes kept, if it cannot be written.
    bool setData(const QString &key, const QByteArray &bytes);
    /// Makes the key absent. False if its file cannot be removed.
    bool removeData(const QString &key);

    /// A plain boolean: true if the value is `true`, false for any other value or none.
    bool boolean(const QString &key) const;
    bool setBoolean(const QString &key, bool value);

    /// No value of ours comes near it; a larger file is somebody's mistake.
    static constexpr qint64 mostBytes = 16 * 1024 * 1024;

Q_SIGNALS:
    /// The bytes of `key` are no longer what observers were told: written here (at once, before
    /// setData() returns) or by another program (when the system reports it).
    void valueChanged(const QString &key);

private:
    QString filePath(const QString &key) const;
    void lookForChanges();
    void watchAgain();
    QStringList keysOnDisk() const;
    void announceIfChanged(const QString &key, const std::optional<QByteArray> &bytes);

    QString _folder;
    QHash<QString, QByteArray> _announced;  // what observers know, to tell a change from a touch
    QFileSystemWatcher _watcher;
};

}  // namespace vellumhound::settings
