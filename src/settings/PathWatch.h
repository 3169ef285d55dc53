// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QHash>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace vellumhound::settings {

/// Reports changes of a few paths: of the entries of a folder and of what a file holds, links
/// followed. One thread, with an event loop.
class PathWatch {
public:
    /// `changed` gets the path as it was given to watch() and, for a folder, the name of the entry.
    using Changed = std::function<void(const QByteArray &path, const QByteArray &name)>;

    explicit PathWatch(Changed changed);
    ~PathWatch();
    Q_DISABLE_COPY_MOVE(PathWatch)

    /// From now on these paths and no others, each as what it leads to at this moment: to be called
    /// again after a change.
    void watch(const QByteArrayList &paths);
    /// False for a path that was not there, or that the system had no watch left for.
    bool isWatching(const QByteArray &path) const;

private:
    void readEvents();

    Changed _changed;
    int _descriptor = -1;
    QHash<int, QByteArray> _paths;  // by the system's number of the watch
    std::unique_ptr<QSocketNotifier> _notifier;
};

}  // namespace vellumhound::settings
