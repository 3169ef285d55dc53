// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/UserDefaults.h"

#include "base/AtomicFile.h"
#include "base/NativePath.h"

#include <QLoggingCategory>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace vellumhound::settings {

Q_LOGGING_CATEGORY(log, "vellumhound.settings")

namespace {

constexpr char suffix[] = ".json";

bool isKey(const QString &key)
{
    return !key.isEmpty() && !key.startsWith(u'.') && !key.contains(u'/');
}

bool isFolder(const QByteArray &path)
{
    struct stat status {};
    return ::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Empty above the root.
QByteArray parentOf(const QByteArray &folder)
{
    const auto slash = folder.lastIndexOf('/');
    if (folder.size() <= 1 || slash < 0)
        return {};
    return folder.left(std::max<qsizetype>(slash, 1));
}

/// As told for the folders of the XDG base directories: missing ones are made for the owner alone.
bool makeFolder(const QByteArray &folder)
{
    if (isFolder(folder))
        return true;
    const auto parent = parentOf(folder);
    if (parent.isEmpty() || !makeFolder(parent))
        return false;
    return ::mkdir(folder.constData(), 0700) == 0 || isFolder(folder);
}

QByteArray nearestExistingFolder(QByteArray folder)
{
    while (!folder.isEmpty() && !isFolder(folder))
        folder = parentOf(folder);
    return folder;
}

/// What stands at the place of a value.
struct Stored {
    std::optional<QByteArray> bytes;
    int error = 0;  ///< errno; of a file that is there and cannot be read
};

Stored readFrom(int descriptor)
{
    struct stat status {};
    if (::fstat(descriptor, &status) != 0)
        return {{}, errno};
    if (!S_ISREG(status.st_mode))
        return {{}, S_ISDIR(status.st_mode) ? EISDIR : EINVAL};
    if (status.st_size > UserDefaults::mostBytes)
        return {{}, EFBIG};
    QByteArray bytes;
    char part[4096];
    while (bytes.size() <= UserDefaults::mostBytes) {
        const auto count = ::read(descriptor, part, sizeof part);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return {{}, errno};
        if (count == 0)
            return {bytes.isNull() ? QByteArray("") : bytes, 0};
        bytes.append(part, count);
    }
    return {{}, EFBIG};
}

Stored readFile(const QByteArray &path)
{
    // Not blocking: a pipe would keep the reader waiting for a writer that never comes.
    const int descriptor = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return {{}, errno == ENOENT || errno == ENOTDIR ? 0 : errno};
    auto stored = readFrom(descriptor);
    ::close(descriptor);
    return stored;
}

/// Where a chain of links leads, also if nothing is there; a loop ends somewhere in it.
QByteArray followed(QByteArray path)
{
    constexpr int mostLinks = 40;
    for (int i = 0; i < mostLinks; ++i) {
        char target[PATH_MAX];
        const auto length = ::readlink(path.constData(), target, sizeof target);
        if (length <= 0)
            break;
        const QByteArray next(target, length);
        path = next.startsWith('/') ? next : parentOf(path) + '/' + next;
    }
    return path;
}

bool isLink(const QByteArray &path)
{
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0 && S_ISLNK(status.st_mode);
}

base::Outcome writeFile(const QByteArray &path, const QByteArray &bytes)
{
    base::AtomicFile file(followed(path).toStdString());
    file.write({bytes.constData(), std::size_t(bytes.size())});
    return file.commit();
}

}  // namespace

UserDefaults::UserDefaults(const QString &folder, base::Timer &timer, QObject *parent)
    : QObject(parent)
    , _folder(base::pathToBytes(folder))
    , _timer(timer)
    , _watch([this](const QByteArray &path, const QByteArray &name) { noticeChange(path, name); })
{
    watchAgain();
    const auto keys = keysOnDisk();
    for (const auto &key : keys) {
        if (const auto stored = readFile(filePath(key)); stored.bytes)
            _values.insert(key, *stored.bytes);
    }
}

UserDefaults::~UserDefaults() = default;

QString UserDefaults::standardFolder()
{
    return base::appendingPathComponent(
        base::baseDirectory("XDG_CONFIG_HOME", u".config"_s), u"vellumhound"_s);
}

std::optional<QByteArray> UserDefaults::data(const QString &key) const
{
    if (!isKey(key))
        return std::nullopt;
    {
        const std::lock_guard lock(_mutex);
        const auto known = _values.constFind(key);
        if (_isFollowed)
            return known == _values.constEnd() ? std::nullopt : std::optional(*known);
    }
    return readFile(filePath(key)).bytes;
}

bool UserDefaults::setData(const QString &key, const QByteArray &bytes)
{
    if (!isKey(key))
        return false;
    const auto path = filePath(key);
    if (const auto stored = readFile(path); stored.error != 0) {
        qCWarning(log).noquote() << "not written, as what is there cannot be read:" << key
                                 << std::strerror(stored.error);
        return false;
    }
    if (!makeFolder(_folder)) {
        qCWarning(log).noquote() << "not written, as the folder cannot be made:" << key;
        return false;
    }
    if (const auto written = writeFile(path, bytes); !written) {
        qCWarning(log).noquote() << "not written:" << key << written.error().description;
        return false;
    }
    watchAgain();
    announceIfChanged(key, bytes);
    return true;
}

bool UserDefaults::removeData(const QString &key)
{
    if (!isKey(key))
        return false;
    if (::unlink(filePath(key).constData()) != 0 && errno != ENOENT && errno != ENOTDIR)
        return false;
    announceIfChanged(key, std::nullopt);
    return true;
}

bool UserDefaults::boolean(const QString &key) const
{
    return data(key).value_or(QByteArray()).trimmed() == "true";
}

bool UserDefaults::setBoolean(const QString &key, bool value)
{
    return setData(key, value ? "true" : "false");
}

QByteArray UserDefaults::filePath(const QString &key) const
{
    return _folder + '/' + base::pathToBytes(key) + suffix;
}

QStringList UserDefaults::keysOnDisk() const
{
    QStringList keys;
    auto *folder = ::opendir(_folder.constData());
    if (!folder)
        return keys;
    while (const auto *entry = ::readdir(folder)) {
        const QByteArray name(entry->d_name);
        if (!name.endsWith(suffix))
            continue;
        const auto key =
            base::pathFromBytes(name.chopped(qsizetype(std::strlen(suffix))).toStdString());
        if (isKey(key))
            keys.append(key);
    }
    ::closedir(folder);
    return keys;
}

void UserDefaults::noticeChange(const QByteArray &path, const QByteArray &name)
{
    // Other programs are busy in the folders above ours.
    const bool isOurs = path != _watchedFolder || path == _folder;
    const bool isValue = name.isEmpty() || name.endsWith(suffix);
    if (isOurs ? !isValue : nearestExistingFolder(_folder) == _watchedFolder)
        return;
    watchAgain();
    _settling = _timer.after(settleTime, [this] { lookForChanges(); });
}

void UserDefaults::lookForChanges()
{
    watchAgain();
    auto keys = keysOnDisk();
    for (auto known = _values.keyBegin(); known != _values.keyEnd(); ++known) {
        if (!keys.contains(*known))
            keys.append(*known);
    }
    for (const auto &key : std::as_const(keys))
        lookAt(key);
}

void UserDefaults::lookAt(const QString &key)
{
    const auto stored = readFile(filePath(key));
    const bool isEmptied = stored.bytes && stored.bytes->isEmpty();
    if (stored.error == 0 && !isEmptied)
        announceIfChanged(key, stored.bytes);
}

void UserDefaults::watchAgain()
{
    // A folder that is not there yet cannot be watched: its nearest existing parent tells when it
    // comes. What a link leads to changes outside the folder.
    _watchedFolder = nearestExistingFolder(_folder);
    QByteArrayList wanted{_watchedFolder};
    const auto keys = keysOnDisk();
    for (const auto &key : keys) {
        if (const auto path = filePath(key); isLink(path))
            wanted.append(path);
    }
    _watch.watch(wanted);
    const std::lock_guard lock(_mutex);
    _isFollowed = _watch.isWatching(_watchedFolder);
}

void UserDefaults::announceIfChanged(const QString &key, const std::optional<QByteArray> &bytes)
{
    {
        const std::lock_guard lock(_mutex);
        const auto known = _values.constFind(key);
        const bool isKnown = known != _values.constEnd();
        if (isKnown == bytes.has_value() && (!isKnown || *known == *bytes))
            return;
        if (bytes)
            _values.insert(key, *bytes);
        else
            _values.remove(key);
    }
    Q_EMIT valueChanged(key);
}

}  // namespace vellumhound::settings
