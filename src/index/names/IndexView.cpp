// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/IndexView.h"

#include "base/Fold.h"
#include "index/disk/Paths.h"

#include <algorithm>

namespace vellumhound::index {

std::uint32_t IndexView::rootOf(FolderId folder) const
{
    while (parentOf(folder) != nothing)
        folder = parentOf(folder);
    return recordOf(folder);
}

std::string IndexView::pathOfFolder(FolderId folder) const
{
    std::vector<std::string_view> names;
    while (parentOf(folder) != nothing) {
        names.push_back(nameOf(recordOf(folder)));
        folder = parentOf(folder);
    }
    std::string path = roots[recordOf(folder)].path;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        if (!path.ends_with('/'))
            path += '/';
        path += *name;
    }
    return path;
}

std::string IndexView::pathOf(RecordId record) const
{
    return joinedPath(pathOfFolder(folderOf(record)), nameOf(record));
}

RecordId IndexView::findInBase(FolderId folder, std::string_view name) const
{
    if (folder >= tail->firstFolder())
        return nothing;
    const bool isAscii = std::all_of(
        name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    const auto stored = isAscii ? std::string(name) : base::fold(name);
    auto low = base->firstRecords[folder];
    auto high = base->firstRecords[folder + 1];
    while (low < high) {
        const auto middle = low + (high - low) / 2;
        if (base->names.stored(middle) < stored)
            low = middle + 1;
        else
            high = middle;
    }
    // Names that differ only in what folding removes stand side by side.
    for (auto record = low; record < base->firstRecords[folder + 1]; ++record) {
        if (base->names.stored(record) != stored)
            break;
        if (!base->names.isDead(record) && base->names.original(record) == name)
            return record;
    }
    return nothing;
}

RecordId IndexView::find(FolderId folder, std::string_view name) const
{
    auto found = findInBase(folder, name);
    if (found != nothing)
        return found;
    forEachRecord(*tail, {}, tail->mark(), [&](RecordId record) {
        if (tail->folderOf(record) == folder && !isDead(record) && nameOf(record) == name)
            found = record;
    });
    return found;
}

RecordId IndexView::findPath(std::string_view path) const
{
    const auto slash = path.rfind('/');
    if (slash == std::string_view::npos || slash + 1 == path.size())
        return nothing;
    const auto folder = findFolder(path.substr(0, std::max<std::size_t>(slash, 1)));
    return folder == nothing ? nothing : find(folder, path.substr(slash + 1));
}

FolderId IndexView::findFolder(std::string_view path) const
{
    FolderId found = nothing;
    std::string_view rest;
    for (const auto &root : roots) {
        const auto below = pathBelow(path, root.path);
        if (root.folder != nothing && below && (found == nothing || below->size() < rest.size())) {
            found = root.folder;
            rest = *below;
        }
    }
    while (!rest.empty() && found != nothing) {
        const auto slash = rest.find('/');
        const auto name = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        const auto parent = found;
        found = nothing;
        // The tail first, from its end: what stands there is the latest life of a folder.
        for (auto folder = tail->folderEnd(); found == nothing && folder > tail->firstFolder();) {
            --folder;
            if (tail->parentOf(folder) == parent && !isDead(tail->recordOf(folder)) &&
                nameOf(tail->recordOf(folder)) == name)
                found = folder;
        }
        if (found != nothing)
            continue;
        const auto record = findInBase(parent, name);
        if (record != nothing)
            found = base->folderFor(record);
    }
    return found;
}

void PublishedView::publish(std::shared_ptr<const IndexView> view)
{
    const std::lock_guard lock(_mutex);
    _view.swap(view);
}

std::shared_ptr<const IndexView> PublishedView::current() const
{
    const std::lock_guard lock(_mutex);
    return _view;
}

}  // namespace vellumhound::index
