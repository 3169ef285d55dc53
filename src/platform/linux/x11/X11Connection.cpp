// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/x11/X11Connection.h"

#include <QGuiApplication>

namespace vellumhound::platform {

xcb_connection_t *x11Connection()
{
    if (!qGuiApp)
        return nullptr;
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

}  // namespace vellumhound::platform
