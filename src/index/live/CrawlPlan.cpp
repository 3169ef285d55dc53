// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/CrawlPlan.h"

#include "base/NativePath.h"
#include "index/disk/Paths.h"

#include <algorithm>
#include <utility>

namespace vellumhound::index {

CrawlPlan::CrawlPlan(std::vector<std::string> wanted, const std::vector<std::string> &excluded,
    const std::vector<Mount> &mounts, const std::vector<std::string> &oldRoots)
    : _mounts(mounts)
{
    std::sort(wanted.begin(), wanted.end(), [](const auto &a, const auto &b) {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    });
    wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());

    for (const auto &path : excluded)
        _stops.insert(path);
    for (std::size_t i = 0; i < mounts.size(); ++i) {
        const auto &mount = mounts[i];
        if (mount.point == "/")
            continue;
        const auto original = originalOfBindMount(mounts, i);
        const bool isShownElsewhere =
            !original.empty() && std::any_of(wanted.begin(), wanted.end(), [&](const auto &root) {
                const auto below = pathBelow(original, root);
                return below && !hasHiddenComponent(*below);
            });
        if (!mount.isLocalDisk() || isShownElsewhere)
            _stops.insert(mount.point);
    }
    // The shallow ones first, so that those above are known when a deeper one is looked at.
    for (const auto &path : wanted) {
        const bool wasRoot = std::find(oldRoots.begin(), oldRoots.end(), path) != oldRoots.end();
        if (!wasRoot && reaches(path))
            continue;
        _roots.push_back(path);
        _stops.insert(path);
    }
}

CrawlPlan CrawlPlan::restored(std::vector<std::string> roots, const std::vector<std::string> &stops)
{
    CrawlPlan plan;
    plan._roots = std::move(roots);
    plan._stops.insert(stops.begin(), stops.end());
    return plan;
}

bool CrawlPlan::reaches(std::string_view path) const
{
    return std::any_of(_roots.begin(), _roots.end(), [&](const std::string &root) {
        return isCoveredFrom(root, path) && !goesThroughLink(std::string(path), root);
    });
}

bool CrawlPlan::covers(std::string_view path) const
{
    return std::any_of(_roots.begin(), _roots.end(),
        [&](const std::string &root) { return isCoveredFrom(root, path); });
}

bool CrawlPlan::isCoveredFrom(const std::string &root, std::string_view path) const
{
    const auto below = pathBelow(path, root);
    if (!below || hasHiddenComponent(*below))
        return false;
    for (auto end = path.size(); end > root.size(); end = path.rfind('/', end - 1)) {
        if (_stops.contains(std::string(path.substr(0, end))))
            return false;
        if (end == 0 || path.rfind('/', end - 1) == std::string_view::npos)
            break;
    }
    return true;
}

/// Whether one of the folders from below `root` down to `path` is a link, which no crawl follows.
bool CrawlPlan::goesThroughLink(const std::string &path, const std::string &root) const
{
    const auto below = pathBelow(path, root);
    if (!below || below->empty())
        return false;
    const auto top = resolvePath(_mounts, root);
    const auto expected = joinedPath(top.path, *below);
    return !top.hangs && resolvePath(_mounts, path).path != expected;
}

std::string standardizedPath(const QString &path)
{
    const auto expanded = base::expandTilde(path);
    if (!expanded.startsWith(u'/'))
        return {};
    const auto components = base::standardizedComponents(expanded);
    std::string bytes;
    for (const auto &component : components.mid(1))
        bytes += '/' + base::pathToBytes(component).toStdString();
    return bytes.empty() ? "/" : bytes;
}

}  // namespace vellumhound::index
