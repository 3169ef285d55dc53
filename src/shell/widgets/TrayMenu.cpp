// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/TrayMenu.h"

#include "base/widgets/Symbols.h"

#include <QAction>
#include <QGuiApplication>

#include <algorithm>
#include <array>
#include <utility>

namespace vellumhound::shell {

using namespace Qt::StringLiterals;

namespace {

constexpr int symbolSizePx = 16;

QString nameOf(MenuRow::Kind kind)
{
    switch (kind) {
    case MenuRow::Kind::openVellumhound:
        return u"openVellumhound"_s;
    case MenuRow::Kind::settings:
        return u"settings"_s;
    case MenuRow::Kind::version:
        return u"version"_s;
    case MenuRow::Kind::checkForUpdates:
        return u"checkForUpdates"_s;
    case MenuRow::Kind::about:
        return u"about"_s;
    case MenuRow::Kind::quit:
        return u"quit"_s;
    case MenuRow::Kind::divider:
        break;
    }
    return u"divider"_s;
}

QIcon iconOf(const QString &symbol, const QPalette &palette)
{
    return symbol.isEmpty()
               ? QIcon()
               : QIcon(base::symbolPixmap(symbol, symbolSizePx, qGuiApp->devicePixelRatio(),
                     palette.color(QPalette::WindowText)));
}

bool areAlike(const QList<MenuRow> &one, const QList<MenuRow> &other)
{
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
        [](const MenuRow &a, const MenuRow &b) { return a.kind == b.kind; });
}

}  // namespace

QKeySequence toKeySequence(const keyboard::KeyShortcut &shortcut)
{
    using namespace keyboard::KeyCharacter;
    static constexpr std::array<std::pair<char32_t, Qt::Key>, 15> named{
        {{returnKey, Qt::Key_Return}, {space, Qt::Key_Space}, {deleteKey, Qt::Key_Backspace},
            {escape, Qt::Key_Escape}, {tab, Qt::Key_Tab}, {upArrow, Qt::Key_Up},
            {downArrow, Qt::Key_Down}, {leftArrow, Qt::Key_Left}, {rightArrow, Qt::Key_Right},
            {deleteForward, Qt::Key_Delete}, {home, Qt::Key_Home}, {end, Qt::Key_End},
            {pageUp, Qt::Key_PageUp}, {pageDown, Qt::Key_PageDown}, {clear, Qt::Key_Clear}}};
    static constexpr std::array<std::pair<std::uint32_t, Qt::KeyboardModifier>, 4> held{
        {{base::ModifierFlags::shift, Qt::ShiftModifier},
            {base::ModifierFlags::control, Qt::ControlModifier},
            {base::ModifierFlags::option, Qt::AltModifier},
            {base::ModifierFlags::command, Qt::MetaModifier}}};
    const auto *special = std::find_if(
        named.begin(), named.end(), [&](const auto &entry) { return entry.first == shortcut.key; });
    const auto key = special != named.end()
                         ? special->second
                         : Qt::Key(QString::fromUcs4(&shortcut.key, 1).toUpper().at(0).unicode());
    Qt::KeyboardModifiers modifiers;
    for (const auto &[flag, modifier] : held)
        modifiers.setFlag(modifier, (shortcut.modifiers & flag) != 0);
    return QKeySequence(QKeyCombination(modifiers, key));
}

TrayMenu::TrayMenu()
{
    setObjectName(u"TrayMenu"_s);
    setAccessibleName(u"Vellumhound"_s);
    // Some styles draw what cannot be chosen twice, as if etched, which on dark reads badly.
    QPalette plain;
    plain.setColor(QPalette::Disabled, QPalette::Light, Qt::transparent);
    setPalette(plain);
}

void TrayMenu::setRows(const QList<MenuRow> &rows)
{
    if (!areAlike(rows, _rows))
        makeActions(rows);
    _rows = rows;
    const auto all = actions();
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const auto &row = rows[i];
        auto *action = all[i];
        if (row.kind == MenuRow::Kind::divider)
            continue;
        action->setText(row.text);
        action->setIcon(iconOf(row.symbol, palette()));
        action->setEnabled(row.isEnabled);
        action->setShortcut(row.key ? toKeySequence(*row.key) : QKeySequence());
    }
}

void TrayMenu::makeActions(const QList<MenuRow> &rows)
{
    clear();
    for (const auto &row : rows) {
        auto *action = row.kind == MenuRow::Kind::divider ? addSeparator() : addAction(row.text);
        action->setObjectName(nameOf(row.kind));
        action->setMenuRole(QAction::NoRole);
        action->setIconVisibleInMenu(true);
        action->setShortcutVisibleInContextMenu(true);
        connect(
            action, &QAction::triggered, this, [this, kind = row.kind] { Q_EMIT chosen(kind); });
    }
}

}  // namespace vellumhound::shell
