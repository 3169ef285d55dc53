// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DesktopSession.h"
#include "platform/KeySetting.h"

namespace vellumhound::platform {

/// Custom keybindings in GNOME's settings, one entry for each name. Each question and each change
/// goes to the settings; nothing is kept. Main thread; `session` outlives it.
class GnomeKeybinding final : public KeySetting {
public:
    explicit GnomeKeybinding(const DesktopSession &session)
        : _session(session)
    {
    }

    bool isOffered() const override;
    bool isSet(const QString &name) const override;
    base::Outcome set(const Entry &entry) override;
    void remove(const QString &name) override;

private:
    const DesktopSession &_session;
};

}  // namespace vellumhound::platform
