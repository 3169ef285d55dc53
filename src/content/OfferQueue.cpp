// SPDX-License-Identifier: GPL-3.0-or-later
#include "content/OfferQueue.h"

#include "content/Document.h"

#include <algorithm>
#include <utility>

namespace vellumhound::content {

namespace {

/// So many files can be changing all the time before some get their turn too often.
constexpr std::size_t mostTurns = 4096;

}  // namespace

void OfferQueue::place(const std::string &path, const Entry &entry)
{
    const auto &placed = *_entries.insert_or_assign(path, entry).first;
    _resting += entry.isResting ? 1 : 0;
    if (entry.due)
        _waiting.emplace(*entry.due, &placed);
    else
        _ready.emplace(entry.changedAt, &placed);
}

void OfferQueue::unplace(const Entries::value_type &entry)
{
    _resting -= entry.second.isResting ? 1 : 0;
    if (entry.second.due)
        _waiting.erase({*entry.second.due, &entry});
    else
        _ready.erase({entry.second.changedAt, &entry});
}

void OfferQueue::changed(const std::string &path, Time now)
{
    _failures.erase(path);
    Entry entry{now + _pace.calm, now, justChanged, false};
    if (const auto turn = _turns.find(path); turn != _turns.end())
        entry.due = std::max(*entry.due, turn->second.at + turn->second.pause);
    if (const auto found = _entries.find(path); found != _entries.end()) {
        if (!found->second.due && found->second.changedAt == justChanged)
            return;  // about to be looked at
        unplace(*found);
        if (found->second.changedAt == justChanged) {
            entry.offeredAt = found->second.offeredAt;
            const auto latest = std::max(entry.offeredAt + _pace.longest, *found->second.due);
            entry.due = std::min(*entry.due, latest);
        }
    }
    place(path, entry);
}

void OfferQueue::found(const std::string &path, std::int64_t changedAt)
{
    if (!_entries.contains(path))
        place(path, {{}, {}, changedAt, false});
}

void OfferQueue::later(const std::string &path, Time due)
{
    forget(path);
    place(path, {due, due, 0, false});
}

void OfferQueue::failed(const std::string &path, Time now)
{
    const auto found = _failures.find(path);
    const auto failures = found == _failures.end() ? 1 : found->second + 1;
    auto pause = _pace.firstRetry;
    for (unsigned i = 1; i < failures && pause < _pace.longestRetry; ++i)
        pause *= 2;
    forget(path);
    _failures[path] = failures;
    const auto due = now + std::min(pause, _pace.longestRetry);
    place(path, {due, due, 0, true});
}

void OfferQueue::forget(const std::string &path)
{
    _failures.erase(path);
    const auto found = _entries.find(path);
    if (found == _entries.end())
        return;
    unplace(*found);
    _entries.erase(found);
}

std::vector<std::string> OfferQueue::takeBelow(std::string_view folder)
{
    std::vector<std::string> taken;
    std::erase_if(_failures, [&](const auto &one) { return isAtOrBelow(one.first, folder); });
    for (auto entry = _entries.begin(); entry != _entries.end();) {
        if (!isAtOrBelow(entry->first, folder)) {
            ++entry;
            continue;
        }
        unplace(*entry);
        taken.push_back(entry->first);
        entry = _entries.erase(entry);
    }
    return taken;
}

void OfferQueue::clear()
{
    _waiting.clear();
    _ready.clear();
    _entries.clear();
    _turns.clear();
    _failures.clear();
    _resting = 0;
}

void OfferQueue::ripen(Time now)
{
    while (!_waiting.empty() && _waiting.begin()->first <= now) {
        auto &entry = _entries.find(_waiting.begin()->second->first)->second;
        const auto *placed = _waiting.begin()->second;
        _waiting.erase(_waiting.begin());
        entry.due.reset();
        _resting -= std::exchange(entry.isResting, false) ? 1 : 0;
        _ready.emplace(entry.changedAt, placed);
    }
}

bool OfferQueue::hasReady(Time now)
{
    ripen(now);
    return !_ready.empty();
}

std::optional<std::string> OfferQueue::take(Time now)
{
    if (!hasReady(now))
        return {};
    const auto best = std::prev(_ready.end());
    const bool hasChanged = best->first == justChanged;
    auto path = best->second->first;
    _ready.erase(best);
    _entries.erase(path);
    if (hasChanged)
        noteTurn(path, now);
    return path;
}

void OfferQueue::noteTurn(const std::string &path, Time now)
{
    auto &turn = _turns[path];
    const bool isStorm = turn.pause > turn.pause.zero() && now - turn.at <= 2 * turn.pause;
    turn.pause = isStorm ? std::min(2 * turn.pause, _pace.longestPause) : _pace.longest;
    turn.at = now;
    if (_turns.size() <= mostTurns)
        return;
    std::erase_if(
        _turns, [now](const auto &one) { return now - one.second.at > 2 * one.second.pause; });
    if (_turns.size() > mostTurns)
        _turns.clear();
}

std::optional<OfferQueue::Time> OfferQueue::nextDue() const
{
    if (!_ready.empty())
        return Time::min();
    if (_waiting.empty())
        return {};
    return _waiting.begin()->first;
}

}  // namespace vellumhound::content
