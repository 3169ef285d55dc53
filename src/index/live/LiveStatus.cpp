// SPDX-License-Identifier: GPL-3.0-or-later
// What the live index tells of itself, and what it takes in.
#include "base/NativePath.h"
#include "index/disk/Paths.h"
#include "index/live/LiveIndex.h"

#include <algorithm>
#include <utility>

namespace vellumhound::index {

void LiveIndex::setTakesFolders(bool takesFolders)
{
    _takesFolders = takesFolders;
    if (!takesFolders || !std::exchange(_hasLeftOut, false))
        return;
    // Entries that stand for folders, but for which there was no room.
    const auto &view = _writer.view();
    const auto startLeftOut = [&](RecordId record) {
        const bool isLeftOut = !view.isDead(record) &&
                               view.traitsOf(record).kind() == EntryKind::folder &&
                               _writer.folderFor(record) == nothing;
        if (isLeftOut)
            startFolder(record, view.pathOf(record));
    };
    const auto mark = view.tail->mark();
    for (RecordId record = 0; record < view.tail->firstRecord(); ++record)
        startLeftOut(record);
    forEachRecord(*view.tail, {}, mark, startLeftOut);
    _writer.publish();
}

IndexStatus LiveIndex::status() const
{
    using Kind = IndexStatus::Activity::Kind;
    IndexStatus status;
    status.names = _writer.nameCount();
    status.liveFolders = _writer.watchedFolderCount();
    status.sweptFolders = _sweeps.size();
    status.backedOffFolders = _storms.offCount();
    status.memoryBytes = _writer.memoryBytes();
    status.lastCheck = _lastCheck;
    status.isWatchLimitReached = _hasToldOfLimit && _sweeps.size() > 0;
    status.isFull = !_takesFolders;
    for (const auto &root : _writer.view().roots) {
        if (root.folder != nothing && !root.isCrawled)
            status.activities.push_back({Kind::crawling, base::pathFromBytes(root.path)});
    }
    if (!_isChecked || _isVerifying)
        status.activities.push_back({Kind::verifying, {}});
    else if (_isRechecking)
        status.activities.push_back({Kind::checking, {}});
    if (_writer.isCompacting())
        status.activities.push_back({Kind::compacting, {}});
    if (_isReadingTimes || !_times.isEmpty())
        status.activities.push_back({Kind::readingTimes, {}});
    for (const auto &point : _readers.hung())
        status.hungMounts.append(base::pathFromBytes(point));
    for (const auto &mount : _mounts) {
        // Of those below a searched folder the user may wonder.
        const bool isSkipped =
            !mount.isLocalDisk() && _plan.stops().contains(mount.point) &&
            std::any_of(_plan.roots().begin(), _plan.roots().end(), [&](const auto &root) {
                const auto below = pathBelow(mount.point, root);
                return below && !below->empty() && !hasHiddenComponent(*below);
            });
        if (isSkipped) {
            status.skippedMounts.push_back(
                {base::pathFromBytes(mount.point), QString::fromStdString(mount.type)});
        }
    }
    return status;
}

FindingFacts LiveIndex::findingFacts(const std::string &path) const
{
    FindingFacts facts;
    facts.rules = _rules;
    facts.mounts = _mounts;
    facts.presence = presenceIn(_writer.view(), path);
    const auto slash = path.rfind('/');
    if (slash != std::string::npos) {
        const auto folder =
            _writer.view().findFolder(path.substr(0, std::max<std::size_t>(slash, 1)));
        facts.presence.isSwept = folder != nothing && _sweeps.contains(folder);
    }
    facts.presence.isIndexFull = !_takesFolders;
    return facts;
}

bool LiveIndex::isSettled() const
{
    return _isChecked && !isWorkerBusy() && !_isReadingTimes && _times.isEmpty();
}

LiveCounters LiveIndex::counters() const
{
    auto counters = _counters;
    counters.stormFolders = _storms.offCount();
    counters.hungMounts = _readers.hung().size();
    return counters;
}

}  // namespace vellumhound::index
