// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"

#include <QAbstractNativeEventFilter>

#include <memory>

namespace vellumhound::platform {

class KeyboardLayout;

/// What the keys print on the layout in use, if that has the Latin letters, else on the first that
/// has them, else on a US keyboard. On X11 and Wayland it follows changes of the layout; elsewhere
/// the layout is assumed to be that of a US keyboard.
///
/// Main thread; made after the application object and destroyed before it.
class XkbKeyCharacters final : public KeyCharacters, public QAbstractNativeEventFilter {
public:
    /// The session's own layout.
    XkbKeyCharacters();
    /// A fixed one.
    explicit XkbKeyCharacters(std::unique_ptr<KeyboardLayout> layout);
    ~XkbKeyCharacters() override;
    Q_DISABLE_COPY_MOVE(XkbKeyCharacters)

    std::optional<QString> charactersOf(int keyCode) const override;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    std::unique_ptr<KeyboardLayout> _layout;
};

}  // namespace vellumhound::platform
