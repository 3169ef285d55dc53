// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/StormGuard.h"

#include <algorithm>
#include <iterator>

namespace vellumhound::index {

void StormGuard::refill(State &state, Clock::time_point now)
{
    const std::chrono::duration<double> passed = now - state.noted;
    state.noted = now;
    state.left = std::min(burst, state.left + passed.count() * changesPerSecond);
    if (state.left >= burst / 2)
        state.timesOff = 0;
}

bool StormGuard::note(FolderId folder, double changes, Clock::time_point now)
{
    const auto [it, isNew] = _states.try_emplace(folder);
    auto &state = it->second;
    if (isNew)
        state.noted = now;
    if (state.offUntil)
        return false;
    refill(state, now);
    state.left -= changes;
    const bool isStorm = state.left < 0;
    if (isStorm) {
        state.offUntil = now + nextPause(state);
        ++_offCount;
    }
    forgetCalm(now);
    return isStorm;
}

std::chrono::milliseconds StormGuard::nextPause(State &state)
{
    const auto factor = 1 << std::min(state.timesOff++, 16);
    return std::min(shortest * factor, longest);
}

bool StormGuard::copiesMove(bool isOfFewNames, Clock::time_point now)
{
    refill(_moves, now);
    return _moves.left >= (isOfFewNames ? -burst : 0);
}

void StormGuard::noteMove(std::size_t names, Clock::time_point now)
{
    refill(_moves, now);
    const auto left = _moves.left - double(names) / namesPerChange;
    _moves.left = names <= fewNames ? left : std::max(left, -burst / 2);
}

void StormGuard::takeOffMoved(FolderId folder, Clock::time_point now)
{
    auto &state = _states.try_emplace(folder).first->second;
    if (!state.offUntil)
        ++_offCount;
    state.noted = now;
    state.offUntil = now + nextPause(_moves);
}

void StormGuard::forgetCalm(Clock::time_point now)
{
    if (_states.size() <= _forgetAbove)
        return;
    for (auto it = _states.begin(); it != _states.end();) {
        auto &state = it->second;
        if (!state.offUntil)
            refill(state, now);
        const bool isCalm = !state.offUntil && state.left >= burst;
        it = isCalm ? _states.erase(it) : std::next(it);
    }
    _forgetAbove = std::max<std::size_t>(1024, 2 * _states.size());
}

bool StormGuard::isOff(FolderId folder) const
{
    const auto found = _states.find(folder);
    return found != _states.end() && found->second.offUntil.has_value();
}

std::optional<StormGuard::Clock::time_point> StormGuard::due() const
{
    std::optional<Clock::time_point> first;
    if (_offCount == 0)
        return first;
    for (const auto &[folder, state] : _states) {
        if (state.offUntil && (!first || *state.offUntil < *first))
            first = state.offUntil;
    }
    return first;
}

std::vector<FolderId> StormGuard::takeDue(Clock::time_point now)
{
    std::vector<FolderId> folders;
    if (_offCount == 0)
        return folders;
    for (auto &[folder, state] : _states) {
        if (!state.offUntil || *state.offUntil > now)
            continue;
        state.offUntil.reset();
        state.left = trial;
        state.noted = now;
        --_offCount;
        folders.push_back(folder);
    }
    return folders;
}

void StormGuard::renumber(const std::function<FolderId(FolderId)> &newNumber)
{
    std::unordered_map<FolderId, State> states;
    _offCount = 0;
    for (const auto &[folder, state] : _states) {
        const auto now = newNumber(folder);
        if (now == nothing)
            continue;
        states[now] = state;
        _offCount += state.offUntil ? 1 : 0;
    }
    _states = std::move(states);
}

}  // namespace vellumhound::index
