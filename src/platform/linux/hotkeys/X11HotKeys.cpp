// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/hotkeys/X11HotKeys.h"

#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/NamedKeys.h"
#include "platform/linux/keyboard/XkbCode.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Request.h"
#include "platform/linux/x11/X11Time.h"

#include <QCoreApplication>

#include <algorithm>
#include <string_view>
#include <utility>
#include <xcb/xcb.h>

namespace vellumhound::platform {

namespace {

constexpr int badValue = 2;    // what the server answers to a key that it cannot have
constexpr int badAccess = 10;  // and to one that another program has
/// No keyboard waits as long before it repeats a key: whoever presses after it presses again, even
/// if the release went elsewhere.
constexpr std::uint32_t longestRepeatPause = 3000;

/// The first two bytes of every event of the XKB extension.
struct XkbEventHead {
    std::uint8_t responseType;
    std::uint8_t xkbType;
};
constexpr std::uint8_t newKeyboardNotify = 0;
constexpr std::uint8_t mapNotify = 1;

unsigned firstXkbEvent(xcb_connection_t *connection)
{
    constexpr std::string_view name = "XKEYBOARD";
    const X11Reply<xcb_query_extension_reply_t> reply(xcb_query_extension_reply(connection,
        xcb_query_extension(connection, std::uint16_t(name.size()), name.data()), nullptr));
    return reply && reply->present ? reply->first_event : 0;
}

/// Which key each code of the server is by its name, in the order of the codes.
QList<int> namesOfKeys(xcb_connection_t *connection)
{
    const auto *setup = xcb_get_setup(connection);
    const auto count = std::uint8_t(setup->max_keycode - setup->min_keycode + 1);
    const X11Reply<xcb_get_keyboard_mapping_reply_t> reply(xcb_get_keyboard_mapping_reply(
        connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count), nullptr));
    QList<int> names;
    if (!reply)
        return names;
    const auto *symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
    const int length = xcb_get_keyboard_mapping_keysyms_length(reply.get());
    for (int first = 0; first < length; first += reply->keysyms_per_keycode)
        names.append(namedKeyOf(symbols[first]));
    return names;
}

}  // namespace

X11HotKeys::X11HotKeys(std::shared_ptr<const KeyboardLayout> layout, QObject *parent)
    : QObject(parent)
    , _layout(std::move(layout))
    , _connection(x11Connection())
{
    if (!_connection)
        return;
    _root = x11RootWindow(_connection);
    _firstXkbEvent = firstXkbEvent(_connection);
    _mapping = X11Modifiers::ofServer(_connection);
    _names = namesOfKeys(_connection);
    _releases.setSingleShot(true);
    _releases.setInterval(0);
    connect(&_releases, &QTimer::timeout, this, &X11HotKeys::tellReleases);
    // One change of the keyboard is told by several events.
    _keyboardChange.setSingleShot(true);
    _keyboardChange.setInterval(0);
    connect(&_keyboardChange, &QTimer::timeout, this, &X11HotKeys::noticeKeyboard);
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11HotKeys::~X11HotKeys()
{
    for (const auto &[handle, entry] : _grabs)
        ungrab(entry);
}

HotKeyCenter::Registration X11HotKeys::registerHotKey(const HotKeyRequest &request)
{
    if (!_connection)
        return {HotKeyAnswer::unsupported, std::nullopt};
    Grab entry;
    entry.id = request.id;
    entry.name = request.name;
    entry.keyCode = request.keyCode;
    entry.places = placesOf(request.keyCode);
    if (entry.places.isEmpty())
        return refuse(request, badValue);
    entry.modifiers = request.modifiers;
    entry.mapping = _mapping;
    if (const int error = grab(entry)) {
        ungrab(entry);
        return refuse(request, error);
    }
    // Who records a hot key still holds it down: that it repeats is no press of the new hot key.
    entry.isDown = isHeldDown(entry);
    entry.pressTime = lastEventTime();
    const auto handle = newHandle();
    _grabs.emplace(handle, entry);
    setReport(request.name, {HotKeyReport::State::active, HotKeyFacility::x11, {}, {}, {}});
    return {HotKeyAnswer::noError, handle};
}

HotKeyCenter::Registration X11HotKeys::refuse(const HotKeyRequest &request, int status)
{
    const auto state =
        status == badAccess ? HotKeyReport::State::taken : HotKeyReport::State::refused;
    setReport(request.name, {state, HotKeyFacility::x11, {}, {}, status});
    return {status, std::nullopt};
}

/// Those that the server has a code for.
QList<int> X11HotKeys::placesOf(int keyCode) const
{
    auto places = _layout->placesOf(keyCode);
    const int last = xcb_get_setup(_connection)->max_keycode - xkbOffset;
    places.removeIf([=](int place) { return place > last; });
    return places;
}

bool X11HotKeys::isHeldDown(const Grab &entry) const
{
    const X11Reply<xcb_query_keymap_reply_t> reply(
        xcb_query_keymap_reply(_connection, xcb_query_keymap(_connection), nullptr));
    const auto isDown = [&](int place) {
        const int code = place + xkbOffset;
        return (reply->keys[code / 8] >> (code % 8) & 1) != 0;
    };
    return reply && std::any_of(entry.places.begin(), entry.places.end(), isDown);
}

void X11HotKeys::unregisterHotKey(Handle handle)
{
    const auto found = _grabs.find(handle);
    if (found == _grabs.end())
        return;
    const auto entry = found->second;
    _grabs.erase(found);
    ungrab(entry);
    removeReport(entry.name);
}

/// The first error of the server, 0 if there is none.
int X11HotKeys::grab(const Grab &entry) const
{
    const auto state = entry.mapping.stateOf(entry.modifiers);
    QList<xcb_void_cookie_t> requests;
    const auto locks = entry.mapping.lockStates();
    for (const int place : entry.places) {
        for (const auto lock : locks) {
            requests.append(xcb_grab_key_checked(_connection, 0, _root, std::uint16_t(state | lock),
                xcb_keycode_t(place + xkbOffset), XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        }
    }
    int first = 0;
    for (const auto &request : std::as_const(requests)) {
        const X11Reply<xcb_generic_error_t> error(xcb_request_check(_connection, request));
        if (error && first == 0)
            first = error->error_code;
    }
    return first;
}

/// Leaves grabs of other programs alone, as the server does.
void X11HotKeys::ungrab(const Grab &entry) const
{
    const auto state = entry.mapping.stateOf(entry.modifiers);
    const auto locks = entry.mapping.lockStates();
    for (const int place : entry.places) {
        for (const auto lock : locks) {
            xcb_ungrab_key(
                _connection, xcb_keycode_t(place + xkbOffset), _root, std::uint16_t(state | lock));
        }
    }
    xcb_flush(_connection);
}

bool X11HotKeys::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto type = static_cast<const xcb_generic_event_t *>(message)->response_type & 0x7F;
    if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
        const auto *key = static_cast<const xcb_key_press_event_t *>(message);
        const Press press{key->detail, key->state, key->time, type == XCB_KEY_PRESS};
        return handleHotKey(press);
    }
    const auto *xkb = static_cast<const XkbEventHead *>(message);
    const bool isXkb = _firstXkbEvent != 0 && unsigned(type) == _firstXkbEvent;
    if (type == XCB_MAPPING_NOTIFY ||
        (isXkb && (xkb->xkbType == newKeyboardNotify || xkb->xkbType == mapNotify))) {
        _keyboardChange.start();
    }
    return false;
}

bool X11HotKeys::handleHotKey(const Press &press)
{
    for (auto &[handle, entry] : _grabs) {
        if (!entry.places.contains(press.code - xkbOffset))
            continue;
        if (!press.isDown && entry.isDown) {
            entry.isReleasing = true;
            entry.releaseTime = press.time;
            _releases.start();
            return true;
        }
        const auto wanted = entry.mapping.stateOf(entry.modifiers);
        if (!press.isDown || entry.mapping.withoutLocks(press.state) != wanted)
            continue;
        // A key held down comes up and goes down again in the same moment, over and over.
        const bool isRepeat = entry.releaseTime == press.time ||
                              (entry.isDown && !entry.isReleasing &&
                                  press.time - entry.pressTime < longestRepeatPause);
        tellPress(handle, press.time, isRepeat);
        return true;
    }
    return false;
}

void X11HotKeys::tellPress(Handle handle, std::uint32_t time, bool isRepeat)
{
    if (!isRepeat) {
        setUserTime(time);
        tellReleases();
    }
    const auto found = _grabs.find(handle);
    if (found == _grabs.end())
        return;
    auto &entry = found->second;
    entry.isDown = true;
    entry.isPressTold = entry.isPressTold || !isRepeat;
    entry.isReleasing = false;
    entry.pressTime = time;
    give(HotKeyEvent::pressed, entry.id, isRepeat);
}

void X11HotKeys::tellReleases()
{
    QList<HotKeyId> released;
    for (auto &[handle, entry] : _grabs) {
        if (!std::exchange(entry.isReleasing, false))
            continue;
        entry.isDown = false;
        if (std::exchange(entry.isPressTold, false))
            released.append(entry.id);
    }
    for (const auto &id : std::as_const(released))
        give(HotKeyEvent::released, id, false);
}

void X11HotKeys::noticeKeyboard()
{
    const auto mapping = X11Modifiers::ofServer(_connection);
    const auto names = namesOfKeys(_connection);
    const bool isMappingSame = mapping == std::exchange(_mapping, mapping);
    // The names are quick to have. The layout, which is not, is asked only if they have changed.
    const bool areNamesSame = names == std::exchange(_names, names);
    const auto isWhereItWas = [this](const auto &grab) {
        return placesOf(grab.second.keyCode) == grab.second.places;
    };
    if (!isMappingSame ||
        (!areNamesSame && !std::all_of(_grabs.begin(), _grabs.end(), isWhereItWas)))
        giveKeyboardChange();
}

}  // namespace vellumhound::platform
