// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "settings/PathRules.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

namespace vellumhound::core {

/// Whether `path` is the folder of the rule or lies below it, by components and with a leading
/// tilde expanded in both; "." and ".." are resolved in the text, links are not followed.
bool ruleMatches(const QString &path, const QString &rulePath);

/// The folder rules of one run, taken apart once so that each hit costs one split of its path.
class AppliedRules {
public:
    AppliedRules() = default;
    explicit AppliedRules(const settings::PathRules &rules);

    /// Whether a hit at `path` goes through: of the rules that match, the one with the longest path
    /// as it was stored decides, among equals the first. Without a match it goes through.
    bool keeps(const QString &path) const;

private:
    struct Rule {
        QStringList components;
        qsizetype length = 0;  // characters of the stored path
        bool isIncluded = false;
    };
    std::vector<Rule> _rules;
};

/// As AppliedRules::keeps(), for a single path.
bool appliesRules(const settings::PathRules &rules, const QString &path);

}  // namespace vellumhound::core
