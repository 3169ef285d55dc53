// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/hotkeys/KGlobalAccelHotKeys.h"

#include "platform/linux/keyboard/ShortcutText.h"
#include "platform/Logging.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QKeySequence>

#include <algorithm>
#include <utility>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

/// By these the service knows us again, and the user.
const auto component = u"org.vellumhound.Vellumhound"_s;
const auto componentLabel = u"Vellumhound"_s;

/// What setShortcut is to do with the keys.
namespace Flag {
constexpr uint present = 2;   // the program runs: listen for them
constexpr uint force = 4;     // put them in the place of those that the service has
constexpr uint defaults = 8;  // they are those that the user gets back on request
}  // namespace Flag

/// No keyboard waits as long before it repeats a key: whoever presses after it presses again, even
/// if the release was lost.
constexpr std::chrono::milliseconds longestRepeatPause{3000};

bool isError(const QDBusMessage &answer)
{
    return answer.type() != QDBusMessage::ReplyMessage;
}

/// The keys in an answer, as plain numbers or as sequences of which the first key is taken; empty
/// for an error.
QList<int> keysIn(const QDBusMessage &answer)
{
    const auto value = isError(answer) ? QVariant() : answer.arguments().value(0);
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return value.value<QList<int>>();
    const auto argument = value.value<QDBusArgument>();
    QList<int> keys;
    if (argument.currentSignature() == "ai"_L1) {
        argument >> keys;
    } else if (argument.currentSignature() == "a(ai)"_L1) {
        argument.beginArray();
        while (!argument.atEnd()) {
            QList<int> sequence;
            argument.beginStructure();
            argument >> sequence;
            argument.endStructure();
            keys.append(sequence.value(0));
        }
        argument.endArray();
    }
    return keys;
}

QList<int> withoutRefused(QList<int> keys)
{
    keys.removeAll(0);
    return keys;
}

/// Who else has a key, in the words of the desktop; empty if nobody has.
QString holderIn(const QDBusMessage &answer)
{
    const auto value = isError(answer) ? QVariant() : answer.arguments().value(0);
    const auto argument = value.value<QDBusArgument>();
    if (!argument.currentSignature().startsWith("a(ssssss"_L1))
        return {};
    QString holder;
    argument.beginArray();
    while (!argument.atEnd()) {
        QString action;
        QString actionLabel;
        QString owner;
        QString ownerLabel;
        argument.beginStructure();
        argument >> action >> actionLabel >> owner >> ownerLabel;
        argument.endStructure();
        if (owner != component && holder.isEmpty())
            holder = actionLabel.isEmpty() ? ownerLabel : ownerLabel + u" ("_s + actionLabel + u')';
    }
    argument.endArray();
    return holder;
}

QString textOf(const QList<int> &keys)
{
    QStringList texts;
    for (const int key : keys)
        texts.append(QKeySequence(key).toString(QKeySequence::NativeText));
    return texts.join(u", "_s);
}

}  // namespace

KGlobalAccelHotKeys::KGlobalAccelHotKeys(QDBusConnection bus, const KeyCharacters &characters,
    HotKeyLabels labels, std::chrono::milliseconds answerLimit)
    : _characters(characters)
    , _labels(std::move(labels))
    , _service(std::move(bus), component, answerLimit)
{
    using Service = KGlobalAccelService;
    connect(&_service, &Service::presenceChanged, this, &KGlobalAccelHotKeys::updatePresence);
    connect(&_service, &Service::started, this, &KGlobalAccelHotKeys::beginAll);
    connect(&_service, &Service::stopped, this, &KGlobalAccelHotKeys::endAll);
    connect(&_service, &Service::pressed, this, &KGlobalAccelHotKeys::onPressed);
    connect(&_service, &Service::repeated, this, &KGlobalAccelHotKeys::onRepeated);
    connect(&_service, &Service::released, this, &KGlobalAccelHotKeys::onReleased);
    connect(&_service, &Service::keysChanged, this, &KGlobalAccelHotKeys::onKeysChanged);
}

KGlobalAccelHotKeys::~KGlobalAccelHotKeys()
{
    for (const auto &[handle, entry] : _entries)
        _service.tell(u"setInactive"_s, {actionOf(entry.request.name)});
}

HotKeyCenter::Registration KGlobalAccelHotKeys::registerHotKey(const HotKeyRequest &request)
{
    if (presence() != Presence::present)
        return {HotKeyAnswer::unsupported, std::nullopt};
    const auto key = ShortcutText::toQt({request.keyCode, request.modifiers}, _characters);
    if (!key) {
        setReport(request.name, {HotKeyReport::State::refused, HotKeyFacility::kGlobalAccel, {}, {},
                                    HotKeyAnswer::hotKeyInvalid});
        return {HotKeyAnswer::hotKeyInvalid, std::nullopt};
    }
    const auto handle = newHandle();
    auto &entry = _entries[handle];
    entry.request = request;
    entry.key = *key;
    setReport(
        request.name, {HotKeyReport::State::waiting, HotKeyFacility::kGlobalAccel, {}, {}, {}});
    begin(handle, entry);
    return {HotKeyAnswer::noError, handle};
}

/// The user's keys stay in the desktop's settings, as those of every program that has ended.
void KGlobalAccelHotKeys::unregisterHotKey(Handle handle)
{
    const auto found = _entries.find(handle);
    if (found == _entries.end())
        return;
    const auto name = found->second.request.name;
    _entries.erase(found);
    if (find(name) != _entries.end())
        return;
    _service.tell(u"setInactive"_s, {actionOf(name)});
    removeReport(name);
}

void KGlobalAccelHotKeys::begin(Handle handle, Entry &entry)
{
    entry.conversation = ++_lastConversation;
    entry.keys.reset();
    entry.defaultKeys.reset();
    entry.isSettled = false;
    entry.isDown = false;
    entry.lastPress.reset();
    const auto action = actionOf(entry.request.name);
    ask(handle, entry, u"doRegister"_s, {action}, [](Entry &, const QDBusMessage &) {});
    ask(handle, entry, u"shortcut"_s, {action},
        [=, this](Entry &current, const QDBusMessage &answer) {
            current.keys = keysIn(answer);
            decide(handle, current);
        });
    ask(handle, entry, u"defaultShortcutKeys"_s, {action},
        [=, this](Entry &current, const QDBusMessage &answer) {
            current.defaultKeys = keysIn(answer);
            decide(handle, current);
        });
}

/// What was asked for the last time stands in the service as the default: if that is the key of
/// today, whatever the service has now is the desktop user's wish, and be it no key at all. With no
/// default the last try was refused; keys that are there nevertheless came from the user.
void KGlobalAccelHotKeys::decide(Handle handle, Entry &entry)
{
    if (!entry.keys || !entry.defaultKeys)
        return;
    const auto chosen = withoutRefused(*entry.keys);
    const auto defaults = withoutRefused(*entry.defaultKeys);
    const bool isGivenAway = chosen.isEmpty() && !entry.keys->isEmpty();
    const bool isKept =
        defaults.isEmpty() ? !chosen.isEmpty() : defaults == QList{entry.key} && !isGivenAway;
    setKey(handle, entry, !isKept);
}

void KGlobalAccelHotKeys::setKey(Handle handle, Entry &entry, bool isForced)
{
    const auto flags = isForced ? Flag::present | Flag::force : Flag::present;
    ask(handle, entry, u"setShortcut"_s,
        {actionOf(entry.request.name), QVariant::fromValue(QList{entry.key}), flags},
        [=, this](Entry &current, const QDBusMessage &answer) {
            current.keys = keysIn(answer);
            if (isForced)
                findHolder(handle, current);
            else
                settle(current);
        });
}

/// Some services refuse a key that somebody else has, others let the first one have it. What they
/// give may be written in another way than what was asked for.
void KGlobalAccelHotKeys::findHolder(Handle handle, Entry &entry)
{
    ask(handle, entry, u"getGlobalShortcutsByKey"_s, {entry.key},
        [=, this](Entry &current, const QDBusMessage &answer) {
            const auto holder = holderIn(answer);
            if (holder.isEmpty() && !withoutRefused(*current.keys).isEmpty())
                settle(current);
            else
                refuseTaken(handle, holder);
        });
}

void KGlobalAccelHotKeys::settle(Entry &entry)
{
    const auto keys = withoutRefused(entry.keys.value_or(QList<int>()));
    if (!std::exchange(entry.isSettled, true)) {
        _service.tell(u"setShortcut"_s,
            {actionOf(entry.request.name), QVariant::fromValue(QList{entry.key}), Flag::defaults});
    }
    HotKeyReport report{HotKeyReport::State::active, HotKeyFacility::kGlobalAccel, textOf(keys), {},
        HotKeyAnswer::noError};
    // The registration stands: the user may give the key back where it was taken away.
    if (keys.isEmpty()) {
        report.state = HotKeyReport::State::refused;
        report.status = HotKeyAnswer::hotKeyInvalid;
    }
    setReport(entry.request.name, report);
}

void KGlobalAccelHotKeys::refuseTaken(Handle handle, const QString &holder)
{
    const auto action = actionOf(_entries.at(handle).request.name);
    const auto none = QVariant::fromValue(QList<int>());
    _service.tell(u"setShortcut"_s, {action, none, Flag::force});
    _service.tell(u"setShortcut"_s, {action, none, Flag::defaults});
    refuse(handle, {HotKeyReport::State::taken, HotKeyFacility::kGlobalAccel, {}, holder,
                       HotKeyAnswer::hotKeyExists});
}

void KGlobalAccelHotKeys::refuse(Handle handle, const HotKeyReport &report)
{
    const auto request = _entries.at(handle).request;
    _entries.erase(handle);
    if (find(request.name) == _entries.end()) {
        _service.tell(u"setInactive"_s, {actionOf(request.name)});
        setReport(request.name, report);
    }
    giveRefusal(request.id, report.status);
}

void KGlobalAccelHotKeys::ask(Handle handle, const Entry &entry, const QString &method,
    const QVariantList &arguments, std::function<void(Entry &, const QDBusMessage &)> answer)
{
    _service.ask(method, arguments,
        [=, this, conversation = entry.conversation, answer = std::move(answer)](
            const QDBusMessage &message) {
            const auto found = _entries.find(handle);
            if (found == _entries.end() || found->second.conversation != conversation)
                return;
            if (!isError(message)) {
                answer(found->second, message);
                return;
            }
            qCWarning(logPlatform, "KGlobalAccel did not answer %s: %s", qUtf8Printable(method),
                qUtf8Printable(message.errorMessage()));
            refuse(handle, {HotKeyReport::State::refused, HotKeyFacility::kGlobalAccel, {}, {},
                               HotKeyAnswer::internalError});
        });
}

void KGlobalAccelHotKeys::updatePresence()
{
    announcePresence();
    beginAll();
}

/// Those that the service was not asked for yet, or that went with the one before.
void KGlobalAccelHotKeys::beginAll()
{
    if (presence() != Presence::present)
        return;
    for (auto &[handle, entry] : _entries) {
        if (entry.conversation == 0)
            begin(handle, entry);
    }
}

/// A service that ended is not started from here: the desktop does that if it wants it.
void KGlobalAccelHotKeys::endAll()
{
    QStringList names;
    for (auto &[handle, entry] : _entries) {
        entry.conversation = 0;
        names.append(entry.request.name);
    }
    for (const auto &name : std::as_const(names)) {
        // Whoever hears of one report may give back others.
        if (find(name) != _entries.end())
            setReport(
                name, {HotKeyReport::State::waiting, HotKeyFacility::kGlobalAccel, {}, {}, {}});
    }
}

void KGlobalAccelHotKeys::onPressed(const QString &name, qlonglong time)
{
    const auto found = find(name);
    if (found == _entries.end())
        return;
    using namespace std::chrono;
    auto &entry = found->second;
    const auto now = time != 0
                         ? Milliseconds(time)
                         : duration_cast<Milliseconds>(steady_clock::now().time_since_epoch());
    const bool isRepeat =
        entry.isDown && entry.lastPress && now - *entry.lastPress < longestRepeatPause;
    entry.isDown = true;
    entry.lastPress = now;
    give(HotKeyEvent::pressed, entry.request.id, isRepeat);
}

void KGlobalAccelHotKeys::onRepeated(const QString &name, qlonglong)
{
    const auto found = find(name);
    if (found != _entries.end())
        give(HotKeyEvent::pressed, found->second.request.id, true);
}

void KGlobalAccelHotKeys::onReleased(const QString &name)
{
    const auto found = find(name);
    if (found == _entries.end())
        return;
    found->second.isDown = false;
    give(HotKeyEvent::released, found->second.request.id, false);
}

void KGlobalAccelHotKeys::onKeysChanged(const QString &name)
{
    const auto found = find(name);
    if (found == _entries.end() || found->second.conversation == 0)
        return;
    ask(found->first, found->second, u"shortcut"_s, {actionOf(name)},
        [this](Entry &entry, const QDBusMessage &answer) {
            entry.keys = keysIn(answer);
            if (entry.isSettled)
                settle(entry);
        });
}

QStringList KGlobalAccelHotKeys::actionOf(const QString &name) const
{
    const auto label = _labels ? _labels(name) : QString();
    return {component, name, componentLabel, label.isEmpty() ? name : label};
}

/// The newest, should there be several.
std::map<HotKeyCenter::Handle, KGlobalAccelHotKeys::Entry>::iterator KGlobalAccelHotKeys::find(
    const QString &name)
{
    const auto found = std::find_if(_entries.rbegin(), _entries.rend(),
        [&](const auto &entry) { return entry.second.request.name == name; });
    return found == _entries.rend() ? _entries.end() : std::prev(found.base());
}

}  // namespace vellumhound::platform
