// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace vellumhound::base {

/// The form of a file name, or of what somebody types to find it, in which case, diacritics and
/// ways of writing no longer differ: "Straße", "STRASSE" and "strasse" are one, and so are "Å", "å"
/// and "a", "ﬁ" and "fi", full-width and plain letters.
///
/// Marks that make another letter are kept (the voicing of kana, Thai and Indic vowels, the hamza
/// of Arabic letters); the points of Hebrew and the vowel signs of Arabic go. Bytes that are no
/// UTF-8 come out as they went in. The length may change. Any thread; never fails.
std::string fold(std::string_view utf8);

}  // namespace vellumhound::base
