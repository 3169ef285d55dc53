// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCollator>
#include <QLocale>
#include <QString>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace vellumhound::base {

/// The order in which people read names: case is ignored, runs of digits count by their value
/// ("file2" before "file10"), letters stand as the locale has them. Texts that differ by case alone
/// are equal, so every sort with it is stable.
///
/// One object belongs to one thread; making one costs little beside a listing.
class StandardCompare {
public:
    /// The user's locale for sorting. The C locale knows no such order and gives way to the user's
    /// language, then to US English.
    StandardCompare();
    explicit StandardCompare(const QLocale &locale);
    Q_DISABLE_COPY_MOVE(StandardCompare)

    /// Below, equal to or above zero as `a` comes before, beside or after `b`.
    int compare(const QString &a, const QString &b) const { return _collator.compare(a, b); }
    bool isLess(const QString &a, const QString &b) const { return compare(a, b) < 0; }

    /// A text prepared for many comparisons; keys of one object compare as the texts do.
    QCollatorSortKey sortKey(const QString &text) const { return _collator.sortKey(text); }
    /// Stable ascending sort of `list` by `textOf(element)`, each text prepared once.
    template <class List, class TextOf> void sort(List &list, TextOf textOf) const
    {
        using Element = typename List::value_type;
        std::vector<std::pair<QCollatorSortKey, Element>> keyed;
        keyed.reserve(std::size_t(list.size()));
        for (auto &element : list) {
            auto key = sortKey(textOf(std::as_const(element)));
            keyed.emplace_back(std::move(key), std::move(element));
        }
        std::stable_sort(keyed.begin(), keyed.end(),
            [](const auto &a, const auto &b) { return a.first.compare(b.first) < 0; });
        std::transform(keyed.begin(), keyed.end(), std::begin(list),
            [](auto &entry) { return std::move(entry.second); });
    }

private:
    QCollator _collator;
};

}  // namespace vellumhound::base
