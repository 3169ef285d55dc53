// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DesktopSession.h"

namespace vellumhound::fakes {

/// A desktop as a test describes it.
class FakeDesktopSession final : public platform::DesktopSession {
public:
    QStringList names;
    platform::SessionType type = platform::SessionType::unknown;
    bool isInstalled = true;
    QString program = QStringLiteral("vellumhound");

    QStringList desktopNames() const override { return names; }
    platform::SessionType sessionType() const override { return type; }
    QString command(const QString &action) const override
    {
        return action.isEmpty() ? program : program + u' ' + action;
    }
    bool isDesktopEntryInstalled() const override { return isInstalled; }
};

}  // namespace vellumhound::fakes
