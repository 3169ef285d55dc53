// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/WhyNotFound.h"

#include "base/Fold.h"
#include "base/NativePath.h"
#include "index/disk/FolderListing.h"
#include "index/disk/Paths.h"
#include "index/names/IndexView.h"
#include "platform/MetadataQuery.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vellumhound::index {

using namespace Qt::StringLiterals;
using Kind = FindingReason::Kind;

namespace {

constexpr auto applicationsPath = "/Applications";

/// The path as a person reads it: printable, the home folder as a tilde.
QString shown(const QString &path)
{
    const auto &home = base::homeDirectoryPath();
    const bool isBelowHome = home != u"/" && (path == home || path.startsWith(home + u'/'));
    return base::printablePath(isBelowHome ? u'~' + path.mid(home.size()) : path);
}

QString sentenceFor(Kind kind, const QString &path, const QString &blamed, const QString &detail)
{
    const auto entry = u'“' + shown(path) + u'”';
    const auto culprit = u'“' + shown(blamed) + u'”';
    const auto hint = u'“' + shown(detail) + u'”';
    switch (kind) {
    case Kind::found:
        return entry + u" is found."_s;
    case Kind::noPath:
        return entry + u" is no path: a path begins with a slash or a tilde."_s;
    case Kind::notThere:
        return culprit + u" does not exist."_s;
    case Kind::otherSpelling:
        return culprit + u" does not exist, but "_s + hint + u" does."_s;
    case Kind::unreadable:
        return u"The folder "_s + culprit + u" may not be read."_s;
    case Kind::excludedByRule:
        return entry + u" is left out by the filter for "_s + hint + u'.';
    case Kind::applicationsOnly:
        return u"Only applications are searched: no folder is included in the filters."_s;
    case Kind::outsideScopes:
        return entry + u" lies in none of the folders that are searched."_s;
    case Kind::topOfScope:
        return entry + u" is itself a folder that is searched: what lies in it is found."_s;
    case Kind::hidden:
        return culprit + u" is hidden, because its name begins with a dot. A filter that includes"
                         " a hidden folder makes what lies in it found."_s;
    case Kind::throughLink:
        return culprit + u" is a link. It is found itself, what lies behind it is found at its own"
                         " place."_s;
    case Kind::onSkippedFileSystem:
        return culprit + u" holds a file system of type "_s + base::printablePath(detail) +
               u", which is searched only if a filter includes a folder on it."_s;
    case Kind::shownElsewhere:
        return culprit + u" shows the folder "_s + hint + u" again; it is found there."_s;
    case Kind::indexFull:
        return u"The index has reached its limit and takes in no further folders."_s;
    case Kind::notYetCrawled:
        return u"The folders are still being read for the first time."_s;
    case Kind::notYetChecked:
        return u"Its folder is not watched but looked at from time to time, and has changed since"
               " the last look."_s;
    case Kind::unknown:
        break;
    }
    return entry + u" should be found. Nothing is known that stands against it."_s;
}

std::string parentOf(const std::string &path)
{
    const auto slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string_view nameOf(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

/// "/", "/a", "/a/b" for "/a/b".
std::vector<std::string> stepsTo(const std::string &path)
{
    std::vector<std::string> steps{"/"};
    if (path == "/")
        return steps;
    for (auto slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1))
        steps.push_back(path.substr(0, slash));
    steps.push_back(path);
    return steps;
}

bool isBelow(const std::string &path, const std::string &folder)
{
    const auto below = pathBelow(path, folder);
    return below && !below->empty();
}

/// One question, taken step by step. Each step gives what it has found against the entry.
class Inquiry {
public:
    Inquiry(std::string path, const FindingFacts &facts, const PathProbe &probe)
        : _path(std::move(path))
        , _facts(facts)
        , _probe(probe)
    {
        for (const auto &scope : facts.scopes)
            addWanted(scope);
        for (const auto &rule : facts.rules) {
            if (rule.isIncluded)
                addWanted(rule.path);
        }
    }

    FindingReason answer() const
    {
        if (_facts.presence.isFound && !byRules() && !byScopes())
            return reason(Kind::found);
        for (const auto step : {&Inquiry::onTheWay, &Inquiry::byRules, &Inquiry::byScopes,
                 &Inquiry::byCrawl, &Inquiry::byProgress}) {
            if (auto found = (this->*step)())
                return std::move(*found);
        }
        return reason(Kind::unknown);
    }

private:
    using Maybe = std::optional<FindingReason>;

    void addWanted(const QString &text)
    {
        const bool isWhole = text == platform::NSMetadataQueryLocalComputerScope;
        auto path = isWhole ? std::string("/") : standardizedPath(text);
        if (!path.empty() && path != applicationsPath)
            _wanted.push_back(std::move(path));
    }

    FindingReason reason(
        Kind kind, const std::string &blamed = {}, const QString &detail = {}) const
    {
        const auto culprit = base::pathFromBytes(blamed);
        return {
            kind, culprit, detail, sentenceFor(kind, base::pathFromBytes(_path), culprit, detail)};
    }

    /// Whether it is there at all.
    Maybe onTheWay() const
    {
        for (const auto &step : stepsTo(_path)) {
            switch (_probe.look(step)) {
            case PathProbe::Found::missing:
                return missing(step);
            case PathProbe::Found::denied:
                return reason(Kind::unreadable, parentOf(step));
            default:
                break;
            }
        }
        return {};
    }

    FindingReason missing(const std::string &step) const
    {
        const auto folder = parentOf(step);
        const auto wanted = base::fold(nameOf(step));
        for (const auto &name : _probe.namesIn(folder)) {
            if (base::fold(name) == wanted) {
                const auto other = base::pathFromBytes(joinedPath(folder, name));
                return reason(Kind::otherSpelling, step, other);
            }
        }
        return reason(Kind::notThere, step);
    }

    /// Of the rules that match, the one with the longest path as it is stored decides.
    Maybe byRules() const
    {
        const Rule *winner = nullptr;
        for (const auto &rule : _facts.rules) {
            const auto folder = standardizedPath(rule.path);
            const bool isMatch = !folder.empty() && pathBelow(_path, folder).has_value();
            if (isMatch && (!winner || rule.path.size() > winner->path.size()))
                winner = &rule;
        }
        if (!winner || winner->isIncluded)
            return {};
        return reason(Kind::excludedByRule, standardizedPath(winner->path), winner->path);
    }

    Maybe byScopes() const
    {
        bool isAnyFolder = false;
        for (const auto &scope : _facts.scopes) {
            const bool isWhole = scope == platform::NSMetadataQueryLocalComputerScope;
            const auto folder = isWhole ? std::string("/") : standardizedPath(scope);
            if (folder.empty() || folder == applicationsPath)
                continue;
            isAnyFolder = true;
            if (pathBelow(_path, folder))
                return {};
        }
        return reason(isAnyFolder ? Kind::outsideScopes : Kind::applicationsOnly);
    }

    /// Whether a crawl comes to the folder that the entry stands in. What hinders the crawl of the
    /// nearest wanted folder above also hinders those further up.
    Maybe byCrawl() const
    {
        const std::string *nearest = nullptr;
        for (const auto &folder : _wanted) {
            if (isBelow(_path, folder) && (!nearest || folder.size() > nearest->size()))
                nearest = &folder;
        }
        return nearest ? between(*nearest) : reason(Kind::topOfScope, _path);
    }

    Maybe between(const std::string &top) const
    {
        for (const auto &step : stepsTo(_path)) {
            const bool isTop = step == top;
            if (!isTop && !isBelow(step, top))
                continue;
            if (!isTop && nameOf(step).starts_with('.'))
                return reason(Kind::hidden, step);
            if (step == _path)
                return {};
            if (!isTop) {
                if (_probe.look(step) == PathProbe::Found::link)
                    return reason(Kind::throughLink, step);
                for (const auto &obstacle : {byStop(step), byMount(step)}) {
                    if (obstacle)
                        return obstacle;
                }
            }
            if (!_probe.canRead(step))
                return reason(Kind::unreadable, step);
        }
        return {};
    }

    /// An excluded folder is not crawled, even where the longer text of a rule further up lets
    /// results through.
    Maybe byStop(const std::string &folder) const
    {
        for (const auto &rule : _facts.rules) {
            if (!rule.isIncluded && standardizedPath(rule.path) == folder)
                return reason(Kind::excludedByRule, folder, rule.path);
        }
        return {};
    }

    Maybe byMount(const std::string &folder) const
    {
        const auto &mounts = _facts.mounts;
        for (std::size_t i = 0; i < mounts.size(); ++i) {
            if (mounts[i].point != folder)
                continue;
            if (!mounts[i].isLocalDisk())
                return reason(
                    Kind::onSkippedFileSystem, folder, QString::fromStdString(mounts[i].type));
            const auto original = originalOfBindMount(mounts, i);
            const bool isCrawledThere =
                !original.empty() &&
                std::any_of(_wanted.begin(), _wanted.end(), [&](const auto &wanted) {
                    const auto below = pathBelow(original, wanted);
                    return below && !hasHiddenComponent(*below);
                });
            if (isCrawledThere)
                return reason(Kind::shownElsewhere, folder, base::pathFromBytes(original));
        }
        return {};
    }

    Maybe byProgress() const
    {
        if (_facts.presence.isIndexFull)
            return reason(Kind::indexFull);
        if (!_facts.presence.isCrawled)
            return reason(Kind::notYetCrawled);
        if (_facts.presence.isSwept)
            return reason(Kind::notYetChecked);
        return {};
    }

    const std::string _path;
    const FindingFacts &_facts;
    const PathProbe &_probe;
    std::vector<std::string> _wanted;
};

}  // namespace

PathProbe::Found DiskProbe::look(const std::string &path) const
{
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode))
            return Found::folder;
        return S_ISLNK(status.st_mode) ? Found::link : Found::other;
    }
    if (errno == EACCES)
        return Found::denied;
    if (errno != ENAMETOOLONG)
        return Found::missing;
    // A path that no single call takes is walked down folder by folder.
    const auto slash = path.rfind('/');
    OpenFolder parent;
    if (!parent.open(path.substr(0, std::max<std::size_t>(slash, 1)), true, 0))
        return Found::missing;
    const auto state = parent.stateOf(path.substr(slash + 1));
    if (!state.exists)
        return Found::missing;
    if (state.kind == EntryKind::folder)
        return Found::folder;
    return state.kind == EntryKind::link ? Found::link : Found::other;
}

bool DiskProbe::canRead(const std::string &folder) const
{
    const int descriptor = openFolder(folder, true);
    if (descriptor >= 0)
        ::close(descriptor);
    return descriptor >= 0;
}

std::vector<std::string> DiskProbe::namesIn(const std::string &folder) const
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR *)> open(::opendir(folder.c_str()), ::closedir);
    while (const dirent *entry = open ? ::readdir(open.get()) : nullptr)
        names.emplace_back(entry->d_name);
    return names;
}

IndexPresence presenceIn(const IndexView &view, const std::string &path)
{
    IndexPresence presence;
    if (path.empty() || path == "/")
        return presence;
    const auto folder = view.findFolder(parentOf(path));
    presence.isFound = folder != nothing && view.find(folder, nameOf(path)) != nothing;
    std::size_t longest = 0;
    for (const auto &root : view.roots) {
        const bool isAbove = root.folder != nothing && isBelow(path, root.path);
        if (isAbove && root.path.size() > longest) {
            longest = root.path.size();
            presence.isCrawled = root.isCrawled;
        }
    }
    return presence;
}

FindingReason whyNotFound(const QString &path, const FindingFacts &facts, const PathProbe &probe)
{
    auto standardized = standardizedPath(path);
    if (standardized.empty())
        return {Kind::noPath, {}, {}, sentenceFor(Kind::noPath, path, {}, {})};
    return Inquiry(std::move(standardized), facts, probe).answer();
}

}  // namespace vellumhound::index
