// SPDX-License-Identifier: GPL-3.0-or-later
// long: the facility with all its records
#pragma once

#include <QHash>
#include <QSet>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <utility>

namespace vellumhound::platform {

/// Answers of the facility and of those who handle its events. A facility may refuse with a number
/// of its own.
namespace HotKeyAnswer {
inline constexpr int noError = 0;
inline constexpr int unsupported = -4;
inline constexpr int cancelledByUser = -128;  ///< the desktop asked, and the user said no
inline constexpr int internalError = -9868;  ///< the desktop's service answered badly or not at all
inline constexpr int parameterNotFound = -9870;
inline constexpr int notHandled = -9874;
inline constexpr int hotKeyExists = -9878;   ///< the desktop has given the key to somebody else
inline constexpr int hotKeyInvalid = -9879;  ///< no key that the desktop could listen for
inline constexpr int unknownApplication = -10814;  ///< the desktop has no entry of our program
}  // namespace HotKeyAnswer

/// Modifier bits in the facility's encoding.
namespace HotKeyModifiers {
inline constexpr int command = 0x100;
inline constexpr int shift = 0x200;
inline constexpr int option = 0x800;
inline constexpr int control = 0x1000;
}  // namespace HotKeyModifiers

/// What tells one registration from all others: whose it is, and which of theirs.
struct HotKeyId {
    std::uint32_t signature = 0;
    int number = 0;

    bool operator==(const HotKeyId &) const = default;
};

/// A hot key that is asked for.
struct HotKeyRequest {
    int keyCode = 0;    ///< of base::KeyTable
    int modifiers = 0;  ///< HotKeyModifiers
    HotKeyId id;
    /// What the key does, the same word at each start: by it the desktops that keep a list of hot
    /// keys know ours again. Several keys never share one.
    QString name;

    bool operator==(const HotKeyRequest &) const = default;
};

/// By whom hot keys come.
enum class HotKeyFacility { none, x11, kGlobalAccel, portal };

/// What became of the hot key of one name, for the user to be told.
struct HotKeyReport {
    enum class State {
        unknown,  ///< never asked for, or given back
        waiting,  ///< asked for and not answered yet
        active,
        unassigned,  ///< granted, but the desktop tells no key of it: the user sets it there
        taken,       ///< another program has the key
        refused,     ///< for another reason
    };

    State state = State::unknown;
    HotKeyFacility facility = HotKeyFacility::none;
    QString trigger;  ///< the keys that the desktop really gave, in its words; empty if it does not
                      ///< tell
    QString holder;   ///< of `taken`: who has the key, if the desktop tells
    int status = HotKeyAnswer::noError;  ///< of `taken` and `refused`

    bool operator==(const HotKeyReport &) const = default;
};

/// One event of the facility.
struct HotKeyEvent {
    enum Kind : int { rawKeyDown = 1, rawKeyRepeat = 2, rawKeyUp = 3, pressed = 5, released = 6 };

    int kind = 0;
    std::optional<HotKeyId> directObject;    ///< the hot key of `pressed` and `released`
    std::optional<std::uint32_t> keyCode;    ///< of a raw key
    std::optional<std::uint32_t> modifiers;  ///< of a raw key, see HotKeyModifiers
    bool isRepeat = false;  ///< a further press of a hot key that is held down since the last one

    bool operator==(const HotKeyEvent &) const = default;
};

/// Keys that reach us in whatever program they are pressed. Before the handler hears of a press,
/// the permission to take the focus that came with it has been taken over.
///
/// What all ways to hot keys have in common is here: the handler and the kinds of events that it
/// gets, the numbers of registrations, the reports. A way registers and unregisters. Main thread;
/// outlives its handler or loses it by removeEventHandler.
class HotKeyCenter {
public:
    using Handle = std::uint64_t;
    struct Registration {
        int status = HotKeyAnswer::unsupported;
        std::optional<Handle> handle;  ///< present if `status` is noError
    };

    /// Called from the event loop, never from inside a call of the facility.
    class EventHandler {
    public:
        virtual ~EventHandler() = default;
        /// Null for an event that the facility knows nothing about. Any other answer than noError
        /// lets the event go on to whom it was meant for.
        virtual int handleEvent(const HotKeyEvent *event) = 0;
        /// A registration that had been accepted came to nothing: some facilities learn only later
        /// that a key is taken. Its handle is void.
        virtual void registrationRefused(HotKeyId id, int status) = 0;
        /// The keyboard is another one: hot keys may be on the wrong keys until they are registered
        /// again.
        virtual void keyboardChanged() = 0;
    };

    virtual ~HotKeyCenter() = default;

    /// False where no registration can succeed, so that the user can be told another way.
    virtual bool isSupported() const = 0;
    /// The user's own choice is final: a key that another program holds is refused, not shared.
    virtual Registration registerHotKey(const HotKeyRequest &request) = 0;
    /// No event of this registration comes any more. Without effect for a handle that is void.
    virtual void unregisterHotKey(Handle handle) = 0;

    /// The one handler of all events, of none at first. False if there is one already.
    bool installEventHandler(EventHandler &handler);
    void removeEventHandler() { _handler = nullptr; }
    /// Adds to the kinds that the handler gets, or takes away from them.
    void addEventTypes(std::span<const int> kinds);
    void removeEventTypes(std::span<const int> kinds);

    /// What became of the last request for this name; it stays until the next one, or until a
    /// successful one is given back.
    virtual HotKeyReport report(const QString &name) const { return _reports.value(name); }
    /// Called from the event loop or from a call of the facility, after any report has changed.
    void setReportObserver(std::function<void()> observer)
    {
        _reportObserver = std::move(observer);
    }

protected:
    /// Never used twice.
    Handle newHandle() { return ++_lastHandle; }
    EventHandler *eventHandler() const { return _handler; }
    const QSet<int> &eventTypes() const { return _eventTypes; }

    /// The handler's answer, or notHandled if it does not get this kind. The handler may change
    /// everything.
    int give(const HotKeyEvent &event) const;
    int give(HotKeyEvent::Kind kind, const HotKeyId &id, bool isRepeat) const;
    void giveRefusal(const HotKeyId &id, int status) const;
    void giveKeyboardChange() const;

    void setReport(const QString &name, const HotKeyReport &report);
    void removeReport(const QString &name);
    void announceReports() const;

private:
    EventHandler *_handler = nullptr;
    QSet<int> _eventTypes;
    Handle _lastHandle = 0;
    QHash<QString, HotKeyReport> _reports;  // by name
    std::function<void()> _reportObserver;
};

}  // namespace vellumhound::platform
