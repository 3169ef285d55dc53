// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/AppliedRules.h"

#include "base/NativePath.h"

#include <algorithm>

namespace vellumhound::core {

namespace {

QStringList componentsOf(const QString &path)
{
    return base::standardizedComponents(base::expandTilde(path));
}

bool beginsWith(const QStringList &components, const QStringList &beginning)
{
    return beginning.size() <= components.size() &&
           std::equal(beginning.begin(), beginning.end(), components.begin());
}

}  // namespace

bool ruleMatches(const QString &path, const QString &rulePath)
{
    return beginsWith(componentsOf(path), componentsOf(rulePath));
}

AppliedRules::AppliedRules(const settings::PathRules &rules)
{
    _rules.reserve(std::size_t(rules.size()));
    for (const auto &rule : rules)
        _rules.push_back({componentsOf(rule.path), rule.path.size(), rule.isIncluded});
}

bool AppliedRules::keeps(const QString &path) const
{
    if (_rules.empty())
        return true;
    const auto components = componentsOf(path);
    const Rule *winner = nullptr;
    for (const auto &rule : _rules) {
        const bool isLonger = !winner || rule.length > winner->length;
        if (isLonger && beginsWith(components, rule.components))
            winner = &rule;
    }
    return !winner || winner->isIncluded;
}

bool appliesRules(const settings::PathRules &rules, const QString &path)
{
    return AppliedRules(rules).keeps(path);
}

}  // namespace vellumhound::core
