// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/activation/Activation.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Time.h"

#include <QGuiApplication>
#include <QSysInfo>

#include <unistd.h>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

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
