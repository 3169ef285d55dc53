// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vellumhound::extract::helper {

/// The name of the character set that the bytes are most likely in ("UTF-8", "UTF-16LE",
/// "windows-1251", ...); nothing if they are no text. Looks at the beginning for signs of binary
/// data and at the whole for valid UTF-8.
std::optional<std::string> detectedCharset(std::string_view bytes);

/// The set that an HTML document declares in its first kilobytes, if it is one that we know.
std::optional<std::string> declaredCharset(std::string_view html);

/// True if `decode` knows the name.
bool isKnownCharset(const std::string &charset);

/// Gives the text as UTF-8, in pieces of whole characters, until `take` returns false. Bytes that
/// mean nothing become U+FFFD. Does nothing if the set is not known.
void decode(std::string_view bytes, const std::string &charset,
    const std::function<bool(std::string_view)> &take);
/// The same as one text, at most about `maxBytes` long.
std::string decoded(std::string_view bytes, const std::string &charset, std::size_t maxBytes);

}  // namespace vellumhound::extract::helper
