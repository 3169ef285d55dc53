// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/WrittenEntries.h"

#include <utility>

namespace vellumhound::index {

namespace {

std::string keyOf(int watch, const std::string &name)
{
    return std::to_string(watch) + '/' + name;
}

}  // namespace

WrittenEntries::WrittenEntries(std::chrono::milliseconds pause)
    : _pause(pause)
{
}

void WrittenEntries::note(int watch, const std::string &name, Clock::time_point now)
{
    if (_known.insert(keyOf(watch, name)).second)
        _waiting.push_back({{watch, name}, now + _pause});
}

std::optional<WrittenEntries::Clock::time_point> WrittenEntries::due() const
{
    if (_waiting.empty())
        return std::nullopt;
    return _waiting.front().due;
}

std::vector<WrittenEntries::Entry> WrittenEntries::takeDue(Clock::time_point now)
{
    std::vector<Entry> entries;
    // What is nearly due comes along: one waking for many.
    while (!_waiting.empty() && _waiting.front().due <= now + _pause / 2) {
        auto &entry = _waiting.front().entry;
        _known.erase(keyOf(entry.watch, entry.name));
        entries.push_back(std::move(entry));
        _waiting.pop_front();
    }
    return entries;
}

}  // namespace vellumhound::index
