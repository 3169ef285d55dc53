// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"
#include "platform/linux/hotkeys/HotKeyBackend.h"
#include "platform/linux/hotkeys/KGlobalAccelService.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QStringList>

#include <chrono>
#include <functional>
#include <map>
#include <optional>

namespace vellumhound::platform {

/// Hot keys by KDE's service for them, KGlobalAccel, in a Wayland session, where it is a part of
/// the compositor. The user finds our keys in the desktop's settings and may change them there.
/// What was decided last holds: a key set there stays until another one is asked for here.
///
/// A registration is a short conversation with the service and stands as `waiting` for so long.
/// Each conversation has a number; an answer to one that is over is dropped.
///
/// Main thread; made after the application object and destroyed before it.
class KGlobalAccelHotKeys final : public QObject, public HotKeyBackend {
    Q_OBJECT

public:
    /// `bus` is the session bus, connected or not. `characters` outlives this object. The service
    /// has `answerLimit` for each answer.
    KGlobalAccelHotKeys(QDBusConnection bus, const KeyCharacters &characters, HotKeyLabels labels,
        std::chrono::milliseconds answerLimit = std::chrono::seconds(10));
    /// Gives all hot keys back.
    ~KGlobalAccelHotKeys() override;

    Presence presence() const override { return _service.presence(); }

    /// A key that the layout in use has no symbol for is refused at once.
    Registration registerHotKey(const HotKeyRequest &request) override;
    void unregisterHotKey(Handle handle) override;

private:
    using Milliseconds = std::chrono::milliseconds;
    struct Entry {
        HotKeyRequest request;
        int key = 0;                     // as it was asked for: Qt's number with its modifiers
        unsigned conversation = 0;       // 0: not begun, or the service is gone
        std::optional<QList<int>> keys;  // that the service has, 0 for one that it refused
        std::optional<QList<int>> defaultKeys;
        bool isSettled = false;
        bool isDown = false;
        std::optional<Milliseconds> lastPress;  // or repetition
    };

    // The conversation, in this order.
    void begin(Handle handle, Entry &entry);
    void decide(Handle handle, Entry &entry);
    void setKey(Handle handle, Entry &entry, bool isForced);
    void findHolder(Handle handle, Entry &entry);
    void settle(Entry &entry);
    void refuse(Handle handle, const HotKeyReport &report);
    void refuseTaken(Handle handle, const QString &holder);
    /// The answer is dropped if the conversation is over by then; an error ends the registration.
    void ask(Handle handle, const Entry &entry, const QString &method,
        const QVariantList &arguments, std::function<void(Entry &, const QDBusMessage &)> answer);

    void updatePresence();
    void beginAll();
    void endAll();
    void onPressed(const QString &name, qlonglong time);
    void onRepeated(const QString &name, qlonglong time);
    void onReleased(const QString &name);
    void onKeysChanged(const QString &name);

    QStringList actionOf(const QString &name) const;
    std::map<Handle, Entry>::iterator find(const QString &name);

    const KeyCharacters &_characters;
    HotKeyLabels _labels;
    KGlobalAccelService _service;
    std::map<Handle, Entry> _entries;
    unsigned _lastConversation = 0;
};

}  // namespace vellumhound::platform
