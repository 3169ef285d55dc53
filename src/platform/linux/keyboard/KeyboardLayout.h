// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractNativeEventFilter>
#include <QList>
#include <QString>

#include <cstdint>
#include <memory>
#include <string>

struct xkb_context;
struct xkb_keymap;

namespace vellumhound::platform {

class WaylandKeyboard;

/// The keyboard's layout as far as key equivalents and hot keys need it: which ASCII character a
/// key has without Shift, in the group in use if that one has the Latin letters, else in the first
/// group that has them, else on a US keyboard; and as which key each key counts in hot keys.
///
/// One for the process, shared by all who ask it. Main thread; made after the application object
/// and gone before it. Where the layout cannot be had, it is that of a US keyboard.
class KeyboardLayout final : private QAbstractNativeEventFilter {
public:
    /// The layout of the X server or the Wayland compositor that the application is connected to,
    /// which it follows; US on any other platform.
    static std::unique_ptr<KeyboardLayout> ofSession();
    /// As `setxkbmap -layout <layouts> -variant <variants> -option <options>` would set it.
    static std::unique_ptr<KeyboardLayout> named(
        const std::string &layouts, const std::string &variants, const std::string &options = {});
    ~KeyboardLayout() override;
    Q_DISABLE_COPY_MOVE(KeyboardLayout)

    /// 0 if the key has no ASCII character there. `group` counts from 0.
    char characterOf(int linuxCode, unsigned group) const;
    /// What the key prints there, in the same group, as its cap shows it; a dead key prints its
    /// accent. Empty if it prints nothing.
    QString textOf(int linuxCode, unsigned group) const;
    /// The code of the key as which a key counts in hot keys, for whoever records one and for
    /// whoever listens for it: the name that the layout gives it (Escape, Home, F5), if it gives
    /// one; else its place, on the keypad whatever Num Lock makes of it. `unknown` for a key that
    /// the layout makes a modifier and for one that the table does not hold.
    int hotKeyCodeAt(int linuxCode) const;
    /// The Linux codes of all keys that count as this one.
    QList<int> placesOf(int keyCode) const;
    /// The group in use at this moment; on Wayland, when the application last had the keyboard.
    unsigned activeGroup() const;
    /// The group in use when a key was pressed with these modifiers of the window system.
    unsigned groupOf(std::uint32_t nativeModifiers) const;
    /// False if the layout is only assumed.
    bool isFromServer() const;

private:
    struct Unref {
        void operator()(xkb_context *context) const;
        void operator()(xkb_keymap *keymap) const;
    };
    using Keymap = std::unique_ptr<xkb_keymap, Unref>;

    KeyboardLayout();
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;
    Keymap namedKeymap(
        const std::string &layouts, const std::string &variants, const std::string &options) const;
    void followX11(void *connection);
    void refresh() const;
    void readFromServer() const;
    std::uint32_t symbolOf(int linuxCode, unsigned group) const;
    std::uint32_t firstSymbolOf(int linuxCode) const;

    void *_connection = nullptr;  // the toolkit's own to an X server, or null
    std::unique_ptr<WaylandKeyboard> _waylandKeyboard;
    unsigned _firstXkbEvent = 0;
    std::unique_ptr<xkb_context, Unref> _context;
    mutable Keymap _keymap;
    Keymap _usKeymap;
    mutable bool _isStale = false;
};

}  // namespace vellumhound::platform
