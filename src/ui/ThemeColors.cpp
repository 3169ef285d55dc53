// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ThemeColors.h"

#include <QChar>

#include <limits>

namespace vellumhound::ui {

namespace {

QStringView withoutSignsAtTheEnds(QStringView text)
{
    while (!text.isEmpty() && !text.front().isLetterOrNumber())
        text = text.mid(1);
    while (!text.isEmpty() && !text.back().isLetterOrNumber())
        text.chop(1);
    return text;
}

int hexDigit(QChar c)
{
    const auto u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    if (u >= u'A' && u <= u'F')
        return u - u'A' + 10;
    return -1;
}

/// The number that the text begins with, behind an optional "0x"; 0 if it begins with none.
quint64 scanHex(QStringView text)
{
    if (text.startsWith(u"0x") || text.startsWith(u"0X"))
        text = text.mid(2);
    quint64 number = 0;
    for (const QChar c : text) {
        const int digit = hexDigit(c);
        if (digit < 0)
            break;
        if (number > std::numeric_limits<quint64>::max() / 16)
            return std::numeric_limits<quint64>::max();
        number = number * 16 + quint64(digit);
    }
    return number;
}

base::Color fromBytes(quint64 red, quint64 green, quint64 blue, quint64 alpha)
{
    const auto share = [](quint64 byte) { return double(byte & 0xff) / 255.0; };
    return {share(red), share(green), share(blue), share(alpha)};
}

}  // namespace

base::Color colorFromHex(QStringView text)
{
    const auto digits = withoutSignsAtTheEnds(text);
    const auto number = scanHex(digits);
    switch (digits.size()) {
    case 3:
        return fromBytes(
            (number >> 8 & 0xf) * 17, (number >> 4 & 0xf) * 17, (number & 0xf) * 17, 255);
    case 6:
        return fromBytes(number >> 16, number >> 8, number, 255);
    case 8:
        return fromBytes(number >> 16, number >> 8, number, number >> 24);
    default:
        return fromBytes(0, 0, 0, 255);
    }
}

const base::Color &lightThemeColor()
{
    static const auto color = colorFromHex(u"#FAF9F6");
    return color;
}

const base::Color &darkThemeColor()
{
    static const auto color = colorFromHex(u"#303030");
    return color;
}

}  // namespace vellumhound::ui
