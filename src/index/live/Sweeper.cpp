// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Sweeper.h"

#include <algorithm>
#include <utility>

namespace vellumhound::index {

namespace {

/// One level of depth weighs as much as a week of age.
constexpr std::int64_t secondsPerLevel = std::int64_t(7) * 24 * 3600;

}  // namespace

void Sweeper::put(FolderId folder, const Entry &entry)
{
    remove(folder);
    _entries[folder] = entry;
    _places.emplace(entry.due, entry.rank, folder);
}

void Sweeper::add(FolderId folder, const Outcome &outcome, Clock::time_point now)
{
    using std::chrono::milliseconds;
    const auto known = _entries.find(folder);
    Entry entry;
    entry.rank = outcome.depth * secondsPerLevel + (outcome.age ? outcome.age->count() : 0);
    auto pause = _pace.shortest;
    if (!outcome.isRead) {
        entry.failures = known == _entries.end() ? 1 : std::min(known->second.failures + 1, 16);
        pause = _pace.shortest * (1 << (entry.failures - 1));
    } else if (outcome.age) {
        pause = milliseconds(*outcome.age) / _pace.partOfAge;
    }
    entry.due = now + std::clamp<milliseconds>(pause, _pace.shortest, _pace.longest);
    put(folder, entry);
}

void Sweeper::remove(FolderId folder)
{
    const auto found = _entries.find(folder);
    if (found == _entries.end())
        return;
    _places.erase({found->second.due, found->second.rank, folder});
    _entries.erase(found);
}

std::optional<Sweeper::Clock::time_point> Sweeper::due() const
{
    if (_places.empty())
        return std::nullopt;
    return std::get<Clock::time_point>(*_places.begin());
}

std::vector<FolderId> Sweeper::takeDue(Clock::time_point now, std::size_t most)
{
    std::vector<FolderId> folders;
    while (folders.size() < most && !_places.empty()) {
        const auto [due, rank, folder] = *_places.begin();
        if (due > now)
            break;
        auto entry = _entries[folder];
        entry.due = now + _pace.shortest;
        put(folder, entry);
        folders.push_back(folder);
    }
    return folders;
}

void Sweeper::hasten(Clock::time_point now)
{
    auto entries = _entries;
    for (auto &[folder, entry] : entries) {
        if (entry.due <= now)
            continue;
        entry.due = now;
        put(folder, entry);
    }
}

void Sweeper::renumber(const std::function<FolderId(FolderId)> &newNumber)
{
    const auto entries = std::exchange(_entries, {});
    _places.clear();
    for (const auto &[folder, entry] : entries) {
        const auto now = newNumber(folder);
        if (now != nothing)
            put(now, entry);
    }
}

}  // namespace vellumhound::index
