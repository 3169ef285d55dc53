// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extract/FileFormat.h"
#include "extract/helper/Input.h"
#include "extract/helper/TextSink.h"
#include "extract/Wire.h"

namespace vellumhound::extract::helper {

/// Makes the libraries behind the readers load what they need, while files can still be opened and
/// code can still be mapped. Once, before the sandbox.
void prepareReaders();

/// Reads the file as that format says. Anything that goes wrong is a status; memory that runs out
/// is `tooLarge`.
wire::Status readText(
    Input &input, FileFormat format, const wire::ReadText &request, TextSink &sink);

}  // namespace vellumhound::extract::helper
