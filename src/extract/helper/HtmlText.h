// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/helper/TextSink.h"

#include <string>
#include <string_view>

namespace vellumhound::extract::helper {

/// The text of an HTML or XHTML document: title and body, without scripts and styles, references
/// resolved, each block on a line of its own. `charset` overrules what the document says; empty
/// means that the document's own declaration or a look at the bytes decides. Documents nested
/// deeper than browsers read (512 levels), or very long ones, are cut.
void readHtml(std::string_view html, const std::string &charset, TextSink &sink);

}  // namespace vellumhound::extract::helper
