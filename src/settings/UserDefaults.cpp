// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/UserDefaults.h"

#include "base/NativePath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSaveFile>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace vellumhound::settings {

Q_LOGGING_CATEGORY(log, "vellumhound.settings")

namespace {

constexpr QLatin1StringView suffix(".json");

bool isKey(const QString &key)
{
    return !key.isEmpty() && !key.startsWith(u'.') && !key.contains(u'/');
}

/// As told for the folders of the XDG base directories: missing ones are made for the owner alone.
bool makeFolder(const QString &folder)
{
    if (QFileInfo(folder).isDir())
        return true;
    const auto parent = base::deletingLastPathComponent(folder);
    if (parent.isEmpty() || parent == folder || !makeFolder(parent))
        return false;
    return ::mkdir(QFile::encodeName(folder).constData(), 0700) == 0 || QFileInfo(folder).isDir();
}

QString nearestExistingFolder(QString folder)
{
    while (!QFileInfo(folder).isDir()) {
        const auto parent = base::deletingLastPathComponent(folder);
        if (parent.isEmpty() || parent == folder)
            return {};
        folder = parent;
    }
    return folder;
}

}  // namespace

UserDefaults::UserDefaults(const QString &folder, QObject *parent)
    : QObject(parent)
    , _folder(folder)
{
    connect(&_watcher, &QFileSystemWatcher::directoryChanged, this, &UserDefaults::lookForChanges);
    connect(&_watcher, &QFileSystemWatcher::fileChanged, this, &UserDefaults::lookForChanges);
    watchAgain();
    const auto keys = keysOnDisk();
    for (const auto &key : keys) {
        if (const auto bytes = data(key))
            _announced.insert(key, *bytes);
    }
}

QString UserDefaults::standardFolder()
{
    auto base = qEnvironmentVariable("XDG_CONFIG_HOME");  // style: the one default place
    if (!base.startsWith(u'/'))
        base = base::appendingPathComponent(base::homeDirectoryPath(), u".config"_s);
    return base::appendingPathComponent(base, u"vellumhound"_s);
}

std::optional<QByteArray> UserDefaults::data(const QString &key) const
{
    if (!isKey(key))
        return std::nullopt;
    QFile file(filePath(key));
    // A pipe would keep the reader waiting for a writer that never comes.
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    auto bytes = file.read(mostBytes + 1);
    if (file.error() != QFileDevice::NoError || bytes.size() > mostBytes)
        return std::nullopt;
    // An empty value is not an absent one.
    return bytes.isNull() ? QByteArray("") : bytes;
}

bool UserDefaults::setData(const QString &key, const QByteArray &bytes)
{
    if (!isKey(key) || !makeFolder(_folder))
        return false;
    QSaveFile file(filePath(key));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        qCDebug(log) << "not written:" << key << file.errorString();
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
    if (!QFile::remove(filePath(key)) && QFileInfo::exists(filePath(key)))
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

QString UserDefaults::filePath(const QString &key) const
{
    return base::appendingPathComponent(_folder, key + suffix);
}

QStringList UserDefaults::keysOnDisk() const
{
    QStringList keys;
    const auto names = QDir(_folder).entryList({u"*.json"_s}, QDir::Files | QDir::System);
    for (const auto &name : names)
        keys.append(name.chopped(suffix.size()));
    return keys;
}

void UserDefaults::lookForChanges()
{
    watchAgain();
    auto keys = keysOnDisk();
    for (auto known = _announced.keyBegin(); known != _announced.keyEnd(); ++known) {
        if (!keys.contains(*known))
            keys.append(*known);
    }
    for (const auto &key : std::as_const(keys))
        announceIfChanged(key, data(key));
}

void UserDefaults::watchAgain()
{
    // A file that is replaced leaves the watch, a folder that is not there yet cannot enter it: its
    // nearest existing parent tells when it comes.
    const auto keys = keysOnDisk();
    QStringList wanted{nearestExistingFolder(_folder)};
    for (const auto &key : keys)
        wanted.append(filePath(key));
    const auto watched = _watcher.directories() + _watcher.files();
    for (const auto &path : watched) {
        if (!wanted.contains(path))
            _watcher.removePath(path);
        else
            wanted.removeOne(path);
    }
    for (const auto &path : std::as_const(wanted)) {
        if (!path.isEmpty())
            _watcher.addPath(path);
    }
}

void UserDefaults::announceIfChanged(const QString &key, const std::optional<QByteArray> &bytes)
{
    const auto known = _announced.constFind(key);
    const bool isKnown = known != _announced.constEnd();
    if (isKnown == bytes.has_value() && (!isKnown || *known == *bytes))
        return;
    if (bytes)
        _announced.insert(key, *bytes);
    else
        _announced.remove(key);
    Q_EMIT valueChanged(key);
}

}  // namespace vellumhound::settings
