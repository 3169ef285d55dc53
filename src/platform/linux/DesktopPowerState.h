// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PowerState.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariant>

#include <array>
#include <functional>

namespace vellumhound::platform {

/// Power is saved while the user has chosen the power saver among the power profiles, or the
/// battery is in use and low. By power-profiles-daemon, under its present or its former name, and
/// UPower; neither is started for this, and one that is not there has no say.
///
/// Knows nothing at first and learns in later turns. Main thread; owned by the composition root.
class DesktopPowerState final : public QObject, public PowerState {
    Q_OBJECT

public:
    /// `bus` is the system bus, connected or not.
    explicit DesktopPowerState(QDBusConnection bus);
    ~DesktopPowerState() override;

    bool savesPower() const override { return _savesPower; }
    void onChanged(std::function<void(bool)> changed) override;

private Q_SLOTS:
    void onPropertiesChanged(const QString &interface);

private:
    /// A property on the bus that says yes or no; no while it does not answer.
    struct Witness {
        QString service;
        QString path;
        QString interface;
        QString property;
        bool (*isYesFor)(const QVariant &value) = nullptr;
        bool saysYes = false;
        int question = 0;  // number of the latest; the answer to an older one is dropped
    };

    void follow(Witness &witness);
    void ask(Witness &witness);
    void note(Witness &witness, bool saysYes);

    QDBusConnection _bus;
    std::function<void(bool)> _changed;
    std::array<Witness, 4> _witnesses;
    bool _savesPower = false;
};

}  // namespace vellumhound::platform
