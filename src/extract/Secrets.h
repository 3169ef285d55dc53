// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace vellumhound::extract {

/// Whether files of this name are kept for keys and passwords, upper and lower case alike. Such a
/// file is not opened. `fileName` is the last component of a path.
bool isSecretName(std::string_view fileName);

/// Whether a text holds a private key, or a token by which a service knows its user. One that only
/// speaks of a key, in the midst of a line, holds none. Reads the text once.
bool holdsSecret(std::string_view utf8);

}  // namespace vellumhound::extract
