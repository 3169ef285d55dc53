// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vellumhound::content {

/// A file as it was when its text was read. Another stamp means that the text may be another.
struct Stamp {
    std::int64_t mtimeNs = 0;  ///< time of the last change, nanoseconds since 1970
    std::int64_t sizeBytes = 0;

    bool operator==(const Stamp &) const = default;
};

/// What ranking needs of a file beside its path and stamp.
struct RankFacts {
    bool isNoise = false;  ///< a by-product, or inside of what is seldom looked for: found last

    bool operator==(const RankFacts &) const = default;
};

/// A file whose text is, or could be, in the index. The path is its key.
struct Document {
    std::string path;  ///< absolute, in bytes, without trailing slash
    Stamp stamp;
    RankFacts facts;

    bool operator==(const Document &) const = default;
};

/// The longest path that the index takes; the kernel opens none near that.
constexpr std::size_t longestPath = 0xFFFF;

/// How deep a path lies and how long its name is, for ranking.
struct PathShape {
    std::uint16_t depth = 0;       ///< slashes
    std::uint16_t nameLength = 0;  ///< bytes behind the last one

    static PathShape of(std::string_view path)
    {
        const auto slashes = std::count(path.begin(), path.end(), '/');
        const auto name = path.size() - (path.rfind('/') + 1);
        return {static_cast<std::uint16_t>(slashes), static_cast<std::uint16_t>(name)};
    }
};

/// Whether `path` is `folder` itself or lies below it, by components: /a/bc is not below /a/b.
inline bool isAtOrBelow(std::string_view path, std::string_view folder)
{
    if (folder == "/")
        return !path.empty();
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

}  // namespace vellumhound::content
