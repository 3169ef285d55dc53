// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/MountTable.h"

#include <QString>

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace vellumhound::index {

/// One rule about folders, as the settings hold them.
struct Rule {
    QString path;  ///< absolute, or beginning with a tilde; "/Applications" are the desktop entries
    bool isIncluded = false;

    bool operator==(const Rule &) const = default;
};

/// Which trees are crawled and where a crawl stops. A value; any thread. Looks for links on the
/// disk, but never on a file system that may hang.
class CrawlPlan {
public:
    CrawlPlan() = default;
    /// `wanted` are folders to crawl, `excluded` ones to leave out with all below them, in so far
    /// as no wanted one is deeper; all absolute, in bytes, standardised. `oldRoots` are roots of a
    /// former plan: they stay roots of their own as long as they are wanted.
    CrawlPlan(std::vector<std::string> wanted, const std::vector<std::string> &excluded,
        const std::vector<Mount> &mounts, const std::vector<std::string> &oldRoots = {});

    /// A plan of a former session.
    static CrawlPlan restored(
        std::vector<std::string> roots, const std::vector<std::string> &stops);

    /// The tops of the trees; none is reached by the crawl of another.
    const std::vector<std::string> &roots() const { return _roots; }
    /// Whether a crawl that has come to the folder at `path` reads it.
    bool descendsInto(const std::string &path) const { return !_stops.contains(path); }
    const std::unordered_set<std::string> &stops() const { return _stops; }
    /// Whether the crawl of one of the roots comes to the folder at `path`.
    bool reaches(std::string_view path) const;
    /// The same for any path, but without a look at the disk: what only a link leads to is covered.
    bool covers(std::string_view path) const;

private:
    bool isCoveredFrom(const std::string &root, std::string_view path) const;
    bool goesThroughLink(const std::string &path, const std::string &root) const;

    std::vector<std::string> _roots;
    std::vector<Mount> _mounts;
    std::unordered_set<std::string> _stops;  // excluded folders, other roots, refused mounts
};

/// `path` with a leading tilde expanded, dots resolved and without trailing slash, in bytes; empty
/// unless that makes it absolute.
std::string standardizedPath(const QString &path);

}  // namespace vellumhound::index
