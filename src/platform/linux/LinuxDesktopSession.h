// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DesktopSession.h"

#include <QProcessEnvironment>

namespace vellumhound::platform {

/// The desktop by the environment that it gave its programs. Main thread.
class LinuxDesktopSession final : public DesktopSession {
public:
    /// `program` is the path of our own executable; `flatpakInfo` the file by which a Flatpak knows
    /// that it is one.
    LinuxDesktopSession(const QProcessEnvironment &environment, const QString &program,
        const QString &flatpakInfo = QStringLiteral("/.flatpak-info"));

    QStringList desktopNames() const override;
    SessionType sessionType() const override;
    QString command(const QString &action = {}) const override;
    bool isDesktopEntryInstalled() const override;

private:
    QProcessEnvironment _environment;
    QString _program;
    bool _isFlatpak = false;
};

}  // namespace vellumhound::platform
