// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/activation/Activation.h"

#include "platform/linux/x11/X11Connection.h"

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>
#include <QSysInfo>

#include <unistd.h>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

using SetTime = void (*)(QScreen *, quint32);

/// The X11 plug-in's own way of being told the time.
void callWithTime(const char *function, std::uint32_t time)
{
    auto *screen = QGuiApplication::primaryScreen();
    auto *native = QGuiApplication::platformNativeInterface();
    if (!screen || !native)
        return;
    const auto address = native->nativeResourceFunctionForScreen(function);
    if (const auto set = reinterpret_cast<SetTime>(reinterpret_cast<void (*)()>(address)))
        set(screen, time);
}

}  // namespace

std::optional<std::uint32_t> timeOfStartupId(const QString &startupId)
{
    const auto mark = startupId.lastIndexOf("_TIME"_L1);
    if (mark < 0)
        return std::nullopt;
    bool isNumber = false;
    const auto time = QStringView(startupId).mid(mark + 5).toLongLong(&isNumber);
    // Some launchers write the 32 bits as a signed number.
    if (!isNumber || time < -0x80000000LL || time > 0xFFFFFFFFLL)
        return std::nullopt;
    return std::uint32_t(time);
}

void takeOverActivation(const QVariantMap &platformData)
{
    const auto startupId = platformData.value(u"desktop-startup-id"_s).toString();
    auto token = platformData.value(u"activation-token"_s).toString();
    if (token.isEmpty())
        token = startupId;
    if (token.isEmpty())
        return;
    if (x11Connection()) {
        if (const auto time = timeOfStartupId(startupId.isEmpty() ? token : startupId))
            setUserTime(*time);
    } else {
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    }
}

void setUserTime(std::uint32_t time)
{
    if (!x11Connection() || time == 0)
        return;
    callWithTime("setapptime", time);
    callWithTime("setappusertime", time);
}

std::uint32_t lastEventTime()
{
    auto *native = x11Connection() ? QGuiApplication::platformNativeInterface() : nullptr;
    if (!native)
        return 0;
    return std::uint32_t(reinterpret_cast<quintptr>(
        native->nativeResourceForScreen("apptime", QGuiApplication::primaryScreen())));
}

QByteArray makeStartupId()
{
    const auto *x11 =
        qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11)
        return {};
    static quint32 count = 0;
    return "vellumhound-" + QByteArray::number(::getpid()) + '-' +
           QSysInfo::machineHostName().toUtf8() + '-' + QByteArray::number(count++) + "_TIME" +
           QByteArray::number(lastEventTime());
}

}  // namespace vellumhound::platform
