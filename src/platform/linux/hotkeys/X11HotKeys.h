// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/HotKeyCenter.h"
#include "platform/linux/x11/X11Modifiers.h"

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QTimer>

#include <map>
#include <memory>

struct xcb_connection_t;

namespace vellumhound::platform {

class KeyboardLayout;

/// Hot keys by key grabs on the X server's root window, each on every key that counts as the one
/// that is asked for (KeyboardLayout): most are told by their place on the keyboard, so that
/// another layout changes nothing. A key that another program has grabbed is refused with the
/// server's error number, 10.
///
/// While a menu of another program is open that program has the keyboard and no hot key acts.
/// Main thread; made after the application object and destroyed before it. On any other window
/// system nothing is supported.
class X11HotKeys final : public QObject, public HotKeyCenter, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    explicit X11HotKeys(std::shared_ptr<const KeyboardLayout> layout, QObject *parent = nullptr);
    ~X11HotKeys() override;

    bool isSupported() const override { return _connection != nullptr; }
    Registration registerHotKey(const HotKeyRequest &request) override;
    void unregisterHotKey(Handle handle) override;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    struct Grab {
        HotKeyId id;
        QString name;
        int keyCode = 0;       // of base::KeyTable
        QList<int> places;     // Linux codes of the keys that counted as it when it was grabbed
        int modifiers = 0;     // HotKeyModifiers
        X11Modifiers mapping;  // with which it was grabbed
        bool isDown = false;
        bool isPressTold = false;
        bool isReleasing = false;     // come up, but a repeat may follow that undoes it
        std::uint32_t pressTime = 0;  // in milliseconds of the X server
        std::uint32_t releaseTime = 0;
    };
    /// A key as an event of the server tells it.
    struct Press {
        std::uint8_t code = 0;
        std::uint16_t state = 0;
        std::uint32_t time = 0;
        bool isDown = false;
    };

    QList<int> placesOf(int keyCode) const;
    bool isHeldDown(const Grab &entry) const;
    Registration refuse(const HotKeyRequest &request, int status);
    int grab(const Grab &entry) const;
    void ungrab(const Grab &entry) const;
    bool handleHotKey(const Press &press);
    void tellPress(Handle handle, std::uint32_t time, bool isRepeat);
    void tellReleases();
    void noticeKeyboard();

    std::shared_ptr<const KeyboardLayout> _layout;
    xcb_connection_t *_connection = nullptr;
    std::uint32_t _root = 0;
    unsigned _firstXkbEvent = 0;
    X11Modifiers _mapping;
    QList<int> _names;  // of the keys, when the server was last asked
    std::map<Handle, Grab> _grabs;
    QTimer _releases;
    QTimer _keyboardChange;
};

}  // namespace vellumhound::platform
