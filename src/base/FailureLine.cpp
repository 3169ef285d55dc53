// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/FailureLine.h"

#include "base/NativePath.h"

#include <cstdio>

namespace vellumhound::base {

namespace {

bool isLineBreak(QChar c)
{
    const auto code = c.unicode();
    return (code >= u'\n' && code <= u'\r') || code == 0x85 || code == 0x2028 || code == 0x2029;
}

QString onOneLine(const QString &text)
{
    QString line;
    line.reserve(text.size());
    bool isInBreak = false;
    for (const auto c : text) {
        if (!isLineBreak(c))
            line += c;
        else if (!isInBreak)
            line += u' ';
        isInBreak = isLineBreak(c);
    }
    return line;
}

}  // namespace

void printFailure(const QString &line)
{
    const auto bytes = printablePath(onOneLine(line)).toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

}  // namespace vellumhound::base
