// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Appearance.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>

#include <functional>
#include <optional>

namespace vellumhound::platform {

/// The desktop's appearance, by the settings portal; where there is none or it does not say, dark
/// is what the application's palette is, which must therefore be the desktop's: ours is put over
/// it by classes of widgets. Starts from the palette and learns the rest in later turns.
///
/// Main thread; made after the application object, owned by the composition root.
class DesktopAppearance final : public QObject {
    Q_OBJECT

public:
    /// `bus` is the session bus, connected or not. `changed` is called after each change.
    DesktopAppearance(QDBusConnection bus, std::function<void(const Appearance &)> changed);
    ~DesktopAppearance() override;

    const Appearance &current() const { return _current; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private Q_SLOTS:
    void onSettingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    void readAll(QDBusConnection bus);
    void take(const QString &group, const QString &key, const QVariant &value);
    void update();

    std::function<void(const Appearance &)> _changed;
    std::optional<bool> _isDarkByPortal;
    std::optional<base::Color> _accent;
    std::optional<bool> _isMotionReduced;  // by the desktops' common setting
    std::optional<bool> _areAnimationsOn;  // by GNOME's own, which many desktops keep
    Appearance _current;
};

}  // namespace vellumhound::platform
