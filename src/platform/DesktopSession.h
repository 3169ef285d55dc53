// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

namespace vellumhound::platform {

enum class SessionType { unknown, x11, wayland };

/// On what desktop the program runs, and how that desktop would start it. Main thread; the answers
/// stay the same while the program runs, but for isDesktopEntryInstalled.
class DesktopSession {
public:
    virtual ~DesktopSession() = default;

    /// As the desktop calls itself, the most specific name first: "ubuntu", "GNOME". Empty if it
    /// says nothing.
    virtual QStringList desktopNames() const = 0;
    virtual SessionType sessionType() const = 0;
    /// What a key of the desktop has to run: with no action what starts the program, which shows
    /// the panel of the one that runs; else what asks the running one for the action. Fit for a
    /// shell and for settings that split at blanks.
    virtual QString command(const QString &action = {}) const = 0;
    /// Whether the desktop can know the program by its desktop entry, as portals want it.
    virtual bool isDesktopEntryInstalled() const = 0;
};

}  // namespace vellumhound::platform
