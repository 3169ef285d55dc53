// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/hotkeys/PortalHotKeys.h"

#include "platform/linux/activation/Activation.h"
#include "platform/linux/keyboard/ShortcutText.h"
#include "platform/Logging.h"

#include <algorithm>
#include <utility>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

/// More would be a storm of questions on the user's screen.
constexpr int mostAttempts = 3;
constexpr int backOffFactor = 4;
constexpr qsizetype longestToken = 1000;

int statusOf(PortalSession::Failure failure)
{
    switch (failure) {
    case PortalSession::Failure::cancelled:
        return HotKeyAnswer::cancelledByUser;
    case PortalSession::Failure::unknownApplication:
        return HotKeyAnswer::unknownApplication;
    case PortalSession::Failure::refused:
    case PortalSession::Failure::broken:
        break;
    }
    return HotKeyAnswer::internalError;
}

HotKeyReport granted(const QString &trigger)
{
    const auto state =
        trigger.isEmpty() ? HotKeyReport::State::unassigned : HotKeyReport::State::active;
    return {state, HotKeyFacility::portal, trigger, {}, HotKeyAnswer::noError};
}

bool isSameKey(const HotKeyRequest &a, const HotKeyRequest &b)
{
    return a.keyCode == b.keyCode && a.modifiers == b.modifiers;
}

}  // namespace

PortalHotKeys::PortalHotKeys(QDBusConnection bus, const QString &applicationId, HotKeyLabels labels,
    const KeyCharacters &characters, RawKeyFeed &rawKeys, const PortalTiming &timing)
    : _bus(std::move(bus))
    , _labels(std::move(labels))
    , _characters(characters)
    , _rawKeys(rawKeys)
    , _timing(timing)
    , _presence(_bus, applicationId, timing.answerLimit, [this] { followPresence(); })
{
    // What is asked for in one turn goes into one session.
    _asking.setSingleShot(true);
    _asking.setInterval(0);
    connect(&_asking, &QTimer::timeout, this, &PortalHotKeys::askForMissing);
    _retry.setSingleShot(true);
    connect(&_retry, &QTimer::timeout, this, &PortalHotKeys::askForMissing);
    _forgetting.setSingleShot(true);
    _forgetting.setInterval(timing.forgetPause);
    connect(&_forgetting, &QTimer::timeout, this, &PortalHotKeys::forgetWithdrawn);
}

PortalHotKeys::~PortalHotKeys() = default;

HotKeyCenter::Registration PortalHotKeys::registerHotKey(const HotKeyRequest &request)
{
    if (presence() == Presence::absent)
        return {HotKeyAnswer::unsupported, std::nullopt};
    if (request.name.isEmpty())
        return {HotKeyAnswer::parameterNotFound, std::nullopt};
    const auto known = _entries.find(request.name);
    const bool isNew = known == _entries.end() || known->second.isGivenUp ||
                       !isSameKey(known->second.request, request);
    auto &entry = _entries[request.name];
    entry.request = request;
    entry.handle = newHandle();
    if (isNew) {
        entry.isAsked = false;
        entry.isGivenUp = false;
        entry.report = {HotKeyReport::State::waiting, HotKeyFacility::portal, {}, {}, {}};
        // Whoever asks now does not wait for the end of an earlier trouble.
        _attempts = 0;
        _isExhausted = false;
        _retry.stop();
        _asking.start();
    } else if (!entry.isAsked && !_retry.isActive()) {
        _asking.start();
    }
    announceReports();
    return {HotKeyAnswer::noError, entry.handle};
}

void PortalHotKeys::unregisterHotKey(Handle handle)
{
    const auto found = std::find_if(_entries.begin(), _entries.end(),
        [&](const auto &entry) { return entry.second.handle == handle; });
    if (found == _entries.end())
        return;
    found->second.handle.reset();
    _forgetting.start();
    announceReports();
}

HotKeyReport PortalHotKeys::report(const QString &name) const
{
    const auto found = _entries.find(name);
    if (found == _entries.end() || (!found->second.handle && !found->second.isGivenUp))
        return {};
    return found->second.report;
}

/// Another run of the portal knows nothing of what the last one was told.
void PortalHotKeys::followPresence()
{
    if (_presence.owner() != _owner) {
        _owner = _presence.owner();
        _tellsReleases = false;
        _retry.stop();
        dropSession();
        for (auto &[name, entry] : _entries)
            entry.isAsked = false;
        setReports(HotKeyReport::State::waiting, HotKeyAnswer::noError);
        _isExhausted = !_owner.isEmpty() && _lastStart && !mayTryAgain();
        if (_isExhausted)
            setReports(HotKeyReport::State::refused, HotKeyAnswer::internalError);
        else
            _asking.start();
        announceReports();
    }
    announcePresence();
}

void PortalHotKeys::dropSession()
{
    for (auto *session : {std::exchange(_session, nullptr), std::exchange(_ending, nullptr)}) {
        if (!session)
            continue;
        session->abandon();
        session->deleteLater();
    }
    for (auto &[name, entry] : _entries)
        entry.isDown = false;
}

/// Without effect while a session has no answer yet: it is looked at again then, so that no second
/// question covers the first.
void PortalHotKeys::askForMissing()
{
    if (_owner.isEmpty() || _isExhausted || _ending || (_session && _session->isPending()))
        return;
    const bool isComplete = std::none_of(_entries.begin(), _entries.end(),
        [](const auto &entry) { return entry.second.handle && !entry.second.isAsked; });
    if (!isComplete)
        startSession();
}

void PortalHotKeys::startSession()
{
    if (_session) {
        // Its path is that of the next one: it has to be gone before.
        _ending = std::exchange(_session, nullptr);
        _ending->close([this] {
            std::exchange(_ending, nullptr)->deleteLater();
            startSession();
        });
        return;
    }
    const auto shortcuts = shortcutsToAsk();
    if (shortcuts.isEmpty())
        return;
    _lastStart = std::chrono::steady_clock::now();
    _session = new PortalSession(_bus, _owner, *this, _timing.answerLimit);
    _session->setParent(this);
    _session->bind(shortcuts);
    announceReports();
}

/// What is given back for the moment is kept: some desktops forget the keys of what is left out.
QList<PortalShortcut> PortalHotKeys::shortcutsToAsk()
{
    QList<PortalShortcut> result;
    for (auto &[name, entry] : _entries) {
        if (entry.isGivenUp || (!entry.handle && !entry.isAccepted))
            continue;
        entry.isAsked = true;
        entry.isDown = false;
        entry.report = {HotKeyReport::State::waiting, HotKeyFacility::portal, {}, {}, {}};
        PortalShortcut shortcut{name, {{u"description"_s, _labels ? _labels(name) : name}}};
        const auto trigger =
            ShortcutText::toPortal({entry.request.keyCode, entry.request.modifiers}, _characters);
        if (!trigger.isEmpty())
            shortcut.properties.insert(u"preferred_trigger"_s, trigger);
        result.append(shortcut);
    }
    return result;
}

void PortalHotKeys::sessionBound(const QList<PortalSession::Bound> &shortcuts)
{
    QStringList denied;
    for (auto &[name, entry] : _entries) {
        if (!entry.isAsked)
            continue;
        const auto bound = std::find_if(shortcuts.begin(), shortcuts.end(),
            [&name = name](const auto &shortcut) { return shortcut.id == name; });
        if (bound == shortcuts.end()) {
            denied.append(name);
            continue;
        }
        entry.isAccepted = true;
        entry.report = granted(bound->trigger);
    }
    refuse(denied, HotKeyAnswer::cancelledByUser);
    askForMissing();
}

void PortalHotKeys::sessionFailed(PortalSession::Failure failure)
{
    std::exchange(_session, nullptr)->deleteLater();
    if (failure == PortalSession::Failure::broken) {
        retryLater();
        return;
    }
    QStringList fresh;
    QStringList accepted;
    for (auto &[name, entry] : _entries) {
        if (entry.isAsked)
            (entry.isAccepted ? accepted : fresh).append(name);
        entry.isAsked = false;
    }
    if (fresh.isEmpty())
        refuse(std::exchange(accepted, {}), statusOf(failure));
    else if (failure == PortalSession::Failure::unknownApplication)
        refuse(fresh + std::exchange(accepted, {}), statusOf(failure));
    else
        refuse(fresh, statusOf(failure));
    // No to one more key is not a no to those that were granted before.
    _asking.start();
}

void PortalHotKeys::refuse(const QStringList &names, int status)
{
    QList<HotKeyId> refused;
    for (const auto &name : names) {
        auto &entry = _entries[name];
        entry.isAsked = false;
        entry.isAccepted = false;
        entry.isGivenUp = true;
        entry.report = {HotKeyReport::State::refused, HotKeyFacility::portal, {}, {}, status};
        if (std::exchange(entry.handle, std::nullopt))
            refused.append(entry.request.id);
    }
    announceReports();
    for (const auto &id : std::as_const(refused))
        giveRefusal(id, status);
}

bool PortalHotKeys::mayTryAgain()
{
    if (_lastStart && std::chrono::steady_clock::now() - *_lastStart >= _timing.quietTime)
        _attempts = 0;
    if (_attempts >= mostAttempts)
        return false;
    ++_attempts;
    return true;
}

void PortalHotKeys::retryLater()
{
    const bool mayTry = mayTryAgain();
    _isExhausted = !mayTry;
    for (auto &[name, entry] : _entries) {
        entry.isAsked = false;
        entry.isDown = false;
    }
    if (mayTry) {
        setReports(HotKeyReport::State::waiting, HotKeyAnswer::noError);
        auto pause = _timing.firstBackOff;
        for (int i = 1; i < _attempts; ++i)
            pause *= backOffFactor;
        _retry.start(pause);
    } else {
        qCWarning(logPlatform)
            << "the portal for global shortcuts does not answer, or ends what it began";
        setReports(HotKeyReport::State::refused, HotKeyAnswer::internalError);
    }
    announceReports();
}

void PortalHotKeys::setReports(HotKeyReport::State state, int status)
{
    for (auto &[name, entry] : _entries) {
        if (!entry.isGivenUp)
            entry.report = {state, HotKeyFacility::portal, {}, {}, status};
    }
}

/// Only beside names that are still asked for: where all are given back, a menu is open or a
/// shortcut is recorded.
void PortalHotKeys::forgetWithdrawn()
{
    const auto isRegistered = [](const auto &entry) { return entry.second.handle.has_value(); };
    if (std::none_of(_entries.begin(), _entries.end(), isRegistered))
        return;
    if (_session && _session->isPending()) {
        _forgetting.start();
        return;
    }
    bool isSessionTooLarge = false;
    std::erase_if(_entries, [&](const auto &entry) {
        const bool isForgotten = !isRegistered(entry) && !entry.second.isGivenUp;
        isSessionTooLarge = isSessionTooLarge || (isForgotten && entry.second.isAsked);
        return isForgotten;
    });
    if (!isSessionTooLarge)
        return;
    for (auto &[name, entry] : _entries)
        entry.isAsked = false;
    askForMissing();
}

void PortalHotKeys::shortcutsChanged(const QList<PortalSession::Bound> &shortcuts)
{
    for (const auto &[id, trigger] : shortcuts) {
        const auto found = _entries.find(id);
        if (found != _entries.end() && found->second.isAsked)
            found->second.report = granted(trigger);
    }
    announceReports();
}

void PortalHotKeys::shortcutActivated(const QString &id, const QVariantMap &options)
{
    const auto found = _entries.find(id);
    if (found == _entries.end() || !found->second.isAsked)
        return;
    auto &entry = found->second;
    const auto now = std::chrono::steady_clock::now();
    const auto hold = _tellsReleases ? _timing.longHold : _timing.shortHold;
    const bool isRepeat = entry.isDown && now - entry.lastPress < hold;
    entry.isDown = true;
    entry.lastPress = now;
    if (entry.report.state == HotKeyReport::State::unassigned) {
        // It has a key after all, of which the desktop does not tell.
        entry.report.state = HotKeyReport::State::active;
        announceReports();
    }
    if (!entry.handle && !_rawKeys.isRunning())
        return;
    const auto token = options.value(u"activation_token"_s).toString();
    if (!isRepeat && token.size() <= longestToken)
        takeOverActivation({{u"activation-token"_s, token}});
    tell(entry, HotKeyEvent::pressed, isRepeat);
}

void PortalHotKeys::shortcutDeactivated(const QString &id)
{
    const auto found = _entries.find(id);
    if (found == _entries.end())
        return;
    _tellsReleases = true;
    if (std::exchange(found->second.isDown, false))
        tell(found->second, HotKeyEvent::released, false);
}

/// The last step of whoever calls it: whoever is told may change everything. A key that is given
/// back while a menu of ours is open still reaches no window, as the desktop goes on keeping it.
void PortalHotKeys::tell(const Entry &entry, HotKeyEvent::Kind kind, bool isRepeat)
{
    if (entry.handle)
        give(kind, entry.request.id, isRepeat);
    else
        offerRaw(entry, kind, isRepeat);
}

void PortalHotKeys::offerRaw(const Entry &entry, HotKeyEvent::Kind kind, bool isRepeat)
{
    HotKeyEvent event;
    event.kind = kind == HotKeyEvent::released ? HotKeyEvent::rawKeyUp
                 : isRepeat                    ? HotKeyEvent::rawKeyRepeat
                                               : HotKeyEvent::rawKeyDown;
    event.keyCode = std::uint32_t(entry.request.keyCode);
    event.modifiers = std::uint32_t(entry.request.modifiers);
    _rawKeys.offer(event);
}

}  // namespace vellumhound::platform
