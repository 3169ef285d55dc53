// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/activation/SingleInstance.h"

#include <QObject>
#include <QVariantList>

namespace vellumhound::platform {

/// What the bus sees of the running instance. An unknown action is ignored, as the interface asks.
class ApplicationInterface final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ApplicationInterface(const SingleInstance::Handlers &handlers, QObject *parent);

public Q_SLOTS:
    Q_SCRIPTABLE void Activate(const QVariantMap &platformData);
    Q_SCRIPTABLE void Open(const QStringList &uris, const QVariantMap &platformData);
    Q_SCRIPTABLE void ActivateAction(
        const QString &name, const QVariantList &parameter, const QVariantMap &platformData);

private:
    const SingleInstance::Handlers &_handlers;
};

}  // namespace vellumhound::platform
