// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/hotkeys/HotKeyBackend.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

namespace vellumhound::platform {

/// Whether the desktop has a portal for global shortcuts, and which run of the portal it is. A
/// portal that can be started is started. Before anything else each run is told what program we
/// are, as those that listen to that want it.
///
/// Main thread; never waits. Owned by PortalHotKeys.
class PortalPresence final : public QObject {
    Q_OBJECT

public:
    /// `changed` is called from the event loop after each change of presence() or owner(). A portal
    /// without an answer for `answerLimit` counts as absent until it answers.
    PortalPresence(QDBusConnection bus, QString applicationId,
        std::chrono::milliseconds answerLimit, std::function<void()> changed);
    ~PortalPresence() override;

    HotKeyBackend::Presence presence() const { return _presence; }
    /// The unique bus name of the portal that is present; empty otherwise.
    QString owner() const;

private:
    void askForOwner();
    void startIfPossible();
    void start();
    void setOwner(const QString &owner);
    void introduceUs();
    void askForVersion();
    void note(HotKeyBackend::Presence presence);
    void call(const QDBusMessage &message, std::function<void(const QDBusMessage &)> answered);

    QDBusConnection _bus;
    QString _applicationId;
    std::function<void()> _changed;
    QTimer _limit;
    QTimer _restart;
    HotKeyBackend::Presence _presence = HotKeyBackend::Presence::unknown;
    QString _owner;   // of the portal's name; empty while nobody has it
    int _run = 0;     // counts the owners: answers for an earlier one are dropped
    int _starts = 0;  // how often we have started the portal
};

}  // namespace vellumhound::platform
