// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/ApplicationWatch.h"

#include "base/NativePath.h"
#include "index/disk/FolderListing.h"

#include <algorithm>
#include <memory>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

ApplicationWatch::ApplicationWatch(Worker &worker, ChangeSource &source, DesktopEntries entries)
    : _worker(worker)
    , _source(source)
    , _entries(std::move(entries))
{
}

void ApplicationWatch::avoid(std::vector<Mount> mounts)
{
    _avoided = std::move(mounts);
    for (const auto &folder : _entries.folders()) {
        const auto resolved = resolvePath(_avoided, base::pathToBytes(folder).toStdString());
        if (resolved.hangs)
            std::erase(_avoided, Mount(*resolved.hangs));
    }
}

void ApplicationWatch::read()
{
    if (_isReading) {
        _isWantedAgain = true;
        return;
    }
    _isReading = true;
    _worker.postUrgent([this, avoided = _avoided]() -> Worker::Completion {
        auto outcome = std::make_shared<Outcome>(watchAndRead(avoided));
        return [this, outcome] { take(std::move(*outcome)); };
    });
}

void ApplicationWatch::noteChange(int watch)
{
    if (holds(watch))
        read();
    else if (_isReading)
        _touchedWhileReading.insert(watch);
}

/// On the worker's thread.
ApplicationWatch::Outcome ApplicationWatch::watchAndRead(const std::vector<Mount> &avoided) const
{
    Outcome outcome;
    // A folder that is made between the look and the watch is met by looking again.
    QStringList folders;
    for (auto now = _entries.watchedFolders(avoided); now != folders;
         now = _entries.watchedFolders(avoided)) {
        folders = now;
        for (const auto &folder : folders) {
            const int descriptor = openFolder(base::pathToBytes(folder).toStdString(), true);
            if (descriptor < 0)
                continue;
            const int watch = _source.watch(descriptor, ChangeSource::Interest::contents);
            if (watch >= 0)
                outcome.watches.insert(watch);
            ::close(descriptor);
        }
    }
    outcome.table = _entries.applications(avoided);
    return outcome;
}

void ApplicationWatch::take(Outcome outcome)
{
    const auto old = std::exchange(_watches, std::move(outcome.watches));
    std::vector<int> freed;
    std::copy_if(old.begin(), old.end(), std::back_inserter(freed),
        [this](int watch) { return !holds(watch); });
    _isReading = false;
    onRead(std::move(outcome.table), freed);
    // Folders may have changed before their watches were known here.
    const auto touched = std::exchange(_touchedWhileReading, {});
    const bool wasTouched =
        std::any_of(touched.begin(), touched.end(), [this](int watch) { return holds(watch); });
    if (std::exchange(_isWantedAgain, false) || wasTouched)
        read();
}

}  // namespace vellumhound::index
