// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Timer.h"
#include "settings/PathWatch.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

namespace vellumhound::settings {

/// The user's defaults: a folder in which each key is one file `<key>.json` that holds exactly the
/// bytes of its value, so that a person may read and edit one setting without touching another.
///
/// What another program writes counts once the folder has rested for `settleTime`: until then all
/// readers have the value from before, and a write builds on it, as an editor may empty a file
/// before it fills it. A file that has been emptied is no change at all, and neither is one that
/// can no longer be read.
///
/// Made by the composition root and handed down by reference; outlives everything that holds it.
/// Writing, removing and the signal belong to the main thread, any thread may read. Nothing here
/// fails loudly: what cannot be read is absent, what cannot be written is one line on the log and
/// in the return value.
class UserDefaults final : public QObject {
    Q_OBJECT

public:
    /// `folder` need not exist; the first write makes it, for its owner alone as all that it holds.
    UserDefaults(const QString &folder, base::Timer &timer, QObject *parent = nullptr);
    ~UserDefaults() override;

    /// `vellumhound` in $XDG_CONFIG_HOME if that is absolute, else in ".config" of the home folder.
    static QString standardFolder();

    /// The stored bytes, empty ones included. Absent if there is no such key, or its file cannot be
    /// read, is no regular file, or holds more than `mostBytes`.
    std::optional<QByteArray> data(const QString &key) const;
    /// Replaces the value as a whole. False, with the old bytes kept, if it cannot be written, or
    /// if a file is there that cannot be read.
    bool setData(const QString &key, const QByteArray &bytes);
    /// Makes the key absent. False if its file cannot be removed.
    bool removeData(const QString &key);

    /// A plain boolean: true if the value is `true`, false for any other value or none.
    bool boolean(const QString &key) const;
    bool setBoolean(const QString &key, bool value);

    /// No value of ours comes near it; a larger file is somebody's mistake.
    static constexpr qint64 mostBytes = 16 * 1024 * 1024;
    /// Between the last touch of another program and the moment when its changes count.
    static constexpr std::chrono::milliseconds settleTime{150};

Q_SIGNALS:
    /// The bytes of `key` are no longer what observers were told: written here (at once, before
    /// setData() returns) or by another program (once its changes count).
    void valueChanged(const QString &key);

private:
    QByteArray filePath(const QString &key) const;
    void noticeChange(const QByteArray &path, const QByteArray &name);
    void lookForChanges();
    void lookAt(const QString &key);
    void watchAgain();
    QStringList keysOnDisk() const;
    void announceIfChanged(const QString &key, const std::optional<QByteArray> &bytes);

    const QByteArray _folder;
    base::Timer &_timer;
    mutable std::mutex _mutex;           // guards the two below
    QHash<QString, QByteArray> _values;  // what counts, and what observers know
    bool _isFollowed = false;   // else nobody tells of changes, and each read goes to its file
    QByteArray _watchedFolder;  // ours or, while it is not there, the nearest one above it
    PathWatch _watch;
    std::unique_ptr<base::Timer::Wait> _settling;
};

}  // namespace vellumhound::settings
