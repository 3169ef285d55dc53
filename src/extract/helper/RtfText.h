// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/helper/Input.h"
#include "extract/helper/TextSink.h"
#include "extract/Wire.h"

#include <string_view>

namespace vellumhound::extract::helper {

/// The text of an RTF document: body, headers, footers, notes and text boxes, not the tables of
/// fonts and styles, pictures or field codes. `refused` if it does not begin like one. Groups
/// nested deeper than any program writes end the reading.
wire::Status readRtf(Input &input, TextSink &sink);

}  // namespace vellumhound::extract::helper
