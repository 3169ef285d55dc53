// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <set>

namespace vellumhound::settings {

/// One folder rule: the folder at `path`, with all below it, is searched or left out.
struct PathRule {
    QString path;  ///< absolute, or beginning with a tilde
    bool isIncluded = false;

    bool operator==(const PathRule &) const = default;
};

using PathRules = QList<PathRule>;

/// The rules of a new user: applications and the home folder without its Library, but with the two
/// folders in there that hold cloud documents. Home is spelled out.
const PathRules &defaultPathRules();
/// The whole computer.
const PathRules &fullDiskPathRules();

/// Whether `path` lies below `parent`, any number of levels. Both are compared by components, after
/// a leading tilde is expanded and dots are resolved; a folder is not below itself.
bool isSubFolder(const QString &path, const QString &parent);
/// As isSubFolder(), with no rule of `rules` standing strictly between.
bool isDirectSubFolder(const QString &candidate, const QString &parent, const PathRules &rules);

/// The rules by path as it is stored, in the order in which people read names. Stable.
PathRules sortedPathRules(PathRules rules);

/// What a query needs of the rules.
struct DerivedFilters {
    QStringList queryScopes;   ///< roots of the search, as stored in the rules
    PathRules appliedFilters;  ///< rules that a result must still be checked against

    bool operator==(const DerivedFilters &) const = default;
};
/// Roots are the included rules outside every excluded folder and every earlier root, or the one
/// constant for the whole computer if "/" is included. Filters are the rules that turn around what
/// their nearest ancestor says, and those without an ancestor that are no root.
DerivedFilters deriveFilters(const PathRules &rules);

/// The path as the screen shows it: the home folder at its beginning as a tilde. Never stored.
QString displayForm(const QString &path);

/// What an edit of the rules comes to: a new list to be stored, or the text of an alert, or neither
/// if there was nothing to edit.
struct PathRulesEdit {
    std::optional<PathRules> rules;
    QString alert;

    bool operator==(const PathRulesEdit &) const = default;
};
/// Turns the first rule with exactly this path on or off.
PathRulesEdit settingIncluded(const PathRules &rules, const QString &path, bool isIncluded);
/// Deletes the rules at these places; all of them or, if one may not go, none. Places outside the
/// list are passed over.
PathRulesEdit deletingRules(const PathRules &rules, const std::set<qsizetype> &indexes);
/// Adds an included rule for the folder, which may begin with a tilde.
PathRulesEdit addingFolder(const PathRules &rules, const QString &path);

}  // namespace vellumhound::settings
