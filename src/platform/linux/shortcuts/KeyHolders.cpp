// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/KeyHolders.h"

#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/XkbCode.h"
#include "platform/linux/x11/X11Modifiers.h"
#include "platform/linux/x11/X11Request.h"

#include <QDBusArgument>
#include <QDBusMessage>

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace vellumhound::platform {

namespace {

using namespace Qt::StringLiterals;

constexpr int badAccess = 10;     // what the server answers for a key that another program has
constexpr int longestWait = 200;  // for KDE's service, in milliseconds

struct Disconnect {
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};

/// All that was asked of the server on this connection is done when this returns.
void finishRequests(xcb_connection_t *connection)
{
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

/// What is of interest of one entry of the service's answer.
struct Entry {
    QString action;
    QString component;
    QString componentId;
};

QList<Entry> entriesOf(const QDBusMessage &reply)
{
    QList<Entry> entries;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "a(ssssssaiai)"_L1)
        return entries;
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd()) {
        QString actionId;
        QString contextId;
        QString context;
        QList<int> keys;
        QList<int> defaultKeys;
        Entry entry;
        argument.beginStructure();
        argument >> actionId >> entry.action >> entry.componentId >> entry.component >> contextId >>
            context >> keys >> defaultKeys;
        argument.endStructure();
        entries.append(entry);
    }
    argument.endArray();
    return entries;
}

}  // namespace

bool isHeldOnX11(
    xcb_connection_t *ours, const KeyCombination &combination, const KeyboardLayout &layout)
{
    if (!ours)
        return false;
    finishRequests(ours);
    const std::unique_ptr<xcb_connection_t, Disconnect> own(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(own.get()))
        return false;
    const auto root = x11RootWindow(own.get());
    const auto mapping = X11Modifiers::ofServer(own.get());
    const auto state = mapping.stateOf(combination.modifiers);
    bool isHeld = false;
    const auto locks = mapping.lockStates();
    const auto places = layout.placesOf(combination.keyCode);
    for (const int place : places) {
        const auto code = xcb_keycode_t(place + xkbOffset);
        for (const auto lock : locks) {
            const auto request = xcb_grab_key_checked(own.get(), 0, root,
                std::uint16_t(state | lock), code, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
            const X11Reply<xcb_generic_error_t> error(xcb_request_check(own.get(), request));
            isHeld = isHeld || (error && error->error_code == badAccess);
        }
        // The grabs go with the connection; whoever asks for the key next must find them gone.
        xcb_ungrab_key(own.get(), code, root, XCB_MOD_MASK_ANY);
    }
    finishRequests(own.get());
    return isHeld;
}

std::optional<QString> holderWithKGlobalAccel(
    const QDBusConnection &bus, const KeyCombination &combination, const KeyCharacters &characters)
{
    const auto key = ShortcutText::toQt(combination, characters);
    if (!key || !bus.isConnected())
        return std::nullopt;
    auto question = QDBusMessage::createMethodCall(u"org.kde.kglobalaccel"_s, u"/kglobalaccel"_s,
        u"org.kde.KGlobalAccel"_s, u"getGlobalShortcutsByKey"_s);
    question.setArguments({*key});
    question.setAutoStartService(false);
    const auto entries = entriesOf(bus.call(question, QDBus::Block, longestWait));
    for (const auto &entry : entries) {
        if (entry.componentId.contains("vellumhound"_L1, Qt::CaseInsensitive))
            continue;
        if (entry.component.isEmpty() || entry.component == entry.action)
            return entry.action;
        return entry.action.isEmpty() ? entry.component : entry.component + u": "_s + entry.action;
    }
    return std::nullopt;
}

}  // namespace vellumhound::platform
