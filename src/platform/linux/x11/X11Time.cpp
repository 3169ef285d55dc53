// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/x11/X11Time.h"

#include "platform/linux/x11/X11Connection.h"

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>

namespace vellumhound::platform {

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

}  // namespace vellumhound::platform
