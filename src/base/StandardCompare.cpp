// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/StandardCompare.h"

namespace vellumhound::base {

namespace {

bool hasOrder(const QLocale &locale)
{
    return locale.language() != QLocale::C;
}

/// In the C locale Qt compares code by code, where "file10" comes before "file2".
QLocale orUsEnglish(const QLocale &locale)
{
    return hasOrder(locale) ? locale : QLocale(QLocale::English, QLocale::UnitedStates);
}

QLocale usersLocale()
{
    const QLocale forSorting = QLocale().collation();
    return hasOrder(forSorting) ? forSorting : QLocale();
}

}  // namespace

StandardCompare::StandardCompare()
    : StandardCompare(usersLocale())
{
}

StandardCompare::StandardCompare(const QLocale &locale)
    : _collator(orUsEnglish(locale))
{
    _collator.setNumericMode(true);
    _collator.setCaseSensitivity(Qt::CaseInsensitive);
}

}  // namespace vellumhound::base
