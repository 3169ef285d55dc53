// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Services.h"

#include "base/NativePath.h"
#include "index/disk/DesktopEntries.h"
#include "platform/linux/activation/Activation.h"
#include "platform/linux/LinuxFileSystem.h"

#include <QDBusConnection>
#include <QLocale>

namespace vellumhound::app {

namespace {

using namespace Qt::StringLiterals;

QStringList sharedDataFolders()
{
    auto text = base::pathFromBytes(qgetenv("XDG_DATA_DIRS").toStdString());
    if (text.isEmpty())
        text = u"/usr/local/share:/usr/share"_s;
    auto folders = text.split(u':', Qt::SkipEmptyParts);
    folders.removeIf([](const QString &folder) { return !folder.startsWith(u'/'); });
    return folders;
}

/// Where the desktop keeps what applications share, by the environment of the process. The toolkit
/// has its own idea of folders whose names do not decode.
struct DataFolders {
    QString home = base::baseDirectory("XDG_DATA_HOME", u".local/share"_s);
    QStringList shared = sharedDataFolders();

    DataFolders() { shared.removeAll(home); }
};

/// The user's languages as desktop entries write them, the most wanted first.
QStringList languages()
{
    QStringList names;
    for (auto name : QLocale().uiLanguages())
        names.append(name.replace(u'-', u'_'));
    return names;
}

index::FileIndexOptions indexOptions()
{
    const DataFolders folders;
    index::FileIndexOptions options;
    options.dataHome = folders.home;
    options.dataDirs = folders.shared;
    options.languages = languages();
    options.cacheFolder = base::appendingPathComponent(
        base::baseDirectory("XDG_CACHE_HOME", u".cache"_s), u"vellumhound"_s);
    return options;
}

platform::ApplicationEntryName applicationName()
{
    const DataFolders folders;
    return [entries = index::DesktopEntries(folders.home, folders.shared, languages())](
               const QString &path) { return entries.applicationName(path); };
}

}  // namespace

Services::Services(
    std::unique_ptr<store::PersistenceController> loadedStore, const QByteArrayList &ownVariables)
    : store(std::move(loadedStore))
    , fileIndex(indexOptions())
    , query(fileIndex, notificationCenter)
    , fileSystem(std::make_shared<platform::LinuxFileSystem>(applicationName()))
    , workspace(background, timer, QDBusConnection::sessionBus(), applicationName())
    , fileSearchService({queue, background, notificationCenter, query, fileSystem, userDefaults})
    , hotKeys(userDefaults, notificationCenter, keyboardLayout)
{
    workspace.setTokenSource(platform::makeStartupId);
    workspace.setOwnVariables(ownVariables);
    workspace.setOpenedHandler([this](const QString &path) { fileIndex.noteUse(path); });
    settings.searchFiltersSettings.onChange(&settings, [this] { handRulesToIndex(); });
    handRulesToIndex();
    settings.searchSettings.onChange(
        &settings, [this] { fileIndex.setSearchesTexts(settings.searchByContent()); });
    fileIndex.setSearchesTexts(settings.searchByContent());
    powerState.onChanged([this](bool savesPower) { fileIndex.setSavesPower(savesPower); });
    fileIndex.setSavesPower(powerState.savesPower());
}

void Services::handRulesToIndex()
{
    QList<index::Rule> rules;
    for (const auto &rule : settings.pathRules())
        rules.append({rule.path, rule.isIncluded});
    fileIndex.setPathRules(rules);
}

}  // namespace vellumhound::app
