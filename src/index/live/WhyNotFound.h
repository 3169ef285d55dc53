// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/MountTable.h"
#include "index/live/CrawlPlan.h"

#include <QString>
#include <QStringList>

#include <string>
#include <string_view>
#include <vector>

namespace vellumhound::index {

struct IndexView;

/// What a look at the disk tells about one path. Paths in bytes. A look may take as long as the
/// disk does; never on the main thread.
class PathProbe {
public:
    enum class Found {
        missing,
        folder,
        link,    ///< whatever it leads to
        other,   ///< a file, a device
        denied,  ///< the folder above does not let this user look
    };

    virtual ~PathProbe() = default;
    virtual Found look(const std::string &path) const = 0;
    /// Whether the folder's entries may be read.
    virtual bool canRead(const std::string &folder) const = 0;
    virtual std::vector<std::string> namesIn(const std::string &folder) const = 0;
};

class DiskProbe final : public PathProbe {
public:
    Found look(const std::string &path) const override;
    bool canRead(const std::string &folder) const override;
    std::vector<std::string> namesIn(const std::string &folder) const override;
};

/// What the index knows of one path.
struct IndexPresence {
    bool isFound = false;
    bool isCrawled = false;  ///< the first crawl of the tree above it has ended
    bool isSwept = false;    ///< its folder is not watched but looked at now and then
    bool isIndexFull = false;

    bool operator==(const IndexPresence &) const = default;
};
/// The first two, as far as the tables tell them; `path` in bytes, standardised.
IndexPresence presenceIn(const IndexView &view, const std::string &path);

/// What decides whether an entry can be found.
struct FindingFacts {
    std::vector<Rule> rules;  ///< all, as they are stored
    QStringList scopes;       ///< of the search, as a query gets them
    std::vector<Mount> mounts;
    IndexPresence presence;
};

/// Why a search does not give an entry, or that it does.
struct FindingReason {
    enum class Kind {
        found,
        noPath,            ///< neither absolute nor beginning with a tilde
        notThere,          ///< `blamed` is the first part that does not exist
        otherSpelling,     ///< as notThere, but `detail` is there, which differs in case or accents
        unreadable,        ///< `blamed` is a folder whose entries this user may not read
        excludedByRule,    ///< `detail` is the path of the rule
        applicationsOnly,  ///< no folder is searched at all
        outsideScopes,
        topOfScope,           ///< what lies in a searched folder is found, not the folder itself
        hidden,               ///< `blamed` begins with a dot, below the searched folder
        throughLink,          ///< `blamed` is a link, which is found, but not what lies behind it
        onSkippedFileSystem,  ///< `blamed` is where it is mounted, `detail` its type
        shownElsewhere,       ///< `blamed` is a second view of a folder, `detail` the first
        indexFull,            ///< the index has reached a limit of its own
        notYetCrawled,
        notYetChecked,  ///< the folder is looked at now and then, and was not since
        unknown,        ///< it should be found
    };

    Kind kind = Kind::unknown;
    QString blamed;    ///< a path, in the form that other code takes; empty if none is to blame
    QString detail;    ///< see the kinds
    QString sentence;  ///< all of this in English, fit for a screen

    bool operator==(const FindingReason &) const = default;
};
/// Pure but for what `probe` looks at. The path is taken as rules are: a leading tilde is expanded,
/// dots are resolved in the text.
FindingReason whyNotFound(
    const QString &path, const FindingFacts &facts, const PathProbe &probe = DiskProbe());

}  // namespace vellumhound::index
