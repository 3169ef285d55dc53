// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/KeyCharacters.h"

#include <QtGlobal>

#include <memory>

namespace vellumhound::platform {

class KeyboardLayout;

/// What the keys print on the layout in use, if that has the Latin letters, else on the first that
/// has them, else on a US keyboard. Main thread.
class XkbKeyCharacters final : public KeyCharacters {
public:
    explicit XkbKeyCharacters(std::shared_ptr<const KeyboardLayout> layout);
    Q_DISABLE_COPY_MOVE(XkbKeyCharacters)

    std::optional<QString> charactersOf(int keyCode) const override;

private:
    std::shared_ptr<const KeyboardLayout> _layout;
};

}  // namespace vellumhound::platform
