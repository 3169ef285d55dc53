// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/hotkeys/HotKeyBackend.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <chrono>
#include <functional>
#include <optional>

namespace vellumhound::platform {

/// KDE's service for hot keys as it stands on the session bus: whether it is there, questions to
/// it, and what it tells of one component's keys. Nothing ever waits for it.
///
/// Main thread; owned by KGlobalAccelHotKeys.
class KGlobalAccelService final : public QObject {
    Q_OBJECT

public:
    /// Gets the answer, or an error if there was none in time.
    using Answer = std::function<void(const QDBusMessage &)>;

    /// `bus` is the session bus, connected or not.
    KGlobalAccelService(
        QDBusConnection bus, QString component, std::chrono::milliseconds answerLimit);
    ~KGlobalAccelService() override;

    /// It is present if the compositor runs it: only the compositor hears keys everywhere, so
    /// another owner of the name is of no use, nor is one that would have to be started first.
    HotKeyBackend::Presence presence() const { return _presence; }

    /// No answer comes once this object is gone.
    void ask(const QString &method, const QVariantList &arguments, Answer answer);
    /// Without an answer, and without effect if the service does not run. The service takes up what
    /// is asked and told in the order of the calls.
    void tell(const QString &method, const QVariantList &arguments);

Q_SIGNALS:
    void presenceChanged();
    /// One service came up: it knows nothing of what another one was asked.
    void started();
    void stopped();

    /// `time` in milliseconds of the X server, 0 if the service knows none.
    void pressed(const QString &action, qlonglong time);
    /// Not from every service: some tell a key that is held as further presses.
    void repeated(const QString &action, qlonglong time);
    void released(const QString &action);
    /// Somebody else has given the action other keys.
    void keysChanged(const QString &action);

private Q_SLOTS:
    void onPressed(const QString &component, const QString &action, qlonglong time,
        const QDBusMessage &message);
    void onRepeated(const QString &component, const QString &action, qlonglong time,
        const QDBusMessage &message);
    void onReleased(const QString &component, const QString &action, qlonglong time,
        const QDBusMessage &message);
    void onKeysChanged(const QStringList &action, const QDBusMessage &message);

private:
    void follow();
    void listen();
    void findOwner();
    void findCompositor();
    void takeOwner(const QString &owner);
    void updatePresence();
    bool isFromOwner(const QDBusMessage &message) const;
    void send(const QDBusMessage &message, Answer answer);
    void tellAfterOwner(const QDBusMessage &error, const Answer &answer);

    QDBusConnection _bus;
    QString _component;
    std::chrono::milliseconds _answerLimit;
    HotKeyBackend::Presence _presence = HotKeyBackend::Presence::unknown;
    // Absent as long as the bus has not told.
    std::optional<QString> _owner;  // its unique name, empty for none
    std::optional<bool> _isCompositor;
    unsigned _ownerQuestion = 0;       // the last one; answers to older ones are dropped
    unsigned _compositorQuestion = 0;  // likewise
};

}  // namespace vellumhound::platform
