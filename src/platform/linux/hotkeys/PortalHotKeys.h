// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"
#include "platform/linux/hotkeys/HotKeyBackend.h"
#include "platform/linux/hotkeys/PortalPresence.h"
#include "platform/linux/hotkeys/PortalSession.h"
#include "platform/RawKeyFeed.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <map>
#include <optional>

namespace vellumhound::platform {

/// How long the portal is waited for, and what its pauses mean.
struct PortalTiming {
    using Time = std::chrono::milliseconds;

    Time answerLimit{10'000};  ///< of each step that needs no person
    Time firstBackOff{1'000};  ///< before a new session; each further pause is four times as long
    Time quietTime{60'000};    ///< after it, a trouble has nothing to do with the last one
    /// A key that is held comes again and again. Portals tell when it is let go, or never; with the
    /// latter a press after `shortHold` is a new one, else after `longHold`, should a release be
    /// lost.
    Time shortHold{700};
    Time longHold{3'000};
    Time forgetPause{10'000};  ///< before what is not asked for any more is given back
};

/// Hot keys by the desktop portal for global shortcuts. The desktop asks the user and decides on
/// the keys; ours is a proposal, and no word of the desktop tells which program has a key.
///
/// A session of the portal is given its shortcuts once, so one more name takes a new session with
/// all of them. What is given back and soon asked for again, as while a menu is open, stays bound:
/// a press of it is offered as a raw key. A user who says no is asked again only for a new request.
///
/// Main thread. `bus` should be a connection that nothing else calls the portal on: the portal
/// learns what program we are before its first other call, or not at all.
class PortalHotKeys final : public QObject, public HotKeyBackend, private PortalSession::Observer {
    Q_OBJECT

public:
    /// `applicationId` is that of our desktop entry. `characters` and `rawKeys` outlive this
    /// object.
    PortalHotKeys(QDBusConnection bus, const QString &applicationId, HotKeyLabels labels,
        const KeyCharacters &characters, RawKeyFeed &rawKeys, const PortalTiming &timing = {});
    ~PortalHotKeys() override;

    Presence presence() const override { return _presence.presence(); }
    Registration registerHotKey(const HotKeyRequest &request) override;
    void unregisterHotKey(Handle handle) override;
    HotKeyReport report(const QString &name) const override;

private:
    using Moment = std::chrono::steady_clock::time_point;

    /// What is known of one name, also while it is given back for a moment.
    struct Entry {
        HotKeyRequest request;
        std::optional<Handle> handle;  // while it is registered
        bool isAsked = false;          // of the session there is, with this key
        bool isAccepted = false;       // by a session of this process
        bool isGivenUp = false;        // until it is asked for again
        HotKeyReport report;
        bool isDown = false;
        Moment lastPress;
    };

    void followPresence();
    void askForMissing();
    void startSession();
    void dropSession();
    void retryLater();
    bool mayTryAgain();
    void forgetWithdrawn();
    QList<PortalShortcut> shortcutsToAsk();
    void refuse(const QStringList &names, int status);
    void setReports(HotKeyReport::State state, int status);
    void tell(const Entry &entry, HotKeyEvent::Kind kind, bool isRepeat);
    void offerRaw(const Entry &entry, HotKeyEvent::Kind kind, bool isRepeat);

    void sessionBound(const QList<PortalSession::Bound> &shortcuts) override;
    void sessionFailed(PortalSession::Failure failure) override;
    void shortcutsChanged(const QList<PortalSession::Bound> &shortcuts) override;
    void shortcutActivated(const QString &id, const QVariantMap &options) override;
    void shortcutDeactivated(const QString &id) override;

    QDBusConnection _bus;
    HotKeyLabels _labels;
    const KeyCharacters &_characters;
    RawKeyFeed &_rawKeys;
    PortalTiming _timing;
    PortalPresence _presence;
    QString _owner;  // the run of the portal that the entries are about
    PortalSession *_session = nullptr;
    PortalSession *_ending = nullptr;  // the one before, while the portal ends it
    std::map<QString, Entry> _entries;
    bool _tellsReleases = false;  // this run of the portal has done so
    int _attempts = 0;            // new sessions that the user did not cause, since it was quiet
    bool _isExhausted = false;    // until there is a new request, or a new portal after a while
    std::optional<Moment> _lastStart;
    QTimer _asking;
    QTimer _retry;
    QTimer _forgetting;
};

}  // namespace vellumhound::platform
