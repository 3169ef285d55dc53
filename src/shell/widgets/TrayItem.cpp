// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/TrayItem.h"

#include "base/widgets/Symbols.h"

#include <QSystemTrayIcon>

namespace vellumhound::shell {

using namespace Qt::StringLiterals;

namespace {

const QColor darkInk(0x24, 0x24, 0x29);
const QColor lightInk(0xF4, 0xF4, 0xF6);
constexpr double haloStrength = 0.35;

QColor haloOf(QColor color)
{
    color.setAlphaF(float(haloStrength));
    return color;
}

}  // namespace

TrayItem::TrayItem(Environment environment)
    : _environment(std::move(environment))
{
    connect(&_menu, &QMenu::aboutToShow, this, &TrayItem::refreshMenu);
    connect(&_menu, &TrayMenu::chosen, this,
        [this](MenuRow::Kind kind) { _environment.actions.perform(kind); });
    connect(&_environment.host, &platform::TrayHost::kindChanged, this, &TrayItem::update);
    connect(
        &_environment.host, &platform::TrayHost::foregroundChanged, this, &TrayItem::updateIcon);
    _environment.appSettings.onChange(this, [this] { update(); });
    _shortcutDidChange = _environment.notificationCenter.addObserver(
        QString::fromUtf16(base::Notifications::KeyboardShortcuts_shortcutByNameDidChange), nullptr,
        [this] { refreshMenu(); });
    update();
}

TrayItem::~TrayItem() = default;

void TrayItem::setAppearance(const platform::Appearance &appearance)
{
    _appearance = appearance;
    updateIcon();
    refreshMenu();
}

void TrayItem::refreshMenu()
{
    if (_item)
        _menu.setRows(describeMenu(_environment.menuState()));
}

bool TrayItem::isShown() const
{
    return _item && _item->isVisible();
}

void TrayItem::update()
{
    const bool isWanted = _environment.appSettings.wrappedValue().showMenuBarIcon &&
                          _environment.host.kind() != platform::TrayHost::Kind::none;
    if (isWanted == isShown())
        return;
    if (!isWanted) {
        _menu.hide();
        _item->hide();
        return;
    }
    if (!_item)
        makeItem();
    _item->show();
}

void TrayItem::makeItem()
{
    _item = std::make_unique<QSystemTrayIcon>();
    _item->setObjectName(u"TrayItem"_s);
    refreshMenu();
    updateIcon();
    _item->setToolTip(u"Vellumhound"_s);
    _item->setContextMenu(&_menu);
    connect(_item.get(), &QSystemTrayIcon::activated, this,
        [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger)
                _environment.actions.perform(MenuRow::Kind::openVellumhound);
        });
}

void TrayItem::updateIcon()
{
    if (_item)
        _item->setIcon(menubarIcon(style()));
}

MenubarIconStyle TrayItem::style() const
{
    static const auto themeName = u"org.vellumhound.Vellumhound-symbolic"_s;
    MenubarIconStyle style;
    if (const auto &foreground = _environment.host.foreground()) {
        style.ink = base::toQColor(*foreground);
    } else {
        style.ink = _appearance.isDark ? lightInk : darkInk;
        style.halo = haloOf(_appearance.isDark ? darkInk : lightInk);
    }
    if (recoloursSymbolicIcons(qEnvironmentVariable("XDG_CURRENT_DESKTOP")) &&
        QIcon::hasThemeIcon(themeName))
        style.themeName = themeName;
    return style;
}

}  // namespace vellumhound::shell
