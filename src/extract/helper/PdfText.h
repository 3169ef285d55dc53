// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/helper/Input.h"
#include "extract/helper/TextSink.h"
#include "extract/Wire.h"

namespace vellumhound::extract::helper {

/// The text of a PDF document, page by page in reading order, as far as the limits reach;
/// `encrypted` if it needs a password, `noText` if all its pages are pictures.
wire::Status readPdf(Input &input, TextSink &sink);

/// Loads what PDF documents need at some point, while files can still be opened.
void preparePdf();

}  // namespace vellumhound::extract::helper
