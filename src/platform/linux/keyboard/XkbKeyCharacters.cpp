// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/keyboard/XkbKeyCharacters.h"

#include "base/KeyTable.h"
#include "platform/linux/keyboard/KeyboardLayout.h"

#include <QCoreApplication>

#include <utility>

namespace vellumhound::platform {

XkbKeyCharacters::XkbKeyCharacters()
    : _layout(KeyboardLayout::ofSession())
{
    if (_layout->isFromServer())
        QCoreApplication::instance()->installNativeEventFilter(this);
}

XkbKeyCharacters::XkbKeyCharacters(std::unique_ptr<KeyboardLayout> layout)
    : _layout(std::move(layout))
{
}

XkbKeyCharacters::~XkbKeyCharacters() = default;

std::optional<QString> XkbKeyCharacters::charactersOf(int keyCode) const
{
    const auto *key = base::KeyTable::findByKeyCode(keyCode);
    if (!key)
        return std::nullopt;
    const auto text = _layout->textOf(key->linuxCode, _layout->activeGroup());
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

bool XkbKeyCharacters::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType == "xcb_generic_event_t")
        _layout->noticeX11Event(message);
    return false;
}

}  // namespace vellumhound::platform
