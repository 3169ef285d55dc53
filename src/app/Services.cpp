// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Services.h"

#include "index/disk/DesktopEntries.h"
#include "platform/linux/activation/Activation.h"
#include "platform/linux/LinuxFileSystem.h"

#include <QDBusConnection>
#include <QLocale>
#include <QProcessEnvironment>
#include <QStandardPaths>

namespace vellumhound::app {

namespace {

using namespace Qt::StringLiterals;

/// Where the desktop keeps what applications share, by the environment of the process.
struct DataFolders {
    QString home = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    QStringList shared = QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);

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
    const auto caches = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    if (!caches.isEmpty())
        options.cacheFolder = caches + u"/vellumhound"_s;
    return options;
}

platform::ApplicationEntryName applicationName()
{
    const DataFolders folders;
    return [entries = index::DesktopEntries(folders.home, folders.shared, languages())](
               const QString &path) { return entries.applicationName(path); };
}

/// What was set for the toolkit in this process alone.
QByteArrayList ownVariables()
{
    QByteArrayList names;
    const auto environment = QProcessEnvironment::systemEnvironment().keys();
    for (const auto &name : environment) {
        if (name.startsWith(QStringLiteral("QT_")))
            names.append(name.toLocal8Bit());
    }
    return names;
}

}  // namespace

Services::Services(std::unique_ptr<store::PersistenceController> loadedStore)
    : store(std::move(loadedStore))
    , fileIndex(indexOptions())
    , query(fileIndex, notificationCenter)
    , fileSystem(std::make_shared<platform::LinuxFileSystem>(applicationName()))
    , workspace(background, timer, QDBusConnection::sessionBus(), applicationName())
    , fileSearchService({queue, background, notificationCenter, query, fileSystem, userDefaults})
    , hotKeys(userDefaults, notificationCenter, keyboardLayout)
{
    workspace.setTokenSource(platform::makeStartupId);
    workspace.setOwnVariables(ownVariables());
    workspace.setOpenedHandler([this](const QString &path) { fileIndex.noteUse(path); });
    settings.searchFiltersSettings.onChange(&settings, [this] { handRulesToIndex(); });
    handRulesToIndex();
    settings.searchSettings.onChange(
        &settings, [this] { fileIndex.setSearchesTexts(settings.searchByContent()); });
    fileIndex.setSearchesTexts(settings.searchByContent());
    powerState.onChanged([this](bool savesPower) { fileIndex.setSavesPower(savesPower); });
    fileIndex.setSavesPower(powerState.savesPower());
}

Services::~Services()
{
    // Whatever still waits ends here, while everything it may touch is there.
    if (fileSearchService.searchTask)
        fileSearchService.searchTask->cancel();
    queue.drain();
}

void Services::handRulesToIndex()
{
    QList<index::Rule> rules;
    for (const auto &rule : settings.pathRules())
        rules.append({rule.path, rule.isIncluded});
    fileIndex.setPathRules(rules);
}

}  // namespace vellumhound::app
