// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace vellumhound::keyboard::KeyboardShortcuts {

/// The text of the module under this key in the user's language, in English where there is no
/// translation. A key that the module has not gives the key itself.
QString localizedString(const QString &key);

}  // namespace vellumhound::keyboard::KeyboardShortcuts
