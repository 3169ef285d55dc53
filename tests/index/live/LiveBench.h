// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/InotifySource.h"
#include "index/disk/Paths.h"
#include "index/live/LiveIndex.h"
#include "index/names/NameSearch.h"
#include "index/TemporaryTree.h"

#include <QString>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vellumhound::tests {

using namespace vellumhound::index;

/// A live index over a tree, all of it on one thread and stepped by hand.
template <class Source> class Bench {
public:
    template <class... Args>
    explicit Bench(LiveIndexOptions options, Args &&...args)
        : source(std::forward<Args>(args)...)
        , live(worker, source, published, DesktopEntries({}, {}, {}), withClock(std::move(options)))
    {
    }
    void include(const TemporaryTree &tree, const std::string &relative = {})
    {
        _rules.push_back({tree.text(relative), true});
        live.setRules(_rules);
        settle();
    }
    void exclude(const TemporaryTree &tree, const std::string &relative)
    {
        _rules.push_back({tree.text(relative), false});
        live.setRules(_rules);
        settle();
    }
    void forgetRule(std::size_t number)
    {
        _rules.erase(_rules.begin() + std::ptrdiff_t(number));
        live.setRules(_rules);
        settle();
    }
    /// Until nothing is left to do, nor will be in the next moment.
    void settle()
    {
        for (bool isBusy = true; isBusy;) {
            isBusy = worker.step();
            isBusy = live.step() || isBusy;
            const auto due = live.nextDue();
            if (!isBusy && due && *due - clock <= std::chrono::milliseconds(200)) {
                clock = std::max(clock, *due);
                isBusy = true;
            }
        }
    }
    /// Looks at the unwatched folders, and at those that turn up by that.
    void sweepAll()
    {
        for (std::size_t names = 0, before = 1; names != before;) {
            before = live.nameCount();
            live.sweep();
            settle();
            names = live.nameCount();
        }
    }
    /// Lets time pass, and everything be done that is due by then.
    void pass(std::chrono::milliseconds time)
    {
        clock += time;
        settle();
    }
    /// Every live path below `top`, relative to it.
    std::set<std::string> paths(const TemporaryTree &tree) const
    {
        const auto view = published.current();
        std::set<std::string> found;
        const auto visit = [&](RecordId record) {
            const auto path = view->isDead(record) ? std::string() : view->pathOf(record);
            const auto below = pathBelow(path, tree.path());
            if (below)
                found.insert(std::string(*below));
        };
        for (RecordId record = 0; record < view->base->recordCount(); ++record)
            visit(record);
        forEachRecord(*view->tail, {}, view->tail->mark(), visit);
        return found;
    }
    std::vector<std::string> search(
        const TemporaryTree &tree, const std::string &text, const std::string &scope = {}) const
    {
        const auto view = published.current();
        QueryScopes scopes;
        scopes.folders = {tree.path(scope)};
        ResolvedScopes resolved(*view, scopes);
        const auto answer =
            searchNames(*view, resolved, Needle(text), {true, {}, view->tail->mark()}, 1'000'000);
        std::vector<std::string> names;
        for (const auto key : answer.best)
            names.emplace_back(view->nameOf(key.record()));
        if (names.size() != answer.count)
            names.push_back("wrong count");
        return names;
    }

    Worker worker{[] {}};
    Source source;
    PublishedView published;
    std::chrono::steady_clock::time_point clock{std::chrono::hours(1)};
    LiveIndex live;

private:
    LiveIndexOptions withClock(LiveIndexOptions options)
    {
        options.now = [this] { return clock; };
        return options;
    }

    std::vector<Rule> _rules;
};

using RealBench = Bench<InotifySource>;

inline LiveIndexOptions neverCompacting()
{
    LiveIndexOptions options;
    options.compactAbove = 1'000'000;
    return options;
}

inline LiveIndexOptions alwaysCompacting()
{
    LiveIndexOptions options;
    options.compactAbove = 0;
    return options;
}

inline const auto manyWatches = [] { return 100'000; };

/// What is really below a folder, hidden names left out.
inline void collect(
    const std::string &folder, const std::string &prefix, std::set<std::string> &out)
{
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        const auto name = entry.path().filename().string();
        if (name.front() == '.')
            continue;
        out.insert(prefix + name);
        if (entry.is_directory() && !entry.is_symlink())
            collect(folder + '/' + name, prefix + name + '/', out);
    }
}

inline std::set<std::string> onDisk(const TemporaryTree &tree)
{
    std::set<std::string> paths;
    collect(tree.path(), {}, paths);
    return paths;
}

using Paths = std::set<std::string>;
using Names = std::vector<std::string>;

}  // namespace vellumhound::tests
