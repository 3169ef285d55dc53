// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/FocusManager.h"

namespace vellumhound::keyboard {

void FocusManager::setFocusedElementId(const std::optional<QString> &id)
{
    if (id == _focusedElementId)
        return;
    _focusedElementId = id;
    Q_EMIT focusedElementIdChanged();
}

}  // namespace vellumhound::keyboard
