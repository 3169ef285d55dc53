// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Background.h"
#include "base/Timer.h"
#include "platform/ApplicationEntries.h"
#include "platform/linux/GioLaunch.h"
#include "platform/Workspace.h"

#include <QDBusConnection>
#include <QObject>

namespace vellumhound::platform {

/// Opens files with their default applications, launches applications, and has files shown in the
/// user's file manager. Main thread; all that may wait is done on workers or asynchronously.
///
/// Each request ends in one call of the accepted handler, in a later turn: true when the desktop
/// took it (the panel can go), false when it was refused. Owned by the composition root; what is
/// still under way when it goes is no longer reported.
class GioWorkspace final : public QObject, public Workspace {
    Q_OBJECT

public:
    /// `bus` is the session bus, connected or not.
    GioWorkspace(base::Background &background, base::Timer &timer, QDBusConnection bus,
        ApplicationEntryName applicationName);

    void setAcceptedHandler(std::function<void(bool isAccepted)> handler);
    /// Called with what openURL() was asked for, when the desktop took it.
    void setOpenedHandler(std::function<void(const QString &path)> handler);
    /// Asked before each launch for a token that lets the other program take the focus; an empty
    /// one is none.
    void setTokenSource(std::function<QByteArray()> source);
    /// Variables of our own environment that the programs we start must not inherit.
    void setOwnVariables(const QByteArrayList &names);

    void openURL(const QString &path) override;
    void selectFile(const QString &path, const QString &inFolder) override;

private:
    LaunchOptions options() const;
    /// Calls `block(value)` for the value of `work`, unless this has gone by then.
    template <class T> void run(std::function<T()> work, std::function<void(T)> block);
    void reveal(const QString &path, const QString &folder, const QString &fileManagerId,
        const LaunchOptions &options);

    base::Background &_background;
    base::Timer &_timer;
    QDBusConnection _bus;
    ApplicationEntryName _applicationName;
    std::function<void(bool)> _accepted;
    std::function<void(const QString &)> _opened;
    std::function<QByteArray()> _tokenSource;
    QByteArrayList _ownVariables;
};

}  // namespace vellumhound::platform
