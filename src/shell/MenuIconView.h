// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/BundleInfo.h"
#include "keyboard/KeyEquivalents.h"
#include "keyboard/KeyShortcut.h"
#include "settings/SettingsRecords.h"

#include <QList>
#include <QSizeF>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace vellumhound::shell {

/// The picture of the item in the desktop's tray.
struct MenuIconView {
    /// Of the picture among the program's resources; without it the program does not run.
    static constexpr char16_t imageName[] = u"MenubarIcon";
    static constexpr double heightPx = 18;

    /// The size at which a picture of `imageSize` is shown: its height fixed, its shape kept.
    static QSizeF shownSize(const QSizeF &imageSize);
    /// How high the picture is in a square cell that the tray gives it: as the cell in trays with
    /// cells of less than `heightPx`, and with the usual air above and below in larger ones.
    static double heightInCell(double cellPx);
};

/// One row of the item's menu.
struct MenuRow {
    enum class Kind {
        openVellumhound,
        settings,
        version,
        checkForUpdates,
        about,
        quit,
        divider,
    };

    Kind kind = Kind::divider;
    QString text;
    QString symbol;  ///< name of the symbol before the text; empty for none
    std::optional<keyboard::KeyShortcut> key;
    bool isEnabled = false;

    bool operator==(const MenuRow &) const = default;
};

/// What the menu depends on, at the moment at which it is built.
struct MenuState {
    std::optional<keyboard::KeyShortcut>
        launchShortcut;  ///< what is recorded for launchVellumhound
    base::BundleInfo bundle;
    bool canOpenSettings = false;  ///< there is a settings window
    bool canCheckForUpdates = false;
    bool updateAvailable = false;  ///< a scheduled check has found one

    bool operator==(const MenuState &) const = default;
};

/// "Version 1.2 (3)"; nothing if either part is missing.
std::optional<QString> versionLine(const base::BundleInfo &bundle);

/// The rows from top to bottom. Pure.
QList<MenuRow> describeMenu(const MenuState &state);

/// What the rows do. An empty function stands for what the program does not have.
struct MenuActions {
    std::function<void()> presentPanel;  ///< at once
    std::function<void(settings::SettingsTab)> openSettings;
    std::function<void()> checkForUpdates;
    std::function<void()> terminate;

    /// Does what the row is for; nothing for one that only stands there.
    void perform(MenuRow::Kind kind) const;
};

/// The menu's own keys in our windows: Command+"," and Command+"q". They are asked after the keys
/// of the buttons, so this is made after the windows; a key whose row can do nothing goes on. They
/// hold whether or not the item is shown: where the desktop has no tray they are the only way.
///
/// Main thread; `keyEquivalents` and `actions` outlive it.
class MenuKeys {
public:
    MenuKeys(keyboard::KeyEquivalents &keyEquivalents, const MenuActions &actions);

private:
    std::unique_ptr<keyboard::KeyEquivalents::Registration> _settings;
    std::unique_ptr<keyboard::KeyEquivalents::Registration> _quit;
};

}  // namespace vellumhound::shell
