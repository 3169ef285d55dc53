// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLocale>
#include <QString>

namespace vellumhound::preview {

/// A file's size in words: decimal units, none of whose fractions say nothing ("1.2 MB", "34 kB",
/// "1 byte", "Zero kB").
QString byteCountText(qint64 bytes, const QLocale &locale = QLocale());

}  // namespace vellumhound::preview
