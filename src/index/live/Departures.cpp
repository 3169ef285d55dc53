// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Departures.h"

namespace vellumhound::index {

std::optional<Departure> Departures::leave(std::uint32_t move, Departure departure)
{
    const auto [it, isNew] = _leaving.try_emplace(move, std::move(departure));
    if (isNew)
        return std::nullopt;
    return departure;  // which was not taken
}

std::optional<Departure> Departures::take(std::uint32_t move)
{
    auto found = _leaving.extract(move);
    if (found.empty())
        return std::nullopt;
    return std::move(found.mapped());
}

std::optional<Departure> Departures::rest(Place place, Departure departure)
{
    auto replaced = takeFrom(place);
    _resting.emplace(std::move(place), std::move(departure));
    return replaced;
}

std::optional<Departure> Departures::takeFrom(const Place &place)
{
    auto found = _resting.extract(place);
    if (found.empty())
        return std::nullopt;
    return std::move(found.mapped());
}

std::vector<Departure> Departures::takeAll()
{
    std::vector<Departure> all;
    for (auto &[move, departure] : std::exchange(_leaving, {}))
        all.push_back(departure);
    for (auto &[place, departure] : std::exchange(_resting, {}))
        all.push_back(departure);
    return all;
}

}  // namespace vellumhound::index
