// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "index/disk/MountTable.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vellumhound::index {

/// One application that the desktop offers.
struct Application {
    std::string path;        ///< of the desktop entry, in bytes
    std::string fileName;    ///< its last component
    std::string name;        ///< localised, UTF-8
    std::string storedName;  ///< folded unless the name is ASCII, as a NameBlock has it

    bool operator==(const Application &) const = default;
};
using ApplicationTable = std::vector<Application>;

/// The desktop entries in the application folders. A value without state of its own: each call
/// reads the disk. Any thread.
class DesktopEntries {
public:
    /// `dataHome` is XDG_DATA_HOME, `dataDirs` XDG_DATA_DIRS in their order; the folders to which
    /// Flatpak and Snap export are added behind them. `languages` are locale names in the form
    /// de_DE or sr@latin, the most wanted first. `mountsNow` is asked where a link may lead astray.
    DesktopEntries(const QString &dataHome, const QStringList &dataDirs, QStringList languages,
        std::function<std::vector<Mount>()> mountsNow = readMounts);

    /// The application folders, of the highest rank first, whether they exist or not.
    const QStringList &folders() const { return _folders; }
    /// The localised name of the application that the entry at `path` stands for. Absent if the
    /// path is in no application folder, cannot be read, is no visible entry of Type=Application,
    /// or links to a file system that may hang.
    std::optional<QString> applicationName(const QString &path) const;
    /// Each visible application once: of two entries with the same id that of the folder of higher
    /// rank counts, also if it is hidden. By path within a folder. What lies on one of the mounts
    /// `avoided`, or leads there by links, is not touched and left out.
    ApplicationTable applications(const std::vector<Mount> &avoided) const;
    /// The application folders that exist, with all folders below them, for who wants to watch
    /// them; for one that does not exist, its nearest existing parent. `avoided` as above.
    QStringList watchedFolders(const std::vector<Mount> &avoided) const;

private:
    struct Found {
        std::string id;
        std::string path;
    };
    static std::vector<Found> entriesBelow(
        const std::string &folder, const std::vector<Mount> &avoided);
    std::optional<std::string> visibleName(
        const std::string &path, const std::vector<Mount> &avoided) const;

    QStringList _folders;
    std::function<std::vector<Mount>()> _mountsNow;
    std::vector<std::string> _nameKeys;  // "Name[de_DE]", "Name[de]", "Name": the best first
};

}  // namespace vellumhound::index
