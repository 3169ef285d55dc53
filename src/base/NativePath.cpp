// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"

#include <QStringDecoder>

#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace vellumhound::base {

namespace {

constexpr char16_t escapedByteBase = 0xDC00;

bool isEscapedByte(QChar c)
{
    return c.unicode() >= 0xDC80 && c.unicode() <= 0xDCFF;
}

/// Length of the valid UTF-8 sequence at the beginning of `bytes`, 0 if there is none.
std::size_t sequenceLength(std::string_view bytes)
{
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const auto isTail = [&](std::size_t i, unsigned low = 0x80, unsigned high = 0xBF) {
        return i < bytes.size() && at(i) >= low && at(i) <= high;
    };
    const unsigned lead = at(0);
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return isTail(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const unsigned low = lead == 0xE0 ? 0xA0 : 0x80;
        const unsigned high = lead == 0xED ? 0x9F : 0xBF;
        return isTail(1, low, high) && isTail(2) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const unsigned low = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned high = lead == 0xF4 ? 0x8F : 0xBF;
        return isTail(1, low, high) && isTail(2) && isTail(3) ? 4 : 0;
    }
    return 0;
}

bool isHidingControl(char16_t c)
{
    const bool isBidi = (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) ||
                        c == 0x200E || c == 0x200F || c == 0x061C;
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029 || isBidi;
}

QString readHomeDirectory()
{
    auto home = pathFromBytes(qgetenv("HOME").toStdString());
    if (!home.startsWith(u'/')) {
        std::vector<char> buffer(16384);
        passwd entry{};
        passwd *found = nullptr;
        if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found)
            home = pathFromBytes(found->pw_dir);
    }
    while (home.size() > 1 && home.endsWith(u'/'))
        home.chop(1);
    return home.startsWith(u'/') ? home : QStringLiteral("/");
}

}  // namespace

QString pathFromBytes(std::string_view bytes)
{
    QString text;
    text.reserve(qsizetype(bytes.size()));
    std::size_t validStart = 0;
    std::size_t i = 0;
    const auto flush = [&] {
        // A byte order mark is part of a name like any other character.
        QStringDecoder decode(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
        text += decode(QByteArrayView(bytes.data() + validStart, qsizetype(i - validStart)));
    };
    while (i < bytes.size()) {
        if (const auto length = sequenceLength(bytes.substr(i))) {
            i += length;
            continue;
        }
        flush();
        text += QChar(char16_t(escapedByteBase + static_cast<unsigned char>(bytes[i])));
        validStart = ++i;
    }
    flush();
    return text;
}

QByteArray pathToBytes(const QString &path)
{
    QByteArray bytes;
    bytes.reserve(path.size());
    qsizetype validStart = 0;
    for (qsizetype i = 0; i <= path.size(); ++i) {
        const bool isAtEnd = i == path.size();
        // The second half of a surrogate pair looks like an escaped byte when seen alone.
        if (!isAtEnd && path[i].isHighSurrogate() && i + 1 < path.size() &&
            path[i + 1].isLowSurrogate()) {
            ++i;
            continue;
        }
        if (!isAtEnd && !isEscapedByte(path[i]))
            continue;
        bytes += QStringView(path).mid(validStart, i - validStart).toUtf8();
        if (!isAtEnd)
            bytes += char(path[i].unicode() - escapedByteBase);
        validStart = i + 1;
    }
    return bytes;
}

QString printablePath(const QString &path)
{
    QString text = path;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const auto c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            ++i;
        else if (c.isSurrogate() || isHidingControl(c.unicode()))
            text[i] = QChar::ReplacementCharacter;
    }
    return text;
}

QString appendingPathComponent(const QString &path, const QString &component)
{
    auto front = path;
    while (front.size() > 1 && front.endsWith(u'/'))
        front.chop(1);
    qsizetype start = 0;
    while (start < component.size() && component[start] == u'/')
        ++start;
    auto back = component.mid(start);
    while (back.endsWith(u'/'))
        back.chop(1);
    if (back.isEmpty())
        return front;
    return front.endsWith(u'/') || front.isEmpty() ? front + back : front + u'/' + back;
}

QString lastPathComponent(const QString &path)
{
    auto end = path.size();
    while (end > 0 && path[end - 1] == u'/')
        --end;
    if (end == 0)
        return path.isEmpty() ? QString() : QStringLiteral("/");
    const auto slash = path.lastIndexOf(u'/', end - 1);
    return path.mid(slash + 1, end - slash - 1);
}

QString deletingLastPathComponent(const QString &path)
{
    auto end = path.size();
    while (end > 1 && path[end - 1] == u'/')
        --end;
    auto slash = path.lastIndexOf(u'/', end - 1);
    if (slash < 0)
        return {};
    while (slash > 0 && path[slash - 1] == u'/')
        --slash;
    return slash == 0 ? QStringLiteral("/") : path.left(slash);
}

QStringList standardizedComponents(const QString &path)
{
    QStringList components{QStringLiteral("/")};
    const auto parts = path.split(u'/', Qt::SkipEmptyParts);
    for (const auto &part : parts) {
        if (part == u"..") {
            if (components.size() > 1)
                components.removeLast();
        } else if (part != u".") {
            components.append(part);
        }
    }
    return components;
}

const QString &homeDirectoryPath()
{
    static const QString home = readHomeDirectory();
    return home;
}

QString baseDirectory(const char *variable, const QString &fallback)
{
    const auto folder = pathFromBytes(qgetenv(variable).toStdString());
    return folder.startsWith(u'/') ? folder : appendingPathComponent(homeDirectoryPath(), fallback);
}

QString expandTilde(const QString &path)
{
    if (!path.startsWith(u'~'))
        return path;
    return appendingPathComponent(homeDirectoryPath(), path.mid(1));
}

}  // namespace vellumhound::base
