// SPDX-License-Identifier: GPL-3.0-or-later
#include "preview/ByteCount.h"

#include <array>
#include <cmath>

namespace vellumhound::preview {

namespace {

constexpr double step = 1000;
/// Digits behind the point for kB, MB, GB and up.
constexpr std::array precisions{0, 1, 2, 2, 2, 2};

double rounded(double value, int precision)
{
    const double scale = std::pow(10, precision);
    return std::round(value * scale) / scale;
}

/// What the locale calls the unit of 1000 to the power of `power`.
QString unitName(int power, const QLocale &locale)
{
    const auto one =
        locale.formattedDataSize(qint64(std::pow(step, power)), 0, QLocale::DataSizeSIFormat);
    qsizetype start = 0;
    while (start < one.size() && (one[start].isNumber() || one[start].isSpace()))
        ++start;
    return one.mid(start);
}

}  // namespace

QString byteCountText(qint64 bytes, const QLocale &locale)
{
    if (bytes == 0)
        return QStringLiteral("Zero ") + unitName(1, locale);
    if (std::abs(bytes) < qint64(step)) {
        auto text = locale.formattedDataSize(bytes, 0, QLocale::DataSizeSIFormat);
        // The locale knows the word for more than one alone.
        if (std::abs(bytes) == 1 && text.endsWith(QLatin1String(" bytes")))
            text.chop(1);
        return text;
    }
    double value = double(bytes);
    int power = 0;
    do {
        value /= step;
        ++power;
    } while (power < int(precisions.size()) &&
             std::abs(rounded(value, precisions[std::size_t(power - 1)])) >= step);
    const int precision = precisions[std::size_t(power - 1)];
    auto number = locale.toString(value, 'f', precision);
    if (precision > 0) {
        while (number.endsWith(locale.zeroDigit()))
            number.chop(locale.zeroDigit().size());
        if (number.endsWith(locale.decimalPoint()))
            number.chop(locale.decimalPoint().size());
    }
    return number + u' ' + unitName(power, locale);
}

}  // namespace vellumhound::preview
