// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/helper/Input.h"
#include "extract/helper/TextSink.h"
#include "extract/Wire.h"

namespace vellumhound::extract::helper {

/// Plain text and source code in any of the usual character sets; `noText` for binary data. Of a
/// long file only as much is read as there may be text.
wire::Status readPlainText(Input &input, std::uint64_t maxTextBytes, TextSink &sink);

}  // namespace vellumhound::extract::helper
