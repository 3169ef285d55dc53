// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/MenuIconView.h"

#include <algorithm>
#include <cmath>

namespace vellumhound::shell {

using namespace Qt::StringLiterals;
using keyboard::KeyShortcut;

namespace {

constexpr KeyShortcut settingsKey{U',', base::ModifierFlags::command};
constexpr KeyShortcut quitKey{U'q', base::ModifierFlags::command};
/// The cell for which trays ask for a picture of 18.
constexpr double usualCellPx = 22;

MenuRow updateRow(const MenuState &state)
{
    if (state.updateAvailable) {
        return {MenuRow::Kind::checkForUpdates, u"Update Available"_s,
            u"square.and.arrow.down.fill"_s, {}, true};
    }
    return {
        MenuRow::Kind::checkForUpdates, u"Check for Updates"_s, {}, {}, state.canCheckForUpdates};
}

}  // namespace

QSizeF MenuIconView::shownSize(const QSizeF &imageSize)
{
    if (imageSize.isEmpty())
        return {};
    return {heightPx * imageSize.width() / imageSize.height(), heightPx};
}

double MenuIconView::heightInCell(double cellPx)
{
    const auto withAir = std::round(cellPx * heightPx / usualCellPx);
    return std::min(cellPx, std::max(heightPx, withAir));
}

std::optional<QString> versionLine(const base::BundleInfo &bundle)
{
    if (bundle.shortVersion.isEmpty() || bundle.build.isEmpty())
        return std::nullopt;
    return u"Version "_s + bundle.shortVersion + u" ("_s + bundle.build + u')';
}

QList<MenuRow> describeMenu(const MenuState &state)
{
    using Kind = MenuRow::Kind;
    QList<MenuRow> rows;
    rows.append({Kind::openVellumhound, u"Open Vellumhound"_s, {}, state.launchShortcut, true});
    rows.append(MenuRow());
    rows.append({Kind::settings, u"Settings"_s, {}, settingsKey, state.canOpenSettings});
    rows.append(MenuRow());
    if (const auto line = versionLine(state.bundle))
        rows.append({Kind::version, *line, {}, {}, false});
    rows.append(updateRow(state));
    rows.append({Kind::about, u"About Vellumhound"_s, {}, {}, state.canOpenSettings});
    rows.append(MenuRow());
    rows.append({Kind::quit, u"Quit"_s, {}, quitKey, true});
    return rows;
}

void MenuActions::perform(MenuRow::Kind kind) const
{
    switch (kind) {
    case MenuRow::Kind::openVellumhound:
        if (presentPanel)
            presentPanel();
        break;
    case MenuRow::Kind::settings:
        if (openSettings)
            openSettings(settings::SettingsTab::general);
        break;
    case MenuRow::Kind::checkForUpdates:
        if (checkForUpdates)
            checkForUpdates();
        break;
    case MenuRow::Kind::about:
        if (openSettings)
            openSettings(settings::SettingsTab::about);
        break;
    case MenuRow::Kind::quit:
        if (terminate)
            terminate();
        break;
    case MenuRow::Kind::version:
    case MenuRow::Kind::divider:
        break;
    }
}

MenuKeys::MenuKeys(keyboard::KeyEquivalents &keyEquivalents, const MenuActions &actions)
    : _settings(keyEquivalents.add(
          settingsKey.keyEquivalent(), [&actions] { return bool(actions.openSettings); },
          [&actions] { actions.perform(MenuRow::Kind::settings); }))
    , _quit(keyEquivalents.add(
          quitKey.keyEquivalent(), [&actions] { return bool(actions.terminate); },
          [&actions] { actions.perform(MenuRow::Kind::quit); }))
{
}

}  // namespace vellumhound::shell
