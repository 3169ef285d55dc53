// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/names/UseTable.h"

#include <utility>

namespace vellumhound::index {

namespace {

/// Takes the first component off an absolute path; empty at its end.
std::string_view takeComponent(std::string_view &path)
{
    while (path.starts_with('/'))
        path.remove_prefix(1);
    const auto name = path.substr(0, path.find('/'));
    path.remove_prefix(name.size());
    return name;
}

}  // namespace

UsedRecords::UsedRecords(std::shared_ptr<const UseTable> table)
    : _table(std::move(table))
{
    for (const auto &[path, seconds] : _table->lastUses) {
        auto *place = &_top;
        std::string_view rest(path);
        for (auto name = takeComponent(rest); !name.empty(); name = takeComponent(rest)) {
            auto &next = place->below[std::string(name)];
            if (!next)
                next = std::make_unique<Place>();
            place = next.get();
        }
        place->seconds = seconds;
    }
}

const UsedRecords::Place *UsedRecords::placeAt(std::string_view path) const
{
    const auto *place = &_top;
    for (auto name = takeComponent(path); place && !name.empty(); name = takeComponent(path)) {
        const auto next = place->below.find(name);
        place = next == place->below.end() ? nullptr : next->second.get();
    }
    return place;
}

const UsedRecords::Place *UsedRecords::placeBelow(FolderId folder, std::string_view name) const
{
    const auto place = _placeOf.find(folder);
    if (place == _placeOf.end())
        return nullptr;
    const auto next = place->second->below.find(name);
    return next == place->second->below.end() ? nullptr : next->second.get();
}

void UsedRecords::follow(const IndexView &view, const IndexTail::Mark &to)
{
    if (_isNew || !isOf(view))
        beginAnew(view);
    findFoldersInTail(view);
    if (!_placeOf.empty()) {
        forEachRecord(*view.tail, _followedTo, to, [&](RecordId record) {
            const auto folder = view.tail->folderOf(record);
            if (!_placeOf.contains(folder))
                return;
            const auto *place = placeBelow(folder, view.nameOf(record));
            if (place && place->seconds > 0)
                add(record, place->seconds);
        });
    }
    _followedTo = to;
}

void UsedRecords::beginAnew(const IndexView &view)
{
    _base = view.base;
    _tail = view.tail;
    _isNew = false;
    _followedTo = {};
    _folderEnd = view.tail->firstFolder();
    _placeOf.clear();
    _uses.clear();
    _secondsOf.clear();
    for (const auto &root : view.roots) {
        if (root.folder == nothing || root.folder >= view.tail->firstFolder())
            continue;
        if (const auto *place = placeAt(root.path))
            findInBase(view, root.folder, *place);
    }
}

void UsedRecords::findInBase(const IndexView &view, FolderId folder, const Place &place)
{
    _placeOf[folder] = &place;
    for (const auto &[name, below] : place.below) {
        const auto record = view.findInBase(folder, name);
        if (record == nothing)
            continue;
        if (below->seconds > 0)
            add(record, below->seconds);
        const auto child = below->below.empty() ? nothing : view.base->folderFor(record);
        if (child != nothing)
            findInBase(view, child, *below);
    }
}

void UsedRecords::findFoldersInTail(const IndexView &view)
{
    // A folder is numbered after the one that holds it.
    for (const auto end = view.tail->folderEnd(); _folderEnd < end; ++_folderEnd) {
        const auto parent = view.tail->parentOf(_folderEnd);
        const auto record = view.tail->recordOf(_folderEnd);
        const Place *place = nullptr;
        if (parent != nothing)
            place = _placeOf.contains(parent) ? placeBelow(parent, view.nameOf(record)) : nullptr;
        else if (record < view.roots.size())
            place = placeAt(view.roots[record].path);
        if (place && !place->below.empty())
            _placeOf[_folderEnd] = place;
    }
}

void UsedRecords::add(RecordId record, std::uint32_t seconds)
{
    if (_secondsOf.emplace(record, seconds).second)
        _uses.push_back({record, seconds});
}

}  // namespace vellumhound::index
