// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Sweeps.h"

#include <algorithm>
#include <utility>

namespace vellumhound::index {

namespace {

/// Sweeps may take one part in so many of the time.
constexpr int shareOfSweeps = 20;
constexpr std::chrono::milliseconds shortestRest{1000};

}  // namespace

void Sweeps::add(FolderId folder, const MountReader *reader, const Sweeper::Outcome &outcome,
    Clock::time_point now)
{
    const auto [place, isNew] = _places.try_emplace(folder, reader);
    if (!isNew && place->second != reader) {
        _groups.at(place->second).sweeper.remove(folder);
        place->second = reader;
    }
    _groups.try_emplace(reader, _pace).first->second.sweeper.add(folder, outcome, now);
}

void Sweeps::remove(FolderId folder)
{
    const auto place = _places.extract(folder);
    if (!place.empty())
        _groups.at(place.mapped()).sweeper.remove(folder);
}

std::optional<Sweeps::Clock::time_point> Sweeps::due() const
{
    std::optional<Clock::time_point> first;
    for (const auto &[reader, group] : _groups) {
        const auto due = group.started ? std::nullopt : group.sweeper.due();
        if (due && (!first || std::max(*due, group.restsUntil) < *first))
            first = std::max(*due, group.restsUntil);
    }
    return first;
}

std::vector<Sweeps::Turn> Sweeps::takeDue(Clock::time_point now)
{
    std::vector<Turn> turns;
    for (auto &[reader, group] : _groups) {
        if (group.started || now < group.restsUntil)
            continue;
        Turn turn{reader, group.sweeper.takeDue(now, reader ? foldersOfReader : foldersOfWorker)};
        if (turn.folders.empty())
            continue;
        group.started = now;
        turns.push_back(std::move(turn));
    }
    return turns;
}

void Sweeps::end(const MountReader *reader, Clock::time_point now)
{
    const auto found = _groups.find(reader);
    if (found == _groups.end() || !found->second.started)
        return;
    auto &group = found->second;
    const auto took = now - *std::exchange(group.started, std::nullopt);
    group.restsUntil = now + std::max<Clock::duration>(took * (shareOfSweeps - 1), shortestRest);
}

bool Sweeps::isUnderWay(const MountReader *reader) const
{
    const auto found = _groups.find(reader);
    return found != _groups.end() && found->second.started;
}

void Sweeps::hasten(Clock::time_point now)
{
    const auto found = _groups.find(nullptr);
    if (found != _groups.end())
        found->second.sweeper.hasten(now);
}

void Sweeps::hastenAll(Clock::time_point now)
{
    for (auto &[reader, group] : _groups) {
        group.sweeper.hasten(now);
        group.restsUntil = {};
    }
}

void Sweeps::renumber(const std::function<FolderId(FolderId)> &newNumber)
{
    for (auto &[reader, group] : _groups)
        group.sweeper.renumber(newNumber);
    for (const auto &[folder, reader] : std::exchange(_places, {})) {
        const auto now = newNumber(folder);
        if (now != nothing)
            _places[now] = reader;
    }
}

}  // namespace vellumhound::index
