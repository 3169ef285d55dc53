// SPDX-License-Identifier: GPL-3.0-or-later
// How the live index goes on from a snapshot and has one written.
#include "index/disk/Logging.h"
#include "index/live/LiveIndex.h"

#include <utility>

namespace vellumhound::index {

void LiveIndex::startFromSnapshot()
{
    const auto loaded = _keeper.load();
    if (!loaded)
        return;
    const auto &contents = loaded->contents;
    _writer.adopt(contents.base, contents.roots, contents.folderTimes);
    noteMounts();
    std::vector<std::string> roots;
    for (std::uint32_t root = 0; root < contents.roots.size(); ++root) {
        if (contents.roots[root].isCrawled)
            roots.push_back(contents.roots[root].path);
        else
            dropRoot(root);
    }
    // As if that had been the plan until now: the first rules drop and add what differs.
    _plan = CrawlPlan::restored(std::move(roots), contents.stops);
    _writer.publish();
    _isChecked = false;
    _keeper.check(loaded, [this](bool isSound) { snapshotChecked(isSound); });
}

void LiveIndex::snapshotChecked(bool isSound)
{
    _isChecked = true;
    _isVerifying = isSound;
    if (!isSound) {
        startOver();
        return;
    }
    _writer.view().base->names.summarize();
    makeFilter();
    recheckAll();
    // What was written to meanwhile has left the times of the folders as they were.
    refreshTimes();
}

/// The file holds none, and without one a search in many names is slow until the next compaction.
void LiveIndex::makeFilter()
{
    const std::shared_ptr<const IndexBase> base = _writer.view().base;
    if (base->recordCount() < _options.filterFrom)
        return;
    _worker.post([this, base]() -> Worker::Completion {
        auto filter = std::make_shared<const BlockFilter>(base->names);
        return [this, base, filter] { _writer.setFilter(base, filter); };
    });
}

/// Whether another folder stands at the path of a root than in the last session.
bool LiveIndex::isStrangeRoot(FolderId folder, const FolderListing &listing) const
{
    const bool isFirstLook = _writer.identityOf(folder) == 0;
    if (_writer.view().parentOf(folder) != nothing || !isFirstLook)
        return false;
    const auto &last = _writer.view().roots[_writer.rootOf(folder)].identity;
    return last != RootIdentity{} && last != listing.rootIdentity;
}

void LiveIndex::readRootAgain(std::uint32_t root)
{
    const auto path = _writer.view().roots[root].path;
    qCWarning(logIndex, "another folder stands where a searched one was, it is read anew");
    qCDebug(logIndex, "%s", path.c_str());
    dropRoot(root);
    startRoot(path);
}

void LiveIndex::startOver()
{
    _writer.forgetAll([this](int watch) { unwatch(watch); });
    renumber([](FolderId) { return nothing; });
    _plan = CrawlPlan();
    applyPlan();
}

void LiveIndex::save()
{
    _keeper.want();
    compactIfWorthIt();
}

void LiveIndex::saveAtEnd()
{
    const bool isCalm = !isWorkerBusy() && _isChecked;
    if (!isCalm)
        return;
    _keeper.noteChanges(_writer.changeCount());
    const auto build = [this]() -> SnapshotContents {
        auto compacted = _writer.beginCompaction()();
        return {compacted.base, std::move(compacted.folderTimes), std::move(compacted.roots),
            {_plan.stops().begin(), _plan.stops().end()}};
    };
    _keeper.writeAtEnd(build, _writer.nameCount());
}

}  // namespace vellumhound::index
