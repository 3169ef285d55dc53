// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>
#include <QStringView>

#include <optional>

namespace vellumhound::shell {

/// How the picture of the tray item is drawn.
struct MenubarIconStyle {
    QColor ink;
    /// Around the picture, where nobody tells what it stands on; absent for none.
    std::optional<QColor> halo;
    /// By this name a tray looks for the picture in the icon theme, to colour it by itself; empty
    /// where the theme does not have it.
    QString themeName;

    bool operator==(const MenubarIconStyle &) const = default;
};

/// Whether the trays of this desktop (the text of XDG_CURRENT_DESKTOP) colour a symbolic picture
/// of the icon theme to fit what it stands on. The others draw it as it is, dark on dark.
bool recoloursSymbolicIcons(QStringView currentDesktop);

/// The image "MenubarIcon" in a square cell of any size, crisp at any scale. The process stops if
/// the image is not among its resources. Main thread.
QIcon menubarIcon(const MenubarIconStyle &style);

}  // namespace vellumhound::shell
