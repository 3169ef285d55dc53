// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace vellumhound::extract::helper {

/// The character set of a Windows code page ("windows-1251"); windows-1252 for numbers unknown.
std::string charsetOfCodePage(int codePage);
/// The code page that goes with a font's character set (`\fcharset`); 0 for "that of the document".
int codePageOfFontCharset(int fontCharset);

}  // namespace vellumhound::extract::helper
