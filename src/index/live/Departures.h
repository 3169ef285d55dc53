// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/names/IndexTables.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vellumhound::index {

/// An entry that has left its place and was not met elsewhere yet.
struct Departure {
    FolderId folder = nothing;  ///< with all below it; `nothing` for what is no folder
    std::string oldPath;        ///< where it was last known
    bool isFolder = false;

    bool operator==(const Departure &) const = default;
};

/// What has left its place while the changes at hand are applied, so that what turns up elsewhere
/// is known again. An entry may rest on its way at a place that the index does not look at, such as
/// a hidden name. Each departure comes out again, once: by one of the take functions, or as the one
/// that another pushed out. One thread.
class Departures {
public:
    /// A place that the index does not look at: the watch of its folder and its name there.
    using Place = std::pair<int, std::string>;

    /// Something has left by the move of this number. A move that is known already keeps its
    /// entry: then `departure` itself comes back.
    std::optional<Departure> leave(std::uint32_t move, Departure departure);
    /// What has left by this move.
    std::optional<Departure> take(std::uint32_t move);
    /// Something has come to rest at a place. What rested there before, which it has replaced.
    std::optional<Departure> rest(Place place, Departure departure);
    /// What rests at a place.
    std::optional<Departure> takeFrom(const Place &place);
    /// All that is left.
    std::vector<Departure> takeAll();

    /// Nothing is on its way; things may rest.
    bool isEmpty() const { return _leaving.empty(); }

private:
    std::unordered_map<std::uint32_t, Departure> _leaving;  // by number of the move
    std::map<Place, Departure> _resting;
};

}  // namespace vellumhound::index
