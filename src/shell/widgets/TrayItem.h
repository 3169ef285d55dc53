// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/NotificationCenter.h"
#include "platform/Appearance.h"
#include "platform/linux/TrayHost.h"
#include "settings/SettingsRecords.h"
#include "shell/MenuIconView.h"
#include "shell/widgets/MenubarIcon.h"
#include "shell/widgets/TrayMenu.h"

#include <QObject>

#include <functional>
#include <memory>

class QSystemTrayIcon;

namespace vellumhound::shell {

/// The program's item in the desktop's tray, there while `showMenuBarIcon` is true and the desktop
/// has a tray. A click on it presents the panel, as items of programs that are there to be opened
/// do on this platform, in each kind of tray; the other button has the menu.
///
/// No tray can take the item away for good: where one hides it, it says nothing of it, so nothing
/// here ever writes `showMenuBarIcon`.
///
/// Main thread; owned by the composition root. All it is given outlives it.
class TrayItem final : public QObject {
    Q_OBJECT

public:
    struct Environment {
        const settings::CodableAppStorage<settings::AppSettingsData> &appSettings;
        base::NotificationCenter &notificationCenter;
        platform::TrayHost &host;
        std::function<MenuState()> menuState;  ///< asked whenever the menu is built
        const MenuActions &actions;
    };

    explicit TrayItem(Environment environment);
    ~TrayItem() override;

    /// Decides the colour of the picture where the tray says nothing of it.
    void setAppearance(const platform::Appearance &appearance);
    /// After a change of what the menu depends on: some trays show the rows that they know.
    void refreshMenu();

    bool isShown() const;

private:
    void update();
    void updateIcon();
    void makeItem();
    MenubarIconStyle style() const;

    Environment _environment;
    platform::Appearance _appearance;
    TrayMenu _menu;
    std::unique_ptr<QSystemTrayIcon> _item;  // none until it was to be shown for the first time
    base::NotificationCenter::Token _shortcutDidChange;
};

}  // namespace vellumhound::shell
