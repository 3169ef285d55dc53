// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/HotKeys.h"
#include "app/Recorders.h"
#include "base/Background.h"
#include "base/NotificationCenter.h"
#include "base/Timer.h"
#include "core/FileSearchService.h"
#include "finder/FinderManager.h"
#include "index/FileIndex.h"
#include "index/IndexQuery.h"
#include "keyboard/KeyboardMonitor.h"
#include "keyboard/KeyEquivalents.h"
#include "platform/Clock.h"
#include "platform/linux/DesktopPowerState.h"
#include "platform/linux/GioWorkspace.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/KeyTranslator.h"
#include "platform/PreviewPanel.h"
#include "preview/PreviewPanelManager.h"
#include "settings/AppSettings.h"
#include "shell/widgets/MenuTracking.h"
#include "shell/widgets/PanelKeyFilter.h"
#include "store/PersistenceController.h"

#include <QByteArrayList>
#include <QDBusConnection>

#include <memory>

namespace vellumhound::app {

/// What the process has one of, in the order in which one needs the other; all of it lives until
/// the process ends. Main thread; needs the application object.
struct Services {
    /// `store` has been loaded. Programs that are launched do not get `ownVariables` of the
    /// environment.
    Services(
        std::unique_ptr<store::PersistenceController> store, const QByteArrayList &ownVariables);
    Q_DISABLE_COPY_MOVE(Services)

    base::MainQueue queue;
    base::EventLoopTimer timer;
    base::NotificationCenter notificationCenter;
    base::Background background{queue};
    platform::Clock clock;

    settings::UserDefaults userDefaults{settings::UserDefaults::standardFolder(), timer};
    settings::AppSettings settings{userDefaults};
    std::unique_ptr<store::PersistenceController> store;

    platform::DesktopPowerState powerState{QDBusConnection::systemBus()};
    index::FileIndex fileIndex;
    index::IndexQuery query;
    std::shared_ptr<const platform::FileSystem> fileSystem;
    platform::GioWorkspace workspace;
    core::FileSearchService fileSearchService;

    platform::NullPreviewPanel previewPanel;
    preview::NullPreviewPanelManager previewPanelManager;
    finder::NullFinderManager finderManager;

    std::shared_ptr<const platform::KeyboardLayout> keyboardLayout =
        platform::KeyboardLayout::ofSession();
    platform::KeyTranslator keyTranslator{keyboardLayout};
    keyboard::KeyEquivalents keyEquivalents;
    shell::PanelKeyFilter keyFilter{keyTranslator, keyEquivalents};
    keyboard::KeyboardMonitor keyboardMonitor{keyFilter, queue};

    HotKeys hotKeys;
    Recorders recorders{hotKeys, notificationCenter, queue, keyTranslator, keyboardLayout};
    shell::MenuTracking menuTracking{notificationCenter};

private:
    void handRulesToIndex();
};

}  // namespace vellumhound::app
