// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/DesktopAppearance.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QGuiApplication>
#include <QMap>
#include <QPalette>

#include <utility>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

using Settings = QMap<QString, QVariantMap>;

const auto portalName = u"org.freedesktop.portal.Desktop"_s;
const auto portalPath = u"/org/freedesktop/portal/desktop"_s;
const auto portalInterface = u"org.freedesktop.portal.Settings"_s;
const auto commonGroup = u"org.freedesktop.appearance"_s;
const auto gnomeGroup = u"org.gnome.desktop.interface"_s;

bool isPaletteDark()
{
    const auto palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightnessF() <
           palette.color(QPalette::WindowText).lightnessF();
}

/// Three numbers from 0 to 1; anything outside means that no colour was chosen.
std::optional<base::Color> colorOf(const QVariant &value)
{
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != "(ddd)"_L1)
        return std::nullopt;
    base::Color color;
    argument.beginStructure();
    argument >> color.red >> color.green >> color.blue;
    argument.endStructure();
    const auto isShare = [](double share) { return share >= 0 && share <= 1; };
    if (!isShare(color.red) || !isShare(color.green) || !isShare(color.blue))
        return std::nullopt;
    return color;
}

}  // namespace

DesktopAppearance::DesktopAppearance(
    QDBusConnection bus, std::function<void(const Appearance &)> changed)
    : _changed(std::move(changed))
{
    _current.isDark = isPaletteDark();
    qGuiApp->installEventFilter(this);
    if (!bus.isConnected())
        return;
    qDBusRegisterMetaType<Settings>();
    qRegisterMetaType<QDBusVariant>();
    bus.connect(portalName, portalPath, portalInterface, u"SettingChanged"_s, this,
        SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    readAll(bus);
}

DesktopAppearance::~DesktopAppearance() = default;

void DesktopAppearance::readAll(QDBusConnection bus)
{
    auto message =
        QDBusMessage::createMethodCall(portalName, portalPath, portalInterface, u"ReadAll"_s);
    message << QStringList{commonGroup, gnomeGroup};
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<Settings> reply(*watcher);
        if (reply.isError())
            return;
        const auto settings = reply.value();
        for (auto group = settings.begin(); group != settings.end(); ++group) {
            for (auto entry = group->begin(); entry != group->end(); ++entry)
                take(group.key(), entry.key(), entry.value());
        }
        update();
    });
}

void DesktopAppearance::onSettingChanged(
    const QString &group, const QString &key, const QDBusVariant &value)
{
    take(group, key, value.variant());
    update();
}

void DesktopAppearance::take(const QString &group, const QString &key, const QVariant &value)
{
    if (group == gnomeGroup && key == "enable-animations"_L1)
        _areAnimationsOn = value.toBool();
    if (group != commonGroup)
        return;
    if (key == "color-scheme"_L1) {
        const auto scheme = value.toUInt();
        _isDarkByPortal = scheme == 1   ? std::optional(true)
                          : scheme == 2 ? std::optional(false)
                                        : std::nullopt;
    } else if (key == "accent-color"_L1) {
        _accent = colorOf(value);
    } else if (key == "reduced-motion"_L1) {
        _isMotionReduced = value.toUInt() == 1;
    }
}

void DesktopAppearance::update()
{
    const Appearance now{_isDarkByPortal.value_or(isPaletteDark()), _accent,
        _isMotionReduced.value_or(!_areAnimationsOn.value_or(true))};
    if (now == _current)
        return;
    _current = now;
    if (_changed)
        _changed(_current);
}

bool DesktopAppearance::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == qGuiApp && event->type() == QEvent::ApplicationPaletteChange)
        update();
    return false;
}

}  // namespace vellumhound::platform
