// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PathRules.h"

#include "base/NativePath.h"
#include "base/StandardCompare.h"
#include "platform/MetadataQuery.h"

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace vellumhound::settings {

namespace {

QStringList componentsOf(const QString &path)
{
    return base::standardizedComponents(base::expandTilde(path));
}

bool isRootIncluded(const PathRules &rules)
{
    return rules.contains(PathRule{u"/"_s, true});
}

bool isBelow(const QStringList &components, const QStringList &above)
{
    return above.size() < components.size() &&
           std::equal(above.begin(), above.end(), components.begin());
}

/// A rule with the components of its path, which each comparison needs.
struct SplitRule {
    const PathRule *rule = nullptr;
    QStringList components;

    bool isBelow(const SplitRule &other) const
    {
        return settings::isBelow(components, other.components);
    }
};
using SplitRules = std::vector<SplitRule>;

SplitRules splitRules(const PathRules &rules)
{
    SplitRules split;
    split.reserve(std::size_t(rules.size()));
    for (const auto &rule : rules)
        split.push_back({&rule, componentsOf(rule.path)});
    return split;
}

QStringList scopesAmong(const SplitRules &rules)
{
    std::vector<const SplitRule *> scopes;
    for (const auto &candidate : rules) {
        const bool isBelowExcluded =
            std::any_of(rules.begin(), rules.end(), [&](const SplitRule &other) {
                return !other.rule->isIncluded && candidate.isBelow(other);
            });
        const bool isBelowScope = std::any_of(scopes.begin(), scopes.end(),
            [&](const SplitRule *scope) { return candidate.isBelow(*scope); });
        if (candidate.rule->isIncluded && !isBelowExcluded && !isBelowScope)
            scopes.push_back(&candidate);
    }
    QStringList paths;
    for (const auto *scope : scopes)
        paths.append(scope->rule->path);
    return paths;
}

/// The ancestor of `rule` with the longest stored path, the first of equals; null if it has none.
const PathRule *nearestAncestor(const SplitRule &rule, const SplitRules &rules)
{
    const PathRule *nearest = nullptr;
    for (const auto &other : rules) {
        if (rule.isBelow(other) && (!nearest || other.rule->path.size() > nearest->path.size()))
            nearest = other.rule;
    }
    return nearest;
}

qsizetype includedCount(const PathRules &rules)
{
    return std::count_if(
        rules.begin(), rules.end(), [](const auto &rule) { return rule.isIncluded; });
}

PathRulesEdit refused(const QString &alert)
{
    return {std::nullopt, alert};
}

QString oneMustBeIncluded()
{
    return u"At least one folder must be included"_s;
}

}  // namespace

const PathRules &defaultPathRules()
{
    static const PathRules rules{
        {u"/Applications"_s, true},
        {base::expandTilde(u"~"_s), true},
        {base::expandTilde(u"~/Library"_s), false},
        {base::expandTilde(u"~/Library/CloudStorage"_s), true},
        {base::expandTilde(u"~/Library/Mobile Documents"_s), true},
    };
    return rules;
}

const PathRules &fullDiskPathRules()
{
    static const PathRules rules{{u"/"_s, true}};
    return rules;
}

bool isSubFolder(const QString &path, const QString &parent)
{
    return isBelow(componentsOf(path), componentsOf(parent));
}

bool isDirectSubFolder(const QString &candidate, const QString &parent, const PathRules &rules)
{
    if (!isSubFolder(candidate, parent))
        return false;
    return std::none_of(rules.begin(), rules.end(), [&](const auto &rule) {
        return isSubFolder(candidate, rule.path) && isSubFolder(rule.path, parent);
    });
}

PathRules sortedPathRules(PathRules rules)
{
    const base::StandardCompare order;
    order.sort(rules, [](const PathRule &rule) { return rule.path; });
    return rules;
}

DerivedFilters deriveFilters(const PathRules &rules)
{
    DerivedFilters derived;
    const auto split = splitRules(rules);
    QStringList scopePaths;
    if (isRootIncluded(rules)) {
        derived.queryScopes = {QString::fromUtf16(platform::NSMetadataQueryLocalComputerScope)};
        scopePaths = {u"/"_s};
    } else {
        scopePaths = scopesAmong(split);
        derived.queryScopes = scopePaths;
    }
    for (const auto &candidate : split) {
        const auto &rule = *candidate.rule;
        const auto *ancestor = nearestAncestor(candidate, split);
        if (ancestor && ancestor->isIncluded == rule.isIncluded)
            continue;
        if (!scopePaths.contains(rule.path))
            derived.appliedFilters.append(rule);
    }
    return derived;
}

QString displayForm(const QString &path)
{
    const auto &home = base::homeDirectoryPath();
    return path.startsWith(home) ? u'~' + path.mid(home.size()) : path;
}

PathRulesEdit settingIncluded(const PathRules &rules, const QString &path, bool isIncluded)
{
    const auto found = std::find_if(
        rules.begin(), rules.end(), [&](const auto &rule) { return rule.path == path; });
    if (found == rules.end())
        return {};
    if (!isIncluded) {
        if (found->isIncluded && includedCount(rules) == 1)
            return refused(oneMustBeIncluded());
        const bool hasAncestor = std::any_of(rules.begin(), rules.end(),
            [&](const auto &rule) { return isSubFolder(path, rule.path); });
        if (!hasAncestor)
            return refused(u"Only sub folders of another filter can be excluded"_s);
    }
    auto edited = rules;
    edited[found - rules.begin()].isIncluded = isIncluded;
    return {std::move(edited), {}};
}

PathRulesEdit deletingRules(const PathRules &rules, const std::set<qsizetype> &indexes)
{
    std::vector<qsizetype> present;
    for (const auto index : indexes) {
        if (index < 0 || index >= rules.size())
            continue;
        const auto &deleted = rules[index];
        const bool hasExcludedChild = std::any_of(rules.begin(), rules.end(), [&](const auto &r) {
            return !r.isIncluded && isDirectSubFolder(r.path, deleted.path, rules);
        });
        if (hasExcludedChild)
            return refused(
                u"Cannot delete a folder when any of its direct sub folders are excluded"_s);
        if (deleted.isIncluded && includedCount(rules) == 1)
            return refused(oneMustBeIncluded());
        present.push_back(index);
    }
    if (present.empty())
        return {};
    auto edited = rules;
    for (auto index = present.rbegin(); index != present.rend(); ++index)
        edited.removeAt(*index);
    return {std::move(edited), {}};
}

PathRulesEdit addingFolder(const PathRules &rules, const QString &path)
{
    const auto added = base::expandTilde(path);
    const bool isThere = std::any_of(
        rules.begin(), rules.end(), [&](const auto &rule) { return rule.path == added; });
    if (isThere)
        return refused(u"This folder is already in the list"_s);
    return {rules + PathRules{{added, true}}, {}};
}

}  // namespace vellumhound::settings
