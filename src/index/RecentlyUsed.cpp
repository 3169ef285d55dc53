// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/RecentlyUsed.h"

#include "index/disk/Logging.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QDateTime>
#include <QXmlStreamReader>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vellumhound::index {

namespace {

using Uses = std::unordered_map<std::string, std::uint32_t>;

constexpr std::string_view header = "vellumhound uses 1\n";
constexpr qsizetype checksumLength = 41;  // 40 hexadecimal digits and a line break

/// A descriptor that is closed in the end.
class Descriptor {
public:
    explicit Descriptor(int number)
        : _number(number)
    {
    }
    ~Descriptor()
    {
        if (_number >= 0)
            ::close(_number);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return _number; }

private:
    int _number;
};

/// A regular file's content; absent, with errno set, if it cannot be read or is longer than `most`.
std::optional<QByteArray> readWhole(const std::string &path, std::int64_t most, struct stat &status)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0)
        return std::nullopt;
    if (!S_ISREG(status.st_mode) || status.st_size > most) {
        errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
        return std::nullopt;
    }
    QByteArray content(qsizetype(status.st_size), '\0');
    qsizetype length = 0;
    while (length < content.size()) {
        const auto got =
            ::read(file.get(), content.data() + length, std::size_t(content.size() - length));
        if (got < 0 && errno != EINTR)
            return std::nullopt;
        if (got == 0)
            break;
        length += std::max<ssize_t>(got, 0);
    }
    content.truncate(length);
    return content;
}

/// Puts a file in the place of another, whole or not at all.
bool writeWhole(const std::string &path, const QByteArray &content)
{
    const auto aside = path + ".new";
    {
        const Descriptor file(
            ::open(aside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (file.get() < 0)
            return false;
        qsizetype length = 0;
        while (length < content.size()) {
            const auto put = ::write(
                file.get(), content.constData() + length, std::size_t(content.size() - length));
            if (put < 0 && errno != EINTR)
                return false;
            length += std::max<ssize_t>(put, 0);
        }
        if (::fdatasync(file.get()) != 0)
            return false;
    }
    return ::rename(aside.c_str(), path.c_str()) == 0;
}

bool makeFolder(const std::string &path)
{
    for (std::size_t slash = 0; slash != std::string::npos;) {
        slash = path.find('/', slash + 1);
        if (::mkdir(path.substr(0, slash).c_str(), 0700) != 0 && errno != EEXIST)
            return false;
    }
    return true;
}

/// Keeps the latest.
void keepMost(Uses &uses, std::size_t most)
{
    if (uses.size() <= most)
        return;
    std::vector<std::pair<std::uint32_t, std::string>> byTime;
    byTime.reserve(uses.size());
    for (const auto &[path, seconds] : uses)
        byTime.emplace_back(seconds, path);
    std::nth_element(
        byTime.begin(), byTime.begin() + std::ptrdiff_t(most), byTime.end(), std::greater<>());
    for (auto it = byTime.begin() + std::ptrdiff_t(most); it != byTime.end(); ++it)
        uses.erase(it->second);
}

void noteLatest(Uses &uses, const std::string &path, std::uint32_t seconds)
{
    auto &known = uses[path];
    known = std::max(known, seconds);
}

QByteArray encoded(const Uses &uses)
{
    QByteArray body;
    for (const auto &[path, seconds] : uses) {
        body += QByteArray::number(seconds) + '\t' + QByteArray::fromStdString(path);
        body += '\0';
    }
    return QByteArray(header.data(), qsizetype(header.size())) +
           QCryptographicHash::hash(body, QCryptographicHash::Sha1).toHex() + '\n' + body;
}

/// Absent if the content is not exactly what encoded() makes.
std::optional<Uses> decoded(const QByteArray &content)
{
    const auto bodyAt = qsizetype(header.size()) + checksumLength;
    if (content.size() < bodyAt ||
        !content.startsWith(QByteArray(header.data(), qsizetype(header.size()))))
        return std::nullopt;
    const auto body = content.mid(bodyAt);
    if (content.mid(qsizetype(header.size()), checksumLength) !=
        QCryptographicHash::hash(body, QCryptographicHash::Sha1).toHex() + '\n')
        return std::nullopt;
    Uses uses;
    for (const auto &entry : body.split('\0')) {
        const auto tab = entry.indexOf('\t');
        std::uint32_t seconds = 0;
        std::from_chars(
            entry.constData(), entry.constData() + std::max<qsizetype>(tab, 0), seconds);
        if (seconds > 0 && entry.mid(tab + 1).startsWith('/'))
            uses[entry.mid(tab + 1).toStdString()] = seconds;
    }
    return uses;
}

/// The path of a local file's address; empty for any other.
std::string pathOfAddress(QStringView address)
{
    auto bytes = address.toUtf8();
    for (const char *start : {"file://localhost/", "file:///"}) {
        if (!bytes.startsWith(start))
            continue;
        auto path = QByteArray::fromPercentEncoding(bytes.mid(qsizetype(std::strlen(start)) - 1));
        while (path.size() > 1 && path.endsWith('/'))
            path.chop(1);
        return path.contains('\0') ? std::string() : path.toStdString();
    }
    return {};
}

std::uint32_t secondsOf(QStringView time)
{
    const auto moment = QDateTime::fromString(time.toString(), Qt::ISODateWithMs);
    const auto seconds = moment.isValid() ? moment.toSecsSinceEpoch() : 0;
    return std::uint32_t(std::clamp<qint64>(seconds, 0, std::numeric_limits<std::uint32_t>::max()));
}

}  // namespace

bool parseRecentlyUsed(const QByteArray &xbel, Uses &uses)
{
    QXmlStreamReader reader(xbel);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement ||
            reader.name() != QLatin1String("bookmark"))
            continue;
        const auto attributes = reader.attributes();
        const auto path = pathOfAddress(attributes.value(QLatin1String("href")));
        std::uint32_t latest = 0;
        for (const char *name : {"visited", "modified", "added"})
            latest = std::max(latest, secondsOf(attributes.value(QLatin1String(name))));
        if (!path.empty() && latest > 0)
            noteLatest(uses, path, latest);
    }
    return !reader.hasError();
}

RecentlyUsed::RecentlyUsed(Places places)
    : _places(std::move(places))
{
    if (!_places.cacheFolder.empty())
        readSaved();
}

void RecentlyUsed::readSaved()
{
    struct stat status {};
    const auto content = readWhole(savedPath(), longestList, status);
    if (!content) {
        if (errno != ENOENT && errno != ENOTDIR)
            qCWarning(logIndex, "the list of last uses cannot be read: %s", std::strerror(errno));
        return;
    }
    auto uses = decoded(*content);
    if (!uses) {
        qCWarning(logIndex, "the list of last uses is damaged, a new one is begun");
        return;
    }
    keepMost(*uses, mostUses);
    _own = std::move(*uses);
}

void RecentlyUsed::note(const std::string &path, std::uint32_t seconds)
{
    if (!path.starts_with('/'))
        return;
    const std::lock_guard lock(_mutex);
    noteLatest(_own, path, seconds);
    keepMost(_own, mostUses);
    _isUnsaved = true;
    _table.reset();
}

void RecentlyUsed::save()
{
    const std::lock_guard saving(_savingMutex);
    QByteArray content;
    {
        const std::lock_guard lock(_mutex);
        if (!std::exchange(_isUnsaved, false) || _places.cacheFolder.empty())
            return;
        content = encoded(_own);
    }
    if (!makeFolder(_places.cacheFolder) || !writeWhole(savedPath(), content))
        qCWarning(logIndex, "the list of last uses cannot be written: %s", std::strerror(errno));
}

void RecentlyUsed::lookAtDesktopList()
{
    struct stat status {};
    if (::stat(_places.desktopList.c_str(), &status) != 0) {
        _stamp.reset();
        _desktop.clear();
        return;
    }
    const auto stampOf = [](const struct stat &s) {
        return Stamp{s.st_mtim.tv_sec, s.st_mtim.tv_nsec, s.st_size, s.st_ino};
    };
    if (_stamp == stampOf(status))
        return;
    _stamp = stampOf(status);
    _desktop.clear();
    const auto content = readWhole(_places.desktopList, longestList, status);
    if (!content) {
        qCWarning(
            logIndex, "the desktop's list of recent files is not read: %s", std::strerror(errno));
        return;
    }
    _stamp = stampOf(status);
    if (!parseRecentlyUsed(*content, _desktop))
        qCWarning(logIndex, "the desktop's list of recent files is damaged");
    keepMost(_desktop, mostUses);
}

std::shared_ptr<const UseTable> RecentlyUsed::table(Clock::time_point now)
{
    const std::lock_guard looking(_listMutex);
    const bool isDue = !_lookedAt || now - *_lookedAt >= pause;
    const auto before = _stamp;
    if (isDue && !_places.desktopList.empty()) {
        _lookedAt = now;
        lookAtDesktopList();
    }
    const std::lock_guard lock(_mutex);
    if (!_table || _stamp != before) {
        auto table = std::make_shared<UseTable>();
        table->lastUses = _own;
        for (const auto &[path, seconds] : _desktop)
            noteLatest(table->lastUses, path, seconds);
        keepMost(table->lastUses, mostUses);
        _table = std::move(table);
    }
    return _table;
}

}  // namespace vellumhound::index
